#include "log/LogReplay.h"

#include <algorithm>

#include "algo/Monitor.h"
#include "algo/SS.h"
#include "base/Names.h"

// What a device logs is who woke, decided and fell asleep:
//   [TalmorThermal] Sensor [cpu] activate Algo [cpu_less], scen [Default]
//   [TalmorThermal] [TalmorThermal] Monitor [cpu_less] temp(61000) status(0 -> 1)
// What a picture wants besides is the level of each device. It follows from what the board's items
// ask for at these levels, posted to devices of the daemon's own class, which merge it as on the
// phone. Of what a log does not tell (lines are lost, a swap or a scenario change lies in a gap)
// the next message that does not fit is the sign, and what it speaks against is ended.

namespace {

using Kind = LogLine::Kind;

} // namespace

LogReplay::LogReplay(Cast& cast_, const LogSurvey& survey, TraceSink& sink_)
    : cast(cast_), stretches(survey.stretches()), sink(sink_), scenario(survey.firstScenario()) {
  // Devices of the base kind, whatever the board's are: only the merging of the requests is wanted
  // of them, and without a path they write nowhere. A report has no levels and takes no part.
  for (const DeviceTrack& track : cast.description().devices) {
    if (!track.levels.empty())
      devices[track.name].device = std::make_unique<Device>(track.name, "", "", track.levels);
  }
}

void LogReplay::start() {
  if (const auto* first = stretches.front().configuration) configuration = first->name;
  if (!configuration.empty()) sink.configuration(now, configuration);
  if (!scenario.empty()) sink.scenario(now, scenario);
  for (const auto& [name, shown] : devices)
    sink.level(now, cast.device(name), 0, shown.device->levelTable.front());
}

void LogReplay::take(int64_t time, const LogLine& line) {
  now = time;
  event = swaps.take(line);
  if (event == SwapWatch::Event::kRestart) restart();
  // From here on what is awake belongs to the configuration before: it decides on until it is let
  // go.
  if (event == SwapWatch::Event::kNew) {
    retireAll();
    enterStretch();
    if (!stretches[stretch].isTold) untold.push_back({now, configuration});
  }
  takeMeaning(line);
  // Behind the message itself, which may be the last one of an item that ends with it.
  const bool ends = event == SwapWatch::Event::kNew && !swaps.underWay();
  if (ends || event == SwapWatch::Event::kDone) endRetired();
}

void LogReplay::takeMeaning(const LogLine& line) {
  switch (line.kind) {
  case Kind::kSample:
    return sample(line);
  case Kind::kVirtual:
    return showTemperature(cast.sensor(line.name, SensorTrack::Kind::kVirtual), line.value);
  case Kind::kWoken:
    return wake(line);
  case Kind::kPutToSleep:
    return putToSleep(line);
  case Kind::kLevel:
    return decide(line);
  case Kind::kRequest:
    return request(line);
  case Kind::kReleased:
    return releaseStep(line);
  case Kind::kChange:
    changing = true;
    return;
  case Kind::kScenario:
    return finishChange(std::string(declaredScenario(line.name)));
  case Kind::kStart:
  case Kind::kSwap:
  case Kind::kSwapDone:
  case Kind::kOther:
    return;
  }
}

void LogReplay::gap(const LogGap& gap) {
  if (!gap.sensor.empty()) {
    sink.gap(gap.from, gap.to, cast.sensor(gap.sensor, SensorTrack::Kind::kReal));
    return;
  }
  sink.gap(gap.from, gap.to, std::nullopt);
  now = lastGap = gap.to;
  changing = false;
  // A swap in a gap has left nothing awake of what was before.
  if (const auto* next = stretches[stretch + 1].configuration; next && next->name != configuration)
    endIf([](const Awake&) { return true; });
  enterStretch();
}

// The survey has found as many as the replay comes through.
void LogReplay::enterStretch() {
  predecessor = configuration;
  const auto* next = stretches[++stretch].configuration;
  if (!next || next->name == configuration) return;
  configuration = next->name;
  sink.configuration(now, configuration);
}

void LogReplay::retireAll() {
  for (const auto& one : awake)
    one->retired = true;
}

// The daemon withdraws what they still ask for and deletes them, without a word.
void LogReplay::endRetired() {
  endIf([](const Awake& one) { return one.retired; });
}

// A daemon that starts takes everything to be at level 0, whatever the nodes still hold.
void LogReplay::restart() {
  endIf([](const Awake&) { return true; });
  changing = false;
  enterStretch();
  enterScenario(kDefaultScenario);
}

void LogReplay::showTemperature(size_t sensor, int32_t number) {
  sink.temperature(now, sensor, cast.description().sensors[sensor].millidegreesOf(number));
}

