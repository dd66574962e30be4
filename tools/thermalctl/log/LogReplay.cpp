#include "log/LogReplay.h"

#include <algorithm>

#include "algo/Monitor.h"
#include "algo/SS.h"
#include "base/Names.h"

namespace {

constexpr std::string_view kRetired = kRetiredMark;

bool isRetired(std::string_view scenario) {
  return scenario.substr(0, kRetired.size()) == kRetired;
}

} // namespace

std::string_view declaredScenario(std::string_view scenario) {
  while (isRetired(scenario))
    scenario.remove_prefix(kRetired.size());
  return scenario;
}

LogReplay::LogReplay(Cast& cast_, const BoardFolder* board_, TraceSink& sink_)
    : cast(cast_), board(board_), sink(sink_) {
  // Devices of the base kind, whatever the board's are: only the merging of the requests is wanted
  // of them, and without a path they write nowhere. A report has no levels and takes no part.
  for (const DeviceTrack& track : cast.description().devices) {
    if (!track.levels.empty())
      devices[track.name].device = std::make_unique<Device>(track.name, "", "", track.levels);
  }
}

void LogReplay::start(const std::string& initial) {
  if (board && board->first()) configuration = board->first()->name;
  if (!configuration.empty()) sink.configuration(now, configuration);
  scenario = initial;
  if (!scenario.empty()) sink.scenario(now, scenario);
  for (const auto& [name, shown] : devices)
    sink.level(now, cast.device(name), 0, shown.device->levelTable.front());
}

void LogReplay::take(int64_t time, const LogLine& line) {
  now = time;
  switch (line.kind) {
  case LogLine::Kind::kSample:
    sink.temperature(now, cast.sensor(line.name, SensorTrack::Kind::kReal), line.value);
    return;
  case LogLine::Kind::kVirtual:
    sink.temperature(now, cast.sensor(line.name, SensorTrack::Kind::kVirtual), line.value);
    return;
  case LogLine::Kind::kStart:
    return restart();
  case LogLine::Kind::kWoken:
    return wake(line);
  case LogLine::Kind::kPutToSleep:
    return putToSleep(line);
  case LogLine::Kind::kLevel:
    return decide(line);
  case LogLine::Kind::kRequest:
    return request(line);
  case LogLine::Kind::kReleased:
    return releaseStep(line);
  case LogLine::Kind::kScenario:
    return enterScenario(std::string(declaredScenario(line.name)));
  // Who wakes from here on is of the new configuration, which may have the names of the old one.
  case LogLine::Kind::kSwap:
    wokenInSwap.clear();
    return;
  case LogLine::Kind::kOther:
    return;
  }
}

// A daemon that starts takes everything to be at level 0, whatever the nodes still hold.
void LogReplay::restart() {
  for (size_t i = 0; i < states.size(); ++i) {
    setLevel(i, TraceSink::kAsleep);
    states[i].postedLevel = 0;
  }
  awake.clear();
  for (auto& [name, shown] : devices) {
    for (const auto& [requester, level] : shown.device->requests)
      shown.device->deviceControl(requester, 0);
  }
  showDevices();
  enterScenario(kDefaultScenario);
}

void LogReplay::wake(const LogLine& line) {
  const size_t woken = algorithm(line.name, declaredScenario(line.scenario));
  if (!cast.item(woken))
    cast.description().algorithms[woken].sensor =
        cast.sensor(line.sensor, SensorTrack::Kind::kReal);
  awake[std::string(line.name)] = woken;
  wokenInSwap.insert(woken);
  if (stateOf(woken).level == TraceSink::kAsleep) setLevel(woken, 0);
}

