#pragma once

#include <map>
#include <string>
#include <vector>

// A line of a file and where each of its characters begins.
//
// Shape: without its line feed. A byte that is not UTF-8 is a character of its own.
// Units: `starts` in bytes from 0, one for each character.
struct Line {
  std::string text;
  std::vector<size_t> starts;

  // The characters before the `bytes`-th byte of the line; past its end, each byte counts as one.
  size_t charactersBefore(size_t bytes) const;
};

// The content of a file with its lines at hand.
//
// Shape:   lines from 1. `line` refers to one place, which the next call for another line
//          overwrites: a long line with many findings is taken apart once.
// Errors:  a line that the file does not have is an empty one.
// Threads: one, for `line` changes what it keeps.
class Source {
public:
  explicit Source(std::string content);

  const std::string& text() const { return content; }

  // A line without its line feed; an empty one where the file has no such line. Valid until another
  // line is asked for.
  const Line& line(int number) const;

private:
  std::string content;
  std::vector<size_t> lineStarts;
  // Many findings on one long line split it only once.
  mutable int splitLine = 0;
  mutable Line split;
};

// The files of a run by the names that the user gave them.
using Sources = std::map<std::string, Source>;
