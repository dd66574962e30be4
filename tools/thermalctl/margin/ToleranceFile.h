#pragma once

#include <string>
#include <vector>

#include "margin/Population.h"
#include "simulate/Inputs.h"
#include "toml/Problems.h"

// What the tolerances of a board are, and what was read for them.
//
// Shape: `files` are those that it took, itself first.
struct Tolerated {
  Population population;
  std::vector<std::string> files;
};

// Reads a tolerances.toml for runs that have one plant, that of `plantFile`.
//
// Errors: all that is wrong goes to `problems`, which have the plant's text: what no number of the
//         plant or of a workload is called, a distribution that is none or may leave what the
//         number can be, correlations that no numbers have. Nothing is promised then.
Tolerated readTolerances(const std::string& path, const std::vector<RunInput>& runs,
                         const std::string& plantFile, Problems& problems);
