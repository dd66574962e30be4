#include "text/Characters.h"

#include <algorithm>
#include <iterator>

#include <utf8.h>

#include "text/LookAlikes.h"

namespace {

constexpr char32_t kReplacement = 0xFFFD;

// Of a word in a message, in characters.
constexpr size_t kLongestWord = 100;
constexpr size_t kShownFirst = 60;
constexpr size_t kShownLast = 20;

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
  // Other control characters, and those that do not show or change the direction of writing.
  if (isBetween(0x80, 0x9F) || isInvisible(character)) return kReplacement;
  return character;
}

std::string lastCharacters(const std::string& text, size_t count) {
  const auto begin = std::find_if(text.rbegin(), text.rend(), [&count](char byte) {
    return beginsCharacter(byte) && --count == 0;
  });
  return {begin == text.rend() ? text.begin() : begin.base() - 1, text.end()};
}

std::string shortWord(const std::string& word) {
  if (charactersIn(word) <= kLongestWord) return word;
  return firstCharacters(word, kShownFirst) + "..." + lastCharacters(word, kShownLast);
}

} // namespace

void eachCharacter(std::string_view text,
                   const std::function<void(size_t start, char32_t number)>& take) {
  const char* const end = text.data() + text.size();
  for (const char* at = text.data(); at != end;) {
    // Whole characters up to the next byte that is of none; that one counts for itself.
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

std::string withShortWords(const std::string& text) {
  std::string result;
  for (size_t start = 0; start < text.size();) {
    const size_t end = std::min(text.find(' ', start), text.size());
    result += shortWord(text.substr(start, end - start));
    if (end < text.size()) result += ' ';
    start = end + 1;
  }
  return result;
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

std::string escapedMarkup(std::string_view text) {
  std::string result;
  for (const char character : visible(text)) {
    switch (character) {
    case '&':
      result += "&amp;";
      break;
    case '<':
      result += "&lt;";
      break;
    case '>':
      result += "&gt;";
      break;
    case '"':
      result += "&quot;";
      break;
    default:
      result += character;
    }
  }
  return result;
}
