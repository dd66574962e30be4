#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include <Eigen/Core>

#include "fit/Misfit.h"

// A direction in the space of the quantities of which the readings know too little.
//
// Shape: `members` are the quantities that it moves, `frozen` the one of them that keeps its guess,
//        so that the others follow. `shares` by member; `changes` are the same as changes of the
//        numbers themselves.
struct Undetermined {
  size_t frozen = 0;
  std::vector<size_t> members;
  std::vector<double> shares;
  std::vector<double> changes;
};

// What the readings say of the quantities alone, whatever the clocks and the temperatures at the
// start are. By quantity; rows and columns of frozen ones are 0.
Eigen::MatrixXd informationOfQuantities(const Misfit& misfit, const Eigen::MatrixXd& information,
                                        const std::vector<bool>& frozen);

// The directions along which a change by a third, or by half a degree, would hardly be seen; the
// least known first, each without those before it.
std::vector<Undetermined> undeterminedOf(const Misfit& misfit, const Eigen::MatrixXd& information,
                                         const Eigen::VectorXd& values,
                                         const std::vector<bool>& frozen);

// Standard deviations and correlations of the free quantities.
Eigen::MatrixXd covarianceOf(const Eigen::MatrixXd& information, const std::vector<bool>& frozen);
