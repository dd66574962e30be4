#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "runtime/Scheduler.h"
#include "scenes/Scene.h"

class Algo;
class Board;
class Device;

// Watches the daemon of one scene and says what it did wrong. At rest, when every thread waits:
//   - no thread waits for a mutex, but for that of a device whose node blocks;
//   - no sensor thread is parked but in a change that is under way, and the scenario thread waits
//   at
//     a barrier only for a sensor thread that is in its period (it had begun its wait too late to
//     be notified) or has no active sensor; what else it waits for in a change takes 100 ms at
//     most;
//   - no worker sleeps over an active item, and none counts fewer active items than it has;
//   - every device stands at the level that its requests say, every request above 0 is that of an
//     awake item that wants it, and a monitor that is awake and in force has its requests: beside a
//     namesake that is not in force, at least some level. Two namesakes in force may take each
//     other's requests away.
// In a change a device that both sides want never falls to level 0, but where a worker was in the
// middle of a pass when the change began.
// And whenever an item decides:
//   - it was woken by a change in the scenario that this change enters, and it is its first
//     decision since; or the period of its worker is over, and it is its only one in this pass.
// An item that is awake throughout two passes has decided in the second one.
class Judge : public schedule::Observer {
public:
  explicit Judge(const Scene& scene_) : scene(scene_) {}

  // Forgets all items.
  void forget() { items.clear(); }
  // The beginning that every schedule starts from is set up.
  void keep();
  // A schedule begins.
  void begin(Board& board);
  // What is not yet so that must be so when the schedule ends; empty when nothing is missing.
  std::string missingAtEnd() const;

  // Told by the board's parts.
  void isNew(Algo& item);
  void changeBegins(bool newConf);
  void changeEnds();
  void isWoken(Algo& item);
  void decides(Algo& item);
  void hasDecided(Algo& item);
  void isApplied(Device& device);
  // How long the device's node blocks from now on, in nanoseconds.
  int64_t blocksFor(const Device& device) const;

  // Has the device's node block until then.
  void block(const std::string& device, int64_t until) { blockedUntil[device] = until; }

  void atRest() override;
  void waits(int fiber, const void* condition, int64_t deadline) override;
  void frees(const void* block, size_t size) override;
  std::string nameOf(int fiber) override;
  std::string describe(const volatile void* address) override;

private:
  struct Item {
    Algo* algo;
    bool gone = false;
    bool mayDecideAhead = false; // woken by a change, and has not decided since
    bool decidedInPass = false;
    int passesMissed = 0;
  };
  // A worker of items.
  struct Worker {
    const void* worker;
    const void* sleepCond;
    const void* activateCond;
    int64_t period;
    bool inPass = true; // since its latest wait for the period
    int64_t due = 0;    // when that wait is over
    int deciding = 0;
  };

  Item& itemOf(const Algo& algo);
  Worker& workerOf(const Algo& algo);
  template <typename Visit> void forEachWorker(Visit visit);
  template <typename Visit> void forEachLive(const Worker& worker, Visit visit);

  bool waits(const Worker& worker) const;
  bool isSomebodyBlocked() const;
  bool awaitsSleepingSensors() const;
  bool awaitsSensorsInTheirPeriod() const;
  void checkPatience();
  void checkFiber(int fiber, const schedule::Standing& standing);
  void checkWorkers();
  void checkDevices();
  void checkRequest(const Device& device, const std::string& requester, int32_t level);
  void checkRequestsOf(const Algo& algo);
  void passEnds(Worker& worker, int64_t deadline);
  [[noreturn]] void blame(const Algo& item, const std::string& what) const;

  const Scene& scene;
  Board* board = nullptr;
  std::vector<Item> items;
  std::vector<Item> itemsAtBegin;
  std::vector<Worker> workers;
  std::map<std::string, int64_t> blockedUntil;
  std::map<const Device*, bool> wasUp;
  std::array<std::string, schedule::kMostFibers> names;
  bool changing = false;
  bool changeIsForNewConf = false;
  // Some worker was in a pass when the latest change began: that one is not waited for.
  bool passesUnderWay = false;
  int changesDone = 0;
  int64_t pollingSince = schedule::kNever; // within a change
};
