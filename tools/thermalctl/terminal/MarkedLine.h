#pragma once

#include <cstddef>
#include <ostream>

#include "terminal/Colour.h"
#include "text/Source.h"

// Shows a line with its number, and below it a caret and tildes under the characters `from` to
// `to`, as compilers do. Of a long line the part around the mark.
//
// Shape: at least one character is marked, if only one behind the line's end.
// Units: characters from 0; `to` is the first behind the mark.
void printMarkedLine(std::ostream& out, int number, const Line& line, size_t from, size_t to,
                     Colour colour);
