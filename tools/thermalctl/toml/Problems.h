#pragma once

#include <ostream>
#include <string>
#include <vector>

// What is wrong with the input of a run: collected over all files, so that one look shows it all.
//
// Shape: the same text for the same line counts once: several runs may read one file.
// Units: lines from 1.
class Problems {
public:
  // Without a line (0) the whole file is meant.
  void add(const std::string& file, unsigned line, const std::string& what);

  bool none() const { return lines.empty(); }

  // One line each, as compilers show them, in the order of the files' names and lines.
  void print(std::ostream& out) const;

private:
  struct Entry {
    std::string file;
    unsigned line;
    std::string what;
  };
  std::vector<Entry> lines;
};
