#pragma once

#include <cstdint>
#include <limits>
#include <map>
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
  bool isAwake() const {
    return ask([](auto* worker) { return worker->activeCount > 0; });
  }

  std::variant<SSThread*, MonitorThread*> thread;
  int64_t period; // known also when the thread is gone
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

  int64_t earliest() const;

  // The workload's next change, and when it is due.
  int64_t changeDue() const;
  const Change& takeChange();

  // Lets whoever slept and is awake by now have a pass at once.
  void wake(int64_t now);

  // Looks through the daemon's workers of items, which a swap may have changed. Returns how long
  // the scenario thread has waited for those that are gone.
  int64_t gatherItemWorkers(int64_t now);

  std::map<int32_t, SensorWorker> sensorWorkers; // by their periods
  std::vector<ItemWorker> itemWorkers;
  int64_t scenarioDue = 0;
  int64_t nodesDue = 0; // the look at the plant's own nodes

private:
  SensorWorker workerOf(SensorThread* thread) const;

  const RunInput& input;
  const VirtualDaemon& daemon;
  size_t nextChange = 0;
  int64_t workloadStart = 0; // of its present repetition
};
