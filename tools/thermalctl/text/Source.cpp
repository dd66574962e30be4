#include "text/Source.h"

#include <algorithm>

#include "text/Characters.h"

namespace {

Line splitIntoCharacters(std::string text) {
  Line line;
  for (size_t i = 0; i < text.size();) {
    line.starts.push_back(i);
    i += std::max<size_t>(1, characterSize(std::string_view(text).substr(i)));
  }
  line.text = std::move(text);
  return line;
}

} // namespace

size_t Line::charactersBefore(size_t bytes) const {
  if (bytes > text.size()) return starts.size() + (bytes - text.size());
  const auto end = std::lower_bound(starts.begin(), starts.end(), bytes);
  return static_cast<size_t>(end - starts.begin());
}

Source::Source(std::string content_) : content(std::move(content_)) {
  lineStarts.push_back(0);
  for (size_t i = 0; i < content.size(); ++i)
    if (content[i] == '\n') lineStarts.push_back(i + 1);
}

const Line& Source::line(int number) const {
  if (number == splitLine) return split;
  splitLine = number;
  split = Line();
  const auto index = static_cast<size_t>(number) - 1;
  if (number < 1 || index >= lineStarts.size()) return split;
  const size_t start = lineStarts[index];
  split = splitIntoCharacters(content.substr(start, content.find('\n', start) - start));
  return split;
}
