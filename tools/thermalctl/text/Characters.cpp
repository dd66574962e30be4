#include "text/Characters.h"

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

bool beginsCharacter(char byte) {
  return !isContinuation(static_cast<unsigned char>(byte));
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

size_t characterSize(std::string_view text) {
  struct Sequence {
    unsigned char firstFrom, firstTo, secondFrom, secondTo;
    size_t size;
  };
  // What Unicode calls well-formed: no character in more bytes than it needs, no half of a
  // surrogate pair, nothing behind U+10FFFF. All of that shows in the first two bytes.
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

size_t charactersIn(std::string_view text) {
  return static_cast<size_t>(std::count_if(text.begin(), text.end(), beginsCharacter));
}

std::string firstCharacters(const std::string& text, size_t count) {
  size_t at = 0;
  for (; at < text.size(); ++at) {
    if (beginsCharacter(text[at]) && count-- == 0) break;
  }
  return text.substr(0, at);
}

char lowerCase(char letter) {
  return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

std::string lowerCase(std::string text) {
  for (char& letter : text)
    letter = lowerCase(letter);
  return text;
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
