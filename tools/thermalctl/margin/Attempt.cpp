#include "margin/Attempt.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <tuple>
#include <utility>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "margin/Sampling.h"
#include "simulate/Engine.h"
#include "simulate/WorkloadFile.h"
#include "text/Numbers.h"
#include "text/Phrases.h"
#include "toml/Problems.h"

namespace {

constexpr char kWorkloadName[] = "worst.workload.toml"; // by whose end it is read
constexpr double kFinestLoad = 100;
constexpr double kFinestDegree = 10;
constexpr int64_t kFinestTime = 100;  // milliseconds
constexpr double kUnseenScore = -1e9; // of what was never seen

double between(const SearchBounds::Ends& ends, double share, double finest) {
  const double exact = ends.first + share * (ends.second - ends.first);
  return std::clamp(std::round(exact * finest) / finest, ends.first, ends.second);
}

// Of so many, the first of which is none of them.
size_t choiceAt(double coordinate, size_t count) {
  return std::min(static_cast<size_t>(coordinate * static_cast<double>(count)), count - 1);
}

std::string wordAt(const std::vector<std::string>& words, double coordinate) {
  const size_t choice = choiceAt(coordinate, words.size() + 1);
  return choice == 0 ? "" : words[choice - 1];
}

bool isFixed(const SearchBounds::Ends& ends) {
  return ends.first == ends.second;
}

size_t fixedOf(const std::vector<SearchBounds::Ends>& ranges) {
  return static_cast<size_t>(std::count_if(ranges.begin(), ranges.end(), isFixed));
}

bool isWithin(double value, const SearchBounds::Ends& ends) {
  return value >= ends.first && value <= ends.second;
}

// TOML's texts are JSON's.
std::string inQuotes(const std::string& text) {
  return nlohmann::json(text).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

std::string asKey(const std::string& name) {
  const auto isBare = [](unsigned char each) {
    return each < 0x80 && (std::isalnum(each) != 0 || each == '_' || each == '-');
  };
  return !name.empty() && std::all_of(name.begin(), name.end(), isBare) ? name : inQuotes(name);
}

std::string secondsOf(int64_t milliseconds) {
  return fmt::format("{}", static_cast<double>(milliseconds) / 1000);
}

std::string withCommas(const std::vector<std::string>& parts) {
  std::string all;
  for (const std::string& part : parts)
    all += (all.empty() ? "" : ", ") + part;
  return all;
}

bool beginsWith(const std::string& text, const std::string& start) {
  return text.rfind(start, 0) == 0;
}

const char* asWord(Drawn::As as) {
  if (as == Drawn::As::kValue) return "value";
  return as == Drawn::As::kFactor ? "factor" : "plus";
}

} // namespace

bool Attempt::Step::operator==(const Step& other) const {
  return std::tie(time, ambient, loads, scenario, configuration, fault) ==
         std::tie(other.time, other.ambient, other.loads, other.scenario, other.configuration,
                  other.fault);
}

bool Attempt::operator==(const Attempt& other) const {
  return std::tie(unit, steps, duration) == std::tie(other.unit, other.steps, other.duration);
}

SearchSpace::SearchSpace(RunInput nominal_, Population population_, SearchBounds bounds_)
    : nominal(std::move(nominal_)), population(std::move(population_)), bounds(std::move(bounds_)),
      working(workingSources(nominal.plant)), measures(measuresOf(nominal.description, working)) {
  const auto isSearched = [&](size_t variable) {
    const std::string& name = population.variables[variable].name();
    return beginsWith(name, "workload.") || (name == "ambient" && !bounds.ambient.empty());
  };
  for (size_t i = 0; i < population.spreads.size(); ++i) {
    const std::vector<size_t>& own = population.spreads[i].variables;
    if (bounds.deviations > 0 && std::none_of(own.begin(), own.end(), isSearched))
      varied.push_back(i);
  }
  for (const Change& change : nominal.workload.changes)
    if (change.kind == Change::Kind::kAmbient && change.time == 0) ambient = change.value;
  choices.assign(varied.size() + bounds.steps - 1, 0);
  loads.assign(choices.size(), false);
  for (size_t step = 0; step < bounds.steps; ++step) {
    for (const std::vector<SearchBounds::Ends>* ranges : {&bounds.loads, &bounds.ambient})
      choices.insert(choices.end(), ranges->size() - fixedOf(*ranges), 0);
    loads.insert(loads.end(), bounds.loads.size() - fixedOf(bounds.loads), true);
    for (const size_t words :
         {bounds.scenarios.size(), bounds.configurations.size(), bounds.faults.size()})
      if (words > 0) choices.push_back(words + 1);
    loads.resize(choices.size(), false);
  }
}

double SearchSpace::drawn(size_t spread, double number) const {
  const Distribution& distribution = population.spreads[spread].distribution;
  const auto at = [&](double standard) {
    return distribution.at(std::clamp(standard, -bounds.deviations, bounds.deviations));
  };
  if (!distribution.steps().empty()) return at(number);
  const double brief = parseNumber(fmt::format("{:.4g}", at(number))).value_or(at(number));
  return std::clamp(brief, at(-bounds.deviations), at(bounds.deviations));
}

Attempt::Step SearchSpace::stepAt(const std::vector<double>& point, size_t& next) const {
  Attempt::Step step;
  const auto valueIn = [&](const SearchBounds::Ends& ends, double finest) {
    return isFixed(ends) ? ends.first : between(ends, point[next++], finest);
  };
  for (const SearchBounds::Ends& ends : bounds.loads)
    step.loads.push_back(valueIn(ends, kFinestLoad));
  for (const SearchBounds::Ends& ends : bounds.ambient)
    step.ambient = valueIn(ends, kFinestDegree);
  if (!bounds.scenarios.empty()) step.scenario = wordAt(bounds.scenarios, point[next++]);
  if (!bounds.configurations.empty())
    step.configuration = wordAt(bounds.configurations, point[next++]);
  if (!bounds.faults.empty()) {
    const size_t choice = choiceAt(point[next++], bounds.faults.size() + 1);
    if (choice > 0) step.fault = bounds.faults[choice - 1];
  }
  return step;
}

Attempt SearchSpace::at(const std::vector<double>& point) const {
  Attempt attempt;
  attempt.duration = nominal.duration;
  std::vector<double> standard(population.spreads.size());
  for (size_t i = 0; i < varied.size(); ++i)
    standard[varied[i]] = (2 * point[i] - 1) * bounds.deviations;
  const std::vector<double> numbers = correlated(standard, population.factor);
  attempt.unit.resize(population.spreads.size());
  for (const size_t spread : varied)
    attempt.unit[spread] = drawn(spread, numbers[spread]);
  size_t next = varied.size() + bounds.steps - 1;
  int64_t time = 0;
  for (size_t i = 0; i < bounds.steps && time < nominal.duration; ++i) {
    attempt.steps.push_back(stepAt(point, next));
    attempt.steps.back().time = time;
    if (i + 1 == bounds.steps) break;
    const auto [least, most] = bounds.lasts;
    const double exact = static_cast<double>(most - least) * point[varied.size() + i];
    const int64_t lasts = least + std::llround(exact / kFinestTime) * kFinestTime;
    time += std::min(lasts, most);
  }
  return attempt;
}

bool SearchSpace::holds(const Attempt& attempt) const {
  for (size_t i = 0; i < attempt.unit.size(); ++i) {
    if (!attempt.unit[i]) continue;
    const Distribution& distribution = population.spreads[i].distribution;
    if (!isWithin(*attempt.unit[i],
                  {distribution.at(-bounds.deviations), distribution.at(bounds.deviations)}))
      return false;
  }
  for (size_t i = 0; i < attempt.steps.size(); ++i) {
    const Attempt::Step& step = attempt.steps[i];
    if (step.ambient && !isWithin(*step.ambient, bounds.ambient.front())) return false;
    for (size_t source = 0; source < step.loads.size(); ++source)
      if (!isWithin(step.loads[source], bounds.loads[source])) return false;
    if (i + 1 == attempt.steps.size()) break;
    const int64_t lasts = attempt.steps[i + 1].time - step.time;
    if (lasts < bounds.lasts.first || lasts > bounds.lasts.second) return false;
  }
  return attempt.duration > attempt.steps.back().time && attempt.duration <= nominal.duration;
}

// Made of the very text that is written in the end.
RunInput SearchSpace::runOf(const Attempt& attempt) const {
  RunInput run = nominal;
  Problems problems;
  run.workload =
      readWorkload(workloadOf(attempt), kWorkloadName, run.plant, run.description, problems);
  run.duration = attempt.duration;
  run.description.duration = attempt.duration;
  Population one;
  one.variables = population.variables;
  for (size_t i = 0; i < attempt.unit.size(); ++i) {
    if (!attempt.unit[i]) continue;
    one.spreads.push_back(population.spreads[i]);
    one.spreads.back().distribution = Distribution::list({{*attempt.unit[i], 1}});
  }
  // A unit has a noise of its own, the nominal one that of the seed.
  if (one.spreads.empty()) return run;
  run = one.unit(run, std::vector<double>(one.spreads.size()));
  run.seed = noiseSeed(nominal.seed, 1);
  return run;
}

AttemptOutcome SearchSpace::outcomeOf(const Attempt& attempt) const {
  const RunInput run = runOf(attempt);
  UnitFigures figures(working);
  Engine engine(run, figures, {[](int64_t) {}, [](int64_t, const std::string&) {}});
  engine.run();
  const std::vector<int32_t>& values = figures.values();
  AttemptOutcome outcome;
  for (size_t i = 0; i < measures.budgets.size(); ++i) {
    const auto verdict = static_cast<Verdict::Is>(values[measures.budgets[i].verdict]);
    outcome.scores.push_back(score(i, values, attempt.duration));
    outcome.broken.push_back(verdict == Verdict::Is::kPassed);
    outcome.measured.push_back(values[measures.budgets[i].measured]);
    outcome.unjudged = outcome.unjudged || verdict == Verdict::Is::kUnjudged;
  }
  for (size_t i = 0; i < measures.measures.size(); ++i)
    if (measures.measures[i].name == "stood_still_s") outcome.stoodStill = values[i] != kUnseen;
  return outcome;
}

// Where a limit's time is not yet begun, the peak says how near it is.
double SearchSpace::score(size_t index, const std::vector<int32_t>& values,
                          int64_t duration) const {
  const Budget& budget = budgets()[index];
  const int32_t measured = values[measures.budgets[index].measured];
  if (measured == kUnseen) return kUnseenScore;
  const double over =
      beyond(budget, measures.measures[measures.budgets[index].measured], measured, duration);
  if (budget.of != Budget::Of::kTimeAbove) return over;
  if (measured > 0) return over / std::max(static_cast<double>(budget.allowed) / 1000, 1.0);
  const std::string name = "temperatures." + subjectOf(budget) + ".peak";
  for (size_t i = 0; i < measures.measures.size(); ++i)
    if (measures.measures[i].name == name && values[i] != kUnseen)
      return (values[i] - budget.bound) / 1000 - 1;
  return kUnseenScore;
}

std::string SearchSpace::workloadOf(const Attempt& attempt) const {
  std::string text;
  Attempt::Step before;
  before.loads.assign(bounds.loads.size(), -1);
  for (const Attempt::Step& step : attempt.steps) {
    std::string entry;
    std::optional<double> now = step.ambient;
    if (!now && step.time == 0) now = ambient;
    if (now && now != before.ambient) entry += fmt::format("ambient = {}\n", *now);
    std::vector<std::string> changed;
    for (size_t i = 0; i < step.loads.size(); ++i)
      if (step.loads[i] != before.loads[i])
        changed.push_back(asKey(nominal.plant.sources[i].name) +
                          fmt::format(" = {}", step.loads[i]));
    if (!changed.empty()) entry += "load = { " + withCommas(changed) + " }\n";
    if (!step.scenario.empty()) entry += "scenario = " + inQuotes(step.scenario) + "\n";
    if (!step.configuration.empty())
      entry += "configuration = " + inQuotes(step.configuration) + "\n";
    if (step.fault)
      entry +=
          "fault = { " + asKey(sensorOf(*step.fault)) + " = " + inQuotes(step.fault->word) + " }\n";
    before = step;
    if (entry.empty() && step.time > 0) continue;
    text += (text.empty() ? "" : "\n") + ("[[at]]\ntime = " + secondsOf(step.time)) + "\n" + entry;
  }
  return text;
}

std::string SearchSpace::tolerancesOf(const Attempt& attempt) const {
  std::string text;
  for (size_t i = 0; i < attempt.unit.size(); ++i) {
    if (!attempt.unit[i]) continue;
    const Population::Spread& spread = population.spreads[i];
    std::vector<std::string> names;
    for (const size_t variable : spread.variables)
      names.push_back(inQuotes(population.variables[variable].name()));
    text += (text.empty() ? "" : "\n") + ("[[vary]]\nof = [" + withCommas(names)) + "]\n";
    if (names.size() > 1) text += "together = true\nname = " + inQuotes(spread.name) + "\n";
    text += fmt::format("as = \"{}\"\nlist = {{ values = [{}] }}\n", asWord(spread.as),
                        *attempt.unit[i]);
  }
  return text;
}

std::string SearchSpace::described() const {
  std::vector<std::string> sources;
  for (size_t i = 0; i < bounds.loads.size(); ++i)
    sources.push_back(fmt::format("{} {} to {}", nominal.plant.sources[i].name,
                                  bounds.loads[i].first, bounds.loads[i].second));
  std::vector<std::string> faults;
  for (const SearchBounds::Fault& fault : bounds.faults)
    faults.push_back(sensorOf(fault) + " " + fault.word);
  const auto line = [](const char* what, const std::string& value) {
    return fmt::format("  {:<15} {}\n", what, value.empty() ? "none" : value);
  };
  const std::string air =
      bounds.ambient.empty()
          ? fmt::format("{} C", ambient.value_or(nominal.plant.ambient))
          : fmt::format("{} to {} C", bounds.ambient[0].first, bounds.ambient[0].second);
  return line("unit", varied.empty()
                          ? "the nominal one"
                          : fmt::format("{} within {} deviations", counted(varied.size(), "number"),
                                        bounds.deviations)) +
         line("steps", fmt::format("1 to {}, each of {} to {} s", bounds.steps,
                                   secondsOf(bounds.lasts.first), secondsOf(bounds.lasts.second))) +
         line("loads", withCommas(sources)) + line("ambient", air) +
         line("scenarios", withCommas(bounds.scenarios)) +
         line("configurations", withCommas(bounds.configurations)) +
         line("faults", withCommas(faults));
}

std::string SearchSpace::sensorOf(const SearchBounds::Fault& fault) const {
  return nominal.description.sensors[nominal.plant.probes[fault.probe].sensor].name;
}
