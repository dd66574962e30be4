#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

// The texts of one input: those before, between and behind the lines that read "----". At least
// `least` of them, the missing ones empty.
std::vector<std::string> partsOf(const uint8_t* data, size_t size, size_t least = 0);

// The lines of a text, without their line feeds.
std::vector<std::string> linesOf(const std::string& text);

// The words of a text, split at white space.
std::vector<std::string> wordsOf(const std::string& text);
