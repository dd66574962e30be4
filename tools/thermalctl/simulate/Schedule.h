#pragma once

#include <atomic>
#include <cstdint>
#include <limits>
#include <utility>
#include <variant>
#include <vector>

#include "daemon/VirtualDaemon.h"
#include "simulate/Inputs.h"
#include "thread/MonitorThread.h"
#include "thread/SSThread.h"
#include "thread/SensorThread.h"

// One of the daemon's sensor workers.
//
// Shape: a sensor comes with its index into TraceDescription::sensors. One that a later section of
//        its name has pushed out of the registry is not among them.
// Units: virtual time in milliseconds.
struct SensorWorker {
  bool isAwake() const { return thread->activeCount > 0; }

  SensorThread* thread;
  int64_t period;
  std::vector<std::pair<const Sensor*, size_t>> sensors;
  std::vector<size_t> probes; // of the plant, which feed them
  int64_t due = 0;
};

// One of the daemon's workers of step algorithms or of monitors, which have no base in common.
//
// Units: virtual time in milliseconds.
struct ItemWorker {
  template <typename Ask> auto ask(Ask what) const { return std::visit(what, thread); }
  bool isAwake() const { return *awakeItems > 0; }

  std::variant<SSThread*, MonitorThread*> thread;
  const std::atomic<int32_t>* awakeItems; // its thread's own
  int64_t period;                         // known also when the thread is gone
  int64_t due;
};

// When everything in a run is due next.
//
// Shape: workers in the order of the daemon's registries; one that sleeps is due `kNever`. `input`
//        and `daemon` must outlive the schedule.
// Units: virtual time in milliseconds.
class Schedule {
public:
  // Later than the end of any run.
  static constexpr int64_t kNever = std::numeric_limits<int64_t>::max();

  Schedule(const RunInput& input, const VirtualDaemon& daemon);

  // What comes next: the first of what is due first.
  //
  // Shape: with neither of the two workers it is what `kind` says.
  struct Turn {
    enum class Kind { kChange, kItems, kSensors, kScenario, kNodes };
    int64_t time;
    Kind kind;
    ItemWorker* items = nullptr;
    SensorWorker* sensors = nullptr;
  };
  Turn next();

  const Change& takeChange();

  // How many items are awake.
  int64_t awakeItems() const;
  // Lets whoever slept and is awake by now have a pass at once: the sensors' workers, and those of
  // items.
  void wakeSensors(int64_t now);
  void wakeItems(int64_t now);

  SensorWorker& workerOf(const SensorThread& thread);

  // Looks through the daemon's workers of items, which a swap may have changed. Returns how long
  // the scenario thread has waited for those that are gone.
  int64_t gatherItemWorkers(int64_t now);

  std::vector<SensorWorker> sensorWorkers; // in the order of their periods
  std::vector<ItemWorker> itemWorkers;
  int64_t scenarioDue = 0;
  int64_t nodesDue = 0; // the look at the plant's own nodes

private:
  int64_t changeDue() const;
  void findItems(Turn& first);
  SensorWorker made(SensorThread* thread) const;

  const RunInput& input;
  const VirtualDaemon& daemon;
  size_t nextChange = 0;
  int64_t workloadStart = 0; // of its present repetition
  int64_t itemsDue = 0;      // no worker of items earlier
};
