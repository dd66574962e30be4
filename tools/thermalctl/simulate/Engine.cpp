#include "simulate/Engine.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <typeinfo>

#include "device/Device.h"
#include "sensor/Algo.h"
#include "sensor/Sensor.h"
#include "thread/MonitorThread.h"
#include "thread/SSThread.h"
#include "thread/SensorThread.h"

namespace {

constexpr int64_t kNever = std::numeric_limits<int64_t>::max();
// As long as the daemon's scenario thread sleeps between two looks at its files.
constexpr int64_t kScenarioPeriod = 1000;
// As the description says of the nodes that no sensor reads.
constexpr int64_t kNodePeriod = 1000;
constexpr int64_t kProgressPeriod = 60'000;
// A node's text always has this length, as a driver's has for all that the daemon reads of it: a
// file that is overwritten keeps what lies behind a shorter text. The longest number has 11
// characters.
constexpr size_t kNodeWidth = 16;

// Like the daemon's workers, which wait a millisecond where the file has less.
int64_t waitOf(int32_t period) {
  return std::max(period, 1);
}

} // namespace

Engine::Engine(const RunInput& input_, TraceSink& sink_, Listener listener_)
    : input(input_), sink(sink_), listener(std::move(listener_)), daemon(input.environment),
      plant(input.plant, input.seed) {
  for (const RunConfiguration& configuration : input.configurations)
    configurationFiles.push_back(std::make_unique<MemoryFile>(configuration.text));
  daemon.control->change = [this](bool newConf) { changeScenario(newConf); };
  daemon.control->load = [this](const std::string& word) { loadConfiguration(word); };
  daemon.parseConfiguration(input.configurations.front().text);
  scenario = daemon.control->currentScenName;
  // In the description's order, which goes through a registry of the same names: an index fits
  // both.
  for (const auto& [name, device] : daemon.devices) {
    if (device) devices.push_back({device});
  }
  buildSensorWorkers();
  gatherItemWorkers();
  followItems(input.configurations.front());
}

void Engine::run() {
  announce();
  int64_t nextProgress = kProgressPeriod;
  for (Due due = next(); due.time < input.duration; due = next()) {
    now = due.time;
    take(due);
    if (now < nextProgress) continue;
    listener.progress(now);
    nextProgress = now + kProgressPeriod;
  }
  now = input.duration;
  // The work done up to the very end counts.
  plant.advanceTo(now);
  sink.end(now, plant.performance());
}

void Engine::buildSensorWorkers() {
  nodes.resize(input.plant.probes.size());
  for (const auto& [period, thread] : daemon.sensorThreads) {
    SensorWorker worker{thread, {}, {}};
    for (Sensor* sensor : thread->items) {
      if (const auto track = trackOf(*sensor)) worker.sensors.push_back({sensor, *track});
    }
    for (size_t probe = 0; probe < nodes.size(); ++probe) {
      for (const SampledSensor& each : worker.sensors) {
        if (input.plant.probes[probe].sensor != each.track) continue;
        nodes[probe] = connect(*each.sensor, probe);
        if (nodes[probe]) worker.nodes.push_back(nodes[probe].get());
      }
    }
    sensorWorkers.push_back(std::move(worker));
  }
}

// Nothing for a sensor that a later section of its name has pushed out of the registry.
std::optional<size_t> Engine::trackOf(const Sensor& sensor) const {
  const std::vector<SensorTrack>& tracks = input.description.sensors;
  for (size_t i = 0; i < tracks.size(); ++i) {
    if (tracks[i].name == sensor.name && daemon.sensors.at(sensor.name) == &sensor) return i;
  }
  return std::nullopt;
}

std::unique_ptr<Engine::Node> Engine::connect(Sensor& sensor, size_t probe) {
  auto file = VirtualDaemon::connect(sensor);
  if (!file) return nullptr;
  auto node = std::make_unique<Node>();
  node->probe = probe;
  node->file = std::move(file);
  return node;
}

