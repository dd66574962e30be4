#pragma once

#include <mutex>
#include <vector>

#include "thread/Worker.h"

// What the workers of both kinds of algorithm do.
template <typename T> class AlgoThread : public thermalThread<T> {
public:
  using thermalThread<T>::thermalThread;

  void operator()() override {
    std::unique_lock<std::mutex> loopLock(this->loopMutex);
    std::unique_lock<std::mutex> sleepLock(this->sleepMutex);
    while (!this->stopRequested) {
      this->waitUntilActive(loopLock);
      decisionPass();
      waitThroughPeriod(sleepLock);
    }
  }

  // One decision of every active item. The thread body's pass; without a thread, a whole period's
  // work.
  void decisionPass() {
    this->items.walk([](T& item) {
      if (item.active) decide(item);
    });
  }

  // One decision of the items that a change of scenario waits for.
  void decideWoken() {
    this->items.walk([](T& item) {
      if (isWoken(item)) decide(item);
    });
  }

  // Whether an item was woken by the change to the scenario in force and has not decided since. For
  // the thread that changes `items`.
  bool hasWoken() const {
    for (const T* item : this->items) {
      if (isWoken(*item)) return true;
    }
    return false;
  }

  // For the thread that leads a change: where the change begins, and whether it has to wait for
  // this worker. It never does for one that is still in the pass that it was in before; something
  // holds that one up.
  void noteDecisionUnderWay() { walkBefore = this->items.walkUnderWay(); }
  bool isAwaited() const {
    const bool heldUp = walkBefore != 0 && this->items.walkUnderWay() == walkBefore;
    return !heldUp && hasWoken();
  }

  // Deletes the items marked `old`. Returns true, with `stopRequested` set, when none is left.
  bool destroyOldItems() {
    std::vector<T*> kept;
    std::vector<T*> retired;
    for (T* item : this->items)
      (item->old ? retired : kept).push_back(item);
    // From here on no pass sees a retired item, so it can neither decide again nor be read after
    // its end.
    if (!retired.empty()) this->items.replace(kept);
    for (T* item : retired) {
      // Woken by a scenario that came with the switch itself, and nobody else would withdraw its
      // request.
      if (item->active) item->deactivate();
      delete item;
    }
    if (kept.empty()) this->stopRequested = true;
    return kept.empty();
  }

private:
  static bool isWoken(const T& item) { return item.active && item.inForce && item.undecided; }

  static void decide(T& item) {
    item.decision();
    // Here, where it is known that the item was awake: a scenario change may put it to sleep before
    // the decision has taken its first look.
    item.withdrawIfAsleep();
  }

  // Notified before its time the worker lets the items decide that a change of scenario waits for,
  // and goes on to wait: all others keep their cycle.
  void waitThroughPeriod(std::unique_lock<std::mutex>& sleepLock) {
    const auto end = this->endOfPeriod();
    while (this->sleepCond.wait_until(sleepLock, end) == std::cv_status::no_timeout) {
      if (this->stopRequested) return;
      decideWoken();
    }
  }

  // The number of the pass that was under way when a change began. The leading thread's alone.
  uint32_t walkBefore = 0;
};
