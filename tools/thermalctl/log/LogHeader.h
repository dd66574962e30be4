#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "log/LogTime.h"

// What stands in front of a message of the daemon, in whatever form a log is written.
//
// Shape:  `message` is what comes behind it; it may be empty, or cut off. `pid` is 0 where the form
//         has none.
// Source: a line. The forms of logcat are brief, process, tag, thread, raw, time and threadtime,
//         each with any of its modifiers, and liblog's own on a host. The long form is another one:
//         its header is a line of its own.
struct LogHeader {
  std::string_view message;
  std::optional<WrittenTime> time;
  int32_t pid = 0;
};

// Nothing for a line that is not the daemon's. One without a header is, by the start of its
// message.
std::optional<LogHeader> parseHeader(std::string_view line);

// The header of the long form, "[ 01-30 14:03:22.123  1234: 5678 V/tag ]", of whomever.
//
// Shape: as above, without a message.
struct LongHeader {
  std::optional<WrittenTime> time;
  bool isOurs = false;
  int32_t pid = 0;
};
std::optional<LongHeader> parseLongHeader(std::string_view line);

// Whether `text` is the start of a message of the daemon, or all of it that a cut has left.
bool beginsMessage(std::string_view text);
