#include "scenes/Judge.h"

#include <algorithm>
#include <cstdio>
#include <thread>

#include "algo/Monitor.h"
#include "algo/SS.h"
#include "device/Device.h"
#include "scenes/Board.h"
#include "thread/MonitorThread.h"
#include "thread/SSThread.h"
#include "thread/ScenarioThread.h"
#include "thread/SensorThread.h"

namespace {

constexpr int64_t kMillisecond = 1'000'000;
constexpr char kScenarioThread[] = "ScenarioThread";
constexpr int64_t kLongestPolling = 100 * kMillisecond;

using schedule::fail;
using schedule::State;

bool contains(const void* object, size_t size, const volatile void* address) {
  const auto* const first = static_cast<const volatile char*>(object);
  return address >= first && address < first + size;
}

int32_t mergedLevel(const Device& device) {
  int32_t level = 0;
  for (const auto& [requester, wanted] : device.requests)
    level = std::max(level, wanted);
  return std::min(level, static_cast<int32_t>(device.levelTable.size()) - 1);
}

// The level that an awake monitor wants from the device; nothing is -1.
int32_t wantedFrom(const Monitor& monitor, const Device& device) {
  const uint32_t level = monitor.status;
  if (level == 0) return -1;
  const auto& devices = monitor.actions.at(level - 1);
  const auto found = std::find(devices.begin(), devices.end(), &device);
  if (found == devices.end()) return -1;
  return monitor.actionInfo.at(level - 1).at(static_cast<size_t>(found - devices.begin()));
}

bool wants(const Algo& algo, const Device& device, int32_t level) {
  if (const auto* monitor = dynamic_cast<const Monitor*>(&algo))
    return wantedFrom(*monitor, device) == level;
  const auto& ss = dynamic_cast<const SS&>(algo);
  return ss.device == &device && ss.status > 0;
}

std::string inMs(int64_t time) {
  return std::to_string(time / kMillisecond) + " ms";
}

} // namespace

void Judge::keep() {
  itemsAtBegin = items;
}

void Judge::begin(Board& board_) {
  board = &board_;
  items = itemsAtBegin;
  workers.clear();
  blockedUntil.clear();
  wasUp.clear();
  names.fill("");
  changing = false;
  changesDone = 0;
  for (const Item& item : items)
    workerOf(*item.algo);
}

void Judge::isNew(Algo& item) {
  const auto known =
      std::find_if(items.begin(), items.end(), [&item](const Item& i) { return i.algo == &item; });
  if (known == items.end()) items.push_back({&item});
}

void Judge::changeBegins(bool newConf) {
  changing = true;
  changeIsForNewConf = newConf;
  pollingSince = schedule::kNever;
  passesUnderWay = std::any_of(workers.begin(), workers.end(),
                               [this](const Worker& worker) { return !waits(worker); });
}

void Judge::changeEnds() {
  changing = false;
  ++changesDone;
}

void Judge::isWoken(Algo& item) {
  if (item.active) return;
  const Sensor& sensor = *item.sensor;
  // The sensor has taken the new name and not yet left the old one.
  itemOf(item).mayDecideAhead =
      changing && !changeIsForNewConf && sensor.scenario != sensor.oldScenario;
}

void Judge::decides(Algo& item) {
  Item& known = itemOf(item);
  Worker& worker = workerOf(item);
  ++worker.deciding;
  known.passesMissed = 0;
  if (known.mayDecideAhead) {
    known.mayDecideAhead = false;
    return;
  }
  if (!worker.inPass && schedule::now() < worker.due) blame(item, "decides early");
  worker.inPass = true;
  if (known.decidedInPass) blame(item, "decides twice in one pass");
  known.decidedInPass = true;
}

void Judge::hasDecided(Algo& item) {
  itemOf(item); // it may have been freed under its decision
  --workerOf(item).deciding;
}

void Judge::isApplied(Device& device) {
  bool& up = wasUp[&device];
  const bool isUp = device.currentLevel > 0;
  const bool held =
      std::count(scene.heldThroughout.begin(), scene.heldThroughout.end(), device.name) > 0;
  if (up && !isUp && held && !passesUnderWay && !schedule::hasHurried())
    fail("device " + device.name + " falls to level 0 although somebody wants it throughout");
  up = up || isUp;
}

