#include "margin/Measures.h"

#include <algorithm>
#include <cmath>

#include "report/Judgement.h"
#include "report/RunFigures.h"

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

const Performance* performanceOf(const std::string& source,
                                 const std::vector<Performance>& performance) {
  const auto is = [&](const Performance& each) { return each.source == source; };
  const auto found = std::find_if(performance.begin(), performance.end(), is);
  return found == performance.end() ? nullptr : &*found;
}

int32_t workOf(const Performance* work) {
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

double beyond(const Budget& budget, const Measure& measure, int32_t value, int64_t duration) {
  const double reached = measure.inUnits(value, duration);
  switch (budget.of) {
  case Budget::Of::kTimeAbove:
    return reached - static_cast<double>(budget.allowed) / kPerSecond;
  case Budget::Of::kWork:
    return 100 * budget.bound - reached;
  case Budget::Of::kChanges:
    return reached - budget.bound;
  default:
    return reached - budget.bound / kPerDegree;
  }
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

void UnitFigures::begin(const TraceDescription& run) {
  description = &run;
  courses.resize(run.sensors.size());
  steps.resize(run.devices.size());
  for (size_t i = 0; i < courses.size(); ++i) {
    for (size_t budget = 0; budget < run.budgets.size(); ++budget) {
      if (!isOf(run.budgets[budget], run.sensors[i])) continue;
      Watch watch{budget, static_cast<int32_t>(run.budgets[budget].bound)};
      if (run.budgets[budget].of == Budget::Of::kPercentile) watch.record.emplace();
      courses[i].watches.push_back(std::move(watch));
    }
  }
}

void UnitFigures::hold(Course& course, int64_t time) {
  for (Watch& watch : course.watches)
    if (course.value > watch.bound) watch.above += time - course.since;
  course.since = time;
}

void UnitFigures::temperature(int64_t time, size_t sensor, int32_t millidegrees) {
  Course& course = courses[sensor];
  if (course.begun)
    hold(course, time);
  else
    course.begun = course.since = time;
  course.value = millidegrees;
  course.highest = std::max(course.highest, millidegrees);
  for (Watch& watch : course.watches)
    if (watch.record) watch.record->set(time, millidegrees);
}

void UnitFigures::level(int64_t, size_t device, int32_t level, const std::string&) {
  Steps& taken = steps[device];
  if (taken.level && *taken.level != level) ++taken.changes;
  taken.level = level;
}

void UnitFigures::end(int64_t time, const std::vector<Performance>& performance) {
  duration = time;
  for (Course& course : courses) {
    if (course.begun) hold(course, time);
    for (Watch& watch : course.watches)
      if (watch.record) watch.record->finish(time);
    measured.push_back(course.highest);
  }
  for (size_t i = 0; i < steps.size(); ++i)
    if (hasLevels(description->devices[i])) measured.push_back(steps[i].changes);
  for (const std::string& source : working)
    measured.push_back(workOf(performanceOf(source, performance)));
  measured.push_back(stoodStill ? static_cast<int32_t>(*stoodStill) : kUnseen);
  for (size_t budget = 0; budget < description->budgets.size(); ++budget)
    addVerdict(verdictOn(budget, performance), measured);
}

// A limit asks for no more than the highest value and the time above the bound.
TimeAtValue UnitFigures::recordOf(const Course& course, const Watch& watch) const {
  TimeAtValue record;
  record.set(*course.begun, std::min(watch.bound, course.highest));
  record.set(duration - watch.above, course.highest);
  record.finish(duration);
  return record;
}

Verdict UnitFigures::verdictOn(size_t index, const std::vector<Performance>& performance) const {
  const Budget& budget = description->budgets[index];
  Evidence evidence;
  evidence.stoodStill = stoodStill.has_value();
  if (budget.of == Budget::Of::kWork)
    evidence.performance = performanceOf(budget.name, performance);
  for (size_t i = 0; i < steps.size(); ++i)
    if (budget.of == Budget::Of::kChanges && description->devices[i].name == budget.name &&
        steps[i].level)
      evidence.changesAMinute = steps[i].changes / (static_cast<double>(duration) / kMinute);
  TimeAtValue record;
  for (const Course& course : courses) {
    for (const Watch& watch : course.watches) {
      if (watch.budget != index || !course.begun) continue;
      if (!watch.record) record = recordOf(course, watch);
      evidence.temperatures = watch.record ? &*watch.record : &record;
    }
  }
  return judge(budget, evidence);
}
