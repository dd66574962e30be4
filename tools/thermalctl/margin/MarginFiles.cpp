#include "margin/MarginFiles.h"

#include <algorithm>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "margin/Population.h"
#include "report/Judgement.h"
#include "report/Writer.h"
#include "text/Json.h"
#include "trace/CsvFormat.h"

namespace {

using MarginJson = nlohmann::ordered_json;

constexpr char kFormat[] = "thermalctl margin";

MarginJson asJsonOf(const Interval& interval, double scale) {
  return MarginJson::array({figure(scale * interval.low), figure(scale * interval.high)});
}

MarginJson asJsonOf(const Known& known) {
  return {{"value", figure(known.value)}, {"interval", asJsonOf(known.interval, 1)}};
}

// Makes the JSON of one run.
class RunJson {
public:
  RunJson(const MarginStudy& study_, const MarginStudy::Run& run_) : study(study_), run(run_) {}

  MarginJson of(const MarginResult::Run& result) const {
    MarginJson budgets = MarginJson::array();
    for (size_t i = 0; i < result.budgets.size(); ++i)
      budgets.push_back(budgetOf(i, result.budgets[i]));
    MarginJson figures = MarginJson::object();
    for (const MarginResult::Figure& each : result.figures)
      figures[measure(each.measure).name] = figureOf(each);
    MarginJson json = {{"run", run.name},          {"configuration", run.configuration},
                       {"workload", run.workload}, {"stood_still", result.stoodStill},
                       {"budgets", budgets},       {"figures", figures}};
    if (budgets.empty()) json["worst"] = worstOf(result.hottest, 0);
    return json;
  }

private:
  const Measure& measure(size_t index) const { return run.figures.measures[index]; }

  double inUnits(size_t index, int32_t value) const {
    return measure(index).inUnits(value, study.duration);
  }

  MarginJson budgetOf(size_t index, const MarginResult::Budgeted& budget) const {
    const size_t measured = run.figures.budgets[index].measured;
    const double share = budget.units() == 0 ? 0
                                             : 100 * static_cast<double>(budget.kept) /
                                                   static_cast<double>(budget.units());
    MarginJson json = {{"budget", textOf(run.budgets[index])},
                       {"units", budget.units()},
                       {"kept", budget.kept},
                       {"broken", budget.broken},
                       {"unjudged", budget.unjudged},
                       {"kept_percent", figure(share)},
                       {"kept_percent_interval", asJsonOf(budget.keeping, 100)},
                       {"measured", measure(measured).name}};
    if (budget.answeredAt)
      json["answer"] = {{"unit", *budget.answeredAt}, {"at_most", budget.isAtMost}};
    if (!budget.common.empty()) json["broken_have"] = numbersOf(budget.common);
    json["worst"] = worstOf(budget.worst, measured);
    MarginJson looks = MarginJson::array();
    for (const auto& look : budget.convergence)
      looks.push_back(MarginJson::array({look.units, look.notKept}));
    json["convergence"] = looks;
    return json;
  }

  MarginJson worstOf(const std::vector<MarginResult::Worst>& units, size_t measured) const {
    MarginJson all = MarginJson::array();
    for (const MarginResult::Worst& each : units)
      all.push_back({{"unit", each.unit},
                     {"value", inUnits(measured, each.value)},
                     {"has", numbersOf(each.numbers)},
                     {"replay", study.replay + " --unit " + std::to_string(each.unit)}});
    return all;
  }

  MarginJson numbersOf(const std::vector<double>& numbers) const {
    MarginJson all = MarginJson::object();
    for (size_t i = 0; i < numbers.size(); ++i)
      all[study.drivers[i].name] = figure(numbers[i]);
    return all;
  }

  MarginJson figureOf(const MarginResult::Figure& each) const {
    if (each.units == 0) return {{"units", 0}};
    MarginJson json = {{"units", each.units},
                       {"unit", measure(each.measure).unit()},
                       {"mean", meanOf(each)},
                       {"least", inUnits(each.measure, each.least)}};
    for (size_t i = 0; i < each.percentiles.size(); ++i)
      json["p" + std::to_string(kPercentiles[i])] = inUnits(each.measure, each.percentiles[i]);
    json["most"] = inUnits(each.measure, each.most);
    json["histogram"] = each.histogram;
    for (size_t i = 0; i < each.correlations.size(); ++i)
      json["rank_correlations"][study.drivers[i].name] = asJsonOf(each.correlations[i]);
    for (size_t i = 0; i < each.sobol.size(); ++i)
      json["sobol"][partName(study, study.independent[i])] = {
          {"first", asJsonOf(each.sobol[i].first)}, {"total", asJsonOf(each.sobol[i].total)}};
    return json;
  }

  double meanOf(const MarginResult::Figure& each) const {
    return figure(each.mean * inUnits(each.measure, 1'000'000) / 1e6);
  }

