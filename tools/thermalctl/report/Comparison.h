#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "report/HeldSeries.h"
#include "trace/Trace.h"

// How far runs that were simulated are from those of a device, sensor by sensor.
//
// Shape:  each live run with each simulated one. The two began at different times: the simulated one
//         is moved to where the shapes of the temperatures agree best, whatever constant difference
//         is between them; at least half of the shorter run has to lie in the other. A mean, an RMS
//         and a largest difference are those of simulated less live, over what lies in both.
// Units:  shown in kelvin and seconds.
// Memory: bounded, however long the runs are (see HeldSeries).
class Comparison : public TraceSink {
public:
  enum class Origin { kLive, kSimulated };
  // Of the runs that come from now on.
  void nextAre(Origin origin) { next = origin; }

  void begin(const TraceDescription& run) override;
  void temperature(int64_t time, size_t sensor, int32_t millidegrees) override;
  void gap(int64_t from, int64_t to, std::optional<size_t> sensor) override;
  void end(int64_t time, const std::vector<Performance>& performance) override;

  // Nothing unless there are runs of both kinds.
  void print(std::ostream& out) const;

private:
  struct Run {
    Origin origin = Origin::kLive;
    std::string name;
    std::vector<std::string> names;  // of the sensors
    std::vector<HeldSeries> courses; // of each sensor
    int64_t duration = 0;
  };
  struct Pair;

  static void print(const Pair& pair, std::ostream& out);

  Origin next = Origin::kLive;
  std::deque<Run> runs;
};
