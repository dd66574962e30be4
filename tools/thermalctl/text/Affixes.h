#pragma once

#include <string_view>

inline bool startsWith(std::string_view text, std::string_view start) {
  return text.substr(0, start.size()) == start;
}

inline bool endsWith(std::string_view text, std::string_view end) {
  return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}
