#pragma once

#include <string>
#include <vector>

// Where a page comes from: what another needs to make it again, and to see that it is the same.
//
// Shape:  `seed` is empty where nothing was drawn by lot. `sha256` is empty of what cannot be read
//         twice.
// Units:  `date` is UTC as ISO 8601 has it, `sha256` 64 hexadecimal digits.
// Source: the command line, the clock or SOURCE_DATE_EPOCH, and the files.
struct Provenance {
  // A file that was read.
  //
  // Shape: the path as the user named it; the digest of its bytes, or nothing.
  struct Input {
    std::string path;
    std::string sha256;
  };
  std::string command;
  std::string version;
  std::string date;
  std::string seed;
  std::vector<Input> inputs;
};
