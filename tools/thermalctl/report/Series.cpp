#include "report/Series.h"

#include <algorithm>
#include <array>

namespace {

using Point = Series::Point;
using Points = std::vector<Point>;

// What stays of the points from `first` to `last`, which lie in one stretch.
void keepOutline(Points::const_iterator first, Points::const_iterator last, Points& outline) {
  const auto [lowest, highest] = std::minmax_element(
      first, last, [](const Point& a, const Point& b) { return a.value < b.value; });
  std::array<Points::const_iterator, 4> picks{first, lowest, highest, last - 1};
  // One point may be several of the four: it stays once, and all of them in the order of their
  // times.
  std::sort(picks.begin(), picks.end());
  const auto end = std::unique(picks.begin(), picks.end());
  for (auto pick = picks.begin(); pick != end; ++pick)
    outline.push_back(**pick);
}

Points outlineOf(const Points& points, int64_t stretch) {
  Points outline;
  for (auto first = points.begin(); first != points.end();) {
    const int64_t number = first->time / stretch;
    const auto last = std::find_if(first, points.end(), [stretch, number](const Point& point) {
      return point.time / stretch != number;
    });
    keepOutline(first, last, outline);
    first = last;
  }
  return outline;
}

void appendNumber(std::string& text, int64_t number) {
  constexpr char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  uint64_t rest =
      number < 0 ? (static_cast<uint64_t>(-number) << 1 | 1) : static_cast<uint64_t>(number) << 1;
  for (; rest > 31; rest >>= 5)
    text += kDigits[32 | (rest & 31)];
  text += kDigits[rest];
}

} // namespace

void Series::add(int64_t time, int32_t value) {
  if (kept.size() >= capacity) thin();
  kept.push_back({time, value});
}

void Series::thin() {
  // Down to a half, so that what it costs is spread over as many points to come.
  Points outline = outlineOf(kept, stretch);
  while (outline.size() > capacity / 2) {
    // Stretches begin at multiples of their length, so that a longer one is made of whole shorter
    // ones, and the outline of an outline is that of the points themselves.
    stretch *= 2;
    outline = outlineOf(outline, stretch);
  }
  kept = std::move(outline);
}

std::string encoded(const Points& points) {
  std::string text;
  int64_t time = 0;
  int64_t step = 0;
  int64_t value = 0;
  for (const Point& point : points) {
    appendNumber(text, point.time - time - step);
    appendNumber(text, point.value - value);
    step = point.time - time;
    time = point.time;
    value = point.value;
  }
  return text;
}
