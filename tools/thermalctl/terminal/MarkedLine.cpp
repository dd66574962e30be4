#include "terminal/MarkedLine.h"

#include <algorithm>
#include <string>
#include <string_view>

#include <fmt/core.h>

#include "text/Characters.h"

namespace {

// What is shown of a line, and how much of it at least before the marked text.
constexpr size_t kWidth = 100;
constexpr size_t kContext = 40;
constexpr char kCut[] = "...";

constexpr char kGreen[] = "1;32";

// A line as it is shown, and the marked characters of that.
struct Excerpt {
  std::string text;
  size_t from = 0;
  size_t to = 0;
};

// The characters `from` to `to` of a line.
std::string_view slice(const Line& line, size_t from, size_t to) {
  const size_t start = from < line.starts.size() ? line.starts[from] : line.text.size();
  const size_t end = to < line.starts.size() ? line.starts[to] : line.text.size();
  return std::string_view(line.text).substr(start, end - start);
}

// White space at the end of a line means nothing and is not shown.
size_t shownLength(const Line& line) {
  const size_t bytes = line.text.find_last_not_of("\t\v\f\r ") + 1;
  return line.charactersBefore(bytes);
}

Excerpt excerptOf(const Line& line, size_t from, size_t to) {
  const size_t length = shownLength(line);
  // A line is shown from its start if the marked text is then in sight, since it reads best so.
  const bool fits = length <= kWidth || to <= kWidth;
  const size_t first = fits ? 0 : from - std::min(from, kContext);
  const size_t last = std::min(length, first + kWidth);

  Excerpt excerpt;
  excerpt.from = from - first;
  excerpt.to = std::max(excerpt.from + 1, std::min(to, std::max(last, from)) - first);
  if (first > 0) {
    excerpt.text = kCut;
    excerpt.from += excerpt.text.size();
    excerpt.to += excerpt.text.size();
  }
  excerpt.text += visible(slice(line, first, std::max(first, last)));
  if (last < length) excerpt.text += kCut;
  return excerpt;
}

} // namespace

void printMarkedLine(std::ostream& out, int number, const Line& line, size_t from, size_t to,
                     Colour colour) {
  const Excerpt excerpt = excerptOf(line, from, to);
  const std::string underline = "^" + std::string(excerpt.to - excerpt.from - 1, '~');
  out << fmt::format("{:5} | {}\n{:5} | {:{}}{}\n", number, excerpt.text, "", "", excerpt.from,
                     painted(colour, kGreen, underline));
}
