#pragma once

#include <string>

// A line that is written over again and again; gone with the scope. Nothing is shown where the file
// is no terminal.
//
// Shape:  the text must be printable and shorter than the terminal is wide: one that wraps stays.
// Errors: none: what a terminal does not take is no loss.
class ProgressLine {
public:
  explicit ProgressLine(int fileDescriptor);
  ~ProgressLine() { clear(); }
  ProgressLine(const ProgressLine&) = delete;
  ProgressLine& operator=(const ProgressLine&) = delete;

  void show(const std::string& text);
  void clear();

private:
  void print(const std::string& text) const;

  const int fd;
  const bool onTerminal;
  bool drawn = false;
};
