#include "fit/Stretch.h"

#include <algorithm>
#include <limits>

#include <fmt/format.h>

#include "text/Phrases.h"

namespace {

using Interval = std::pair<double, double>;

// Behind fewer, the unknown start takes up all that they tell.
constexpr size_t kFewestRows = 10;

// A recording with less, in seconds, is hardly longer than clocks may be apart.
constexpr double kEnough = 3 * kClocksApart;

// When something is known of what warms the device.
Interval knownOf(const Recorded& recorded, const std::vector<double>& offsets) {
  Interval known = {std::numeric_limits<double>::lowest(), std::numeric_limits<double>::max()};
  for (size_t i = 0; i < recorded.files.size(); ++i) {
    const RecordedFile& file = recorded.files[i];
    if (file.changes.empty()) continue;
    known.first = std::max(known.first, file.first + offsets[i] - 1);
    known.second = std::min(known.second, file.last + offsets[i] + 1);
  }
  return known;
}

std::vector<Interval> gapsOf(const Recorded& recorded, const std::vector<double>& offsets) {
  std::vector<Interval> gaps;
  for (size_t i = 0; i < recorded.files.size(); ++i) {
    if (recorded.files[i].changes.empty()) continue;
    for (const auto& [from, to] : recorded.files[i].gaps)
      gaps.emplace_back(from + offsets[i], to + offsets[i]);
  }
  std::sort(gaps.begin(), gaps.end());
  return gaps;
}

std::pair<size_t, size_t> rowsWithin(const RecordedFile& file, double offset,
                                     const Interval& span) {
  const auto before = [offset](const ReadingRow& row, double time) {
    return row.time + offset < time;
  };
  const auto first = std::lower_bound(file.rows.begin(), file.rows.end(), span.first, before);
  const auto end = std::lower_bound(first, file.rows.end(), span.second, before);
  return {static_cast<size_t>(first - file.rows.begin()),
          static_cast<size_t>(end - file.rows.begin())};
}

std::vector<Stretch> stretchesWithin(const Interval& known, const Recorded& recorded, size_t number,
                                     const std::vector<double>& offsets) {
  std::vector<Interval> spans;
  double from = known.first;
  for (const auto& [gapFrom, gapTo] : gapsOf(recorded, offsets)) {
    // A reading just behind the last of what was written is as good as it.
    if (gapFrom > from) spans.emplace_back(from, gapFrom);
    from = std::max(from, gapTo);
  }
  if (from < known.second) spans.emplace_back(from, known.second);

  std::vector<Stretch> stretches;
  for (const Interval& span : spans) {
    Stretch stretch{number, {}};
    size_t count = 0;
    for (size_t i = 0; i < recorded.files.size(); ++i) {
      stretch.rows.push_back(rowsWithin(recorded.files[i], offsets[i], span));
      count += stretch.rows.back().second - stretch.rows.back().first;
    }
    if (count >= kFewestRows) stretches.push_back(std::move(stretch));
  }
  return stretches;
}

// Of the longest one.
double lengthOf(const Recorded& recorded, const std::vector<Stretch>& stretches) {
  double length = 0;
  for (const Stretch& stretch : stretches)
    for (size_t i = 0; i < stretch.rows.size(); ++i) {
      const auto& [first, end] = stretch.rows[i];
      const std::vector<ReadingRow>& rows = recorded.files[i].rows;
      if (first < end) length = std::max(length, rows[end - 1].time - rows[first].time);
    }
  return length;
}

} // namespace

std::vector<Stretch> stretchesOf(const Recorded& recorded, size_t number,
                                 const std::vector<double>& offsets) {
  return stretchesWithin(knownOf(recorded, offsets), recorded, number, offsets);
}

std::vector<Stretch> stretchesOf(const Recorded& recorded, size_t number) {
  const std::vector<double> offsets(recorded.files.size(), 0);
  std::vector<Stretch> stretches = stretchesOf(recorded, number, offsets);
  if (recorded.files.size() == 1 || lengthOf(recorded, stretches) >= kEnough) return stretches;
  Interval known = knownOf(recorded, offsets);
  known.first -= kClocksApart;
  known.second += kClocksApart;
  return stretchesWithin(known, recorded, number, offsets);
}

std::string tooShortInWords(const Recorded& recorded) {
  size_t rows = 0;
  for (const RecordedFile& file : recorded.files)
    rows += file.rows.size();
  if (rows < kFewestRows)
    return fmt::format("is too short: it has {} of readings, and {} are the least",
                       counted(rows, "row"), kFewestRows);
  const Interval known = knownOf(recorded, std::vector<double>(recorded.files.size(), 0));
  return fmt::format("is too short: nowhere are there {} rows of readings without a gap while the "
                     "loads are known, from {:g} s to {:g} s",
                     kFewestRows, known.first + 1, known.second - 1);
}
