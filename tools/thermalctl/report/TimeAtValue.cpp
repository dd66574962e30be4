#include "report/TimeAtValue.h"

#include <algorithm>
#include <numeric>

namespace {

using Times = std::map<int32_t, int64_t>;

int64_t sum(Times::const_iterator first, Times::const_iterator last) {
  return std::accumulate(first, last, int64_t{0}, [](int64_t total, const Times::value_type& held) {
    return total + held.second;
  });
}

} // namespace

void TimeAtValue::set(int64_t time, int32_t value) {
  if (current == value) return;
  finish(time);
  if (current) ++changeCount;
  current = value;
  // A value that another replaces at the same time was still there: it may be the highest.
  times.try_emplace(value, 0);
}

void TimeAtValue::finish(int64_t time) {
  if (current) times[*current] += time - since;
  since = time;
}

void TimeAtValue::skip(int64_t from, int64_t to) {
  finish(std::max(from, since));
  since = std::max(to, since);
}

int64_t TimeAtValue::total() const {
  return sum(times.begin(), times.end());
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
  const int64_t whole = total();
  if (whole == 0) return *current;
  double weighted = 0;
  for (const auto& [value, time] : times)
    weighted += static_cast<double>(value) * static_cast<double>(time);
  return weighted / static_cast<double>(whole);
}

int32_t TimeAtValue::percentile(double percent) const {
  const int64_t whole = total();
  if (whole == 0) return *current;
  const double wanted = static_cast<double>(whole) * percent / 100;
  int64_t passed = 0;
  for (const auto& [value, time] : times) {
    passed += time;
    if (static_cast<double>(passed) >= wanted) return value;
  }
  return highest();
}
