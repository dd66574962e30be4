#pragma once

#include <optional>
#include <string>
#include <vector>

#include "fit/Determination.h"
#include "fit/Fitting.h"
#include "fit/Misfit.h"

// Standard deviations to either side of 95 % of a normal distribution.
constexpr double kInterval = 1.96;

// What a fit found of one quantity.
//
// Shape: `low` to `high` is what it lies in with a probability of 95 %. One that keeps its guess is
//        `frozen` and has neither; one of which only a combination with such a one is determined
//        `follows` it: its interval holds for that guess.
struct Estimate {
  double value = 0;
  double low = 0;
  double high = 0;
  bool frozen = false;
  std::optional<size_t> follows{};
};

// Of one output in one recording.
//
// Units: degrees.
struct Agreeing {
  size_t recording = 0;
  size_t output = 0;
  size_t readings = 0;
  double rmse = 0;
  double largest = 0;
};

// All that a fit found.
//
// Shape: estimates, and rows and columns of `correlations`, by quantity; `misfit` has the noise of
//        each output.
struct Estimation {
  Fit fit;
  std::vector<Estimate> estimates;
  Eigen::MatrixXd correlations;
  std::vector<Undetermined> undetermined;
  std::vector<bool> frozen;
  std::vector<Agreeing> agreement;
};

// Fits, finds what the readings do not determine, and fits the rest beside the guesses of that.
Estimation estimate(Misfit& misfit, const Going& going);

// How the readings of other recordings go with the values found: their clocks and the temperatures
// at their start are found anew, and nothing else. `fit` is written with them.
Estimation validate(Misfit& misfit, const std::vector<double>& values, const Going& going);

// The quantities that ended at one of their bounds: what they are may lie beyond.
std::vector<size_t> atBounds(const Misfit& misfit, const Estimation& estimation);

std::vector<Agreeing> agreementOf(const Misfit& misfit, const Eigen::VectorXd& values);
