#pragma once

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <mutex>
#include <thread>

#include "thread/Worker.h"

constexpr std::chrono::seconds kGenerousLimit{60};

// Waits until the condition holds; false when it does not within the limit.
template <typename Condition> bool eventually(Condition condition) {
  const auto limit = std::chrono::steady_clock::now() + kGenerousLimit;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > limit) return false;
    std::this_thread::sleep_for(std::chrono::microseconds(200));
  }
  return true;
}

// For what must happen before the test program can go on or end at all.
template <typename Condition> void eventuallyOrAbort(Condition condition, const char* what) {
  if (eventually(condition)) return;
  std::fprintf(stderr, "Still waiting for: %s\n", what);
  std::abort();
}

inline bool isOver(const std::future<void>& work) {
  return work.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
}

// Whether `work` is still going on after a moment in which it could well have ended.
inline bool staysUnderWay(const std::future<void>& work) {
  return work.wait_for(std::chrono::milliseconds(20)) == std::future_status::timeout;
}

inline bool isHeld(std::mutex& mutex) {
  const std::unique_lock<std::mutex> lock(mutex, std::try_to_lock);
  return !lock.owns_lock();
}

// A worker's thread holds both of its mutexes but for its two waits, each of which lets go of one.
template <typename T> bool sleepsUntilActive(thermalThread<T>& worker) {
  return isHeld(worker.sleepMutex) && !isHeld(worker.loopMutex);
}
template <typename T> bool sleepsThroughPeriod(thermalThread<T>& worker) {
  return isHeld(worker.loopMutex) && !isHeld(worker.sleepMutex);
}
