#pragma once

#include <array>
#include <bitset>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <utility>
#include <vector>

// How long a value that holds until its next change stood at what.
//
// Shape:  values are counted in the largest unit of which all of them are multiples apart, so that
//         what a sensor reads in steps takes no more room than as many neighbouring values.
// Units:  milliseconds; the value in the unit of what it is the record of.
// Memory: grows with the number of different values, not with time.
// Errors: `lowest`, `highest`, `mean` and `percentile` ask for a record that is not empty.
class TimeAtValue {
public:
  TimeAtValue() = default;
  // What is near is found by its place.
  TimeAtValue(TimeAtValue&&) = default;
  TimeAtValue& operator=(TimeAtValue&&) = default;

  // Times never fall. The first value begins the record.
  void set(int64_t time, int32_t value) {
    if (empty() || value != held) change(time, value);
  }
  // The last value held until then.
  void finish(int64_t time);
  // Nothing is known of the time between the two; behind it the last value holds on.
  void skip(int64_t from, int64_t to);

  bool empty() const { return !current.block; }
  uint32_t changes() const { return changeCount; }
  int64_t total() const { return whole; }
  int64_t at(int32_t value) const;
  int64_t atLeast(int32_t value) const;
  int64_t atMost(int32_t value) const;
  // The ascending values and the time at each; one that passed at once has 0.
  std::vector<std::pair<int32_t, int64_t>> all() const;

  // Of a record that is not empty.
  int32_t lowest() const { return least; }
  int32_t highest() const { return most; }
  // Weighted by time; without any time the last value.
  double mean() const;
  // The lowest value that was not exceeded for so many per cent of the time; without any time the
  // last one.
  int32_t percentile(double percent) const;

private:
  static constexpr size_t kNeighbours = 256;
  static constexpr size_t kNear = 16;

  // The times at neighbouring values, and their sum.
  //
  // Memory: 32 bits for each time; what is longer, 49 days, has the others beside it.
  struct Block {
    int64_t at(size_t in) const {
      return int64_t{low[in]} + (high ? int64_t{(*high)[in]} << 32 : 0);
    }
    void add(size_t in, int64_t time);

    std::bitset<kNeighbours> seen; // the values that there have been
    std::array<uint32_t, kNeighbours> low{};
    std::unique_ptr<std::array<uint32_t, kNeighbours>> high;
    int64_t whole = 0;
  };
  struct Near {
    int64_t number = 0;
    Block* block = nullptr;
  };

  void change(int64_t time, int32_t value);
  void moveTo(int32_t value);
  void enter(int64_t number);
  void takeUnit(int64_t distance);
  int64_t valueOf(int64_t number, size_t in) const;
  int64_t below(int64_t value) const;

  int64_t first = 0; // of the values: the others are so many units away
  int64_t unit = 0;
  std::map<int64_t, Block> blocks; // by their numbers
  std::array<Near, kNear> near{};  // of these, by the last digits of their numbers
  // That of the value in force, and its place therein.
  Near current;
  size_t place = 0;
  int32_t held = 0; // the value in force
  int32_t least = 0;
  int32_t most = 0;
  int64_t since = 0;
  int64_t whole = 0; // the sum of all times
  double weighted = 0;
  uint32_t changeCount = 0;
};
