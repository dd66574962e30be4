#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "simulate/Inputs.h"
#include "toml/Problems.h"

// Within what a search looks for the worst.
//
// Shape:  `loads` by source of the plant; the ends of each range are both within it. Without
//         `ambient` it stays what the workload has at its start. Requests and faults are those that
//         a step may make, each of them or none.
// Units:  `lasts`, of each step but the last, in milliseconds; `deviations` of a unit's standard
//         numbers; degrees Celsius; loads as shares of 1.
// Source: the table [search] of a tolerances.toml; what that does not say has a default.
struct SearchBounds {
  using Ends = std::pair<double, double>;
  // Of a sensor, by the index of its probe; the word as a workload has it.
  struct Fault {
    size_t probe = 0;
    std::string word;

    bool operator==(const Fault& other) const { return probe == other.probe && word == other.word; }
  };

  double deviations = 3;
  size_t steps = 3;
  std::pair<int64_t, int64_t> lasts;
  std::vector<Ends> ambient; // one, or none
  std::vector<Ends> loads;
  std::vector<std::string> scenarios;
  std::vector<std::string> configurations;
  std::vector<Fault> faults;
};

// Reads them for a run, which then knows the configurations that may be asked for, too: they lie in
// the first of the folders that has one, and their paths are added to `paths`.
//
// Errors: a name that nothing has, or a number beyond what it may be, goes to `problems` with its
//         place. A configuration that the daemon would not take is for the check to tell.
SearchBounds readSearchBounds(const std::string& file, const std::vector<std::string>& folders,
                              RunInput& run, std::vector<std::string>& paths, Problems& problems);
