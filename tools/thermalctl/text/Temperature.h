#pragma once

#include <cstdint>
#include <optional>
#include <string>

// Degrees Celsius between which the temperature of a device's part can lie. One beyond them comes
// of a slip, mostly of the unit.
constexpr double kColdest = -273.15;
constexpr double kHottest = 1000;

// What a text says of a temperature: the temperature, or what is wrong.
//
// Shape: `wrong` goes on from the text itself, such as "has no unit"; `hint` may be empty.
// Units: millidegrees Celsius.
struct TemperatureText {
  std::optional<int32_t> millidegrees;
  std::string wrong{};
  std::string hint{};
};

// Takes a number with its unit, "43C", "42.5C" or "43000mC". One without a unit would be
// forty-three degrees to one reader and a twenty-third of a degree to another, and is none.
TemperatureText readTemperature(const std::string& text);
