#include "margin/Variables.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <memory>

#include "fit/FreeQuantities.h"
#include "simulate/PlantFile.h"
#include "text/Temperature.h"

namespace {

using Bounds = TomlSection::Bounds;
using Kind = Change::Kind;

// As in a plant file.
constexpr Bounds kDegrees = {kColdest, kHottest, "degrees Celsius"};
constexpr Bounds kHeat = {1e-6, 1e9, "J/K"};
constexpr Bounds kResisting = {1e-9, 1e9, "K/W"};
constexpr Bounds kWatt = {0, kMostWatts, "W"};
constexpr Bounds kOne = {0, 1, ""};
constexpr Bounds kSeconds = {1e-6, 1e6, "seconds", true};
constexpr Bounds kNoisy = {0, 1000, "degrees"};
constexpr Bounds kStepped = {0.001, 1000, "degrees", true};
constexpr Bounds kOff = {-1000, 1000, "degrees"};
// A time of a workload, behind its start.
constexpr Bounds kLater = {0.001, 1e9, "seconds"};

// What the changes of a workload lead to, where one ramps: the next number of its quantity, or what
// it would have reached when the workload starts again.
struct RampEnd {
  size_t from;
  Change end;
};

std::vector<RampEnd> rampEnds(const Workload& workload) {
  std::vector<RampEnd> ends;
  const std::vector<Change>& changes = workload.changes;
  for (size_t i = 0; i < changes.size(); ++i) {
    const Change& change = changes[i];
    if (change.slope == 0) continue;
    const auto next = std::find_if(
        changes.begin() + static_cast<std::ptrdiff_t>(i) + 1, changes.end(),
        [&](const Change& each) { return each.kind == change.kind && each.index == change.index; });
    RampEnd ramp{i, next == changes.end() ? change : *next};
    if (next == changes.end()) {
      ramp.end.time = workload.repeat.value_or(change.time + 1);
      ramp.end.value += change.slope * static_cast<double>(ramp.end.time - change.time) / 1000;
    }
    ends.push_back(std::move(ramp));
  }
  return ends;
}

// Lets `edit` change each of them, and draws the ramps anew.
// A ramp is kept as a value and a slope. When the numbers or the times at its ends change, it must
// still lead from the one to the other: so its end is noted before, edited like the rest, and the
// slope made of the two.
void redraw(Workload& workload, const std::function<void(Change&)>& edit) {
  std::vector<RampEnd> ends = rampEnds(workload);
  for (Change& change : workload.changes)
    edit(change);
  for (RampEnd& ramp : ends) {
    edit(ramp.end);
    Change& from = workload.changes[ramp.from];
    from.slope = (ramp.end.value - from.value) * 1000 /
                 static_cast<double>(std::max<int64_t>(ramp.end.time - from.time, 1));
  }
}

void changeNumbers(RunInput& run, Kind kind, size_t index, const Drawn& drawn, const Bounds& to) {
  redraw(run.workload, [&](Change& change) {
    if (change.kind == kind && change.index == index)
      change.value = std::clamp(drawn.of(change.value), to.least, to.most);
  });
}

int64_t changedTime(int64_t time, const Drawn& drawn) {
  if (time == 0) return 0;
  return std::max<int64_t>(1, std::llround(drawn.of(static_cast<double>(time) / 1000) * 1000));
}

// Before the workload starts again nothing of it is left out.
void changeTimes(Workload& workload, const Drawn& drawn) {
  redraw(workload, [&](Change& change) { change.time = changedTime(change.time, drawn); });
  if (!workload.repeat) return;
  const int64_t last = workload.changes.empty() ? 0 : workload.changes.back().time;
  workload.repeat = std::max(changedTime(*workload.repeat, drawn), last + 1);
}

// What one node gets more of, the others get less of.
void setShare(PlantDescription::Source& source, size_t which, double share) {
  const double before = source.heats[which].second;
  for (size_t i = 0; i < source.heats.size(); ++i)
    // The others keep their proportions, and all add up to 1 as before.
    source.heats[i].second *= i == which ? 0 : (1 - share) / (1 - before);
  source.heats[which].second = share;
}

class Candidates {
public:
  Candidates(const std::vector<RunInput>& runs_, const std::string& plantText,
             const std::string& plantFile)
      : runs(runs_), run(runs.front()), plant(run.plant) {
    addNodes();
    addResistances();
    addLaws(plantText, plantFile);
    for (size_t i = 0; i < plant.sources.size(); ++i)
      addSource(i);
    for (size_t i = 0; i < plant.probes.size(); ++i)
      addProbe(i);
    addAmbient();
    addTimes();
  }

