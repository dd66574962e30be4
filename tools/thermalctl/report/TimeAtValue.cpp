#include "report/TimeAtValue.h"

#include <algorithm>
#include <numeric>

void TimeAtValue::change(int64_t time, int32_t value) {
  if (!empty()) {
    finish(time);
    ++changeCount;
    least = std::min(least, value);
    most = std::max(most, value);
  } else {
    since = time;
    first = least = most = value;
  }
  held = value;
  moveTo(value);
}

// A value that another replaces at the same time was still there: it may be the highest.
// Its index is how many units it lies from the first one. The last digits of that are its place in
// a block, those before the number of the block, for values below the first one, too; the blocks
// that were used last are found without the map.
void TimeAtValue::moveTo(int32_t value) {
  constexpr auto kSize = static_cast<int64_t>(kNeighbours);
  int64_t index = value - first;
  if (unit != 1) {
    const int64_t distance = index;
    index = unit == 0 ? 0 : distance / unit;
    if (index * unit != distance) {
      takeUnit(distance);
      index = distance / unit;
    }
  }
  place = static_cast<size_t>(index & (kSize - 1));
  const int64_t number = (index - static_cast<int64_t>(place)) / kSize;
  if (!current.block || current.number != number) enter(number);
  current.block->seen.set(place);
}

void TimeAtValue::enter(int64_t number) {
  Near& known = near[static_cast<size_t>(number) % kNear];
  if (!known.block || known.number != number) {
    known = {number, &blocks[number]};
  }
  current = known;
}

void TimeAtValue::Block::add(size_t in, int64_t time) {
  const int64_t sum = low[in] + time;
  low[in] = static_cast<uint32_t>(sum);
  whole += time;
  if (sum >> 32 == 0) return;
  if (!high) high = std::make_unique<std::array<uint32_t, kNeighbours>>();
  (*high)[in] += static_cast<uint32_t>(sum >> 32);
}

// A value lies between those that could be told apart up to now.
void TimeAtValue::takeUnit(int64_t distance) {
  const auto values = all();
  blocks.clear();
  near = {};
  current = {};
  unit = std::gcd(unit, distance);
  for (const auto& [value, time] : values) {
    moveTo(value);
    current.block->add(place, time);
  }
}

void TimeAtValue::finish(int64_t time) {
  if (!empty()) {
    current.block->add(place, time - since);
    whole += time - since;
    weighted += static_cast<double>(held) * static_cast<double>(time - since);
  }
  since = time;
}

void TimeAtValue::skip(int64_t from, int64_t to) {
  finish(std::max(from, since));
  since = std::max(to, since);
}

int64_t TimeAtValue::valueOf(int64_t number, size_t in) const {
  const int64_t index = number * static_cast<int64_t>(kNeighbours) + static_cast<int64_t>(in);
  return first + index * std::max<int64_t>(unit, 1);
}

std::vector<std::pair<int32_t, int64_t>> TimeAtValue::all() const {
  std::vector<std::pair<int32_t, int64_t>> values;
  for (const auto& [number, block] : blocks) {
    for (size_t i = 0; i < kNeighbours; ++i)
      if (block.seen[i]) values.emplace_back(static_cast<int32_t>(valueOf(number, i)), block.at(i));
  }
  return values;
}

int64_t TimeAtValue::below(int64_t value) const {
  int64_t sum = 0;
  for (const auto& [number, block] : blocks) {
    // All of the block lies below where the next one would begin at or below the value.
    if (valueOf(number + 1, 0) <= value) {
      sum += block.whole;
      continue;
    }
    for (size_t i = 0; i < kNeighbours && valueOf(number, i) < value; ++i)
      sum += block.at(i);
  }
  return sum;
}

int64_t TimeAtValue::at(int32_t value) const {
  return atMost(value) - below(value);
}

int64_t TimeAtValue::atLeast(int32_t value) const {
  return whole - below(value);
}

int64_t TimeAtValue::atMost(int32_t value) const {
  return below(int64_t{value} + 1);
}

double TimeAtValue::mean() const {
  return whole == 0 ? held : weighted / static_cast<double>(whole);
}

int32_t TimeAtValue::percentile(double percent) const {
  if (whole == 0) return held;
  const double wanted = static_cast<double>(whole) * percent / 100;
  int64_t passed = 0;
  for (const auto& [number, block] : blocks) {
    if (static_cast<double>(passed + block.whole) < wanted) {
      passed += block.whole;
      continue;
    }
    for (size_t i = 0; i < kNeighbours; ++i) {
      if (!block.seen[i]) continue;
      passed += block.at(i);
      if (static_cast<double>(passed) >= wanted) return static_cast<int32_t>(valueOf(number, i));
    }
  }
  return most;
}
