#pragma once

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <thread>

#include "thread/ItemList.h"

// A worker: one thread of the process with the items that it serves in a loop.
class ThermalThread {
public:
  virtual ~ThermalThread() = default;
  ThermalThread(const ThermalThread&) = delete;
  ThermalThread& operator=(const ThermalThread&) = delete;

  // Counts one more active item; the first wakes the worker.
  virtual void activate() = 0;
  // Counts one less; without any the worker sleeps from its next cycle on.
  virtual void deactivate() = 0;
  // The thread body.
  virtual void operator()() = 0;

protected:
  ThermalThread() = default;
};

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
    if (activeCount == 0) activateCond.wait(loopLock);
    aboutToWait = false;
  }

  std::chrono::milliseconds waitLength() const {
    return std::chrono::milliseconds(std::max(period, 1));
  }

  void waitForPeriod(std::unique_lock<std::mutex>& sleepLock) {
    sleepCond.wait_for(sleepLock, waitLength());
  }

private:
  std::atomic<bool> aboutToWait{false};
};
