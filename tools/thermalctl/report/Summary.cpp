#include "report/Summary.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <set>
#include <utility>

#include "report/Judgement.h"
#include "text/Columns.h"
#include "text/Phrases.h"

namespace {

// What stands where a run has no such value.
constexpr char kNothing[] = "-";

// Whether two runs mean the same: a node of the plant may bear the name of a sensor.
bool same(const SensorTrack& a, const SensorTrack& b) {
  return a.name == b.name && a.isNode() == b.isNode();
}
bool same(const DeviceTrack& a, const DeviceTrack& b) {
  return a.name == b.name;
}
template <typename Plain> bool same(const Plain& a, const Plain& b) {
  return a == b;
}

// One of each, in the order of their first appearance.
template <typename Track> void collect(const std::vector<Track>& tracks, std::vector<Track>& all) {
  for (const Track& track : tracks) {
    const auto known = [&track](const Track& other) { return same(track, other); };
    if (std::none_of(all.begin(), all.end(), known)) all.push_back(track);
  }
}

// A run's record of that track; null without any, or without a value in it.
template <typename Track>
const TimeAtValue* recordOf(const std::vector<Track>& tracks,
                            const std::vector<TimeAtValue>& records, const Track& wanted) {
  for (size_t i = 0; i < tracks.size(); ++i) {
    if (same(tracks[i], wanted) && !records[i].empty()) return &records[i];
  }
  return nullptr;
}

std::string inDegrees(double millidegrees) {
  return rounded(millidegrees / 1000, 1);
}

std::string percent(double part, double whole) {
  return whole == 0 ? kNothing : rounded(100 * part / whole, 1) + " %";
}

struct Mark {
  int32_t temperature = 0;
  bool lowactive = false;
  bool operator<(const Mark& other) const {
    return std::pair(temperature, lowactive) < std::pair(other.temperature, other.lowactive);
  }
  int64_t timePast(const TimeAtValue& record) const {
    return lowactive ? record.atMost(temperature) : record.atLeast(temperature);
  }
  std::string label() const { return (lowactive ? "<=" : ">=") + degrees(temperature); }
};

void addMarks(const TraceDescription& run, const SensorTrack& sensor, std::set<Mark>& marks) {
  for (const AlgorithmTrack& algorithm : run.algorithms) {
    if (!algorithm.sensor || !same(run.sensors[*algorithm.sensor], sensor)) continue;
    for (const AlgorithmTrack::Threshold& threshold : algorithm.thresholds)
      marks.insert({threshold.reached, algorithm.lowactive});
  }
}

// An entry's number, such as a clock, whatever stands behind its digits; 0 for a text.
double numberOf(const std::string& entry) {
  return std::strtod(entry.c_str(), nullptr);
}

// How much of the first entry of its table the device gave, on average over time.
std::string meanOfFirst(const std::vector<std::string>& entries, const TimeAtValue& record) {
  double given = 0;
  for (const auto& [level, time] : record.all()) {
    const auto index = static_cast<size_t>(level);
    // A record whose board is not known names levels and no entries.
    if (index >= entries.size()) return kNothing;
    given += numberOf(entries[index]) * static_cast<double>(time);
  }
  const double most = entries.empty() ? 0 : numberOf(entries.front());
  return percent(given, most * static_cast<double>(record.total()));
}

} // namespace

void Summary::begin(const TraceDescription& run) {
  runs.push_back(std::make_unique<RunFigures>());
  runs.back()->begin(run);
}

void Summary::level(int64_t time, size_t device, int32_t level, const std::string& entry) {
  runs.back()->level(time, device, level, entry);
}

void Summary::power(int64_t time, size_t source, int64_t microwatts) {
  runs.back()->power(time, source, microwatts);
}

void Summary::gap(int64_t from, int64_t to, std::optional<size_t> sensor) {
  runs.back()->gap(from, to, sensor);
}

void Summary::standstill(int64_t time) {
  runs.back()->standstill(time);
}

void Summary::end(int64_t time, const std::vector<Performance>& performance) {
  runs.back()->end(time, performance);
}

void Summary::take(Summary& other) {
  std::move(other.runs.begin(), other.runs.end(), std::back_inserter(runs));
  other.runs.clear();
}

void Summary::print(std::ostream& out) const {
  Rows rows = {{"", ""}, {"run", "duration, h:mm:ss"}};
  std::vector<SensorTrack> sensors;
  std::vector<DeviceTrack> devices;
  std::vector<std::string> sources;
  bool hasGaps = false;
  for (const auto& run : runs) {
    rows[0].push_back(run->description.name);
    rows[1].push_back(clockOf(run->duration));
    hasGaps |= run->inGaps > 0;
    collect(run->description.sensors, sensors);
    collect(run->description.devices, devices);
    for (const Performance& performance : run->performance)
      collect({performance.source}, sources);
    for (const Budget& budget : run->description.budgets) {
      if (budget.of == Budget::Of::kWork) collect({budget.name}, sources);
    }
  }
  if (hasGaps)
    addRow("run", "of it in gaps", rows, [](const RunFigures& run) { return clockOf(run.inGaps); });
  for (const SensorTrack& sensor : sensors)
    addSensor(sensor, rows);
  for (const DeviceTrack& device : devices) {
    addDevice(device, rows);
    addRequirements(device.name, Budget::Of::kChanges, rows);
  }
  for (const std::string& source : sources) {
    addPerformance(source, rows);
    addRequirements(source, Budget::Of::kWork, rows);
  }
  // A group's name stands in its first row alone.
  for (size_t i = rows.size() - 1; i > 0; --i) {
    if (rows[i][0] == rows[i - 1][0]) rows[i][0].clear();
  }
  for (const std::string& line : inColumns(rows, 2))
    out << line << '\n';
}

