#include "check/rule/IgnoredWords.h"

#include "base/TextReader.h"

std::optional<Word> wordBehind(const std::vector<std::string>& lines, const Word& word) {
  const std::string& line = lines[static_cast<size_t>(word.at.line) - 1];
  const size_t behind = static_cast<size_t>(word.at.column) - 1 + word.text.size();
  const size_t start = line.find_first_not_of(kWhiteSpace, behind);
  if (start == std::string::npos) return std::nullopt;
  const size_t end = line.find_first_of(kWhiteSpace, start);
  return Word{line.substr(start, end - start), {word.at.line, static_cast<int>(start) + 1}};
}

std::optional<Word> ignoredBehind(const std::vector<std::string>& lines, const Word& word) {
  const auto index = static_cast<size_t>(word.at.line);
  std::string below = index < lines.size() ? lines[index] : "";
  trim(below);
  return below.empty() ? std::nullopt : wordBehind(lines, word);
}
