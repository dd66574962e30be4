#pragma once

#include <string>
#include <vector>

#include "check/output/PlainText.h"
#include "status/BoardStatus.h"

// A line of the table: printable text, and the terminal's code for its look, if it has one.
struct TableLine {
  std::string text;
  const char* look = "";
};

std::vector<TableLine> tableOf(const BoardStatus& status);

// A line as the terminal takes it, of at most `width` characters.
std::string shown(const TableLine& line, Colour colour, size_t width);
