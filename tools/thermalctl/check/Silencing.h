#pragma once

#include <vector>

#include "check/rule/Rule.h"

// The entry of the settings that silences the finding; null if none does. What ends the daemon none
// silences.
const Silenced* silencerOf(const Finding& finding, const Subject& subject);

// The rules of the settings file. To be asked when all others have told what they found.
extern const std::vector<Rule> kSettingsRules;
