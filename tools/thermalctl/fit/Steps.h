#pragma once

#include <vector>

#include "fit/Recorded.h"

// To what steps the readings of each output are rounded: the largest of the usual ones, of which
// all are multiples; 0 where there is none.
//
// Units: degrees, by output.
std::vector<double> stepsOf(const std::vector<Recorded>& recordings, size_t outputs);