  std::vector<Variable> all;

private:
  using Set = std::function<void(RunInput&, const Drawn&)>;

  void add(const std::string& name, const Bounds& bounds, std::optional<double> nominal, Set set) {
    all.push_back({{name}, nominal, bounds, std::move(set)});
  }

  // One that stands by itself, where `place` finds it in a plant.
  template <typename Place>
  void addNumber(const std::string& name, const Bounds& bounds, const Place& place) {
    PlantDescription copy = plant;
    add(name, bounds, place(copy), [place](RunInput& unit, const Drawn& drawn) {
      double& number = place(unit.plant);
      number = drawn.of(number);
    });
  }

  void addNodes() {
    for (size_t i = 0; i < plant.nodes.size(); ++i) {
      const std::string name = "node." + plant.nodes[i].name;
      addNumber(name + ".joules_per_kelvin", kHeat,
                [i](PlantDescription& of) -> double& { return of.nodes[i].capacity; });
      addNumber(name + ".celsius", kDegrees,
                [i](PlantDescription& of) -> double& { return of.nodes[i].initial; });
    }
  }

  void addResistances() {
    for (size_t i = 0; i < plant.resistances.size(); ++i) {
      const std::vector<std::string> names = resistanceNames(plant, i);
      addNumber(names.front(), kResisting,
                [i](PlantDescription& of) -> double& { return of.resistances[i].value; });
      all.back().names = names;
    }
  }

  // The description has the watts that a law gives, level by level: the text alone has its
  // constants.
  void addLaws(const std::string& text, const std::string& file) {
    Problems told; // when the plant was read
    const auto table = parseToml(text, file, told);
    if (!table) return;
    TomlSection root(*table, file, told);
    for (auto& [name, section] : root.named("source")) {
      const std::string& source = name;
      const auto found = std::find_if(plant.sources.begin(), plant.sources.end(),
                                      [&](const auto& each) { return each.name == source; });
      auto law = section.section("law");
      if (!law || found == plant.sources.end()) continue;
      addLaw(static_cast<size_t>(found - plant.sources.begin()), law->number("a").value_or(0),
             law->number("b").value_or(0));
    }
  }

  void addLaw(size_t index, double a, double b) {
    const std::string name = "source." + plant.sources[index].name + ".law.";
    add(name + "a", kWatt, a, [index, a](RunInput& unit, const Drawn& drawn) {
      for (double& watts : unit.plant.sources[index].watts)
        // The law is a + b f^3 at each level: a shifts all of them, and b scales what is above a.
        watts += drawn.of(a) - a;
    });
    if (b <= 0) return;
    const std::vector<double> nominal = plant.sources[index].watts;
    add(name + "b", {0, 1e12}, b, [index, a, b, nominal](RunInput& unit, const Drawn& drawn) {
      for (size_t i = 0; i < nominal.size(); ++i)
        unit.plant.sources[index].watts[i] += (drawn.of(b) / b - 1) * (nominal[i] - a);
    });
  }

