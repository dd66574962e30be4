#pragma once

#include <cstdint>
#include <optional>
#include <string>

// The decimal number that all of `text` is; nothing for anything else, or for one that is too large
// or too small to calculate with.
std::optional<double> parseNumber(const std::string& text);

// Milliseconds of a time such as "90", "90s", "1.5h", "1h30m" or "250ms"; a number alone is
// seconds, and the larger unit comes first. Nothing for anything else, or for what is negative,
// finer than a millisecond or longer than a year.
std::optional<int64_t> parseDuration(const std::string& text);
