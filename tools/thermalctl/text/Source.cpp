#include "text/Source.h"

#include <algorithm>

#include "text/Characters.h"

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
  split.text = content.substr(start, content.find('\n', start) - start);
  eachCharacter(split.text, [this](size_t at, char32_t) { split.starts.push_back(at); });
  return split;
}
