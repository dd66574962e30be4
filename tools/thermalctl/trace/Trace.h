#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "trace/Budget.h"

// What a run of the daemon shows, simulated or read from a log: first who takes part, then events
// in the order of time.
//
// Units: times in milliseconds since the start of the run, temperatures in millidegrees Celsius.

// What the nodes of some sensors count in, in thousandths of a degree: 100 are tenths. A sensor
// that is not named counts in thousandths.
using SensorUnits = std::map<std::string, int32_t>;

// One course of temperatures: a sensor of the board, or a node of the plant.
//
// Shape:  a name stands once among the sensors and once among the nodes.
// Units:  `period` in milliseconds, `limit` in millidegrees Celsius. `unit` is what the daemon's
//         numbers of it count, in thousandths of a degree; all else is told in millidegrees.
// Source: the board's environment, `--limit` and the plant. A record without a board gives names,
//         and a log also which sensors are virtual.
struct SensorTrack {
  // The nodes of the plant are shown beside the sensors: what the heat really is, whatever a sensor
  // makes of it, and where the daemon has to guess.
  enum class Kind { kReal, kVirtual, kPlantNode };
  std::string name;
  Kind kind = Kind::kReal;
  std::optional<uint32_t> period; // between two samples, if it is known
  std::optional<int32_t> limit;   // the lowest that the temperature must never pass
  int32_t unit = 1;

  // Of a number of the daemon's.
  int32_t millidegreesOf(int32_t number) const {
    const int64_t millidegrees = int64_t{number} * unit;
    return static_cast<int32_t>(std::clamp<int64_t>(millidegrees, INT32_MIN, INT32_MAX));
  }
  bool isNode() const { return kind == Kind::kPlantNode; }
};

// One device and what its levels mean.
//
// Shape:  `levels[i]` is the entry of level i as the environment file has it, without quotes.
// Units:  an entry is text in whatever unit the device's driver takes.
// Source: the board's environment. Without a board a trace.csv gives the name alone, and a log
//         names no device.
struct DeviceTrack {
  std::string name;
  std::string kind;                // the word of its section, such as "cpufreq"; may be unknown
  std::vector<std::string> levels; // its table's texts; empty for a report, or if unknown
};

// One algorithm of one configuration: what it watches, what it drives and when.
//
// Shape:  told apart from its namesakes by `configuration` and `scenario`. Of a record without a
//         board `devices` and `thresholds` are empty.
// Units:  thresholds in millidegrees Celsius.
// Source: an item of a configuration file, or the messages that name it.
struct AlgorithmTrack {
  enum class Kind { kMonitor, kStep };
  // Reached and left again at these temperatures, as the file has them, `lowactive` or not.
  //
  // Shape: `cleared` is `reached` where the file has no clearing threshold for the level.
  // Units: millidegrees Celsius.
  struct Threshold {
    int32_t reached = 0;
    int32_t cleared = 0;
  };
  std::string name; // not unique: every scenario and every configuration may have one of this name
  std::string configuration;
  std::string scenario;
  Kind kind = Kind::kMonitor;
  std::optional<size_t> sensor; // an index into TraceDescription::sensors
  std::vector<size_t> devices;  // indices into TraceDescription::devices, each once
  // One per level of a monitor; a step algorithm has one, of its set points.
  std::vector<Threshold> thresholds;
  bool lowactive = false;
};

// What a source of heat has given off in a run and, if it does work, how much of the work asked for
// was done.
//
// Units: work in load times seconds, with load as the share of the source's full speed: a CPU that is
//        asked for half of what it can do over ten seconds has a demand of 5. Heat in joules.
struct Performance {
  std::string source;
  double demanded = 0; // both 0 for a source that does no work
  double delivered = 0;
  double joules = 0;
};

// Who takes part in a run, told to a sink before the first event.
//
// Shape: every event names its sensor, device or algorithm by the index into these lists, so that
//        nothing is added, taken out or moved once the run has begun.
// Units: `duration` in milliseconds.
struct TraceDescription {
  std::string name; // of the run, unique among those that are compared
  std::vector<SensorTrack> sensors;
  std::vector<DeviceTrack> devices;
  // Those of every configuration that can come in force, in whatever scenario.
  std::vector<AlgorithmTrack> algorithms;
  std::vector<std::string> sources; // of heat, each name once; none where no plant is known
  std::vector<Budget> budgets;      // each once
  // How long the run will be, if that is known before its end.
  std::optional<int64_t> duration;

  // Has the board's sensors count in those units.
  void countIn(const SensorUnits& units);
  // Adds a budget, unless it is there.
  void hold(const Budget& budget);
  // A limit that one of the sensors is held to, whatever name it bears.
  void hold(SensorTrack& sensor, Budget limit);
};

// Takes one run after the other: `begin`, events of which none is earlier than the one before it,
// `end`. This one shows nothing: whoever only wants to learn who takes part goes through a
// recording with it.
//
// Shape:   at time 0 there is a `configuration`, a `scenario` and a `level` for every device with a
//          table, if they are known, and a `power` for every source; an algorithm is asleep until
//          its first event. Indices are those of the description, which a sink copies if it needs
//          it after `begin`.
// Units:   times in milliseconds since the start of the run, temperatures in millidegrees Celsius,
//          power in microwatts.
// Errors:  a sink tells of no failure here. One that writes to a stream leaves it to the stream's
//          owner to ask how that went.
// Threads: one, the caller's.
class TraceSink {
public:
  // In the place of a level, of which none is below 0.
  static constexpr int32_t kAsleep = -1;

  TraceSink() = default;
  virtual ~TraceSink() = default;
  TraceSink(const TraceSink&) = delete;
  TraceSink& operator=(const TraceSink&) = delete;

  virtual void begin(const TraceDescription& /*run*/) {}
  // One sample, whether it differs from the last one or not.
  virtual void temperature(int64_t /*time*/, size_t /*sensor*/, int32_t /*millidegrees*/) {}
  // The merged level that a device went to. `entry` is the table's text, empty if it is unknown.
  virtual void level(int64_t /*time*/, size_t /*device*/, int32_t /*level*/,
                     const std::string& /*entry*/) {}
  // The level (the step count of a step algorithm) that an awake algorithm went to, from 0 on, or
  // kAsleep.
  virtual void algorithm(int64_t /*time*/, size_t /*algorithm*/, int32_t /*level*/) {}
  // What a source gives off from now on, told when it changes.
  virtual void power(int64_t /*time*/, size_t /*source*/, int64_t /*microwatts*/) {}
  virtual void scenario(int64_t /*time*/, const std::string& /*name*/) {}
  virtual void configuration(int64_t /*time*/, const std::string& /*name*/) {}
  // Nothing is known of the time between the two, in which no event lies, nor of `sensor` alone; it
  // is told at its end. Behind it all is as before until an event says otherwise, but for
  // temperatures, which their next sample tells.
  virtual void gap(int64_t /*from*/, int64_t /*to*/, std::optional<size_t> /*sensor*/) {}
  // From now on the daemon samples and decides nothing, although the run goes on.
  virtual void standstill(int64_t /*time*/) {}
  // `performance` is empty where no plant is known.
  virtual void end(int64_t /*time*/, const std::vector<Performance>& /*performance*/) {}
};
