#include "report/HeldSeries.h"

#include <algorithm>

void HeldSeries::set(int64_t time, int32_t value) {
  holdUntil(time);
  current = value;
}

void HeldSeries::skip(int64_t from, int64_t to) {
  holdUntil(from);
  current = kNothing;
  holdUntil(to);
}

void HeldSeries::finish(int64_t time) {
  holdUntil(time + width);
}

// At a step's own moment the value is the one that comes with it.
void HeldSeries::holdUntil(int64_t time) {
  while (static_cast<int64_t>(values.size()) * width < time) {
    if (values.size() == kCapacity) {
      // Full: every second value stays, and a step is twice as long from here on.
      for (size_t i = 0; i < kCapacity / 2; ++i)
        values[i] = values[2 * i];
      values.resize(kCapacity / 2);
      width *= 2;
      continue;
    }
    values.push_back(current);
  }
}

std::optional<int32_t> HeldSeries::at(int64_t time) const {
  const int64_t index = (time + width / 2) / width;
  if (time < 0 || index >= static_cast<int64_t>(values.size())) return std::nullopt;
  const int32_t value = values[static_cast<size_t>(index)];
  return value == kNothing ? std::nullopt : std::optional(value);
}

std::optional<int32_t> HeldSeries::range() const {
  int32_t lowest = std::numeric_limits<int32_t>::max();
  int32_t highest = kNothing;
  for (const int32_t value : values) {
    if (value == kNothing) continue;
    lowest = std::min(lowest, value);
    highest = std::max(highest, value);
  }
  return highest == kNothing ? std::nullopt : std::optional(highest - lowest);
}