int64_t Judge::blocksFor(const Device& device) const {
  const auto blocked = blockedUntil.find(device.name);
  return blocked == blockedUntil.end() ? 0 : blocked->second - schedule::now();
}

void Judge::waits(int, const void* condition, int64_t deadline) {
  forEachWorker([&](Worker& worker) {
    if (worker.sleepCond == condition && deadline != worker.due) passEnds(worker, deadline);
  });
}

void Judge::passEnds(Worker& worker, int64_t deadline) {
  worker.inPass = false;
  worker.due = deadline;
  const int64_t period = worker.period * kMillisecond;
  if (deadline > schedule::now() + period + period / 50)
    fail("a worker sleeps for more than its period and a fiftieth");
  forEachLive(worker, [](Item& item) {
    // Woken behind the place that the walk had reached, it has to wait for the next one.
    // One that retires is out of its worker's sight before it is put to sleep.
    const bool expected = item.algo->active && !item.algo->old;
    if (!item.decidedInPass && expected && ++item.passesMissed > 1)
      fail("item " + item.algo->name + " is awake throughout a pass and does not decide in it");
    if (!item.algo->active) item.passesMissed = 0;
    item.decidedInPass = false;
  });
}

void Judge::frees(const void* block, size_t) {
  for (Item& item : items) {
    if (item.algo == block) item.gone = true;
  }
  workers.erase(std::remove_if(workers.begin(), workers.end(),
                               [block](const Worker& worker) { return worker.worker == block; }),
                workers.end());
}

void Judge::atRest() {
  for (int fiber = 1; fiber < schedule::fiberCount(); ++fiber)
    checkFiber(fiber, schedule::standingOf(fiber));
  if (changing) checkPatience();
  checkWorkers();
  if (!isSomebodyBlocked()) checkDevices();
}

void Judge::checkFiber(int fiber, const schedule::Standing& standing) {
  const bool atDevice =
      std::any_of(board->devices.begin(), board->devices.end(),
                  [&](const auto& entry) { return &entry.second->lock == standing.object; });
  if (standing.state == State::kAwaitsMutex && !(atDevice && isSomebodyBlocked()))
    fail(nameOf(fiber) + " waits for " + describe(standing.object) + " at rest");
  if (standing.state != State::kAwaitsCondition) return;
  for (const auto& [period, worker] : board->sensorThreads) {
    const bool parked = standing.object == &worker->handshakeCond[0] ||
                        standing.object == &worker->handshakeCond[1];
    if (parked && !changing)
      fail("sensor thread " + nameOf(fiber) + " is parked, and nobody leads a change");
    if (standing.object != &worker->activateCond) continue;
    for (const Sensor* sensor : worker->items) {
      if (sensor->active) fail("sensor thread " + nameOf(fiber) + " sleeps over an active sensor");
    }
  }
  if (standing.object == &board->scenarioThread->activateCond && !awaitsSleepingSensors() &&
      !awaitsSensorsInTheirPeriod() && !isSomebodyBlocked())
    fail("the scenario thread waits at a barrier for nobody");
}

void Judge::checkPatience() {
  for (int fiber = 1; fiber < schedule::fiberCount(); ++fiber) {
    if (schedule::standingOf(fiber).state != State::kSleeps || nameOf(fiber) != kScenarioThread)
      continue;
    pollingSince = std::min(pollingSince, schedule::now());
    if (schedule::now() - pollingSince > kLongestPolling && !schedule::hasHurried())
      fail("a change holds the sensor threads for more than " + inMs(kLongestPolling));
  }
}

void Judge::checkWorkers() {
  for (int fiber = 1; fiber < schedule::fiberCount(); ++fiber) {
    const schedule::Standing standing = schedule::standingOf(fiber);
    if (standing.state != State::kAwaitsCondition) continue;
    forEachWorker([&](Worker& worker) {
      if (worker.activateCond != standing.object) return;
      forEachLive(worker, [&](Item& item) {
        if (item.algo->active)
          fail("worker " + nameOf(fiber) + " sleeps over the active item " + item.algo->name);
      });
    });
  }
}

