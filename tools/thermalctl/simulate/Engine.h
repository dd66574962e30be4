#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "base/Names.h"
#include "daemon/MemoryFile.h"
#include "daemon/VirtualDaemon.h"
#include "simulate/Inputs.h"
#include "simulate/NodeFeed.h"
#include "simulate/Observer.h"
#include "simulate/Plant.h"
#include "simulate/Schedule.h"
#include "thread/ScenarioThread.h"
#include "trace/Trace.h"

// Lets the daemon's objects run in virtual time against a plant.
//
// Time:    a pass takes none, so whoever waits its period after a pass has the next one exactly a
//          period later. What falls on one millisecond happens in this order: the workload, the
//          workers of step algorithms and then of monitors by their names, the sensor workers by
//          their periods, the scenario thread, and the look at the plant's own nodes. A worker that
//          is woken has its pass at once. On a device, too, a decision comes before the sample of
//          its time: reading the nodes takes longer than deciding, so that the sensor workers fall
//          a little behind with every pass.
// Errors:  what is wrong with an input `readInputs` has told; std::system_error where the system
//          has no file in memory. The daemon's own messages go to its log, which the caller
//          switches off.
// Threads: the caller's alone. Of the daemon's workers the passes are called, and no body ever
//          runs.
class Engine {
public:
  // Told now and then how far the run is, and of what the user should know. Both must be set.
  //
  // Units: virtual time in milliseconds; a progress for each minute of it.
  struct Listener {
    std::function<void(int64_t time)> progress;
    std::function<void(int64_t time, const std::string& what)> warning;
  };

  Engine(const RunInput& input, TraceSink& sink, Listener listener);

  void run();
  // In its place: what happens before `end`, which is later with each call. The sink is not told of
  // the run's own end.
  void runTo(int64_t end);

  // The moments up to now at which any of the daemon's threads was woken by its time.
  uint64_t wakeups() const { return wakeupCount; }

private:
  // The daemon's scenario thread without a thread: what the sensor threads do behind a barrier is
  // done at once.
  class Control : public ScenarioThread {
  public:
    explicit Control(Engine& engine);

    void writeScenario(const std::string& word);
    void writeRequest(const std::string& word);

    // Whether the next cycle needs every sensor worker.
    bool changeIsDue() const;
    // Whether a cycle would do anything: a look at files that nobody has written since the last one
    // finds what is in force.
    bool hasWork() const { return written || changeIsDue(); }
    void takeCycle();

  protected:
    void park(SensorThread&) override {}
    void handOverName(SensorThread& thread, bool newConf) override;
    void letWokenItemsDecide() override;
    void release(SensorThread& thread) override;

  private:
    Engine& engine;
    MemoryFile scenarioFile{kDefaultScenario};
    MemoryFile requestFile{kParsed};
    bool written = false; // and perhaps not yet read
  };

  void take(const Schedule::Turn& turn);
  void countWakeup();
  void take(const Change& change);
  template <typename Worker> void passOrSleep(Worker& worker);
  void takeScenarioCycle();
  void standStill();
  void takeNodes();

  void sample(const SensorWorker& worker, void (SensorThread::*step)());
  void pass(SensorWorker& worker);
  void pass(ItemWorker& worker);
  void showItems();
  void showItemsAndDevices();

  const RunInput& input;
  Listener listener;
  Plant plant;
  NodeFeed feed;
  VirtualDaemon daemon;
  Control control;
  Schedule schedule;
  Observer observer;
  int64_t now = 0;
  int64_t nextProgress = 0; // before the run has begun
  int64_t wokenAt = -1;
  uint64_t wakeupCount = 0;
  int64_t awakeWhenShown = 0; // items
  // Until then the scenario thread waits for workers that it retires, and then it overwrites what
  // the request file holds.
  int64_t busyUntil = 0;
};