  const MarginStudy& study;
  const MarginStudy::Run& run;
};

std::string decimal(double value) {
  std::string text = fmt::format("{}", value);
  if (text.find_first_of(".e") == std::string::npos) text += ".0";
  return text;
}

// The columns of a CSV, of all runs, and the rows that have them.
class CsvWriter {
public:
  CsvWriter(const MarginStudy& study_, std::ostream& stream) : study(study_), out(stream) {
    for (const MarginStudy::Run& run : study.runs)
      for (const Measure& measure : run.figures.measures)
        if (std::find(names.begin(), names.end(), measure.name) == names.end())
          names.push_back(measure.name);
    for (const MarginStudy::Run& run : study.runs) {
      places.emplace_back();
      for (const std::string& name : names)
        places.back().push_back(placeOf(run, name));
    }
  }

  void write(uint64_t first, const UnitRows& units) {
    out << "unit,run,configuration,workload";
    for (const std::string& name : names)
      out << "," << csv::field(name);
    for (const MarginStudy::Driver& driver : study.drivers)
      out << "," << csv::field("drivers." + driver.name);
    out << "\n";
    std::vector<size_t> all(study.columns());
    for (size_t i = 0; i < all.size(); ++i)
      all[i] = i;
    units.eachBlock(all, [&](size_t before, size_t rows, const auto& values) {
      for (size_t row = 0; row < rows; ++row)
        writeUnit(first + before + row, row, values);
    });
  }

private:
  // Where a run has what is called so; behind all where it has not.
  static size_t placeOf(const MarginStudy::Run& run, const std::string& name) {
    const auto& measures = run.figures.measures;
    const auto is = [&](const Measure& measure) { return measure.name == name; };
    return static_cast<size_t>(std::find_if(measures.begin(), measures.end(), is) -
                               measures.begin());
  }

  void writeUnit(uint64_t unit, size_t row, const std::vector<std::vector<int32_t>>& values) {
    std::string drivers;
    for (const double number : correlated(
             standardNumbers(study.seed, unit, Stream::kUnit, study.drivers.size()), study.factor))
      drivers += fmt::format(",{:.4f}", number);
    for (size_t i = 0; i < study.runs.size(); ++i) {
      const MarginStudy::Run& run = study.runs[i];
      out << std::to_string(unit) << "," << csv::field(run.name) << ","
          << csv::field(run.configuration) << "," << csv::field(run.workload);
      for (const size_t place : places[i]) {
        out << ",";
        if (place < run.figures.measures.size())
          out << cellOf(run, place, values[study.firstColumn(i) + place][row]);
      }
      out << drivers << "\n";
    }
  }

  std::string cellOf(const MarginStudy::Run& run, size_t place, int32_t value) const {
    if (value == kUnseen) return "";
    const Measure& measure = run.figures.measures[place];
    if (measure.of != Measure::Of::kVerdict) return decimal(measure.inUnits(value, study.duration));
    for (size_t i = 0; i < run.budgets.size(); ++i)
      if (run.figures.budgets[i].verdict == place)
        return wordOf({run.budgets[i], static_cast<Verdict::Is>(value)});
    return "";
  }

  const MarginStudy& study;
  Writer out;
  std::vector<std::string> names;
  std::vector<std::vector<size_t>> places; // of the names, by run
};

} // namespace

void writeMarginJson(const MarginStudy& study, const MarginResult& result, bool complete,
                     std::ostream& out) {
  MarginJson runs = MarginJson::array();
  for (size_t i = 0; i < result.runs.size(); ++i)
    runs.push_back(RunJson(study, study.runs[i]).of(result.runs[i]));
  MarginJson inputs = MarginJson::array();
  for (const Provenance::Input& input : study.inputs)
    inputs.push_back({{"file", input.path}, {"sha256", input.sha256}});
  MarginJson drivers = MarginJson::array();
  for (const MarginStudy::Driver& driver : study.drivers)
    drivers.push_back({{"name", driver.name}, {"reason", driver.reason}});
  MarginJson json = {{"format", kFormat},
                     {"version", kMarginVersion},
                     {"complete", complete},
                     {"seed", study.seed},
                     {"seconds", static_cast<double>(study.duration) / 1000},
                     {"first_unit", result.units.first},
                     {"units", result.units.size()},
                     {"sobol_samples", result.samples},
                     {"drivers", drivers},
                     {"inputs", inputs}};
  if (result.question)
    json["question"] = {{"share", result.question->share},
                        {"confidence", result.question->confidence}};
  json["runs"] = runs;
  out << jsonText(json, 1) << "\n";
}

void writeMarginCsv(const MarginStudy& study, uint64_t first, const UnitRows& units,
                    std::ostream& out) {
  CsvWriter(study, out).write(first, units);
}
