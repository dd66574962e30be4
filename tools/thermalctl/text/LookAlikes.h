#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

// A character that a reader takes for another one, or does not see at all. To the daemon it is a
// letter of the word like any other.
//
// Shape:  `meant` is what to write instead, in ASCII: a letter, a sign or two, a space, or nothing.
// Source: a table of those that word processors, chat programs and keyboards of other scripts put
//         into a text; no complete list of what looks alike.
struct LookAlike {
  // Where it stands, and what it takes, in bytes of the text.
  size_t start = 0;
  size_t length = 0;
  char32_t number = 0;
  // Such as "a Cyrillic letter".
  std::string what;
  std::string meant;
};

// The first one in a text.
std::optional<LookAlike> firstLookAlike(std::string_view text);

// The text as a reader takes it: with what is meant in place of each such character.
std::string asRead(std::string_view text);

// The text with "<U+200B>" in place of each character that does not show, or shows as a space.
std::string withCodePoints(std::string_view text);

// Whether the character has no shape, or turns others around. A space has one.
bool isInvisible(char32_t character);

// "U+200B".
std::string codePoint(char32_t character);
