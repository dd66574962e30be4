#include "simulate/Schedule.h"

#include <algorithm>

namespace {

// Like the daemon's workers, which wait a millisecond where the file has less.
int64_t waitOf(int32_t period) {
  return std::max(period, 1);
}

} // namespace

Schedule::Schedule(const RunInput& input_, const VirtualDaemon& daemon_)
    : input(input_), daemon(daemon_) {
  for (const auto& [period, thread] : daemon.sensorThreads)
    sensorWorkers.push_back(made(thread));
}

SensorWorker Schedule::made(SensorThread* thread) const {
  SensorWorker worker{thread, waitOf(thread->period), {}, {}};
  const std::vector<SensorTrack>& tracks = input.description.sensors;
  for (const Sensor* sensor : thread->items) {
    // Behind the sensors stand the plant's nodes, which may bear the same names.
    for (size_t i = 0; i < input.firstNode(); ++i) {
      if (tracks[i].name == sensor->name && daemon.sensors.at(sensor->name) == sensor)
        worker.sensors.emplace_back(sensor, i);
    }
  }
  for (size_t probe = 0; probe < input.plant.probes.size(); ++probe) {
    for (const auto& [sensor, track] : worker.sensors) {
      if (input.plant.probes[probe].sensor == track) worker.probes.push_back(probe);
    }
  }
  return worker;
}

SensorWorker& Schedule::workerOf(const SensorThread& thread) {
  return *std::find_if(sensorWorkers.begin(), sensorWorkers.end(),
                       [&thread](const SensorWorker& worker) { return worker.thread == &thread; });
}

// In the order in which they come at one time.
Schedule::Turn Schedule::next() {
  Turn first{changeDue(), Turn::Kind::kChange};
  Turn sensors{kNever, Turn::Kind::kSensors};
  for (SensorWorker& worker : sensorWorkers)
    if (worker.due < sensors.time) sensors = {worker.due, Turn::Kind::kSensors, nullptr, &worker};
  // Mostly they sleep, all of them.
  if (itemsDue <= std::min({sensors.time, scenarioDue, nodesDue})) findItems(first);
  if (sensors.time < first.time) first = sensors;
  if (scenarioDue < first.time) first = {scenarioDue, Turn::Kind::kScenario};
  if (nodesDue < first.time) first = {nodesDue, Turn::Kind::kNodes};
  return first;
}

void Schedule::findItems(Turn& first) {
  itemsDue = kNever;
  for (ItemWorker& worker : itemWorkers) {
    itemsDue = std::min(itemsDue, worker.due);
    if (worker.due < first.time) first = {worker.due, Turn::Kind::kItems, &worker};
  }
}

int64_t Schedule::changeDue() const {
  const std::vector<Change>& changes = input.workload.changes;
  return nextChange < changes.size() ? workloadStart + changes[nextChange].time : kNever;
}

const Change& Schedule::takeChange() {
  const std::vector<Change>& changes = input.workload.changes;
  const Change& change = changes[nextChange++];
  if (nextChange == changes.size() && input.workload.repeat) {
    nextChange = 0;
    workloadStart += *input.workload.repeat;
  }
  return change;
}

int64_t Schedule::awakeItems() const {
  int64_t count = 0;
  for (const ItemWorker& worker : itemWorkers)
    count += *worker.awakeItems;
  return count;
}

void Schedule::wakeSensors(int64_t now) {
  for (SensorWorker& worker : sensorWorkers)
    if (worker.due == kNever && worker.isAwake()) worker.due = now;
}

void Schedule::wakeItems(int64_t now) {
  itemsDue = now;
  for (ItemWorker& worker : itemWorkers)
    if (worker.due == kNever && worker.isAwake()) worker.due = now;
}

int64_t Schedule::gatherItemWorkers(int64_t now) {
  // Workers come and go with configurations. Those that stay keep their time, those that are new
  // begin now, and for those that are gone the daemon has waited.
  itemsDue = now;
  std::vector<ItemWorker> before;
  before.swap(itemWorkers);
  const auto gather = [&](const auto& workers) {
    for (const auto& [name, thread] : workers) {
      ItemWorker worker{thread, &thread->activeCount, waitOf(thread->period),
                        thread->activeCount > 0 ? now : kNever};
      const auto known = std::find_if(before.begin(), before.end(), [&worker](const ItemWorker& w) {
        return w.thread == worker.thread;
      });
      if (known != before.end()) {
        worker.due = known->due;
        before.erase(known);
      }
      itemWorkers.push_back(worker);
    }
  };
  gather(daemon.ssThreads);
  gather(daemon.monitorThreads);
  int64_t waited = 0;
  for (const ItemWorker& gone : before) {
    // One that sleeps until it is woken makes a pass first and then waits out its period, one
    // after the other.
    if (gone.due == kNever) waited += gone.period;
  }
  return waited;
}
