#include "simulate/Engine.h"

#include <algorithm>

#include "base/Names.h"

namespace {

// As the description says of the nodes that no sensor reads.
constexpr int64_t kNodePeriod = 1000;
constexpr int64_t kProgressPeriod = 60'000;

} // namespace

Engine::Control::Control(Engine& engine_) : engine(engine_) {
  // The daemon's own control cycle, with its two files in memory.
  owner = &engine.daemon;
  scenPath = scenarioFile.path();
  dconfPath = requestFile.path();
}

void Engine::Control::writeScenario(const std::string& word) {
  scenarioFile.replace(word);
  written = true;
}

void Engine::Control::writeRequest(const std::string& word) {
  requestFile.replace(word);
  written = true;
}

// A cycle that makes a change reads nothing.
void Engine::Control::takeCycle() {
  written = changeIsDue();
  cycle();
}

bool Engine::Control::changeIsDue() const {
  return currentScenName != requestedScenName || confState != kParsed;
}

void Engine::Control::handOverName(SensorThread& thread, bool newConf) {
  if (newConf)
    engine.observer.retireItems();
  else
    engine.observer.inForce(engine.now, owner->confFileName, requestedScenName);
  prepareName(thread, newConf);
  engine.sample(engine.schedule.workerOf(thread), &SensorThread::takeOverScenario);
  engine.showItems();
  engine.schedule.wakeItems(engine.now);
}

// A worker that slept until now makes a whole pass, one in its period lets the woken items decide
// and keeps its cycle.
void Engine::Control::letWokenItemsDecide() {
  engine.schedule.gatherItemWorkers(engine.now);
  for (ItemWorker& worker : engine.schedule.itemWorkers) {
    if (!worker.ask([](auto* thread) { return thread->hasWoken(); })) continue;
    if (worker.due <= engine.now) {
      engine.pass(worker);
    } else {
      worker.ask([](auto* thread) { thread->decideWoken(); });
      engine.showItemsAndDevices();
    }
  }
}

// The sensor thread would go on with its pass at once.
void Engine::Control::release(SensorThread& thread) {
  thread.leaveOldScenario();
  engine.showItemsAndDevices();
  engine.pass(engine.schedule.workerOf(thread));
}

Engine::Engine(const RunInput& input_, TraceSink& sink, Listener listener_)
    : input(input_), listener(std::move(listener_)), plant(input.plant, input.seed),
      feed(input, plant),
      daemon(input.environment, [this](const std::string& sensor) { return feed.make(sensor); }),
      control(*this), schedule(input, daemon), observer(input, daemon, plant, sink) {
  daemon.configurations = input.configurations;
  daemon.dynamicConfParse(daemon.confFileName);
  schedule.gatherItemWorkers(now);
}

void Engine::run() {
  runTo(input.duration);
  observer.powers(now);
  observer.end(input.duration);
}

void Engine::runTo(int64_t end) {
  if (nextProgress == 0) {
    observer.begin(control.currentScenName);
    nextProgress = kProgressPeriod;
  }
  // Powers are shown when all of a moment is done: a level may move several times within it.
  for (Schedule::Turn turn = schedule.next(); turn.time < end; turn = schedule.next()) {
    if (turn.time > now) observer.powers(now);
    now = turn.time;
    take(turn);
    if (now < nextProgress) continue;
    listener.progress(now);
    nextProgress = now + kProgressPeriod;
  }
}

// Behind it another one may be due now, and come before those that were.
void Engine::take(const Schedule::Turn& turn) {
  switch (turn.kind) {
  case Schedule::Turn::Kind::kChange:
    return take(schedule.takeChange());
  case Schedule::Turn::Kind::kItems:
    return passOrSleep(*turn.items);
  case Schedule::Turn::Kind::kSensors:
    return passOrSleep(*turn.sensors);
  case Schedule::Turn::Kind::kScenario:
    return takeScenarioCycle();
  case Schedule::Turn::Kind::kNodes:
    return takeNodes();
  }
}

// Threads that are due at one moment wake the processor once.
void Engine::countWakeup() {
  wakeupCount += wokenAt == now ? 0 : 1;
  wokenAt = now;
}

void Engine::take(const Change& change) {
  plant.advanceTo(now);
  switch (change.kind) {
  case Change::Kind::kAmbient:
    return plant.setAmbient(change.value, change.slope);
  case Change::Kind::kLoad:
    return plant.setLoad(change.index, change.value, change.slope);
  case Change::Kind::kWatts:
    return plant.setWatts(change.index, change.value, change.slope);
  case Change::Kind::kScenario:
    return control.writeScenario(change.word);
  case Change::Kind::kConfiguration:
    // The answer to the swap under way will overwrite it, unread.
    if (now >= busyUntil) control.writeRequest(change.word);
    return;
  case Change::Kind::kFault:
    return feed.setFault(change);
  }
}

template <typename Worker> void Engine::passOrSleep(Worker& worker) {
  if (!worker.isAwake()) {
    worker.due = Schedule::kNever;
    return;
  }
  countWakeup();
  pass(worker);
}

void Engine::takeScenarioCycle() {
  schedule.scenarioDue = now + kControlPeriod.count();
  countWakeup();
  if (!control.hasWork()) return;
  const auto& workers = schedule.sensorWorkers;
  const auto isAsleep = [](const SensorWorker& worker) { return !worker.isAwake(); };
  if (control.changeIsDue() && std::any_of(workers.begin(), workers.end(), isAsleep))
    return standStill();
  control.takeCycle();
  observer.forgetRetired(now);
  // The scenario thread joins the workers that it retires, and its next look comes that much later.
  busyUntil = now + schedule.gatherItemWorkers(now);
  schedule.scenarioDue = busyUntil + kControlPeriod.count();
  showItemsAndDevices();
}

// A change waits until every sensor worker takes part, and those that take part sample nothing
// meanwhile. So the trip sensor of one that sleeps can never wake it.
void Engine::standStill() {
  for (SensorWorker& worker : schedule.sensorWorkers)
    worker.due = Schedule::kNever;
  schedule.scenarioDue = Schedule::kNever;
  observer.standstill(now);
  listener.warning(now,
                   "the daemon samples nothing any more: a change of scenario or configuration "
                   "waits for a sensor worker whose sensors are all switched off");
}

void Engine::takeNodes() {
  plant.advanceTo(now);
  observer.nodes(now);
  schedule.nodesDue = now + kNodePeriod;
}

void Engine::sample(const SensorWorker& worker, void (SensorThread::*step)()) {
  plant.advanceTo(now);
  for (const size_t probe : worker.probes)
    feed.refresh(probe);
  (worker.thread->*step)();
  observer.temperatures(now, worker);
  schedule.wakeSensors(now);
}

// It may wake items, and changes nothing else of them.
void Engine::pass(SensorWorker& worker) {
  sample(worker, &SensorThread::samplingPass);
  if (schedule.awakeItems() != awakeWhenShown) {
    showItems();
    schedule.wakeItems(now);
  }
  worker.due = now + worker.period;
}

void Engine::pass(ItemWorker& worker) {
  worker.ask([](auto* thread) { thread->decisionPass(); });
  worker.due = now + worker.period;
  showItemsAndDevices();
}

void Engine::showItems() {
  observer.items(now);
  awakeWhenShown = schedule.awakeItems();
}

void Engine::showItemsAndDevices() {
  observer.itemsAndDevices(now);
  awakeWhenShown = schedule.awakeItems();
}
