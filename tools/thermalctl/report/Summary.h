#pragma once

#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "report/RunFigures.h"
#include "trace/Budget.h"
#include "trace/Trace.h"

// Runs in figures, side by side.
//
// Shape:  tracks of one name share their rows, whichever runs have them; "-" stands where a run has
//         no such value.
// Units:  shown in degrees Celsius with one digit, h:mm:ss, per cent, changes per minute, and joules.
// Memory: grows with the number of different values, not with the length of a run.
class Summary final : public TraceSink {
public:
  void begin(const TraceDescription& run) override;
  void temperature(int64_t time, size_t sensor, int32_t millidegrees) override {
    runs.back()->temperature(time, sensor, millidegrees);
  }
  void level(int64_t time, size_t device, int32_t level, const std::string& entry) override;
  void power(int64_t time, size_t source, int64_t microwatts) override;
  void gap(int64_t from, int64_t to, std::optional<size_t> sensor) override;
  void standstill(int64_t time) override;
  void end(int64_t time, const std::vector<Performance>& performance) override;

  size_t size() const { return runs.size(); }
  // The run that began last.
  const RunFigures& last() const { return *runs.back(); }
  // All of the other's runs, behind its own.
  void take(Summary& other);

  // A column for each run. Per sensor the peak, the mean, the time at or past each threshold that
  // any of the configurations has for it, and whether its limits were kept; per device the mean
  // level, the share of each level, the changes a minute and how much of its first entry it gave on
  // average; of each source the work done of the work asked for, and the heat that it gave off; of
  // both what was required.
  void print(std::ostream& out) const;

private:
  // Of a group's name, a label and a cell for each run; without cells the label may run on.
  using Rows = std::vector<std::vector<std::string>>;

  // A row of `cell(run)` of each run.
  template <typename Cell>
  void addRow(const std::string& group, const std::string& label, Rows& rows, Cell cell) const;
  void addSensor(const SensorTrack& sensor, Rows& rows) const;
  // The verdicts on those budgets of any run that are meant.
  template <typename Meant>
  void addBudgets(const std::string& group, Rows& rows, Meant meant) const;
  void addRequirements(const std::string& name, Budget::Of of, Rows& rows) const;
  void addDevice(const DeviceTrack& device, Rows& rows) const;
  void addPerformance(const std::string& source, Rows& rows) const;

  std::vector<std::unique_ptr<RunFigures>> runs;
};
