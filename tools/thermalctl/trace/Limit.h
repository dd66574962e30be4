#pragma once

#include <cstdint>
#include <optional>
#include <string>

// A temperature that must not be passed.
//
// Shape:  `name` is that of a sensor, or with `ofNode` of a node of the plant and of nothing else.
// Units:  millidegrees Celsius.
// Source: `--limit`.
struct Limit {
  std::string name;
  bool ofNode = false;
  int32_t millidegrees = 0;
};

// What a text says of a limit: the limit, or what is wrong.
//
// Shape: `wrong` and `hint` are lines of text, the latter may be empty.
struct LimitText {
  std::optional<Limit> limit;
  std::string wrong{};
  std::string hint{};
};

// Takes "NAME=TEMPERATURE" or "node:NAME=TEMPERATURE", the temperature with its unit.
LimitText readLimit(const std::string& text);
