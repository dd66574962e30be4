#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <vector>

// The course of a value that holds until its next change, looked at in equal steps.
//
// Units:  milliseconds since the start of the run; the value in the unit of what it is the course of.
// Memory: half a megabyte at most. The steps grow with the run: of a tenth of a second up to three
//         and a half hours, twice that up to seven.
class HeldSeries {
public:
  // Times never fall.
  void set(int64_t time, int32_t value);
  // Nothing is known of the time between the two, and behind it nothing until the next value.
  void skip(int64_t from, int64_t to);
  void finish(int64_t time);

  int64_t step() const { return width; }
  // Where nothing is known, nothing.
  std::optional<int32_t> at(int64_t time) const;
  // The lowest and the highest of all; nothing where no value ever was.
  std::optional<int32_t> range() const;

private:
  static constexpr size_t kCapacity = 1 << 17;
  static constexpr int32_t kNothing = std::numeric_limits<int32_t>::min();

  void holdUntil(int64_t time);

  std::vector<int32_t> values; // at each step
  int64_t width = 100;
  int32_t current = kNothing;
};
