#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

std::string quoted(const std::string& text);
// a, b and c
std::string enumerated(const std::vector<std::string>& texts);
// 'a', 'b' and 'c'
std::string listed(std::vector<std::string> texts);
// 'a', 'b' and 8 more, where there are more than a reader takes in.
std::string listedBriefly(std::vector<std::string> texts);

// "1 file", "2 files".
std::string counted(size_t number, const std::string& what);

// Millidegrees as degrees, exactly: -500 is "-0.5".
std::string degrees(int32_t millidegrees);
// With all three digits behind the point: -500 is "-0.500".
std::string degreesInFull(int32_t millidegrees);

// Hours, minutes and seconds, such as "1:02:03".
std::string clockTime(int64_t seconds);
// The same of milliseconds, to the nearest second.
std::string clockOf(int64_t milliseconds);

// With that many digits behind the point.
std::string rounded(double number, int digits);

// `text` as lines of at most `width` bytes; only a longer word makes a longer line.
std::string wrapped(const std::string& text, size_t width);