void Engine::announce() {
  sink.begin(input.description);
  sink.configuration(0, input.configurations.front().word);
  sink.scenario(0, scenario);
  // The daemon takes level 0 to be in force at its start, whatever a node holds.
  for (size_t i = 0; i < devices.size(); ++i) {
    const std::vector<std::string>& levels = input.description.devices[i].levels;
    if (!levels.empty()) sink.level(0, i, 0, levels.front());
  }
}

Engine::Due Engine::next() const {
  Due first{kNever};
  // Of what is due at one time the first to be considered wins: the order of these calls is the one
  // that the class promises.
  const auto consider = [&first](int64_t time, Step step, size_t index = 0) {
    if (time < first.time) first = {time, step, index};
  };
  if (nextChange < input.workload.changes.size())
    consider(workloadStart + input.workload.changes[nextChange].time, Step::kWorkload);
  for (size_t i = 0; i < itemWorkers.size(); ++i)
    consider(itemWorkers[i].due, Step::kItems, i);
  for (size_t i = 0; i < sensorWorkers.size(); ++i)
    consider(sensorWorkers[i].due, Step::kSensors, i);
  consider(scenarioDue, Step::kScenario);
  consider(nodesDue, Step::kNodes);
  return first;
}

void Engine::take(const Due& due) {
  switch (due.step) {
  case Step::kWorkload:
    return takeWorkload();
  case Step::kSensors:
    return takeSensors(sensorWorkers[due.index]);
  case Step::kItems:
    return takeItems(itemWorkers[due.index]);
  case Step::kScenario:
    return takeScenarioCycle();
  case Step::kNodes:
    return showNodes();
  case Step::kNone:
    return;
  }
}

void Engine::takeWorkload() {
  plant.advanceTo(now);
  take(input.workload.changes[nextChange]);
  ++nextChange;
  if (nextChange < input.workload.changes.size() || !input.workload.repeat) return;
  nextChange = 0;
  workloadStart += *input.workload.repeat;
}

void Engine::take(const Change& change) {
  switch (change.kind) {
  case Change::Kind::kAmbient:
    return plant.setAmbient(change.value);
  case Change::Kind::kLoad:
    return plant.setLoad(change.index, change.value);
  case Change::Kind::kScenario:
    return daemon.scenarioFile.replace(change.word);
  case Change::Kind::kConfiguration:
    return requestConfiguration(change.word);
  case Change::Kind::kFault:
    return takeFault(change);
  }
}

void Engine::takeFault(const Change& change) {
  Node* const node = nodes[change.index].get();
  if (!node) return;
  node->faulty = change.word != fault::kNone;
  // The reading behind the fault may be the one before it, and must be written all the same.
  node->written = false;
  // A stream that finds nothing fails, and the daemon clears no failure: such a sensor reads 0 to
  // the end of the run, whatever its node holds later. A stuck node needs nothing done: it keeps
  // its text.
  if (change.word == fault::kUnreadable) node->file->replace("");
  if (change.word == fault::kNonsense)
    node->file->replace(std::string("nonsense").append(kNodeWidth - 9, ' ') + "\n");
  if (change.word == fault::kValue) write(*node, static_cast<int32_t>(change.value * 1000));
}

void Engine::requestConfiguration(const std::string& word) {
  // The answer to the swap under way will overwrite it, unread.
  if (now < busyUntil) return;
  // The daemon opens it under the name that it has in memory.
  for (size_t i = 0; i < configurationFiles.size(); ++i) {
    if (input.configurations[i].word == word)
      return daemon.requestFile.replace(configurationFiles[i]->name());
  }
}

void Engine::takeSensors(SensorWorker& worker) {
  if (worker.thread->activeCount == 0) {
    worker.due = kNever;
    return;
  }
  sample(worker, [](SensorThread& thread) { thread.samplingPass(); });
  worker.due = now + waitOf(worker.thread->period);
}

