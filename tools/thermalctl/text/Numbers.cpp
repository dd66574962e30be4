#include "text/Numbers.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <map>

namespace {

// The longest time: a text of many digits stays far from the end of 64 bits.
constexpr double kYear = 365.0 * 24 * 3600 * 1000;

// Only these make a number of a time: strtod alone would take "1e3", "0x10", "inf" and a sign.
constexpr char kNumberSigns[] = "0123456789.";
// And these any number.
constexpr char kOfNumbers[] = "0123456789.eE+-";

// A share of a millisecond that only comes of calculating with binary numbers.
constexpr double kRounding = 1e-6;

} // namespace

std::optional<double> parseNumber(const std::string& text) {
  char* end = nullptr;
  errno = 0;
  const double value = std::strtod(text.c_str(), &end);
  if (text.empty() || text.find_first_not_of(kOfNumbers) != std::string::npos || *end != '\0')
    return std::nullopt;
  // Too large or too small.
  return errno == ERANGE ? std::nullopt : std::optional(value);
}

std::optional<int64_t> parseDuration(const std::string& text) {
  static const std::map<std::string, double> kUnits = {
      {"ms", 1}, {"s", 1000}, {"m", 60e3}, {"h", 3600e3}, {"d", 86400e3}};
  double total = 0;
  // "1h30m" is read piece by piece, and each unit must be smaller than the one before: "5s1h" is a
  // slip.
  double before = kYear;
  for (size_t at = 0; at < text.size();) {
    const size_t unit = std::min(text.find_first_not_of(kNumberSigns, at), text.size());
    const size_t next = std::min(text.find_first_of(kNumberSigns, unit), text.size());
    const std::optional<double> value = parseNumber(text.substr(at, unit - at));
    // Only a number alone goes without a unit.
    const bool alone = at == 0 && unit == text.size();
    const auto milliseconds = kUnits.find(alone ? "s" : text.substr(unit, next - unit));
    if (!value || milliseconds == kUnits.end() || milliseconds->second >= before)
      return std::nullopt;
    before = milliseconds->second;
    total += *value * milliseconds->second;
    at = next;
  }
  if (text.empty() || total > kYear) return std::nullopt;
  if (std::abs(total - std::round(total)) > kRounding) return std::nullopt;
  return static_cast<int64_t>(std::llround(total));
}
