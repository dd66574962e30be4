#pragma once

#include <string>

enum class Colour { kOff, kOn };

// On for a terminal, unless the variable NO_COLOR holds anything.
Colour colourFor(int fileDescriptor);

// `text` in the look that the terminal has under that code, such as "1;31"; an empty code is none.
std::string painted(Colour colour, const char* code, const std::string& text);
