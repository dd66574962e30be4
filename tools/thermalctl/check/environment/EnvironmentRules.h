#pragma once

#include "check/rule/Rule.h"

// The rules of the environment file by theme.
extern const std::vector<Rule> kSectionRules;
extern const std::vector<Rule> kSensorRules;
extern const std::vector<Rule> kVirtualSensorRules;
extern const std::vector<Rule> kLevelTableRules;
extern const std::vector<Rule> kNodeRules;
