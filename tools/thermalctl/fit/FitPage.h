#pragma once

#include <ostream>
#include <string>

#include "fit/FitJson.h"

// What a fit found, as one page that needs nothing else: the numbers with their intervals, measured
// against fitted for each sensor and recording with the residuals below, and the correlations.
//
// Memory: a few hundred points for each course, however long it is.
void writeFitPage(const FitResult& result, const std::string& title, std::ostream& out);
