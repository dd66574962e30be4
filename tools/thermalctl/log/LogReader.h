#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "log/LogLine.h"
#include "log/LogTime.h"

// Goes through a log, in any of logcat's formats that has one line for a message, or in its "long"
// one, and gives the daemon's messages with their times.
//
// Shape:  a message is the daemon's by its beginning and, where the format has one, by its tag. All
//         other lines are passed over, and a line of the daemon that is not one whole message
//         counts as torn.
// Time:   that of the log; in a format without one, that of the samples: each real sensor's number
//         of samples times its period, as far as `periods` (in milliseconds, by name) knows it.
// Errors: none stops it. `counts` tells what was not understood.
class LogReader {
public:
  using Periods = std::map<std::string, uint32_t, std::less<>>;

  // What became of the lines so far.
  //
  // Shape: a line is `ours`, `torn` or neither; `firstTorn` is 0 where none is torn. `withoutTime`
  //        counts lines that are `ours`. `clockSet` is known only at the log's end.
  struct Counts {
    size_t lines = 0;
    size_t ours = 0;
    // Begun by the daemon, but not whole: cut off, or run together with another.
    size_t torn = 0;
    size_t firstTorn = 0; // its number, from 1
    size_t withoutTime = 0;
    uint32_t clockSet = 0;
  };

  // Both must outlive the reader.
  LogReader(std::string_view text, const Periods& periods);

  // The next message. Nothing at the end of the log.
  std::optional<LogLine> next();
  // Of the last message, in milliseconds since the first.
  int64_t time() const { return now; }
  const Counts& counts() const { return seen; }

private:
  std::string_view nextText();
  std::optional<LogLine> parse(std::string_view text);
  std::optional<LogLine> torn();
  void setTime(const std::optional<int64_t>& written, const LogLine& line);
  int64_t timeOfSample(const LogLine& line);

  std::string_view rest;
  const Periods& periods;
  Counts seen;
  LogClock clock;
  int64_t now = 0;
  // Of the header line before, in the "long" format.
  std::optional<int64_t> headerTime;
  bool headerIsOurs = false;
  std::map<std::string, int64_t, std::less<>> samples; // by sensor
};
