#pragma once

#include <ostream>

#include "coverage/Coverage.h"

// The matrix of all sensors and scenarios: from which temperature on each acts, and up to which
// level on which device.
void printCoverage(std::ostream& out, const Coverage& coverage);
void printCoverageAsJson(std::ostream& out, const Coverage& coverage);
// A page that needs nothing beside it.
void printCoverageAsPage(std::ostream& out, const Coverage& coverage);