void Judge::checkDevices() {
  for (const auto& [name, device] : board->devices) {
    const int32_t merged = mergedLevel(*device);
    if (device->currentLevel != merged)
      fail("device " + name + " is at level " + std::to_string(device->currentLevel) +
           ", its requests say " + std::to_string(merged));
    for (const auto& [requester, level] : device->requests)
      checkRequest(*device, requester, level);
  }
  for (const Item& item : items) {
    if (!item.gone) checkRequestsOf(*item.algo);
  }
}

void Judge::checkRequest(const Device& device, const std::string& requester, int32_t level) {
  if (level <= 0) return;
  const bool backed = std::any_of(items.begin(), items.end(), [&](const Item& item) {
    return !item.gone && item.algo->active && item.algo->name == requester &&
           wants(*item.algo, device, level);
  });
  if (!backed)
    fail("device " + device.name + " is held at level " + std::to_string(level) + " for " +
         requester + ", which does not want it");
}

void Judge::checkRequestsOf(const Algo& algo) {
  if (!algo.active && algo.status > 0) blame(algo, "sleeps at a level above 0");
  const auto* monitor = dynamic_cast<const Monitor*>(&algo);
  // One whose scenario has just come back asks again with its next decision.
  if (!monitor || !algo.active || !algo.inForce || algo.returned) return;
  const auto namesakes = [&](auto counts) {
    return std::count_if(items.begin(), items.end(), [&](const Item& item) {
      return !item.gone && item.algo->name == algo.name && counts(*item.algo);
    });
  };
  if (namesakes([](const Algo& other) { return other.inForce.load(); }) > 1) return;
  const bool alone = namesakes([](const Algo&) { return true; }) == 1;
  for (const auto& [name, device] : board->devices) {
    const int32_t wanted = wantedFrom(*monitor, *device);
    if (wanted <= 0) continue;
    const auto request = device->requests.find(algo.name);
    const int32_t level = request == device->requests.end() ? 0 : request->second;
    if (alone ? level != wanted : level <= 0)
      blame(algo, "wants level " + std::to_string(wanted) + " of " + name + ", its request is " +
                      std::to_string(level));
  }
}

std::string Judge::missingAtEnd() const {
  const ScenarioThread& steering = *board->scenarioThread;
  if (changing && scene.mayAwaitSleepingSensors && awaitsSleepingSensors()) return "";
  if (changing) return "a change is under way";
  if (changesDone < scene.changes) return std::to_string(changesDone) + " changes are done";
  if (steering.currentScenName != scene.scenarioAtEnd)
    return "scenario " + steering.currentScenName + " is in force";
  if (steering.confState != "PARSED") return "a configuration is waiting";
  for (const auto& [name, level] : scene.levelsAtEnd) {
    const int32_t is = board->devices.at(name)->currentLevel;
    if (is != level)
      return "device " + name + " is at level " + std::to_string(is) + " instead of " +
             std::to_string(level);
  }
  return "";
}

std::string Judge::nameOf(int fiber) {
  if (fiber < 0) return "nobody";
  if (fiber == 0) return "outside";
  std::string& name = names[static_cast<size_t>(fiber)];
  if (!name.empty()) return name;
  for (const auto& [key, thread] : board->threads) {
    if (thread && thread->native_handle() == static_cast<pthread_t>(fiber + 1)) return name = key;
  }
  return "thread " + std::to_string(fiber);
}

