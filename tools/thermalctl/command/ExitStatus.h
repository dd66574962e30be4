#pragma once

#include <string>

// How a command ended, and the exit status that tells it: scripts go by these, so that no number
// ever gets another meaning. "Problems" is an answer, "could not run" is none, and with "no
// verdict" the question was asked and nothing can be said.
enum ExitStatus { kFine = 0, kProblems = 1, kCouldNotRun = 2, kNoVerdict = 3 };

// Tells the user, on standard error, why a command ends with `status`, and gives that.
ExitStatus complain(ExitStatus status, const std::string& message);
