#pragma once

#include <cstdint>
#include <map>
#include <optional>

// How long a value that holds until its next change stood at what.
//
// Units:  milliseconds; the value in the unit of what it is the record of.
// Memory: grows with the number of different values, not with time.
// Errors: `lowest`, `highest`, `mean` and `percentile` ask for a record that is not empty.
class TimeAtValue {
public:
  TimeAtValue() = default;
  // The value in force is found by its place.
  TimeAtValue(TimeAtValue&&) = default;
  TimeAtValue& operator=(TimeAtValue&&) = default;

  // Times never fall. The first value begins the record.
  void set(int64_t time, int32_t value);
  // The last value held until then.
  void finish(int64_t time);
  // Nothing is known of the time between the two; behind it the last value holds on.
  void skip(int64_t from, int64_t to);

  bool empty() const { return times.empty(); }
  uint32_t changes() const { return changeCount; }
  int64_t total() const { return whole; }
  int64_t at(int32_t value) const;
  int64_t atLeast(int32_t value) const;
  int64_t atMost(int32_t value) const;
  // The ascending values and the time at each; one that passed at once has 0.
  const std::map<int32_t, int64_t>& all() const { return times; }

  // Of a record that is not empty.
  int32_t lowest() const { return times.begin()->first; }
  int32_t highest() const { return times.rbegin()->first; }
  // Weighted by time; without any time the last value.
  double mean() const;
  // The lowest value that was not exceeded for so many per cent of the time; without any time the
  // last one.
  int32_t percentile(double percent) const;

private:
  using Times = std::map<int32_t, int64_t>;

  Times::iterator placeOf(int32_t value);

  Times times;
  std::optional<Times::iterator> current; // of the value in force
  int64_t since = 0;
  int64_t whole = 0; // the sum of all times
  uint32_t changeCount = 0;
};
