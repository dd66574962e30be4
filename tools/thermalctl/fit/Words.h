#pragma once

#include <string>
#include <vector>

#include "fit/Estimate.h"

// What the recordings do not determine, why, and what to do about it: a sentence for each
// direction.
std::vector<std::string> inWords(const Misfit& misfit, const Estimation& estimation);
