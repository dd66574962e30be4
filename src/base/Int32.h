#pragma once

#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <system_error>

// The system's numbers: 32-bit signed, wrapping around instead of overflowing.

// Reads leading white space, a sign and decimal digits; text without digits is 0. A number beyond
// `long` saturates there, and what remains is cut to its low 32 bits.
inline int32_t parseInt32(const std::string& text) {
  long number = 0;
  // Digits need no way through a locale; white space, a "+" and too many of them are left to it.
  const auto read = std::from_chars(text.data(), text.data() + text.size(), number);
  return static_cast<int32_t>(read.ec == std::errc() ? number
                                                     : std::strtol(text.c_str(), nullptr, 10));
}

inline int32_t wrapAdd(int32_t a, int32_t b) {
  return static_cast<int32_t>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b));
}

inline int32_t wrapSubtract(int32_t a, int32_t b) {
  return static_cast<int32_t>(static_cast<uint32_t>(a) - static_cast<uint32_t>(b));
}

inline int32_t wrapMultiply(int32_t a, int32_t b) {
  return static_cast<int32_t>(static_cast<uint32_t>(a) * static_cast<uint32_t>(b));
}

inline int32_t wrapNegate(int32_t a) {
  return wrapSubtract(0, a);
}

// Rounds toward zero. `b` must not be 0.
inline int32_t wrapDivide(int32_t a, int32_t b) {
  return b == -1 ? wrapNegate(a) : a / b;
}
