#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>

#include "terminal/ProgressLine.h"

// Tells on standard error how far all runs together are, if that is a terminal.
//
// Shape:   `what` each of them is called, such as "run".
// Units:   virtual time in milliseconds, `each` of one of them.
// Threads: any.
class StudyProgress {
public:
  StudyProgress(std::string what, size_t count, int64_t each);

  // So much more virtual time has passed in one of them.
  void advance(int64_t milliseconds);
  void finishOne();
  void clear();

private:
  using Clock = std::chrono::steady_clock;

  const std::string what;
  const size_t count;
  const double total; // milliseconds
  std::mutex mutex;
  double passed = 0;
  size_t done = 0;
  ProgressLine line;
  const Clock::time_point start = Clock::now();
  // A study that is over before it would be read shows nothing.
  Clock::time_point next = start + std::chrono::milliseconds(300);
};
