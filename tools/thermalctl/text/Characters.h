#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

// Gives `take` each character of UTF-8, where its bytes begin and its number. A byte that belongs
// to none is one of its own, U+FFFD.
void eachCharacter(std::string_view text,
                   const std::function<void(size_t start, char32_t number)>& take);

// How many places a text of UTF-8 takes in a line, a character each, and what fits into `count`.
size_t charactersIn(std::string_view text);
std::string firstCharacters(const std::string& text, size_t count);

// `text` for a message: of a word of more than 100 characters the first and the last ones alone.
std::string withShortWords(const std::string& text);

// Of the letters A to Z alone, whatever the locale.
char lowerCase(char letter);
std::string lowerCase(std::string text);

// `text` on one line of a terminal: a sign stands for each control character, byte that is not
// UTF-8, and character that does not show or changes the direction of writing. The number of
// characters is kept.
std::string visible(std::string_view text);

// `text` where a page or XML has text, or a value in quotes: visible, and without what would be
// read as their own.
std::string escapedMarkup(std::string_view text);
