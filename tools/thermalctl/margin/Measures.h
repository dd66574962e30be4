#pragma once

#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "report/RunFigures.h"
#include "trace/Trace.h"

// One figure of a run, as it is kept of each unit: a whole number, so that what becomes of many
// units is the same in whatever order they are added up.
//
// Shape:  `name` as in results.csv.
// Units:  of a temperature millidegrees, of a time milliseconds, of work millionths of a per cent;
//         changes and verdicts as they are counted.
struct Measure {
  enum class Of { kTemperature, kTime, kWork, kChanges, kVerdict };

  std::string name;
  Of of = Of::kTemperature;

  // In degrees Celsius, seconds, per cent, and changes a minute of a run of that many milliseconds.
  double inUnits(int32_t value, int64_t duration) const;
  const char* unit() const;
};

// Of what was never seen.
constexpr int32_t kUnseen = std::numeric_limits<int32_t>::min();
// What the numbers of kinds cannot hold is not run.
constexpr int64_t kLongestUnit = std::numeric_limits<int32_t>::max() / 2; // milliseconds

// Which of a run's measures a budget is held against, and which tells whether it was kept.
//
// Shape: indices of `measuresOf`.
struct BudgetMeasures {
  size_t measured = 0;
  size_t verdict = 0;
};

// What is kept of a run, and of its budgets.
struct RunMeasures {
  std::vector<Measure> measures;
  std::vector<BudgetMeasures> budgets;
};
RunMeasures measuresOf(const TraceDescription& run, const std::vector<std::string>& working);

// The same of one that has ended, in that order.
std::vector<int32_t> measuredIn(const RunFigures& run, const std::vector<std::string>& working);
