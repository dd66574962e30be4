#pragma once

#include "check/rule/Rule.h"

// The rules of the environment file by theme.
extern const std::vector<Rule> kSectionRules;
extern const std::vector<Rule> kSensorRules;
extern const std::vector<Rule> kVirtualSensorRules;
extern const std::vector<Rule> kLevelTableRules;
// What nodes, tables and weights can be meant for.
extern const std::vector<Rule> kBoardRules;
extern const std::vector<Rule> kNodeRules;
