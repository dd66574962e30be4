#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>

#include "log/LogLine.h"

// The periods of the real sensors, in milliseconds, by name.
using Periods = std::map<std::string, uint32_t, std::less<>>;

// The time of a log that does not write it, or only whole seconds of it, as the samples of the real
// sensors tell it.
//
// Shape: a change of the scenario wakes every sensor's thread ahead of its time: it samples twice
//        and begins a new period then. Neither sample is a period; that the change fell into the
//        middle of one is the best guess.
// Units: milliseconds, of which no result is less than the one before.
class SampleClock {
public:
  // Must outlive the clock. A sensor that it does not have tells no time.
  explicit SampleClock(const Periods& periods_) : periods(periods_) {}

  // In a log without times, since the first message.
  int64_t at(const LogLine& line);
  // In one of whole seconds: within the one in which the line was written.
  int64_t within(int64_t second, const LogLine& line);

private:
  // Within whole seconds: a sensor's latest sample, and how many of a change are still to come.
  struct Beat {
    int64_t latest;
    uint32_t woken;
  };

  void beginChange();
  void wakeBeats(const LogLine& line);

  const Periods& periods;
  int64_t now = 0;
  int64_t base = 0;                                   // from which on the samples count
  std::map<std::string, int64_t, std::less<>> counts; // of each sensor's samples since
  std::set<std::string, std::less<>> inChange;        // whose next sample is that of the change
  std::map<std::string, Beat, std::less<>> beats;     // of each sensor
};
