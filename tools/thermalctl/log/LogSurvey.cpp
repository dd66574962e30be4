#include "log/LogSurvey.h"

#include <algorithm>

#include "algo/Monitor.h"
#include "algo/SS.h"
#include "base/Int32.h"
#include "sensor/Sensor.h"

// A log never names the configuration in force. For each stretch between two swaps, starts or
// gaps, every configuration of the board is held against what happened, and what it could not have
// done counts against it; the one with the least is taken, and of several the one before.

namespace {

using Kind = LogLine::Kind;

// A name that a configuration does not have speaks against it more than a level that it would not
// have gone to, and that more than an item that it would have woken: lines may be lost.
constexpr uint64_t kUnknown = 100;
constexpr uint64_t kOtherwise = 10;
constexpr uint64_t kStillAsleep = 1;
// From then on a stretch is known well enough.
constexpr uint32_t kEnough = 100000;

bool isReached(const Algo& item, int32_t temperature) {
  return (item.lowactive ? wrapNegate(temperature) : temperature) >= item.startTemp;
}

// Whether the item would have decided so. A namesake of another configuration may have had more
// levels.
bool decidesSo(const Algo& item, const LogLine& line) {
  if (const auto* monitor = dynamic_cast<const Monitor*>(&item)) {
    return line.kind == Kind::kLevel && line.before >= 0 &&
           static_cast<size_t>(line.before) <= monitor->thresholds.size() &&
           monitor->nextLevel(line.temperature, static_cast<uint32_t>(line.before)) ==
               static_cast<uint32_t>(line.value);
  }
  if (line.kind == Kind::kLevel) return false;
  return (line.temperature < item.clearTemp) == (line.kind == Kind::kReleased);
}

} // namespace

LogSurvey::LogSurvey(const BoardFolder* folder) {
  if (folder) {
    initial = folder->first();
    for (const BoardFolder::ConfigurationTracks& configuration : folder->configurations()) {
      Known known{&configuration, {}, {}};
      for (size_t i = 0; i < configuration.items.size(); ++i) {
        known.byName[configuration.items[i]->name].push_back(i);
        known.bySensor[configuration.items[i]->sensor->name].push_back(i);
      }
      board.push_back(std::move(known));
    }
  }
  begin(Found::Beginning::kStart, false);
}

void LogSurvey::begin(Found::Beginning beginning, bool asleep) {
  found.push_back({beginning, asleep, std::vector<uint64_t>(board.size()), 0});
  samples.clear();
  awake.clear();
}

void LogSurvey::gap(const LogGap& gap) {
  // One of a single sensor leaves the rest as it was.
  if (gap.sensor.empty()) begin(Found::Beginning::kGap, false);
}

void LogSurvey::take(const LogLine& line) {
  const SwapWatch::Event event = swaps.take(line);
  if (event == SwapWatch::Event::kRestart) begin(Found::Beginning::kStart, true);
  if (event == SwapWatch::Event::kNew) begin(Found::Beginning::kSwap, true);
  if (!hasScenario && (line.kind == Kind::kStart || line.kind == Kind::kSample)) {
    hasScenario = true;
    scenario = line.kind == Kind::kStart ? kDefaultScenario : declaredScenario(line.scenario);
  }
  if (line.kind == Kind::kScenario) scenarioInForce = declaredScenario(line.name);
  if (board.size() < 2 || found.back().messages++ > kEnough) return;
  if (line.kind == Kind::kSample || line.kind == Kind::kVirtual)
    noteSample(line);
  else if (line.kind == Kind::kWoken)
    noteWoken(line);
  else if (line.kind == Kind::kPutToSleep && !isRetired(line.scenario))
    awake.erase(std::string(line.name));
  else if (line.kind == Kind::kLevel || line.kind == Kind::kRequest || line.kind == Kind::kReleased)
    noteDecision(line);
}

template <typename Fits> void LogSurvey::weigh(uint64_t weight, Fits fits) {
  for (size_t i = 0; i < board.size(); ++i) {
    if (!fits(board[i])) found.back().against[i] += weight;
  }
}

