#pragma once

#include <cstdint>
#include <string>

#include "command/SimulateOptions.h"

// The command that runs one unit of the tolerances, but for its number; without tolerances, what
// the options say.
std::string replayOf(const SimulateOptions& run, const std::string& tolerances, uint64_t seed);
