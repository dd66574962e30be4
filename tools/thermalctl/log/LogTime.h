#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

constexpr int64_t kSecond = 1000; // milliseconds

// A moment as a log has it.
//
// Units: milliseconds since some moment that all lines of one log share.
struct WrittenTime {
  int64_t at = 0;
  bool wholeSeconds = false; // finer than that it was not written
};

// When a line of a log was written, in milliseconds since some moment that all lines of one log
// share. Nothing for a line that does not begin with a time.
//
// Knows "MM-DD hh:mm:ss.fff" with or without a year before it and a zone behind it, and seconds
// since the epoch or the boot. Without a year all years count as common ones.
std::optional<int64_t> parseTime(std::string_view line);

// The same for "MM-DD hh:mm:ss", which only seconds follow.
std::optional<WrittenTime> parseWholeSeconds(std::string_view text);

// Makes a clock that was set, and a year that is not written, into a time that only goes on.
//
// Shape: lines up to a second out of order are those of threads that log at once, and share the
//        time of the latest. What falls further back, or leaps ahead by more than thirty days, is a
//        clock that was set; what falls back by more than half a year is a new year.
// Units: milliseconds; the first line is at 0.
class LogClock {
public:
  // Milliseconds since the first call, never less than the last result.
  int64_t at(int64_t written);

  // How often the clock was set. What it jumped is left out.
  uint32_t timesSet() const { return setCount; }

private:
  int64_t offset = 0;
  int64_t last = 0;
  bool running = false;
  uint32_t setCount = 0;
};
