#pragma once

#include <ostream>

#include "check/Inspection.h"

// The findings and every rule as a SARIF 2.1.0 log, for code review.
void printSarif(std::ostream& out, const Inspection& inspection);