void LogReplay::sample(const LogLine& line) {
  const std::string_view its = declaredScenario(line.scenario);
  // A switch of which the log does not tell.
  if (!changing && its != scenario) {
    endIf([&](const Awake& one) { return scenarioOf(one) != its; });
    enterScenario(std::string(its));
  }
  showTemperature(cast.sensor(line.name, SensorTrack::Kind::kReal), line.value);
  if (lastGap >= 0) endUnheard();
}

// A monitor that is awake is heard of in each of its periods. One that is not fell asleep in a gap.
void LogReplay::endUnheard() {
  constexpr int64_t kLate = 1000;
  endIf([&](const Awake& one) {
    return one.item && isMonitor(one) && one.lastHeard < lastGap &&
           now - lastGap > 2 * int64_t{one.item->sampling} + kLate;
  });
}

const std::string& LogReplay::configurationOf(bool retired) const {
  return retired ? predecessor : configuration;
}

void LogReplay::wake(const LogLine& line) {
  const bool retired = isRetired(line.scenario) && swaps.marksPredecessor();
  const std::string_view its = declaredScenario(line.scenario);
  const size_t woken = algorithm(line.name, its, retired);
  if (!cast.item(woken))
    cast.description().algorithms[woken].sensor =
        cast.sensor(line.sensor, SensorTrack::Kind::kReal);
  // It has slept meanwhile, of which the log does not tell.
  endIf([&](const Awake& one) { return one.algorithm == woken && one.retired == retired; });
  wakeUp(woken, retired);
  // Where its predecessor in a swap is the same to a reader of the files, that one's level stays.
  if (levelShown(woken) == TraceSink::kAsleep) show(woken, 0);
}

LogReplay::Awake& LogReplay::wakeUp(size_t algorithm, bool retired) {
  const AlgorithmTrack& track = cast.description().algorithms[algorithm];
  // Who wakes is in force, and then its namesakes of another scenario or configuration are not.
  for (const auto& other : awake) {
    if (other->requester.name == track.name && other->algorithm != algorithm)
      other->requester.inForce = false;
    if (other->algorithm == algorithm && other->retired) other->requester.inForce = false;
  }
  auto one = std::make_unique<Awake>();
  one->requester.name = track.name;
  one->requester.inForce = true;
  one->algorithm = algorithm;
  one->item = cast.item(algorithm);
  one->retired = retired;
  one->lastHeard = now;
  awake.push_back(std::move(one));
  return *awake.back();
}

void LogReplay::putToSleep(const LogLine& line) {
  const bool retired = isRetired(line.scenario) && swaps.marksPredecessor();
  const std::string_view its = declaredScenario(line.scenario);
  // A monitor at level 0 is not put to sleep by a change of the scenario.
  endIf([&](const Awake& one) {
    return one.requester.name == line.name && scenarioOf(one) == its && one.retired == retired &&
           (retired || !isMonitor(one) || one.level != 0);
  });
}

void LogReplay::decide(const LogLine& line) {
  Awake& one = decider(line);
  postMonitor(one, line.value);
  // Level 0 puts a monitor to sleep only if it comes down to it; one that has just woken stays
  // awake.
  if (line.value == 0 && line.before > 0)
    endIf([&one](const Awake& other) { return &other == &one; });
  else
    show(one.algorithm, line.value);
}

void LogReplay::request(const LogLine& line) {
  Awake& one = decider(line);
  cast.description().algorithms[one.algorithm].kind = AlgorithmTrack::Kind::kStep;
  // The log has what is asked for; without the end of the table that is the number of steps.
  const auto* item = dynamic_cast<const SS*>(one.item);
  show(one.algorithm, item ? std::max(0, line.value - item->startLevel + 1) : line.value);
  postStep(one, line.value);
}

void LogReplay::releaseStep(const LogLine& line) {
  Awake& one = decider(line);
  cast.description().algorithms[one.algorithm].kind = AlgorithmTrack::Kind::kStep;
  endIf([&one](const Awake& other) { return &other == &one; });
}

// Of several that bear the name, whoever was at the level from which the decision comes, and of
// these who woke last. A log may begin while an algorithm is awake, and its first message is then a
// decision: it is taken for one of the scenario in force, since no other decides.
LogReplay::Awake& LogReplay::decider(const LogLine& line) {
  Awake* found = nullptr;
  for (const auto& one : awake) {
    if (one->requester.name != line.name) continue;
    if (found && line.kind == Kind::kLevel && one->level != line.before &&
        found->level == line.before)
      continue;
    found = one.get();
  }
  if (!found) found = &wakeUp(algorithm(line.name, scenario, false), false);
  found->lastHeard = now;
  return *found;
}

