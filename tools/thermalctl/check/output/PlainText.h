#pragma once

#include <ostream>
#include <vector>

#include "check/rule/Finding.h"
#include "text/Source.h"

enum class Colour { Off, On };

// On for a terminal, unless the variable NO_COLOR holds anything.
Colour colourFor(int fileDescriptor);

// Each finding with its line and a hint, as compilers show them, then a line that counts them.
void printText(std::ostream& out, const std::vector<Finding>& findings, const Sources& sources,
               Colour colour);

// `text` as lines of at most `width` bytes; only a longer word makes a longer line.
std::string wrapped(const std::string& text, size_t width);
