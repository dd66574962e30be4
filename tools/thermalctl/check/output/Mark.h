#pragma once

#include "check/rule/Finding.h"
#include "text/Source.h"

// The part of a line that a finding marks, in characters from 1; `endColumn` is the first one
// behind it.
struct Mark {
  const Line& line;
  int column;
  int endColumn;
};

Mark markOf(const Finding& finding, const Sources& sources);
