#include "text/Characters.h"

#include <algorithm>
#include <iterator>

#include <utf8.h>

namespace {

constexpr char32_t kReplacement = 0xFFFD;

bool beginsCharacter(char byte) {
  return (static_cast<unsigned char>(byte) & 0xC0) != 0x80;
}

// What stands for a character that would not show, or not where it stands.
char32_t signOf(char32_t character) {
  const auto isBetween = [=](char32_t from, char32_t to) {
    return from <= character && character <= to;
  };
  // Control characters of ASCII have pictures.
  if (character < 0x20) return 0x2400 + character;
  if (character == 0x7F) return 0x2421;
  // Other control characters, and those that change the direction of writing.
  const bool misleads = isBetween(0x80, 0x9F) || isBetween(0x200E, 0x200F) ||
                        isBetween(0x202A, 0x202E) || isBetween(0x2066, 0x2069);
  return misleads ? kReplacement : character;
}

} // namespace

void eachCharacter(std::string_view text,
                   const std::function<void(size_t start, char32_t number)>& take) {
  const char* const end = text.data() + text.size();
  for (const char* at = text.data(); at != end;) {
    const char* const stray = utf8::find_invalid(at, end);
    while (at != stray) {
      const auto start = static_cast<size_t>(at - text.data());
      take(start, static_cast<char32_t>(utf8::unchecked::next(at)));
    }
    if (at != end) take(static_cast<size_t>(at++ - text.data()), kReplacement);
  }
}

size_t charactersIn(std::string_view text) {
  return static_cast<size_t>(std::count_if(text.begin(), text.end(), beginsCharacter));
}

std::string firstCharacters(const std::string& text, size_t count) {
  const auto end = std::find_if(text.begin(), text.end(), [&count](char byte) {
    return beginsCharacter(byte) && count-- == 0;
  });
  return {text.begin(), end};
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
  eachCharacter(text, [&result](size_t, char32_t number) {
    utf8::append(signOf(number), std::back_inserter(result));
  });
  return result;
}
