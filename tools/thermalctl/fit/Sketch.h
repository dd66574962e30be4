#pragma once

#include <string>

#include "trace/Trace.h"

// A first plant file for a board: a node for each sensor, a case around them, the usual
// resistances, and a source for each device that gives off heat. Its numbers are guesses, and all
// free.
//
// Shape: `readPlant` finds no problem in it for the same board.
std::string sketchOf(const TraceDescription& board, const std::string& name);