template <typename Pass> void Engine::sample(SensorWorker& worker, Pass pass) {
  plant.advanceTo(now);
  for (Node* node : worker.nodes)
    refresh(*node);
  pass(*worker.thread);
  for (const SampledSensor& each : worker.sensors) {
    // A virtual sensor stands behind its trip sensor, so whoever is on by now was on in its turn.
    if (!each.sensor->active) continue;
    const int32_t temperature = each.sensor->temperature;
    sink.temperature(now, each.track, temperature);
  }
  observeItems();
  wakeWorkers();
}

void Engine::refresh(Node& node) {
  if (node.faulty) return;
  const int32_t reading = plant.reading(node.probe);
  if (node.written && reading == node.reading) return;
  write(node, reading);
  node.written = true;
  node.reading = reading;
}

void Engine::write(Node& node, int32_t millidegrees) {
  std::array<char, kNodeWidth> text;
  text.fill(' ');
  std::to_chars(text.data(), text.data() + text.size(), millidegrees);
  text.back() = '\n';
  node.file->overwrite(text.data(), text.size());
}

void Engine::wakeWorkers() {
  for (SensorWorker& worker : sensorWorkers) {
    if (worker.due == kNever && worker.thread->activeCount > 0) worker.due = now;
  }
  for (ItemWorker& worker : itemWorkers) {
    if (worker.due == kNever && *worker.activeCount > 0) worker.due = now;
  }
}

void Engine::takeItems(ItemWorker& worker) {
  if (*worker.activeCount == 0) {
    worker.due = kNever;
    return;
  }
  decide(worker);
}

void Engine::decide(ItemWorker& worker) {
  worker.pass();
  worker.due = now + worker.period;
  observe();
}

// Looks through the daemon's workers, which a swap may have changed. Returns how long the scenario
// thread has waited for those that are gone: one that sleeps until it is woken makes a pass first
// and then waits out its period, one after the other.
int64_t Engine::gatherItemWorkers() {
  std::vector<ItemWorker> before = std::move(itemWorkers);
  itemWorkers.clear();
  const auto gather = [&](const auto& workers) {
    for (const auto& [name, worker] : workers) {
      auto* const thread = worker;
      itemWorkers.push_back(
          {thread, waitOf(thread->period), &thread->activeCount,
           [thread] { thread->decisionPass(); }, [thread] { thread->decideWoken(); },
           [thread] { return thread->hasWoken(); }, thread->activeCount > 0 ? now : kNever});
      const auto known = std::find_if(before.begin(), before.end(),
                                      [thread](const ItemWorker& w) { return w.thread == thread; });
      if (known == before.end()) continue;
      itemWorkers.back().due = known->due;
      before.erase(known);
    }
  };
  gather(daemon.ssThreads);
  gather(daemon.monitorThreads);
  int64_t waited = 0;
  for (const ItemWorker& gone : before) {
    if (gone.due == kNever) waited += gone.period;
  }
  return waited;
}

void Engine::followItems(const RunConfiguration& configuration) {
  size_t track = configuration.firstItem;
  for (const Algo* item : daemon.items())
    items.push_back({item, track++});
}

void Engine::takeScenarioCycle() {
  const auto asleep = [](const SensorWorker& worker) { return worker.thread->activeCount == 0; };
  if (daemon.control->changeIsDue() &&
      std::any_of(sensorWorkers.begin(), sensorWorkers.end(), asleep))
    return standStill();
  scenarioDue = now + kScenarioPeriod;
  // A cycle that loads a configuration ends with freeing what it replaces, and notes how many those
  // are.
  retiredItems.reset();
  daemon.control->cycle();
  if (retiredItems) forgetRetired(*retiredItems);
}

// A change waits until every sensor worker takes part, and those that take part sample nothing
// meanwhile. So the trip sensor of one that sleeps can never wake it.
void Engine::standStill() {
  for (SensorWorker& worker : sensorWorkers)
    worker.due = kNever;
  scenarioDue = kNever;
  listener.warning(now,
                   "the daemon samples nothing any more: a change of scenario or configuration "
                   "waits for a sensor worker whose sensors are all switched off");
}

