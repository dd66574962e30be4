#pragma once

#include <string>
#include <vector>

#include "fit/Misfit.h"

// Where the residuals of a sensor are not noise, in words: which sensor, when, by how much and how
// it goes on. There a path or a source is missing in the model.
std::vector<std::string> oddResiduals(const Misfit& misfit, const Eigen::VectorXd& values,
                                      const std::vector<std::string>& names);