void LogReplay::finishChange(const std::string& name) {
  changing = false;
  enterScenario(name);
  for (const auto& one : awake) {
    const bool inForce = !one->retired && scenarioOf(*one) == scenario;
    // The first change of a swap lets nobody go.
    if (one->retired && event == SwapWatch::Event::kNew) continue;
    one->returned = inForce && !one->requester.inForce;
    one->requester.inForce = inForce;
  }
}

void LogReplay::enterScenario(const std::string& name) {
  if (name == scenario) return;
  scenario = name;
  sink.scenario(now, scenario);
}

size_t LogReplay::algorithm(std::string_view name, std::string_view itsScenario, bool retired) {
  const size_t found = cast.algorithm(name, itsScenario, configurationOf(retired));
  const std::string& its = cast.description().algorithms[found].configuration;
  // A swap of which the log does not tell.
  if (!retired && its != configuration) {
    configuration = its;
    sink.configuration(now, configuration);
  }
  return found;
}

template <typename Condition> void LogReplay::endIf(Condition condition) {
  AwakeList ended;
  for (auto& one : awake) {
    if (condition(*one)) ended.push_back(std::move(one));
  }
  if (ended.empty()) return;
  awake.erase(std::remove(awake.begin(), awake.end(), nullptr), awake.end());
  for (const auto& one : ended)
    end(*one);
  showDevices();
}

void LogReplay::end(const Awake& one) {
  if (const auto* monitor = dynamic_cast<const Monitor*>(one.item))
    monitor->forEachDriven(static_cast<uint32_t>(one.level), [&](const Device& device, int32_t) {
      if (Device* shown = shownDevice(device)) shown->withdraw(one.requester);
    });
  else if (const auto* step = dynamic_cast<const SS*>(one.item))
    if (Device* shown = shownDevice(*step->device)) shown->withdraw(one.requester);
  // Its successor is the same to a reader of the files.
  const bool goesOn = std::any_of(awake.begin(), awake.end(), [&one](const auto& other) {
    return other->algorithm == one.algorithm;
  });
  if (!goesOn) show(one.algorithm, TraceSink::kAsleep);
}

const std::string& LogReplay::scenarioOf(const Awake& one) const {
  return cast.description().algorithms[one.algorithm].scenario;
}

bool LogReplay::isMonitor(const Awake& one) const {
  return cast.description().algorithms[one.algorithm].kind == AlgorithmTrack::Kind::kMonitor;
}

int32_t& LogReplay::levelShown(size_t algorithm) {
  if (algorithm >= levels.size()) levels.resize(algorithm + 1, TraceSink::kAsleep);
  return levels[algorithm];
}

void LogReplay::show(size_t algorithm, int32_t level) {
  if (levelShown(algorithm) == level) return;
  levels[algorithm] = level;
  sink.algorithm(now, algorithm, level);
}

// As the monitor on the device does: the rows of both levels are posted before any device moves, so
// that one that stands in both goes straight from one level to the other.
void LogReplay::postMonitor(Awake& one, int32_t level) {
  const auto* monitor = dynamic_cast<const Monitor*>(one.item);
  const bool moves = one.level != level;
  const bool takesBack = one.returned;
  const auto before = static_cast<uint32_t>(one.level);
  one.level = level;
  one.returned = false;
  if (!monitor || (!moves && !takesBack)) return;
  if (moves)
    monitor->forEachDriven(before, [&](const Device& device, int32_t) {
      if (Device* shown = shownDevice(device)) shown->withdraw(one.requester);
    });
  monitor->forEachDriven(static_cast<uint32_t>(level), [&](const Device& device, int32_t wanted) {
    Device* shown = shownDevice(device);
    if (shown && (moves || !shown->holds(one.requester)))
      shown->deviceControl(one.requester, wanted);
  });
  showDevices();
}

void LogReplay::postStep(const Awake& one, int32_t level) {
  const auto* step = dynamic_cast<const SS*>(one.item);
  Device* shown = step ? shownDevice(*step->device) : nullptr;
  if (!shown) return;
  shown->deviceControl(one.requester, level);
  showDevices();
}

Device* LogReplay::shownDevice(const Device& device) {
  const auto found = devices.find(device.name);
  return found == devices.end() ? nullptr : found->second.device.get();
}

void LogReplay::showDevices() {
  for (auto& [name, shown] : devices) {
    shown.device->statusApply();
    const int32_t level = shown.device->currentLevel;
    if (level == shown.level) continue;
    shown.level = level;
    sink.level(now, cast.device(name), level, shown.device->levelTable[static_cast<size_t>(level)]);
  }
}