std::string Judge::describe(const volatile void* address) {
  std::string found;
  const auto look = [&](const std::string& owner, const auto& field, const char* name) {
    if (found.empty() && contains(&field, sizeof field, address)) found = owner + "." + name;
  };
  const auto lookAtWorker = [&](const std::string& name, const auto& worker) {
    look(name, worker.activeCount, "activeCount");
    look(name, worker.loopMutex, "loopMutex");
    look(name, worker.countMutex, "countMutex");
    look(name, worker.sleepMutex, "sleepMutex");
    look(name, worker.activateCond, "activateCond");
    look(name, worker.sleepCond, "sleepCond");
    look(name, worker.started, "started");
    look(name, worker.stopRequested, "stopRequested");
    look(name, worker.items, "items");
  };
  for (const auto& [period, worker] : board->sensorThreads) {
    const std::string name = "sensors " + std::to_string(period);
    look(name, worker->handshakeMutex, "handshakeMutex");
    look(name, worker->handshakeCond, "handshakeCond");
    look(name, worker->scenChangeRequested, "scenChangeRequested");
    look(name, worker->holdForScenThread, "holdForScenThread");
    lookAtWorker(name, *worker);
    look(name, *worker, "?");
  }
  const auto lookAtWorkers = [&](const auto& registry) {
    for (const auto& [name, worker] : registry) {
      lookAtWorker(name, *worker);
      look(name, *worker, "aboutToWait"); // the one that is left
    }
  };
  lookAtWorkers(board->monitorThreads);
  lookAtWorkers(board->ssThreads);
  look("scenario thread", board->scenarioThread->pendingCount, "pendingCount");
  look("scenario thread", board->scenarioThread->pendingMutex, "pendingMutex");
  lookAtWorker("scenario thread", *board->scenarioThread);
  for (const auto& [name, sensor] : board->sensors) {
    look("sensor " + name, sensor->active, "active");
    look("sensor " + name, sensor->temperature, "temperature");
    look("sensor " + name, *sensor, "?");
  }
  for (const auto& [name, device] : board->devices) {
    look("device " + name, device->lock, "lock");
    look("device " + name, device->currentLevel, "currentLevel");
    look("device " + name, *device, "?");
  }
  for (const Item& item : items) {
    if (item.gone) continue;
    const std::string name = "item " + item.algo->name;
    look(name, item.algo->active, "active");
    look(name, item.algo->status, "status");
    look(name, item.algo->undecided, "undecided");
    look(name, *item.algo, "?");
  }
  return found;
}

Judge::Item& Judge::itemOf(const Algo& algo) {
  const auto found = std::find_if(items.begin(), items.end(), [&algo](const Item& item) {
    return item.algo == &algo && !item.gone;
  });
  if (found == items.end()) fail("an item is used that nobody has declared");
  return *found;
}

Judge::Worker& Judge::workerOf(const Algo& algo) {
  for (Worker& worker : workers) {
    if (worker.worker == algo.thread) return worker;
  }
  const auto add = [this, &algo](auto* thread) {
    if (thread)
      workers.push_back({algo.thread, &thread->sleepCond, &thread->activateCond, thread->period});
  };
  add(dynamic_cast<MonitorThread*>(algo.thread));
  add(dynamic_cast<SSThread*>(algo.thread));
  return workers.back();
}

template <typename Visit> void Judge::forEachWorker(Visit visit) {
  for (Worker& worker : workers)
    visit(worker);
}

template <typename Visit> void Judge::forEachLive(const Worker& worker, Visit visit) {
  for (Item& item : items) {
    if (!item.gone && item.algo->thread == worker.worker) visit(item);
  }
}

bool Judge::waits(const Worker& worker) const {
  for (int fiber = 1; fiber < schedule::fiberCount(); ++fiber) {
    const schedule::Standing standing = schedule::standingOf(fiber);
    if (standing.state == State::kAwaitsCondition &&
        (standing.object == worker.sleepCond || standing.object == worker.activateCond))
      return true;
  }
  return false;
}

bool Judge::isSomebodyBlocked() const {
  return std::any_of(workers.begin(), workers.end(),
                     [](const Worker& worker) { return worker.deciding > 0; });
}

bool Judge::awaitsSleepingSensors() const {
  if (!changing) return false;
  return std::any_of(board->sensorThreads.begin(), board->sensorThreads.end(),
                     [](const auto& entry) { return entry.second->activeCount == 0; });
}

bool Judge::awaitsSensorsInTheirPeriod() const {
  for (int fiber = 1; fiber < schedule::fiberCount(); ++fiber) {
    for (const auto& [period, worker] : board->sensorThreads) {
      if (worker->scenChangeRequested && schedule::standingOf(fiber).object == &worker->sleepCond)
        return true;
    }
  }
  return false;
}

void Judge::blame(const Algo& item, const std::string& what) const {
  fail("item " + item.name + " " + what);
}
