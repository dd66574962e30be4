#include "report/TimeAtValue.h"

#include <algorithm>
#include <iterator>
#include <numeric>

namespace {

template <typename Iterator> int64_t sum(Iterator first, Iterator last) {
  return std::accumulate(first, last, int64_t{0},
                         [](int64_t total, const auto& held) { return total + held.second; });
}

} // namespace

void TimeAtValue::set(int64_t time, int32_t value) {
  if (!current) {
    since = time;
    current = times.try_emplace(value, 0).first;
    return;
  }
  if ((*current)->first == value) return;
  finish(time);
  ++changeCount;
  // A value that another replaces at the same time was still there: it may be the highest.
  current = times.try_emplace(placeOf(value), value, 0);
}

// What a value is put in front of. A temperature that moves goes to one of its neighbours, mostly.
TimeAtValue::Times::iterator TimeAtValue::placeOf(int32_t value) {
  constexpr int kNeighbours = 3;
  auto place = *current;
  for (int i = 0; i < kNeighbours; ++i) {
    if (place->first < value) {
      if (++place == times.end() || place->first >= value) return place;
    } else {
      if (place == times.begin() || std::prev(place)->first < value) return place;
      --place;
    }
  }
  return times.lower_bound(value);
}

void TimeAtValue::finish(int64_t time) {
  if (current) {
    (*current)->second += time - since;
    whole += time - since;
  }
  since = time;
}

void TimeAtValue::skip(int64_t from, int64_t to) {
  finish(std::max(from, since));
  since = std::max(to, since);
}

int64_t TimeAtValue::at(int32_t value) const {
  const auto held = times.find(value);
  return held == times.end() ? 0 : held->second;
}

int64_t TimeAtValue::atLeast(int32_t value) const {
  return sum(times.lower_bound(value), times.end());
}

int64_t TimeAtValue::atMost(int32_t value) const {
  return sum(times.begin(), times.upper_bound(value));
}

double TimeAtValue::mean() const {
  if (whole == 0) return (*current)->first;
  double weighted = 0;
  for (const auto& [value, time] : times)
    weighted += static_cast<double>(value) * static_cast<double>(time);
  return weighted / static_cast<double>(whole);
}

int32_t TimeAtValue::percentile(double percent) const {
  if (whole == 0) return (*current)->first;
  const double wanted = static_cast<double>(whole) * percent / 100;
  int64_t passed = 0;
  for (const auto& [value, time] : times) {
    passed += time;
    if (static_cast<double>(passed) >= wanted) return value;
  }
  return highest();
}
