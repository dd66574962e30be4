#pragma once

#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "report/TimeAtValue.h"
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

// How far a figure lies beyond a budget's bound, in the measure's unit; below 0 within it.
double beyond(const Budget& budget, const Measure& measure, int32_t value, int64_t duration);

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

// Takes a run, and keeps of it no more than its measures: a unit's courses are read by nobody.
//
// Shape: `values` in the order of `measuresOf`, once the run has ended. They are those that RunFigures
//        would give, for a part of the time that its records take.
class UnitFigures : public TraceSink {
public:
  // `working` as of `measuresOf`; must outlive this.
  explicit UnitFigures(const std::vector<std::string>& working_) : working(working_) {}

  void begin(const TraceDescription& run) override;
  void temperature(int64_t time, size_t sensor, int32_t millidegrees) override;
  void level(int64_t time, size_t device, int32_t level, const std::string& entry) override;
  void standstill(int64_t time) override { stoodStill = time; }
  void end(int64_t time, const std::vector<Performance>& performance) override;

  const std::vector<int32_t>& values() const { return measured; }

private:
  // What one of a course's budgets asks of it.
  struct Watch {
    size_t budget;
    int32_t bound;
    int64_t above = 0;
    // Of one that asks for a percentile.
    std::optional<TimeAtValue> record{};
  };
  // Of a sensor or a node: the present temperature since when, and the highest so far.
  struct Course {
    std::optional<int64_t> begun{};
    int64_t since = 0;
    int32_t value = 0;
    int32_t highest = kUnseen;
    std::vector<Watch> watches{};
  };
  struct Steps {
    std::optional<int32_t> level;
    int32_t changes = 0;
  };

  static void hold(Course& course, int64_t time);
  TimeAtValue recordOf(const Course& course, const Watch& watch) const;
  Verdict verdictOn(size_t budget, const std::vector<Performance>& performance) const;

  const std::vector<std::string>& working;
  const TraceDescription* description = nullptr;
  std::vector<Course> courses;
  std::vector<Steps> steps;
  std::optional<int64_t> stoodStill;
  int64_t duration = 0;
  std::vector<int32_t> measured;
};
