#pragma once

#include <string>

#include "terminal/Colour.h"

// Printable text, and the terminal's code for its look, if it has one.
//
// Shape: `look` is the inside of an escape sequence, such as "1;31", and points to a constant.
//        Whoever puts a file's text here makes it `visible` first.
struct TerminalLine {
  std::string text;
  const char* look = "";
};

// A line as the terminal takes it, of at most `width` characters.
std::string shown(const TerminalLine& line, Colour colour, size_t width);