// What a sample wakes is told right behind it. So the next one of the sensor comes too late for an
// item that should have woken.
void LogSurvey::noteSample(const LogLine& line) {
  if (isRetired(line.scenario)) return;
  const auto known = samples.find(line.name);
  if (found.back().beganAsleep && known != samples.end())
    weigh(kStillAsleep,
          [&](const Known& one) { return wouldSleep(one, line.name, known->second); });
  if (line.kind == Kind::kSample) scenarioInForce = line.scenario;
  samples[std::string(line.name)] = {scenarioInForce, line.value};
}

// Whether nothing of the configuration sleeps that the sample would have woken.
bool LogSurvey::wouldSleep(const Known& known, std::string_view sensor,
                           const Sample& sample) const {
  const auto its = known.bySensor.find(sensor);
  if (its == known.bySensor.end()) return true;
  return std::none_of(its->second.begin(), its->second.end(), [&](size_t i) {
    const Algo& item = *known.configuration->items[i];
    return known.configuration->algorithms[i].scenario == sample.scenario &&
           isReached(item, sample.temperature) && awake.count(item.name) == 0;
  });
}

void LogSurvey::noteWoken(const LogLine& line) {
  if (isRetired(line.scenario)) return;
  awake.emplace(line.name);
  const auto sample = samples.find(line.sensor);
  const auto isIt = [&](const Known& known, size_t i) {
    return known.configuration->algorithms[i].scenario == line.scenario &&
           known.configuration->items[i]->sensor->name == line.sensor;
  };
  weigh(kUnknown, [&](const Known& known) {
    const auto namesakes = known.byName.find(line.name);
    return namesakes != known.byName.end() &&
           std::any_of(namesakes->second.begin(), namesakes->second.end(),
                       [&](size_t i) { return isIt(known, i); });
  });
  if (sample == samples.end()) return;
  weigh(kOtherwise, [&](const Known& known) {
    const auto namesakes = known.byName.find(line.name);
    return namesakes == known.byName.end() ||
           std::any_of(namesakes->second.begin(), namesakes->second.end(), [&](size_t i) {
             return isIt(known, i) &&
                    isReached(*known.configuration->items[i], sample->second.temperature);
           });
  });
}

void LogSurvey::noteDecision(const LogLine& line) {
  // In a swap those of its predecessor still decide.
  const bool isAwake = awake.count(std::string(line.name)) > 0;
  if (swaps.underWay() && !isAwake) return;
  const bool ends = line.kind == Kind::kReleased || (line.kind == Kind::kLevel && line.value == 0);
  if (ends && line.before > 0) awake.erase(std::string(line.name));
  if (!ends) awake.emplace(line.name);
  weigh(kUnknown,
        [&](const Known& known) { return known.byName.count(std::string(line.name)) > 0; });
  weigh(kOtherwise, [&](const Known& known) {
    const auto namesakes = known.byName.find(line.name);
    return namesakes == known.byName.end() ||
           std::any_of(namesakes->second.begin(), namesakes->second.end(),
                       [&](size_t i) { return decidesSo(*known.configuration->items[i], line); });
  });
}

std::vector<LogSurvey::Stretch> LogSurvey::stretches() const {
  std::vector<Stretch> all;
  const BoardFolder::ConfigurationTracks* before = initial;
  for (const Found& stretch : found) {
    // A daemon that starts is taken to be in the board's own configuration.
    if (stretch.beginning == Found::Beginning::kStart) before = initial;
    Stretch next{before, true};
    if (!stretch.against.empty()) {
      const uint64_t least = *std::min_element(stretch.against.begin(), stretch.against.end());
      size_t fitting = 0;
      bool stays = false;
      for (size_t i = 0; i < board.size(); ++i) {
        if (stretch.against[i] != least) continue;
        if (fitting++ == 0) next.configuration = board[i].configuration;
        stays |= board[i].configuration == before;
      }
      if (stays) next.configuration = before;
      next.isTold = fitting == 1 || stretch.beginning != Found::Beginning::kSwap;
    }
    before = next.configuration;
    all.push_back(next);
  }
  return all;
}
