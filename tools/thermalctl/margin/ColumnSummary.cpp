#include "margin/ColumnSummary.h"

#include <algorithm>

#include "margin/Measures.h"

// Exact percentiles of more values than memory holds, in three passes over a column: the range;
// how many values lie in each of 65,536 equal parts of it, which tells the part of each
// percentile; and within these parts how many there are of each value.

namespace {

constexpr int64_t kParts = 65'536;

template <typename Visit> void eachSeen(const UnitRows& rows, size_t column, Visit visit) {
  rows.eachBlock({column}, [&](size_t, size_t, const std::vector<std::vector<int32_t>>& values) {
    for (const int32_t value : values.front())
      if (value != kUnseen) visit(value);
  });
}

// A place in which a percentile lies, and where in it.
struct Wanted {
  size_t place;
  uint64_t within; // the how-manieth of the place, from 1
  std::vector<uint64_t> counts;
};

} // namespace

ColumnSummary::ColumnSummary(const UnitRows& rows, size_t column) {
  measure(rows, column);
  if (units == 0) return;
  findPercentiles(rows, column);
  rank();
}

void ColumnSummary::measure(const UnitRows& rows, size_t column) {
  int64_t sum = 0;
  eachSeen(rows, column, [&](int32_t value) {
    least = units == 0 ? value : std::min(least, value);
    most = units == 0 ? value : std::max(most, value);
    sum += value;
    ++units;
  });
  if (units == 0) return;
  mean = static_cast<double>(sum) / static_cast<double>(units);
  width = (int64_t{most} - least) / kParts + 1;
  counts.resize(placeOf(most) + 1);
  eachSeen(rows, column, [this](int32_t value) { ++counts[placeOf(value)]; });
}

void ColumnSummary::findPercentiles(const UnitRows& rows, size_t column) {
  std::vector<Wanted> wanted;
  for (const int percent : kPercentiles) {
    // As many as do not pass it, at least.
    uint64_t rest = std::max<uint64_t>(1, (units * static_cast<uint64_t>(percent) + 99) / 100);
    size_t place = 0;
    while (rest > counts[place])
      rest -= counts[place++];
    wanted.push_back({place, rest, std::vector<uint64_t>(static_cast<size_t>(width))});
  }
  const auto start = [this](size_t place) { return least + static_cast<int64_t>(place) * width; };
  if (width > 1) {
    eachSeen(rows, column, [&](int32_t value) {
      for (Wanted& each : wanted)
        if (placeOf(value) == each.place)
          ++each.counts[static_cast<size_t>(value - start(each.place))];
    });
  }
  for (Wanted& each : wanted) {
    size_t further = 0;
    while (width > 1 && each.within > each.counts[further])
      each.within -= each.counts[further++];
    percentiles.push_back(static_cast<int32_t>(start(each.place) + static_cast<int64_t>(further)));
  }
}

void ColumnSummary::rank() {
  const auto all = static_cast<double>(units);
  uint64_t before = 0;
  for (const uint64_t count : counts) {
    // Of equal values the middle, as rank correlations have it: half of them count as less.
    ranks.push_back(
        static_cast<float>((static_cast<double>(before) + static_cast<double>(count) / 2) / all));
    before += count;
  }
}

std::vector<uint64_t> ColumnSummary::histogram(size_t parts) const {
  std::vector<uint64_t> histogram(parts);
  for (size_t place = 0; place < counts.size(); ++place)
    histogram[place * parts / counts.size()] += counts[place];
  return histogram;
}
