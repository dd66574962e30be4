#pragma once

#include <string>

#include "terminal/Colour.h"

// Printable text, and the terminal's code for its look, if it has one.
struct TerminalLine {
  std::string text;
  const char* look = "";
};

// A line as the terminal takes it, of at most `width` characters.
std::string shown(const TerminalLine& line, Colour colour, size_t width);
