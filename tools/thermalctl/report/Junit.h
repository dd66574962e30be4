#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "report/Results.h"

// The verdicts as the XML that JUnit has made the form of tests: a suite for each run, in it a case
// for each of its budgets. One that is broken fails, one without a verdict is an error. A run
// without budgets is one case, which only a standstill keeps from passing.
//
// Errors: left in the stream. What XML cannot hold is replaced.
void writeJunit(const std::string& name, const std::vector<RunResult>& results, std::ostream& out);
