#pragma once

#include <mutex>
#include <vector>

#include "thread/ThermalThread.h"

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
      this->waitForPeriod(sleepLock);
    }
  }

  // One decision of every active item. The thread body's pass; without a thread, a whole period's
  // work.
  void decisionPass() {
    this->items.walk([](T& item) {
      if (!item.active) return;
      item.decision();
      // Here, where it is known that the item was awake: a scenario change may put it to sleep
      // before the decision has taken its first look.
      item.withdrawIfAsleep();
    });
  }

  // Whether an item was woken and has not decided since. For the thread that changes `items`.
  bool hasUndecided() const {
    for (const T* item : this->items) {
      if (item->active && item->undecided) return true;
    }
    return false;
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
};
