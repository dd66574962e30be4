#pragma once

#include <deque>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "report/TimeAtValue.h"
#include "trace/Trace.h"

// Runs in figures, side by side.
//
// Shape:  tracks of one name share their rows, whichever runs have them; "-" stands where a run has
//         no such value.
// Units:  shown in degrees Celsius with one digit, h:mm:ss, per cent, changes per minute, and joules.
// Memory: grows with the number of different values, not with the length of a run.
class Summary : public TraceSink {
public:
  void begin(const TraceDescription& run) override;
  void temperature(int64_t time, size_t sensor, int32_t millidegrees) override;
  void level(int64_t time, size_t device, int32_t level, const std::string& entry) override;
  void power(int64_t time, size_t source, int64_t microwatts) override;
  void gap(int64_t from, int64_t to, std::optional<size_t> sensor) override;
  void standstill(int64_t time) override;
  void end(int64_t time, const std::vector<Performance>& performance) override;

  // Whether any sample of a sensor was above its limit.
  bool passedALimit() const;
  // Why of a run it cannot be said that all limits were kept, a sentence each: the daemon stood
  // still, or a sensor with a limit never had a sample.
  std::vector<std::string> unjudged() const;

  // A column for each run. Per sensor the peak, the mean, the time at or past each threshold that
  // any of the configurations has for it, and whether its limit was kept; per device the mean
  // level, the share of each level, the changes a minute and how much of its first entry it gave on
  // average; of each source the work done of the work asked for, and the heat that it gave off.
  void print(std::ostream& out) const;

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

  struct Run {
    explicit Run(const TraceDescription& description_)
        : description(description_), temperatures(description_.sensors.size()),
          levels(description_.devices.size()), heats(description_.sources.size()) {}

    TraceDescription description;
    std::vector<TimeAtValue> temperatures; // of each sensor
    std::vector<TimeAtValue> levels;       // of each device
    std::vector<Heat> heats;               // of each source
    std::vector<Performance> performance;
    std::optional<int64_t> standstill; // since when, in milliseconds
    int64_t duration = 0;              // milliseconds
    int64_t inGaps = 0;                // of these, in which nothing is known of anything
  };

  // Of a group's name, a label and a cell for each run; without cells the label may run on.
  using Rows = std::vector<std::vector<std::string>>;

  // A row of `cell(run)` of each run.
  template <typename Cell>
  void addRow(const std::string& group, const std::string& label, Rows& rows, Cell cell) const;
  void addSensor(const SensorTrack& sensor, Rows& rows) const;
  // Whether a sensor with a limit has kept it.
  static std::string verdictOf(const Run& run, const SensorTrack& sensor);
  void addDevice(const DeviceTrack& device, Rows& rows) const;
  void addPerformance(const std::string& source, Rows& rows) const;

  std::deque<Run> runs;
};
