#pragma once

#include <cstdint>
#include <string>

#include "base/Int32.h"

// A place in a file.
//
// Units: lines and columns from 1, columns in bytes. Whoever shows a column counts characters.
struct Position {
  int line = 1;
  int column = 1;
};

// A word of a file and where it begins.
//
// Shape: no white space in it, but where several words were joined to one; an empty one stands for
//        a word that is not there, with the place at which to say so.
struct Word {
  std::string text;
  Position at;
};

// A value and the word that it was read from.
//
// Shape:  a line whose key stands alone, or no line at all, leaves its word empty, or gives it the
//         key's: the two files differ there.
// Errors: the value is what the daemon makes of the word, 0 for one without digits.
struct Number {
  int32_t value = 0;
  Word word{};
};

inline Number numberOf(const Word& word) {
  return {parseInt32(word.text), word};
}
