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

  virtual ~Waiting() = default;

  virtual Time now() = 0;
  virtual void pause(std::chrono::milliseconds time) = 0;
  // What is waited for from now on.
  virtual void stage(const std::string& what) = 0;
};

// Looks at `condition` several times a second; false once `limit` is reached without it. It is
// looked at before the clock, so that what has come true by the limit counts. The daemon touches
// its files once a second: looking more often would find nothing sooner that a user could notice.
template <typename Condition>
bool waitUntil(Waiting& waiting, Waiting::Time limit, Condition condition) {
  while (!condition()) {
    if (waiting.now() >= limit) return false;
    waiting.pause(std::chrono::milliseconds(50));
  }
  return true;
}
