#pragma once

#include <utility>

#include "text/Word.h"

// Line and column, as a test writes them.
using Place = std::pair<int, int>;

inline Place placeOf(const Word& word) {
  return {word.at.line, word.at.column};
}
