#pragma once

#include <cstdint>
#include <string>

// A place in a file. Lines and columns count from 1, columns in bytes.
struct Position {
  int line = 1;
  int column = 1;
};

struct Word {
  std::string text;
  Position at;
};

// A value and the word that it was read from. A line whose key stands alone, or no line at all,
// leaves its word empty, or gives it the key's: the two files differ there.
struct Number {
  int32_t value = 0;
  Word word;
};
