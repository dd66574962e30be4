#pragma once

#include "command/ExitStatus.h"
#include "report/Summary.h"

// What the limits of all runs make of a command's end: kFine if they were kept, kProblems if one
// was passed, kNoVerdict if that cannot be said of one, for a reason that is told on standard
// error.
ExitStatus verdictOf(const Summary& summary);
