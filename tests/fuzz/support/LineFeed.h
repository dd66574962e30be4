#pragma once

#include <functional>
#include <streambuf>
#include <string>
#include <utility>

// A text handed out line by line, with a call before each line and before the end: what the parser
// built from the lines so far can be looked at before the next one replaces it.
class LineFeed : public std::streambuf {
public:
  LineFeed(std::string text_, std::function<void()> beforeLine_)
      : text(std::move(text_)), beforeLine(std::move(beforeLine_)) {}

protected:
  int_type underflow() override {
    beforeLine();
    if (next == text.size()) return traits_type::eof();
    char* const begin = &text[next];
    const size_t lineFeed = text.find('\n', next);
    next = lineFeed == std::string::npos ? text.size() : lineFeed + 1;
    setg(begin, begin, text.data() + next);
    return traits_type::to_int_type(*begin);
  }

private:
  std::string text;
  std::function<void()> beforeLine;
  size_t next = 0;
};
