#pragma once

#include "check/rule/Rule.h"

// The rules of the configurations by theme: what either file is, and of what characters; whatever
// ends the daemon; where items and scenarios begin and end; sensors, devices and items by their
// names; how a number is read, and whether it can be meant; "actions" and "action_info"; the
// numbers of an SS item.
extern const std::vector<Rule> kFileRules;
extern const std::vector<Rule> kEndRules;
extern const std::vector<Rule> kShapeRules;
extern const std::vector<Rule> kKeyRules;
extern const std::vector<Rule> kNameRules;
extern const std::vector<Rule> kNumberRules;
extern const std::vector<Rule> kThresholdRules;
extern const std::vector<Rule> kRowRules;
extern const std::vector<Rule> kStepRules;
// What the temperatures, levels and periods of an item mean; what is cooled in one scenario and not
// in another.
extern const std::vector<Rule> kHeatRules;
extern const std::vector<Rule> kCoverageRules;
// What a plant has to say of them.
extern const std::vector<Rule> kPlantRules;
// To be asked last: what ends the daemon and none of the others has told of.
extern const std::vector<Rule> kUntoldEndRules;