  void addSource(size_t i) {
    const PlantDescription::Source& source = plant.sources[i];
    const std::string name = "source." + source.name;
    for (size_t level = 0; level < source.watts.size(); ++level)
      addNumber(name + ".watts." + std::to_string(level), kWatt,
                [i, level](PlantDescription& of) -> double& { return of.sources[i].watts[level]; });
    addScale(i, name + ".watts");
    addNumber(name + ".idle_watts", kWatt,
              [i](PlantDescription& of) -> double& { return of.sources[i].idle; });
    for (size_t level = 0; level < source.speed.size(); ++level)
      addNumber(name + ".speed." + std::to_string(level), kOne,
                [i, level](PlantDescription& of) -> double& { return of.sources[i].speed[level]; });
    for (size_t level = 0; source.cores && level < source.cores->values.size(); ++level)
      addNumber(name + ".cores.share." + std::to_string(level), kOne,
                [i, level](PlantDescription& of) -> double& {
                  return of.sources[i].cores->values[level];
                });
    for (size_t which = 0; source.heats.size() > 1 && which < source.heats.size(); ++which)
      addShare(i, which, name + ".nodes." + plant.nodes[source.heats[which].first].name);
    addLoads(i);
  }

  // Of all levels alike; the number is that of the hottest.
  void addScale(size_t i, const std::string& name) {
    const std::vector<double>& watts = plant.sources[i].watts;
    const double most = *std::max_element(watts.begin(), watts.end());
    if (most <= 0) return;
    add(name, kWatt, most, [i, most](RunInput& unit, const Drawn& drawn) {
      for (double& each : unit.plant.sources[i].watts)
        each *= drawn.of(most) / most;
    });
  }

  void addShare(size_t i, size_t which, const std::string& name) {
    const double nominal = plant.sources[i].heats[which].second;
    if (nominal >= 1) return;
    add(name, kOne, nominal, [i, which](RunInput& unit, const Drawn& drawn) {
      PlantDescription::Source& source = unit.plant.sources[i];
      setShare(source, which, drawn.of(source.heats[which].second));
    });
  }

  // No device does less than nothing or more than all.
  void addLoads(size_t i) {
    add("workload.load." + plant.sources[i].name, kOne, std::nullopt,
        [i](RunInput& unit, const Drawn& drawn) {
          std::optional<double>& load = unit.plant.sources[i].load;
          if (load) load = std::clamp(drawn.of(*load), 0.0, 1.0);
          changeNumbers(unit, Kind::kLoad, i, drawn, kOne);
        });
    add("workload.watts." + plant.sources[i].name, kWatt, std::nullopt,
        [i](RunInput& unit, const Drawn& drawn) {
          changeNumbers(unit, Kind::kWatts, i, drawn, kWatt);
        });
  }

  void addProbe(size_t i) {
    const std::string name = "sensor." + run.description.sensors[plant.probes[i].sensor].name;
    using Probe = PlantDescription::Probe;
    const auto addField = [&](const char* key, const Bounds& bounds, double Probe::*field) {
      addNumber(name + key, bounds,
                [i, field](PlantDescription& of) -> double& { return of.probes[i].*field; });
    };
    addField(".offset", kOff, &Probe::offset);
    addField(".lag", kSeconds, &Probe::lag);
    addField(".noise", kNoisy, &Probe::noise);
    addField(".step", kStepped, &Probe::step);
  }

  void addAmbient() {
    add("ambient", kDegrees, plant.ambient, [](RunInput& unit, const Drawn& drawn) {
      unit.plant.ambient = drawn.of(unit.plant.ambient);
      changeNumbers(unit, Kind::kAmbient, 0, drawn, kDegrees);
    });
  }

  // Held against the earliest: what leaves that behind the start leaves all.
  void addTimes() {
    std::optional<double> earliest;
    for (const RunInput& each : runs) {
      for (const Change& change : each.workload.changes) {
        const double time = static_cast<double>(change.time) / 1000;
        if (time > 0 && time < earliest.value_or(time + 1)) earliest = time;
      }
    }
    if (!earliest) return;
    add("workload.time", kLater, earliest,
        [](RunInput& unit, const Drawn& drawn) { changeTimes(unit.workload, drawn); });
  }

  const std::vector<RunInput>& runs;
  const RunInput& run;
  const PlantDescription& plant;
};

} // namespace

std::vector<Variable> variablesOf(const std::vector<RunInput>& runs, const std::string& plantText,
                                  const std::string& plantFile) {
  return Candidates(runs, plantText, plantFile).all;
}