template <typename Cell>
void Summary::addRow(const std::string& group, const std::string& label, Rows& rows,
                     Cell cell) const {
  rows.push_back({group, label});
  for (const auto& run : runs)
    rows.back().push_back(cell(*run));
}

template <typename Meant>
void Summary::addBudgets(const std::string& group, Rows& rows, Meant meant) const {
  std::vector<Budget> budgets;
  for (const auto& run : runs)
    collect(run->description.budgets, budgets);
  for (const Budget& budget : budgets) {
    if (!meant(budget)) continue;
    addRow(group, labelOf(budget), rows, [&](const RunFigures& run) {
      const Verdict* verdict = run.verdictOn(budget);
      return verdict ? cellOf(*verdict) : kNothing;
    });
  }
}

void Summary::addRequirements(const std::string& name, Budget::Of of, Rows& rows) const {
  addBudgets(name, rows,
             [&](const Budget& budget) { return budget.of == of && budget.name == name; });
}

void Summary::addSensor(const SensorTrack& sensor, Rows& rows) const {
  const std::string group = sensor.name + (sensor.isNode() ? " (plant)" : "");
  const auto add = [&](const std::string& label, auto cell) {
    addRow(group, label, rows, [&](const RunFigures& run) -> std::string {
      const TimeAtValue* record = recordOf(run.description.sensors, run.temperatures, sensor);
      return record ? cell(*record) : kNothing;
    });
  };
  add("peak, degrees C", [](const TimeAtValue& record) { return inDegrees(record.highest()); });
  add("mean", [](const TimeAtValue& record) { return inDegrees(record.mean()); });
  // Of all runs, so that a run is judged by the other ones' thresholds, too: only so do the rows
  // compare.
  std::set<Mark> marks;
  for (const auto& run : runs)
    addMarks(run->description, sensor, marks);
  std::string never;
  for (const Mark& mark : marks) {
    const bool reached = std::any_of(runs.begin(), runs.end(), [&](const auto& run) {
      const auto* record = recordOf(run->description.sensors, run->temperatures, sensor);
      return record && mark.timePast(*record) > 0;
    });
    // A row of zeros for each would hide the others.
    if (!reached) {
      never += (never.empty() ? "" : ", ") + mark.label();
      continue;
    }
    add("time " + mark.label(),
        [&](const TimeAtValue& record) { return clockOf(mark.timePast(record)); });
  }
  if (!never.empty()) rows.push_back({group, "never " + never});
  addBudgets(group, rows, [&](const Budget& budget) { return isOf(budget, sensor); });
}

void Summary::addDevice(const DeviceTrack& device, Rows& rows) const {
  const auto add = [&](const std::string& label, auto cell) {
    addRow(device.name, label, rows, [&](const RunFigures& run) -> std::string {
      const TimeAtValue* record = recordOf(run.description.devices, run.levels, device);
      return record ? cell(*record, run) : kNothing;
    });
  };
  std::set<int32_t> taken;
  for (const auto& run : runs) {
    if (const TimeAtValue* record = recordOf(run->description.devices, run->levels, device)) {
      for (const auto& [level, time] : record->all())
        taken.insert(level);
    }
  }
  if (taken.empty()) return;
  add("mean level",
      [](const TimeAtValue& record, const RunFigures&) { return rounded(record.mean(), 2); });
  for (const int32_t level : taken) {
    const auto index = static_cast<size_t>(level);
    const std::string entry =
        index < device.levels.size() ? " (" + device.levels[index] + ")" : std::string();
    add("at level " + std::to_string(level) + entry, [=](const TimeAtValue& record,
                                                         const RunFigures&) {
      return percent(static_cast<double>(record.at(level)), static_cast<double>(record.total()));
    });
  }
  add("changes a minute", [](const TimeAtValue& record, const RunFigures& run) {
    const std::optional<double> changes = run.changesAMinute(record);
    return changes ? rounded(*changes, 2) : kNothing;
  });
  add("mean entry, level 0 = 100 %", [&](const TimeAtValue& record, const RunFigures&) {
    return meanOfFirst(device.levels, record);
  });
}

void Summary::addPerformance(const std::string& source, Rows& rows) const {
  const auto works = [&source](const auto& run) {
    const Performance* const work = run->workOf(source);
    return work && work->demanded != 0;
  };
  if (std::any_of(runs.begin(), runs.end(), works))
    addRow(source, "work done of that asked for", rows, [&](const RunFigures& run) -> std::string {
      const Performance* work = run.workOf(source);
      return work ? percent(work->delivered, work->demanded) : kNothing;
    });
  addRow(source, "energy, J", rows, [&](const RunFigures& run) -> std::string {
    const Performance* heat = run.performanceOf(source);
    return heat ? rounded(heat->joules, 1) : kNothing;
  });
}
