#pragma once

#include <chrono>
#include <string>

// How a request waits for the daemon: by which clock, and what an onlooker is told meanwhile. A
// test has one whose time passes only when it is asked to pause.
//
// Threads: `pause` may block the caller, for about its time.
class Waiting {
public:
  using Time = std::chrono::steady_clock::time_point;
  // For a pause that nothing ends early.
  static constexpr int kNothing = -1;

  virtual ~Waiting() = default;

  virtual Time now() = 0;
  // Ends early when `descriptor` can be read.
  virtual void pause(std::chrono::milliseconds time, int descriptor = kNothing) = 0;
  // What is waited for from now on.
  virtual void stage(const std::string& what) = 0;
};

// Looks at `condition` several times a second, and whenever there is something to read at
// `descriptor`; false once `limit` is reached without it. It is looked at before the clock, so that
// what has come true by the limit counts. The daemon touches its files once a second: looking more
// often would find nothing sooner that a user could notice.
template <typename Condition>
bool waitUntil(Waiting& waiting, Waiting::Time limit, Condition condition,
               int descriptor = Waiting::kNothing) {
  while (!condition()) {
    if (waiting.now() >= limit) return false;
    waiting.pause(std::chrono::milliseconds(50), descriptor);
  }
  return true;
}
