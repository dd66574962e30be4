#include "text/Source.h"

#include <algorithm>
#include <array>

namespace {

constexpr char kReplacement[] = "\xEF\xBF\xBD";

unsigned char byteAt(std::string_view text, size_t position) {
  return position < text.size() ? static_cast<unsigned char>(text[position]) : 0;
}

bool isContinuation(unsigned char byte) {
  return (byte & 0xC0) == 0x80;
}

// The bytes of the UTF-8 character at the beginning of `text`; 0 if there is none.
size_t characterSize(std::string_view text) {
  struct Sequence {
    unsigned char firstFrom, firstTo, secondFrom, secondTo;
    size_t size;
  };
  static constexpr std::array<Sequence, 8> kSequences = {{{0xC2, 0xDF, 0x80, 0xBF, 2},
                                                          {0xE0, 0xE0, 0xA0, 0xBF, 3},
                                                          {0xE1, 0xEC, 0x80, 0xBF, 3},
                                                          {0xED, 0xED, 0x80, 0x9F, 3},
                                                          {0xEE, 0xEF, 0x80, 0xBF, 3},
                                                          {0xF0, 0xF0, 0x90, 0xBF, 4},
                                                          {0xF1, 0xF3, 0x80, 0xBF, 4},
                                                          {0xF4, 0xF4, 0x80, 0x8F, 4}}};
  const unsigned char first = byteAt(text, 0);
  const unsigned char second = byteAt(text, 1);
  if (first < 0x80) return 1;
  for (const Sequence& sequence : kSequences) {
    if (first < sequence.firstFrom || first > sequence.firstTo) continue;
    if (second < sequence.secondFrom || second > sequence.secondTo) return 0;
    for (size_t i = 2; i < sequence.size; ++i)
      if (!isContinuation(byteAt(text, i))) return 0;
    return sequence.size;
  }
  return 0;
}

Line splitIntoCharacters(std::string text) {
  Line line;
  for (size_t i = 0; i < text.size();) {
    line.starts.push_back(i);
    i += std::max<size_t>(1, characterSize(std::string_view(text).substr(i)));
  }
  line.text = std::move(text);
  return line;
}

// The picture of a control character of ASCII: U+2400 and on, U+2421 for DEL.
std::string controlPicture(unsigned char control) {
  const unsigned char last = control == 0x7F ? 0xA1 : static_cast<unsigned char>(0x80 + control);
  return {'\xE2', '\x90', static_cast<char>(last)};
}

// The control characters U+0080 to U+009F, and those that change the direction of writing: U+200E,
// U+200F, U+202A to U+202E, U+2066 to U+2069.
bool misleads(std::string_view character) {
  const auto isBetween = [&](std::string_view from, std::string_view to) {
    return character.size() == from.size() && from <= character && character <= to;
  };
  return isBetween("\xC2\x80", "\xC2\x9F") || isBetween("\xE2\x80\x8E", "\xE2\x80\x8F") ||
         isBetween("\xE2\x80\xAA", "\xE2\x80\xAE") || isBetween("\xE2\x81\xA6", "\xE2\x81\xA9");
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

Mark markOf(const Finding& finding, const Sources& sources) {
  static const Source kNoFile("");
  const auto source = sources.find(finding.file);
  const Line& line = (source == sources.end() ? kNoFile : source->second).line(finding.at.line);
  const auto before = static_cast<size_t>(std::max(1, finding.at.column) - 1);
  const size_t from = line.charactersBefore(before);
  const size_t to = line.charactersBefore(before + finding.length);
  return {line, static_cast<int>(from) + 1, static_cast<int>(std::max(to, from + 1)) + 1};
}

std::string visible(std::string_view text) {
  std::string result;
  while (!text.empty()) {
    const size_t size = characterSize(text);
    const std::string_view character = text.substr(0, std::max<size_t>(1, size));
    const unsigned char first = byteAt(character, 0);
    if (size == 0 || misleads(character))
      result += kReplacement;
    else if (first < 0x20 || first == 0x7F)
      result += controlPicture(first);
    else
      result += character;
    text.remove_prefix(character.size());
  }
  return result;
}
