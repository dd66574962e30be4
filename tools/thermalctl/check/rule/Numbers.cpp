#include "check/rule/Numbers.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <system_error>

#include "text/Phrases.h"

namespace {

// Degrees that a phone can have, and millidegrees that no sensor reads. The freezing point is 0, or
// 1 where 0 counts as no value.
constexpr int32_t kLeastDegrees = 2;
constexpr int32_t kMostDegrees = 200;
constexpr int32_t kMostMillidegrees = 200000;
// A phone in use is warmer than that.
constexpr int32_t kColdPhone = 10000; // millidegrees

int64_t millidegreesOf(const Number& temperature, int32_t unit) {
  return static_cast<int64_t>(temperature.value) * unit;
}

} // namespace

// The daemon reads "500ms" as 500, "fast" as 0 and 5000000000 as its last 32 bits: by the first
// digits and no further.
NumberReading readingOf(const std::string& word) {
  // Digits need no way through a locale. White space and a "+" are left to it.
  long long value = 0;
  const char* const begin = word.c_str();
  const auto read = std::from_chars(begin, begin + word.size(), value);
  const char* end = read.ptr;
  if (read.ec == std::errc::result_out_of_range) return NumberReading::kTooLarge;
  if (read.ec != std::errc()) {
    char* behind = nullptr;
    value = std::strtoll(begin, &behind, 10);
    end = behind;
  }
  if (end == begin) return NumberReading::kNoDigits;
  if (value > INT32_MAX || value < INT32_MIN) return NumberReading::kTooLarge;
  return static_cast<size_t>(end - begin) < word.size() ? NumberReading::kCutShort
                                                        : NumberReading::kWhole;
}

bool isNumber(const std::string& word) {
  return readingOf(word) == NumberReading::kWhole;
}

bool haveDigits(const std::vector<Number>& list) {
  return std::none_of(list.begin(), list.end(), [](const Number& number) {
    return readingOf(number.word.text) == NumberReading::kNoDigits;
  });
}

bool countsStates(const Section& device) {
  if (device.levels.empty()) return false;
  const std::string& first = device.levels.front().text;
  if (first != "0" && first != "1") return false;
  for (size_t i = 0; i < device.levels.size(); ++i)
    if (device.levels[i].text != std::to_string(i + (first == "1"))) return false;
  return true;
}

std::string celsius(int64_t millidegrees) {
  return degrees(static_cast<int32_t>(std::clamp<int64_t>(millidegrees, INT32_MIN, INT32_MAX))) +
         " °C";
}

int32_t unitOf(const Item& item) {
  return item.sensor && item.sensor->section ? item.sensor->section->unit : 1;
}

const char* nameOfUnit(int32_t unit) {
  if (unit == 1) return "thousandths of a degree";
  return unit == 100 ? "tenths of a degree" : "degrees";
}

bool looksLikeDegrees(const Number& temperature, int32_t unit) {
  const int64_t size = std::abs(millidegreesOf(temperature, unit));
  return size >= kLeastDegrees && size <= kMostDegrees && isNumber(temperature.word.text);
}

bool beyondAnySensor(const Number& temperature, int32_t unit) {
  return std::abs(millidegreesOf(temperature, unit)) > kMostMillidegrees &&
         isNumber(temperature.word.text);
}

bool outOfUse(const Number& temperature, const Item& item) {
  const int64_t millidegrees = millidegreesOf(temperature, unitOf(item));
  return item.lowactive ? std::abs(millidegrees) <= kMostDegrees : millidegrees < kColdPhone;
}

bool sound(const Number& number) {
  return number.word.text.empty() || isNumber(number.word.text);
}

bool soundTemperature(const Number& temperature, const Item& item) {
  const int32_t unit = unitOf(item);
  return sound(temperature) && !looksLikeDegrees(temperature, unit) &&
         !beyondAnySensor(temperature, unit);
}
