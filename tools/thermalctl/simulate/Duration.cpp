#include "simulate/Duration.h"

#include <array>
#include <cctype>
#include <cmath>
#include <cstdlib>
#include <utility>

namespace {

// The longest time: a text of many digits stays far from the end of 64 bits.
constexpr double kYear = 365.0 * 24 * 3600 * 1000;

std::optional<double> millisecondsIn(const std::string& unit) {
  constexpr std::array<std::pair<const char*, double>, 5> kUnits = {
      {{"ms", 1}, {"s", 1000}, {"m", 60e3}, {"h", 3600e3}, {"d", 86400e3}}};
  for (const auto& [name, milliseconds] : kUnits) {
    if (unit == name) return milliseconds;
  }
  return std::nullopt;
}

} // namespace

std::optional<int64_t> parseDuration(const std::string& text) {
  double total = 0;
  size_t at = 0;
  while (at < text.size()) {
    // Only digits and a point make a number here: strtod alone would take "1e3", "0x10", "inf" and
    // a sign.
    const size_t unit = text.find_first_not_of("0123456789.", at);
    const std::string digits = text.substr(at, unit - at);
    char* end = nullptr;
    const double value = std::strtod(digits.c_str(), &end);
    if (digits.empty() || *end != '\0') return std::nullopt;
    const size_t next =
        unit == std::string::npos ? text.size() : text.find_first_of("0123456789.", unit);
    const std::string word = unit == std::string::npos ? "" : text.substr(unit, next - unit);
    // Only a number alone goes without a unit.
    const std::optional<double> milliseconds =
        word.empty() && at == 0 ? millisecondsIn("s") : millisecondsIn(word);
    if (!milliseconds) return std::nullopt;
    total += value * *milliseconds;
    at = next == std::string::npos ? text.size() : next;
  }
  if (text.empty() || total > kYear) return std::nullopt;
  return static_cast<int64_t>(std::llround(total));
}
