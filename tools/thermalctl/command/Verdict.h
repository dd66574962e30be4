#pragma once

#include <vector>

#include "command/ExitStatus.h"
#include "report/Results.h"

// What the budgets of all runs make of a command's end: kFine if they were kept, kProblems if one
// was broken, kNoVerdict if that cannot be said of one, for a reason that is told on standard
// error.
ExitStatus verdictOf(const std::vector<RunResult>& results);
