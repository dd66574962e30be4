#pragma once

#include <string>
#include <vector>

#include "fit/Estimate.h"
#include "fit/Quantity.h"

// The text of a plant file with the numbers that were found, to the digits that they deserve, and
// with their intervals as remarks. All else stays as its author wrote it.
std::string withEstimates(const std::string& text, const std::vector<Quantity>& quantities,
                          const std::vector<Estimate>& estimates);

// A number with as many digits as its interval makes sense of.
std::string deserved(double value, double halfInterval);
