#include "text/Temperature.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "text/Phrases.h"

namespace {

constexpr char kExamples[] = "write degrees Celsius such as 43C or 42.5C, or millidegrees such as "
                             "43000mC";
constexpr char kDigits[] = "0123456789";
// As many digits as no temperature needs; more would not fit into 64 bits.
constexpr size_t kMostDigits = 9;

// A decimal number, exactly: `digits` without the point, of which `fraction` stood behind it.
struct Decimal {
  bool negative = false;
  std::string digits;
  size_t fraction = 0;
};

// The number at the start of `text`, and in `unit` what follows; nothing without a digit.
std::optional<Decimal> takeDecimal(const std::string& text, std::string& unit) {
  Decimal number;
  size_t at = text.find_first_of("+-") == 0 ? 1 : 0;
  number.negative = text[0] == '-';
  const size_t point = std::min(text.find_first_not_of(kDigits, at), text.size());
  number.digits = text.substr(at, point - at);
  at = point;
  if (point < text.size() && text[point] == '.') {
    at = std::min(text.find_first_not_of(kDigits, point + 1), text.size());
    number.fraction = at - point - 1;
    number.digits += text.substr(point + 1, number.fraction);
  }
  unit = text.substr(at);
  return number.digits.empty() ? std::nullopt : std::optional(number);
}

// Nothing where it is finer than a millidegree, or too long.
std::optional<int64_t> millidegreesOf(Decimal number, size_t decimals) {
  while (number.fraction > decimals && number.digits.back() == '0') {
    number.digits.pop_back();
    --number.fraction;
  }
  if (number.fraction > decimals) return std::nullopt;
  number.digits.append(decimals - number.fraction, '0');
  number.digits.erase(0, std::min(number.digits.find_first_not_of('0'), number.digits.size() - 1));
  if (number.digits.size() > kMostDigits) number.digits.assign(kMostDigits, '9');
  const int64_t amount = std::stoll(number.digits);
  return number.negative ? -amount : amount;
}

bool canBe(int64_t millidegrees) {
  const double celsius = static_cast<double>(millidegrees) / 1000;
  return celsius >= kColdest && celsius <= kHottest;
}

// Both spellings of what was meant: no device is made for more than some hundred degrees, and no
// limit is a part of one.
std::string spellings(const Decimal& number) {
  const auto asDegrees = millidegreesOf(number, 3);
  const auto asMillidegrees = millidegreesOf(number, 0);
  const bool degreesMeant = !asMillidegrees || std::abs(*asMillidegrees) < 1000;
  const auto meant = degreesMeant ? asDegrees : asMillidegrees;
  if (!meant || !canBe(*meant)) return kExamples;
  return "write " + degrees(static_cast<int32_t>(*meant)) + "C or " + std::to_string(*meant) + "mC";
}

} // namespace

TemperatureText readTemperature(const std::string& text) {
  std::string unit;
  const std::optional<Decimal> number = takeDecimal(text, unit);
  if (!number || (!unit.empty() && unit != "C" && unit != "mC"))
    return {std::nullopt, "is no temperature", kExamples};
  if (unit.empty()) return {std::nullopt, "has no unit", spellings(*number)};
  const auto millidegrees = millidegreesOf(*number, unit == "C" ? 3 : 0);
  if (!millidegrees) return {std::nullopt, "is finer than a millidegree"};
  if (!canBe(*millidegrees))
    return {std::nullopt, "lies outside of -273.15 to 1000 degrees Celsius", spellings(*number)};
  return {static_cast<int32_t>(*millidegrees)};
}
