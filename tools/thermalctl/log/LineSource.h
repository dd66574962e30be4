#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// The lines of a text, one after the other, as often as they are wanted.
//
// Shape:  without their line ends. A line stands until the next call.
class LineSource {
public:
  LineSource() = default;
  virtual ~LineSource() = default;
  LineSource(const LineSource&) = delete;
  LineSource& operator=(const LineSource&) = delete;

  // False at the end.
  virtual bool next(std::string_view& line) = 0;
  // Back to the first line.
  virtual void rewind() = 0;
  // Where the user finds a line that was read, by its number from 1: "line 3".
  virtual std::string placeOf(size_t line) const { return "line " + std::to_string(line); }
};
