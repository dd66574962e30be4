#include "terminal/TerminalLine.h"

#include "text/Characters.h"

std::string shown(const TerminalLine& line, Colour colour, size_t width) {
  return painted(colour, line.look, firstCharacters(line.text, width));
}
