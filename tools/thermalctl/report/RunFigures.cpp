#include "report/RunFigures.h"

#include <algorithm>

#include "report/Judgement.h"
#include "text/Phrases.h"

// All that is told of a run comes of how long each value stood: peaks, means, percentiles, times
// above a limit. So the records of values are filled as the events come, and the verdicts are made
// of them at the end.

namespace {

constexpr double kMillisecondsPerMinute = 60000;

} // namespace

void RunFigures::begin(const TraceDescription& run) {
  description = run;
  temperatures.resize(run.sensors.size());
  levels.resize(run.devices.size());
  heats.resize(run.sources.size());
  watches.resize(run.sensors.size());
  for (size_t i = 0; i < run.sensors.size(); ++i) {
    for (size_t budget = 0; budget < run.budgets.size(); ++budget)
      if (isOf(run.budgets[budget], run.sensors[i])) watches[i].push_back({budget});
  }
}

void RunFigures::level(int64_t time, size_t device, int32_t level, const std::string&) {
  levels[device].set(time, level);
}

void RunFigures::power(int64_t time, size_t source, int64_t microwatts) {
  heats[source].set(time, microwatts);
}

void RunFigures::gap(int64_t from, int64_t to, std::optional<size_t> sensor) {
  if (sensor) return temperatures[*sensor].skip(from, to);
  inGaps += to - from;
  for (std::vector<TimeAtValue>* records : {&temperatures, &levels}) {
    for (TimeAtValue& record : *records)
      record.skip(from, to);
  }
}

void RunFigures::standstill(int64_t time) {
  stoodStill = time;
}

void RunFigures::end(int64_t time, const std::vector<Performance>& performance_) {
  duration = time;
  performance = performance_;
  workIsKnown = !performance.empty();
  // A simulated run tells what each source did. A recorded one has at most the powers, of which
  // the energy follows, and nothing of the work that was asked for.
  if (!workIsKnown) addHeats();
  for (std::vector<TimeAtValue>* records : {&temperatures, &levels}) {
    for (TimeAtValue& record : *records)
      record.finish(time);
  }
  for (size_t budget = 0; budget < description.budgets.size(); ++budget)
    verdicts.push_back(judge(budget));
}

void RunFigures::addHeats() {
  for (size_t i = 0; i < heats.size(); ++i) {
    // Closes the last stretch, up to the end of the run.
    heats[i].set(duration, 0);
    performance.push_back({description.sources[i], 0, 0, heats[i].joules});
  }
}

const Performance* RunFigures::performanceOf(const std::string& source) const {
  const auto is = [&](const Performance& each) { return each.source == source; };
  const auto found = std::find_if(performance.begin(), performance.end(), is);
  return found == performance.end() ? nullptr : &*found;
}

const Performance* RunFigures::workOf(const std::string& source) const {
  return workIsKnown ? performanceOf(source) : nullptr;
}

std::optional<double> RunFigures::changesAMinute(const TimeAtValue& levels_) const {
  const double minutes = static_cast<double>(known()) / kMillisecondsPerMinute;
  return minutes > 0 ? std::optional(levels_.changes() / minutes) : std::nullopt;
}

const Verdict* RunFigures::verdictOn(const Budget& budget) const {
  const auto is = [&](const Verdict& verdict) { return verdict.budget == budget; };
  const auto found = std::find_if(verdicts.begin(), verdicts.end(), is);
  return found == verdicts.end() ? nullptr : &*found;
}

std::vector<std::string> RunFigures::unjudged() const {
  std::vector<std::string> sentences;
  if (stoodStill)
    sentences.push_back(description.name + ": the daemon stood still from " +
                        clockTime((*stoodStill + 500) / 1000) +
                        " on: no limit is kept by what samples and decides nothing");
  for (const Verdict& verdict : verdicts) {
    if (verdict.measured || verdict.is != Verdict::Is::kUnjudged) continue;
    const std::string sentence =
        description.name + ": " +
        (verdict.budget.ofTemperature()
             ? verdict.budget.name + " never had a sample: nobody knows whether its limit was kept"
             : "nobody knows whether " + textOf(verdict.budget) +
                   " was kept: the run tells "
                   "nothing of it");
    if (std::find(sentences.begin(), sentences.end(), sentence) == sentences.end())
      sentences.push_back(sentence);
  }
  return sentences;
}

Verdict RunFigures::judge(size_t index) const {
  const Budget& budget = description.budgets[index];
  Evidence evidence;
  evidence.stoodStill = stoodStill.has_value();
  if (budget.of == Budget::Of::kWork) evidence.performance = workOf(budget.name);
  for (size_t i = 0; i < levels.size(); ++i) {
    if (budget.of != Budget::Of::kChanges || description.devices[i].name != budget.name) continue;
    if (!levels[i].empty()) evidence.changesAMinute = changesAMinute(levels[i]);
  }
  for (size_t i = 0; i < temperatures.size(); ++i) {
    for (const Watch& watch : watches[i]) {
      if (watch.budget != index) continue;
      evidence.temperatures = &temperatures[i];
      evidence.firstAbove = watch.firstAbove;
    }
  }
  return ::judge(budget, evidence);
}
