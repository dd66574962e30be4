#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "log/LineSource.h"
#include "log/LogHeader.h"
#include "log/LogLine.h"
#include "log/LogTime.h"
#include "log/SampleClock.h"

// Goes through a log, in whatever form it is written, and gives the daemon's messages with their
// times.
//
// Shape:  a message is the daemon's by its beginning and, where the form has one, by its tag. All
//         other lines are passed over, and a line of the daemon that is not one whole message
//         counts as torn. What a message points to stands until the next one.
// Time:   that of the log; where it writes none, or whole seconds, the samples tell it as far as
//         their periods are known.
// Errors: none stops it. `counts` tells what was not understood.
class LogReader {
public:
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

  // Begins with the first line. Both must outlive the reader.
  LogReader(LineSource& source, const Periods& periods);

  // The next message. Nothing at the end of the log.
  std::optional<LogLine> next();
  // Of the last message, in milliseconds since the first.
  int64_t time() const { return now; }
  // How far the time of the last message may be off, in milliseconds; nothing where the log has no
  // times at all.
  std::optional<int64_t> uncertainty() const { return precision; }
  const Counts& counts() const { return seen; }

private:
  std::optional<LogLine> parse(std::string_view text);
  std::optional<LogLine> torn();
  void setTime(const std::optional<WrittenTime>& written, const LogLine& line);

  LineSource& source;
  Counts seen;
  LogClock clock;
  SampleClock samples;
  int64_t now = 0;
  std::optional<int64_t> precision;
  std::optional<LongHeader> longHeader; // the latest, which holds up to the next one
};
