#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <Eigen/Core>

#include "fit/Estimate.h"
#include "fit/Misfit.h"

// The next experiment: half an hour of loads, and what it is expected to make of the intervals.
//
// Shape: `loads` by step and source, each step `kStepSeconds` long. `before` and `after` are half
//        intervals by quantity, in degrees or as a share of the number.
struct Plan {
  static constexpr int kSteps = 15;
  static constexpr int kStepSeconds = 120;

  std::vector<std::vector<double>> loads;
  std::vector<double> before;
  std::vector<double> after;
  double hottest = 0; // of all nodes, in degrees Celsius
};

// The loads that shrink the widest intervals most, of many that are tried. No node gets hotter than
// it was in the recordings, as far as the fit tells. Told to stop, it gives the best that was found
// so far.
Plan planFor(const Misfit& misfit, const Estimation& estimation, const Going& going);

// As a workload file, and as steps for a person.
std::string workloadOf(const Plan& plan, const Misfit& misfit);
std::string stepsOf(const Plan& plan, const Misfit& misfit);
