#pragma once

#include <string>

#include "log/LineSource.h"

// The lines of a text in memory.
class TextLines : public LineSource {
public:
  explicit TextLines(std::string text_) : text(std::move(text_)) {}

  bool next(std::string_view& line) override {
    if (at >= text.size()) return false;
    const size_t end = text.find('\n', at);
    line = std::string_view(text).substr(at, end == std::string::npos ? end : end - at);
    at = end == std::string::npos ? text.size() : end + 1;
    return true;
  }
  void rewind() override { at = 0; }

private:
  std::string text;
  size_t at = 0;
};
