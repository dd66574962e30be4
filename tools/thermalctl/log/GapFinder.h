#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "log/LogLine.h"
#include "log/SampleClock.h"

// A stretch of a log of which it tells nothing.
//
// Shape: `sensor` is empty where nobody is heard of.
// Units: milliseconds since the start of the log.
struct LogGap {
  int64_t from = 0;
  int64_t to = 0;
  std::string sensor;
};

// Finds where a log is silent for longer than the periods of the sensors explain: the device was
// suspended, lines were dropped, the clock was set forward, a thread hung in a driver.
//
// Shape:   a gap begins a period behind the last sample, since for so long a sample holds. A virtual
//          sensor may be switched off and is never missed.
// Units:   milliseconds.
// Source:  the periods of the board's environment; of a sensor that it does not have, those that
//          `PeriodsSeen` found.
class GapFinder {
public:
  explicit GapFinder(const Periods& periods);

  // The gaps that end with this message. `uncertainty` is how far its time may be off.
  std::vector<LogGap> take(int64_t time, int64_t uncertainty, const LogLine& line);
  // Those in which the log ends.
  std::vector<LogGap> finish(int64_t time, int64_t uncertainty) const;

private:
  int64_t longest(int64_t period, int64_t uncertainty) const;

  const Periods& periods;
  int64_t shortestPeriod = 0;
  int64_t longestPeriod = 0;
  bool changing = false;
  std::optional<int64_t> lastMessage;
  std::map<std::string, int64_t, std::less<>> lastSample;
};

// Learns a sensor's period from the log: what lies between two samples most often.
//
// Units:  milliseconds, to the hundredth of a second.
// Memory: bounded, however long the log is.
class PeriodsSeen {
public:
  void take(int64_t time, const LogLine& sample);
  // Those that `known` does not have are added.
  void addTo(Periods& known) const;

private:
  struct Intervals {
    int64_t last = 0;
    std::map<int64_t, uint64_t> counts; // by their lengths
  };
  std::map<std::string, Intervals, std::less<>> sensors;
};
