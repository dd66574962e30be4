#include "margin/Measures.h"

#include <algorithm>
#include <cmath>

#include "report/Judgement.h"

namespace {

constexpr double kPerDegree = 1000;
constexpr double kPerSecond = 1000;
constexpr double kPerPercent = 1e6;
constexpr double kMinute = 60'000;

using Of = Measure::Of;

std::string trackName(const SensorTrack& track) {
  return (track.isNode() ? "node:" : "") + track.name;
}

bool hasLevels(const DeviceTrack& device) {
  return !device.levels.empty();
}

// As measures are added, and a budget looks for its own among them.
class Measuring {
public:
  Measuring(const TraceDescription& run_, const std::vector<std::string>& working) : run(run_) {
    for (const SensorTrack& sensor : run.sensors)
      add("temperatures." + trackName(sensor) + ".peak", Of::kTemperature);
    for (const DeviceTrack& device : run.devices)
      if (hasLevels(device)) add("devices." + device.name + ".changes_per_minute", Of::kChanges);
    for (const std::string& source : working)
      add("sources." + source + ".work_percent", Of::kWork);
    add("stood_still_s", Of::kTime);
    for (const Budget& budget : run.budgets)
      addBudget(budget);
  }

  RunMeasures made;

private:
  size_t add(const std::string& name, Of of) {
    made.measures.push_back({name, of});
    return made.measures.size() - 1;
  }

  void addBudget(const Budget& budget) {
    const std::string name = "budgets." + textOf(budget);
    const size_t verdict = add(name + ".verdict", Of::kVerdict);
    size_t measured = placeOf(nameOfMeasured(budget));
    if (budget.of == Budget::Of::kPercentile) measured = add(name + ".measured", Of::kTemperature);
    if (budget.ofTemperature()) {
      const size_t above = add(name + ".above_s", Of::kTime);
      if (budget.of == Budget::Of::kTimeAbove) measured = above;
    }
    made.budgets.push_back({measured, verdict});
  }

  static std::string nameOfMeasured(const Budget& budget) {
    if (budget.of == Budget::Of::kWork) return "sources." + budget.name + ".work_percent";
    if (budget.of == Budget::Of::kChanges) return "devices." + budget.name + ".changes_per_minute";
    return "temperatures." + subjectOf(budget) + ".peak";
  }

  size_t placeOf(const std::string& name) const {
    const auto is = [&](const Measure& measure) { return measure.name == name; };
    const auto found = std::find_if(made.measures.begin(), made.measures.end(), is);
    return static_cast<size_t>(found - made.measures.begin());
  }

  const TraceDescription& run;
};

int32_t wholeOf(double value) {
  return static_cast<int32_t>(std::llround(value));
}

int32_t workIn(const RunFigures& run, const std::string& source) {
  const Performance* const work = run.workOf(source);
  if (!work || work->demanded == 0) return kUnseen;
  return wholeOf(100 * work->delivered / work->demanded * kPerPercent);
}

void addVerdict(const Verdict& verdict, std::vector<int32_t>& values) {
  values.push_back(static_cast<int32_t>(verdict.is));
  if (verdict.budget.of == Budget::Of::kPercentile)
    values.push_back(verdict.measured ? wholeOf(*verdict.measured) : kUnseen);
  if (verdict.budget.ofTemperature())
    values.push_back(verdict.above ? static_cast<int32_t>(*verdict.above) : kUnseen);
}

} // namespace

double Measure::inUnits(int32_t value, int64_t duration) const {
  switch (of) {
  case Of::kTemperature:
    return value / kPerDegree;
  case Of::kTime:
    return value / kPerSecond;
  case Of::kWork:
    return value / kPerPercent;
  case Of::kChanges:
    return figure(value / (static_cast<double>(duration) / kMinute));
  case Of::kVerdict:
    break;
  }
  return value;
}

const char* Measure::unit() const {
  switch (of) {
  case Of::kTemperature:
    return "C";
  case Of::kTime:
    return "s";
  case Of::kWork:
    return "%";
  case Of::kChanges:
    return "/min";
  case Of::kVerdict:
    break;
  }
  return "";
}

RunMeasures measuresOf(const TraceDescription& run, const std::vector<std::string>& working) {
  return Measuring(run, working).made;
}

std::vector<int32_t> measuredIn(const RunFigures& run, const std::vector<std::string>& working) {
  std::vector<int32_t> values;
  for (const TimeAtValue& record : run.temperatures)
    values.push_back(record.empty() ? kUnseen : record.highest());
  for (size_t i = 0; i < run.levels.size(); ++i)
    if (hasLevels(run.description.devices[i]))
      values.push_back(static_cast<int32_t>(run.levels[i].changes()));
  for (const std::string& source : working)
    values.push_back(workIn(run, source));
  values.push_back(run.stoodStill ? static_cast<int32_t>(*run.stoodStill) : kUnseen);
  for (const Verdict& verdict : run.verdicts)
    addVerdict(verdict, values);
  return values;
}
