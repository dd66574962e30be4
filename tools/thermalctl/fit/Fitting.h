#pragma once

#include <functional>
#include <string>
#include <vector>

#include <Eigen/Core>

#include "fit/Misfit.h"

// Values of the unknowns, and what the readings say of them.
//
// Shape: `information` is what the readings alone say, without the weak pull to the guesses.
struct Fit {
  Eigen::VectorXd values;
  Eigen::MatrixXd information;
  double misfit = 0;
  bool interrupted = false;
};

// Asked now and then: whether to go on, and told how far it is.
using Going = std::function<bool(const std::string& stage, double misfit)>;

// Finds the values that go best with the readings, and the noise of each sensor.
//
// Shape:  `frozen` quantities keep their guesses. The likelihoods of `misfit` are those of the
//         result.
// Errors: told to stop, it gives the best that was found so far.
Fit fitTo(Misfit& misfit, const std::vector<bool>& frozen, const Going& going);

// From values that are near already: of other readings, or with other quantities frozen.
Fit refine(Misfit& misfit, const Eigen::VectorXd& from, const std::vector<bool>& frozen,
           const Going& going);

// Of recordings whose clocks and starts are unknown, with all quantities frozen at their values.
Fit place(Misfit& misfit, const Eigen::VectorXd& from, const Going& going);

// What is known of the unknowns before any reading.
Eigen::VectorXd guessesOf(const Misfit& misfit);
