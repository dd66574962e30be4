#pragma once

#include <vector>

#include "status/BoardStatus.h"
#include "terminal/TerminalLine.h"

// The words of the two control files, then a table of the sensors and one of the devices. A text
// that comes from a file is made `visible`: no name or node can steer the terminal.
std::vector<TerminalLine> tableOf(const BoardStatus& status);
