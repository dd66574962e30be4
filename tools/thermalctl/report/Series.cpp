#include "report/Series.h"

#include <algorithm>
#include <array>

#include "report/Encoding.h"

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

} // namespace

void Series::add(int64_t time, int32_t value) {
  // Down to a half, so that what it costs is spread over as many points to come.
  if (kept.size() >= capacity) thin(capacity / 2);
  kept.push_back({time, value});
}

void Series::limitTo(size_t most) {
  capacity = std::min(capacity, most);
  if (kept.size() > capacity) thin(capacity);
}

void Series::thin(size_t most) {
  Points outline = outlineOf(kept, length);
  while (outline.size() > most) {
    // Stretches begin at multiples of their length, so that a longer one is made of whole shorter
    // ones, and the outline of an outline is that of the points themselves.
    length *= 2;
    outline = outlineOf(outline, length);
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
