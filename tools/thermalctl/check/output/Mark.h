#pragma once

#include "check/rule/Finding.h"
#include "text/Source.h"

// The part of a line that a finding marks, for whoever shows or exports it.
//
// Shape:  at least one character, if only one behind the line's end; `endColumn` is the first one
//         behind the marked ones. `line` is good until another line of its source is asked for.
// Units:  characters from 1, where a finding has bytes.
// Errors: a file that was not read, or a line that it does not have, gives an empty line.
struct Mark {
  const Line& line;
  int column;
  int endColumn;
};

Mark markOf(const Finding& finding, const Sources& sources);
