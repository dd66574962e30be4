#pragma once

#include <string>

#include <gtest/gtest.h>

// Puts `now` where `old` stands first.
inline void edit(std::string& text, const std::string& old, const std::string& now) {
  const size_t at = text.find(old);
  ASSERT_NE(at, std::string::npos) << old;
  text.replace(at, old.size(), now);
}
