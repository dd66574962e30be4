#pragma once

#include <vector>

#include "check/rule/Rule.h"

// The rules of the configurations, by theme.

// Whatever ends the daemon.
const std::vector<Rule>& endRules();
// Where items and scenarios begin and end.
const std::vector<Rule>& shapeRules();
const std::vector<Rule>& keyRules();
// Sensors, devices and items by their names.
const std::vector<Rule>& nameRules();
// How a number is read, and whether it can be meant.
const std::vector<Rule>& numberRules();
const std::vector<Rule>& thresholdRules();
// "actions" and "action_info".
const std::vector<Rule>& rowRules();
// The numbers of an SS item.
const std::vector<Rule>& stepRules();