void LogReplay::putToSleep(const LogLine& line) {
  const size_t asleep = algorithm(line.name, declaredScenario(line.scenario));
  const bool retired = isRetired(line.scenario);
  // Its successor of the same name and scenario, which the log does not tell from it.
  if (retired && wokenInSwap.count(asleep) > 0) return;
  // A monitor at level 0 is not put to sleep by a change of the scenario.
  const AlgorithmTrack& track = cast.description().algorithms[asleep];
  if (!retired && track.kind == AlgorithmTrack::Kind::kMonitor && stateOf(asleep).level == 0)
    return;
  setLevel(asleep, TraceSink::kAsleep);
  stateOf(asleep).postedLevel = 0;
  const auto latest = awake.find(line.name);
  // A namesake that woke meanwhile holds the requests now.
  if (latest == awake.end() || latest->second != asleep) return;
  awake.erase(latest);
  for (const auto& [name, shown] : devices) {
    if (shown.device->requests.count(track.name) > 0) control(track.name, *shown.device, 0);
  }
  showDevices();
}

void LogReplay::decide(const LogLine& line) {
  const size_t decided = current(line.name);
  // Level 0 puts a monitor to sleep only if it comes down to it; one that has just woken stays
  // awake.
  const bool leaves = line.value == 0 && line.before > 0;
  setLevel(decided, leaves ? TraceSink::kAsleep : line.value);
  postMonitor(decided, static_cast<uint32_t>(line.value));
  if (leaves) awake.erase(awake.find(line.name));
}

void LogReplay::request(const LogLine& line) {
  const size_t decided = current(line.name);
  cast.description().algorithms[decided].kind = AlgorithmTrack::Kind::kStep;
  // The log has what is asked for; without the end of the table that is the number of steps.
  const auto* item = dynamic_cast<const SS*>(cast.item(decided));
  setLevel(decided, item ? std::max(0, line.value - item->startLevel + 1) : line.value);
  postStep(decided, line.value);
}

void LogReplay::releaseStep(const LogLine& line) {
  const size_t released = current(line.name);
  cast.description().algorithms[released].kind = AlgorithmTrack::Kind::kStep;
  setLevel(released, TraceSink::kAsleep);
  postStep(released, 0);
  awake.erase(awake.find(line.name));
}

void LogReplay::enterScenario(const std::string& name) {
  if (name == scenario) return;
  scenario = name;
  sink.scenario(now, scenario);
}

size_t LogReplay::algorithm(std::string_view name, std::string_view itsScenario) {
  const size_t found = cast.algorithm(name, itsScenario, configuration);
  const std::string& its = cast.description().algorithms[found].configuration;
  if (its != configuration) {
    configuration = its;
    sink.configuration(now, configuration);
  }
  return found;
}

// A log may begin while an algorithm is awake, and its first message is then a decision. It is
// taken for one of the scenario in force, since no other decides.
size_t LogReplay::current(std::string_view name) {
  const auto latest = awake.find(name);
  if (latest != awake.end()) return latest->second;
  const size_t found = algorithm(name, scenario);
  awake[std::string(name)] = found;
  return found;
}

LogReplay::State& LogReplay::stateOf(size_t algorithm) {
  if (algorithm >= states.size()) states.resize(algorithm + 1);
  return states[algorithm];
}

void LogReplay::setLevel(size_t algorithm, int32_t level) {
  State& state = stateOf(algorithm);
  if (state.level == level) return;
  state.level = level;
  sink.algorithm(now, algorithm, level);
}

// As the monitor on the device does: the rows of both levels are posted before any device moves, so
// that one that stands in both goes straight from one level to the other.
void LogReplay::postMonitor(size_t algorithm, uint32_t level) {
  const auto* monitor = dynamic_cast<const Monitor*>(cast.item(algorithm));
  State& state = stateOf(algorithm);
  if (!monitor || state.postedLevel == level) return;
  monitor->forEachDriven(state.postedLevel,
                         [&](const Device& device, int32_t) { control(monitor->name, device, 0); });
  monitor->forEachDriven(
      level, [&](const Device& device, int32_t wanted) { control(monitor->name, device, wanted); });
  state.postedLevel = level;
  showDevices();
}

void LogReplay::postStep(size_t algorithm, int32_t level) {
  const auto* step = dynamic_cast<const SS*>(cast.item(algorithm));
  if (!step) return;
  control(step->name, *step->device, level);
  showDevices();
}

void LogReplay::control(const std::string& requester, const Device& device, int32_t level) {
  const auto found = devices.find(device.name);
  if (found != devices.end()) found->second.device->deviceControl(requester, level);
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
