#pragma once

#include <vector>

#include "status/BoardStatus.h"
#include "terminal/TerminalLine.h"

std::vector<TerminalLine> tableOf(const BoardStatus& status);
