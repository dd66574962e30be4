#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "report/Results.h"

// How a case of a suite ended, with the element that tells it, "failure" or "error"; without one it
// has passed.
struct JunitCase {
  std::string name;
  const char* element = nullptr;
  std::string message{};
};

// Cases that belong together, such as those of one run.
struct JunitSuite {
  std::string name;
  std::vector<JunitCase> cases;
};

// Suites as the XML that JUnit has made the form of tests.
//
// Errors: left in the stream. What XML cannot hold is replaced.
void writeJunit(const std::string& name, const std::vector<JunitSuite>& suites, std::ostream& out);

// The verdicts as such: a suite for each run, in it a case
// for each of its budgets. One that is broken fails, one without a verdict is an error. A run
// without budgets is one case, which only a standstill keeps from passing.
void writeJunit(const std::string& name, const std::vector<RunResult>& results, std::ostream& out);
