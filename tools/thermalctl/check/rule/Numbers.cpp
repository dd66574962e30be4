#include "check/rule/Numbers.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>

namespace {

// Degrees that a phone can have, and millidegrees that no sensor reads. The freezing point is 0, or
// 1 where 0 counts as no value.
constexpr int32_t kLeastDegrees = 2;
constexpr int32_t kMostDegrees = 200;
constexpr int32_t kMostMillidegrees = 200000;

} // namespace

Reading readingOf(const std::string& word) {
  char* end = nullptr;
  const long long value = std::strtoll(word.c_str(), &end, 10);
  if (end == word.c_str()) return Reading::kNoDigits;
  if (value > INT32_MAX || value < INT32_MIN) return Reading::kTooLarge;
  return static_cast<size_t>(end - word.c_str()) < word.size() ? Reading::kCutShort
                                                               : Reading::kWhole;
}

bool isNumber(const std::string& word) {
  return readingOf(word) == Reading::kWhole;
}

bool haveDigits(const std::vector<Number>& list) {
  return std::none_of(list.begin(), list.end(), [](const Number& number) {
    return readingOf(number.word.text) == Reading::kNoDigits;
  });
}

bool looksLikeDegrees(const Number& temperature) {
  const int64_t size = std::abs(static_cast<int64_t>(temperature.value));
  return isNumber(temperature.word.text) && size >= kLeastDegrees && size <= kMostDegrees;
}

bool beyondAnySensor(const Number& temperature) {
  return isNumber(temperature.word.text) &&
         (temperature.value < -kMostMillidegrees || temperature.value > kMostMillidegrees);
}

bool sound(const Number& number) {
  return number.word.text.empty() || isNumber(number.word.text);
}

bool soundTemperature(const Number& temperature) {
  return sound(temperature) && !looksLikeDegrees(temperature) && !beyondAnySensor(temperature);
}