// What the daemon's scenario thread does with its sensor threads at their barriers, one after the
// other: all of them take the name over and sample, the items woken by that decide, and only then
// does each let the old scenario go. Its thread would go on with its pass at once, so it has one
// here.
void Engine::changeScenario(bool newConf) {
  VirtualScenarioThread& control = *daemon.control;
  if (!newConf && control.requestedScenName != scenario) {
    scenario = control.requestedScenName;
    sink.scenario(now, scenario);
  }
  for (const SensorWorker& worker : sensorWorkers)
    control.prepareName(*worker.thread, newConf);
  for (SensorWorker& worker : sensorWorkers)
    sample(worker, [](SensorThread& thread) { thread.takeOverScenario(); });
  if (!newConf) letWokenItemsDecide();
  for (SensorWorker& worker : sensorWorkers) {
    worker.thread->leaveOldScenario();
    observe();
    sample(worker, [](SensorThread& thread) { thread.samplingPass(); });
    worker.due = now + waitOf(worker.thread->period);
  }
}

// A worker that slept until now makes a whole pass, one in its period lets the woken items decide
// and keeps its cycle.
void Engine::letWokenItemsDecide() {
  for (ItemWorker& worker : itemWorkers) {
    if (!worker.hasWoken()) continue;
    if (worker.due <= now) {
      decide(worker);
    } else {
      worker.decideWoken();
      observe();
    }
  }
}

void Engine::loadConfiguration(const std::string& word) {
  for (size_t i = 0; i < configurationFiles.size(); ++i) {
    if (configurationFiles[i]->name() != word) continue;
    const RunConfiguration& configuration = input.configurations[i];
    // Asked for by the name of a file in memory, and known by that of the user's from here on.
    daemon.confFileName = configuration.word;
    daemon.parseConfiguration(configuration.text);
    sink.configuration(now, configuration.word);
    retiredItems = items.size();
    followItems(configuration);
    gatherItemWorkers();
  }
}

void Engine::forgetRetired(size_t count) {
  // They are freed by now.
  for (size_t i = 0; i < count; ++i) {
    const size_t track = items[i].track;
    if (items[i].level != TraceSink::kAsleep) sink.algorithm(now, track, TraceSink::kAsleep);
  }
  items.erase(items.begin(), items.begin() + static_cast<std::ptrdiff_t>(count));
  // The scenario thread joins the workers that it retires, and its next look comes that much later.
  const int64_t waited = gatherItemWorkers();
  busyUntil = now + waited;
  scenarioDue += waited;
  observe();
}

void Engine::showNodes() {
  plant.advanceTo(now);
  const size_t first = input.description.sensors.size() - input.shownNodes.size();
  for (size_t i = 0; i < input.shownNodes.size(); ++i) {
    const double celsius = plant.temperature(input.shownNodes[i]);
    const auto millidegrees = static_cast<int32_t>(std::lround(celsius * 1000));
    sink.temperature(now, first + i, millidegrees);
  }
  nodesDue = input.shownNodes.empty() ? kNever : now + kNodePeriod;
}

void Engine::observe() {
  observeItems();
  for (size_t i = 0; i < devices.size(); ++i) {
    const int32_t level = devices[i].device->currentLevel;
    if (level == devices[i].level) continue;
    devices[i].level = level;
    // Up to now the sources had the level before.
    plant.advanceTo(now);
    plant.setLevel(i, level);
    const std::string& entry = input.description.devices[i].levels[static_cast<size_t>(level)];
    sink.level(now, i, level, entry);
  }
}

void Engine::observeItems() {
  for (TrackedItem& each : items) {
    const int32_t level =
        each.item->active ? static_cast<int32_t>(each.item->status.load()) : TraceSink::kAsleep;
    if (level == each.level) continue;
    each.level = level;
    sink.algorithm(now, each.track, level);
  }
}
