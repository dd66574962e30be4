#pragma once

#include <string>
#include <vector>

#include "toml/Problems.h"
#include "trace/Trace.h"

// Has a board's two files inspected before a command relies on them. Errors are told on standard
// error as "check" tells them; warnings are only counted there, in one line. False with an error:
// the daemon would not do what the files say.
bool passesCheck(const std::string& environment, const std::vector<std::string>& configurations);

// What the nodes of the board's sensors count in, as the settings beside the environment file say.
//
// Errors: of settings that cannot be read nothing is known; the check tells of them.
SensorUnits unitsOf(const std::string& environment);

// Whether a study of them may be run. If not, that is told: what is wrong with the board's own
// files before `problems`, which may only follow from it.
bool mayRun(const std::string& environment, const std::vector<std::string>& configurations,
            const Problems& problems);
