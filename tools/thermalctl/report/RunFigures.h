#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "report/TimeAtValue.h"
#include "trace/Budget.h"
#include "trace/Trace.h"

// What is kept of one run to make figures of it, and what they make of its budgets.
//
// Shape:  the records and the verdicts are whole once the run has ended.
// Units:  milliseconds, and those of the records.
// Memory: grows with the number of different values, not with the length of the run.
class RunFigures final : public TraceSink {
public:
  void begin(const TraceDescription& run) override;
  void temperature(int64_t time, size_t sensor, int32_t millidegrees) override {
    temperatures[sensor].set(time, millidegrees);
    for (Watch& watch : watches[sensor]) {
      if (!watch.firstAbove && millidegrees > description.budgets[watch.budget].bound)
        watch.firstAbove = time;
    }
  }
  void level(int64_t time, size_t device, int32_t level, const std::string& entry) override;
  void power(int64_t time, size_t source, int64_t microwatts) override;
  void gap(int64_t from, int64_t to, std::optional<size_t> sensor) override;
  void standstill(int64_t time) override;
  void end(int64_t time, const std::vector<Performance>& performance) override;

  // Of which something is known.
  int64_t known() const { return duration - inGaps; }
  // What a source has done; null of one that the run does not have.
  const Performance* performanceOf(const std::string& source) const;
  // The same, of a run that knows what was asked for; null otherwise.
  const Performance* workOf(const std::string& source) const;
  // Nothing where no time is known.
  std::optional<double> changesAMinute(const TimeAtValue& levels_) const;
  // Why it cannot be said that all budgets were kept, a sentence each: the daemon stood still, or
  // what a budget is of was never seen.
  std::vector<std::string> unjudged() const;
  // The verdict on a budget that is one of the run's; null otherwise.
  const Verdict* verdictOn(const Budget& budget) const;

  TraceDescription description;
  std::vector<TimeAtValue> temperatures; // of each sensor
  std::vector<TimeAtValue> levels;       // of each device
  std::vector<Performance> performance;
  std::vector<Verdict> verdicts;     // of each budget
  std::optional<int64_t> stoodStill; // since when
  int64_t duration = 0;
  int64_t inGaps = 0; // of these, in which nothing is known of anything

private:
  // What a source gives off, of a run that tells its powers alone.
  //
  // Units: the energy up to `since`; times in milliseconds.
  struct Heat {
    int64_t microwatts = 0;
    int64_t since = 0;
    double joules = 0;

    void set(int64_t time, int64_t now) {
      joules += static_cast<double>(microwatts) * static_cast<double>(time - since) / 1e9;
      microwatts = now;
      since = time;
    }
  };

  // A temperature's budget, and when it was first above the bound.
  struct Watch {
    size_t budget;
    std::optional<int64_t> firstAbove{};
  };

  Verdict judge(size_t budget) const;
  void addHeats();

  std::vector<std::vector<Watch>> watches; // of each sensor
  std::vector<Heat> heats;                 // of each source
  bool workIsKnown = false;
};

// Whether the budget is a limit of that sensor.
inline bool isOf(const Budget& budget, const SensorTrack& sensor) {
  return budget.ofTemperature() && budget.name == sensor.name && budget.ofNode == sensor.isNode();
}
