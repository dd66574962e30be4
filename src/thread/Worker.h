#pragma once

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <thread>

#include "base/ItemList.h"
#include "base/ThermalThread.h"

// When a wait for `period` that begins at `now` ends: at `phase` and a multiple of the period and a
// fiftieth of it, if such a moment is near. These moments are moments of half the period as well,
// so that workers of one phase wake the processor together, where they would drift apart by what
// their passes cost. A wait never ends early, and late by a fiftieth at most; away from its
// moments, each wait brings a worker that much closer to one.
inline std::chrono::steady_clock::time_point
endOfWait(std::chrono::steady_clock::time_point now, std::chrono::nanoseconds period,
          std::chrono::steady_clock::time_point phase) {
  const std::chrono::nanoseconds longest = period + period / 50;
  const auto latest = now + longest;
  return std::max(now + period, latest - (latest - phase) % longest);
}

// The worker base over an item type: `Sensor`, `Monitor`, `SS` or `Scenario`.
//
// Units:   `period` in milliseconds; below 1 the worker still waits 1 ms per cycle.
// Threads: the body holds `loopMutex`, then `sleepMutex`, for its whole run, but for its waits.
//          `activate` and `deactivate` may be called by any thread. Items are never owned here.
template <typename T> class thermalThread : public ThermalThread {
public:
  explicit thermalThread(int period_) : period(period_) {}

  void insert(T* item) { items.append(item); }

  void activate() override {
    {
      const std::lock_guard<std::mutex> guard(countMutex);
      if (activeCount++ != 0) return;
    }
    // The worker tests the count and then waits, and a notification between the two would be lost.
    // While it is about to wait, taking its `loopMutex` once proves that it waits by now, because
    // only the wait lets go of that mutex. Never a plain lock: a worker that found the count raised
    // keeps the mutex through its whole period.
    while (aboutToWait) {
      const std::unique_lock<std::mutex> waits(loopMutex, std::try_to_lock);
      if (waits) break;
      std::this_thread::yield();
    }
    activateCond.notify_one();
  }

  void deactivate() override {
    const std::lock_guard<std::mutex> guard(countMutex);
    if (activeCount >= 1) --activeCount;
  }

  int32_t period;
  // How many items are active. Written under `countMutex`; the worker reads it without.
  std::atomic<int32_t> activeCount{0};
  ItemList<T> items;
  std::mutex loopMutex;
  std::mutex countMutex;
  std::mutex sleepMutex;
  // Notified by `activate`, with the care described there; waits with `loopMutex`.
  std::condition_variable activateCond;
  // Notified, without a lock, by whoever wants something before the period is over; a notification
  // that comes before the wait is lost, and the period then runs its course. Waits with
  // `sleepMutex`.
  std::condition_variable sleepCond;
  // Written by `ThermalMain::runThreads`.
  std::atomic<bool> started{false};
  // Set once, by the scenario thread, when the worker has lost its last item.
  std::atomic<bool> stopRequested{false};

protected:
  // One wait, without a predicate: a spurious wake-up costs one pass.
  void waitUntilActive(std::unique_lock<std::mutex>& loopLock) {
    // Raised before the count is read, as `activate` raises the count before it reads the flag: at
    // least one of the two sees the other.
    aboutToWait = true;
    if (activeCount == 0) {
      activateCond.wait(loopLock);
      phase = std::chrono::steady_clock::now();
    }
    aboutToWait = false;
  }

  void waitForPeriod(std::unique_lock<std::mutex>& sleepLock) {
    sleepCond.wait_until(sleepLock, endOfPeriod());
  }

  std::chrono::steady_clock::time_point endOfPeriod() const {
    return endOfWait(std::chrono::steady_clock::now(),
                     std::chrono::milliseconds(std::max(period, 1)), phase);
  }

private:
  std::atomic<bool> aboutToWait{false};
  // The worker's own. Whoever is woken by a sample goes on right behind the samples.
  std::chrono::steady_clock::time_point phase;
};
