#include "report/Results.h"

#include <algorithm>
#include <map>
#include <optional>

#include "report/Judgement.h"
#include "text/Columns.h"
#include "text/Json.h"
#include "text/Phrases.h"
#include "trace/CsvFormat.h"

namespace {

using Json = RunResult::Json;

constexpr double kThousand = 1000;
constexpr char kPlant[] = "node:";

Json figureOrNull(const std::optional<double>& value) {
  return value ? Json(figure(*value)) : Json(nullptr);
}

Json temperaturesOf(const TimeAtValue& record) {
  const auto celsius = [](double millidegrees) { return figure(millidegrees / kThousand); };
  if (record.empty())
    return {
        {"peak", nullptr}, {"mean", nullptr}, {"p50", nullptr}, {"p95", nullptr}, {"p99", nullptr}};
  return {{"peak", celsius(record.highest())},
          {"mean", celsius(record.mean())},
          {"p50", celsius(record.percentile(50))},
          {"p95", celsius(record.percentile(95))},
          {"p99", celsius(record.percentile(99))}};
}

Json levelsOf(const RunFigures& run, const TimeAtValue& record) {
  if (record.empty()) return {{"mean_level", nullptr}, {"changes_per_minute", nullptr}};
  return {{"mean_level", figure(record.mean())},
          {"changes_per_minute", figureOrNull(run.changesAMinute(record))}};
}

Json workOf(const Performance& source) {
  const std::optional<double> done =
      source.demanded == 0 ? std::nullopt : std::optional(100 * source.delivered / source.demanded);
  return {{"work_percent", figureOrNull(done)}, {"joules", figure(source.joules)}};
}

Json asMap(const std::vector<Verdict>& verdicts) {
  Json map = Json::object();
  for (const Verdict& verdict : verdicts)
    map[textOf(verdict.budget)] = asJson(verdict);
  return map;
}

void flatten(const Json& group, const std::string& prefix, FlatRow& row) {
  for (const auto& [key, value] : group.items()) {
    if (value.is_object())
      flatten(value, prefix + key + ".", row);
    else
      row.emplace_back(prefix + key, value);
  }
}

std::string csvField(const Json& value) {
  if (value.is_null()) return "";
  return value.is_string() ? csv::field(value.get<std::string>()) : jsonText(value);
}

std::string peakOf(const Json& temperatures) {
  const Json& peak = temperatures.at("peak");
  return peak.is_null() ? "-" : rounded(peak.get<double>(), 1);
}

// A line for each run. A budget that all of them keep needs no column.
class Table {
public:
  explicit Table(const std::vector<RunResult>& results_) : results(results_) {
    for (const RunResult& result : results) {
      for (const Verdict& verdict : result.verdicts)
        addTo(budgets, verdict.budget);
      for (const Verdict& verdict : result.verdicts)
        if (verdict.is != Verdict::Is::kKept) addTo(columns, verdict.budget);
    }
    if (!budgets.empty()) return;
    for (const auto& [name, figures] : results.front().figures.at("temperatures").items())
      if (name.rfind(kPlant, 0) != 0) sensors.push_back(name);
  }

  std::vector<std::vector<std::string>> rows() const {
    std::vector<std::vector<std::string>> rows = {{"run"}};
    if (!budgets.empty()) rows[0].push_back("verdict");
    for (const Budget& budget : columns)
      rows[0].push_back(textOf(budget));
    for (const std::string& name : sensors)
      rows[0].push_back(name + " peak");
    for (const RunResult& result : results)
      rows.push_back(rowOf(result));
    return rows;
  }

  std::string keptByAll() const {
    std::string texts;
    for (const Budget& budget : budgets) {
      const bool isColumn = std::find(columns.begin(), columns.end(), budget) != columns.end();
      if (!isColumn) texts += (texts.empty() ? "" : ", ") + textOf(budget);
    }
    return texts;
  }

private:
  static void addTo(std::vector<Budget>& all, const Budget& budget) {
    if (std::find(all.begin(), all.end(), budget) == all.end()) all.push_back(budget);
  }

  std::vector<std::string> rowOf(const RunResult& result) const {
    std::vector<std::string> row = {result.name};
    if (!budgets.empty()) row.push_back(result.verdict());
    for (const Budget& budget : columns) {
      const auto is = [&](const Verdict& verdict) { return verdict.budget == budget; };
      const auto found = std::find_if(result.verdicts.begin(), result.verdicts.end(), is);
      row.push_back(found == result.verdicts.end() ? "-" : cellOf(*found));
    }
    for (const std::string& name : sensors)
      row.push_back(peakOf(result.figures.at("temperatures").at(name)));
    return row;
  }

  const std::vector<RunResult>& results;
  std::vector<Budget> budgets;
  std::vector<Budget> columns;
  std::vector<std::string> sensors; // whose peaks are shown where nothing is asked for
};

} // namespace

bool RunResult::passedABudget() const {
  return std::any_of(verdicts.begin(), verdicts.end(),
                     [](const Verdict& each) { return each.is == Verdict::Is::kPassed; });
}

std::string RunResult::verdict() const {
  if (passedABudget()) return "passed";
  return unjudged.empty() ? "kept" : "unjudged";
}

Json RunResult::row() const {
  Json row = identity;
  row.update(figures);
  return row;
}

// A row, with its groups as they stand in results.json:
//   {"run": "day", "seconds": 3600.0, "verdict": "kept",
//    "temperatures": {"cpu": {"peak": 61.2, "mean": 48.7, ...}, "node:case": {...}},
//    "devices": {"clock": {"mean_level": 0.4, ...}}, "sources": {...}, "budgets": {...}}
RunResult resultOf(const RunFigures& run) {
  RunResult result;
  result.name = run.description.name;
  result.identity = {{"run", result.name}};
  result.verdicts = run.verdicts;
  result.unjudged = run.unjudged();
  Json temperatures = Json::object();
  for (size_t i = 0; i < run.temperatures.size(); ++i) {
    const SensorTrack& sensor = run.description.sensors[i];
    temperatures[(sensor.isNode() ? kPlant : "") + sensor.name] =
        temperaturesOf(run.temperatures[i]);
  }
  Json devices = Json::object();
  for (size_t i = 0; i < run.levels.size(); ++i) {
    // A report has no levels.
    if (!run.levels[i].empty())
      devices[run.description.devices[i].name] = levelsOf(run, run.levels[i]);
  }
  Json sources = Json::object();
  for (const Performance& source : run.performance)
    sources[source.source] = workOf(source);
  const auto seconds = [](int64_t milliseconds) {
    return static_cast<double>(milliseconds) / kThousand;
  };
  result.figures = {{"seconds", seconds(run.duration)},
                    {"seconds_in_gaps", seconds(run.inGaps)},
                    {"verdict", result.verdict()},
                    {"stood_still_s", run.stoodStill ? Json(seconds(*run.stoodStill)) : Json()},
                    {"temperatures", temperatures},
                    {"devices", devices},
                    {"sources", sources},
                    {"budgets", asMap(run.verdicts)}};
  return result;
}

void writeResults(const std::vector<RunResult>& results, std::ostream& out) {
  out << R"({"format": ")" << kResultsFormat << R"(", "version": )" << kResultsVersion
      << R"(, "runs": [)";
  const char* separator = "\n";
  for (const RunResult& result : results) {
    out << separator << jsonText(result.row());
    separator = ",\n";
  }
  out << "\n]}\n";
}

void writeResultsCsv(const std::vector<RunResult>& results, std::ostream& out) {
  // Runs of different boards, or with other budgets, have other figures: each column that any of
  // them has, in the order in which they first appear.
  std::vector<std::string> columns;
  std::vector<std::map<std::string, Json>> rows;
  for (const RunResult& result : results) {
    rows.emplace_back();
    for (auto& [column, value] : flattened(result.row())) {
      if (std::find(columns.begin(), columns.end(), column) == columns.end())
        columns.push_back(column);
      rows.back().emplace(column, std::move(value));
    }
  }
  const char* separator = "";
  for (const std::string& column : columns) {
    out << separator << csv::field(column);
    separator = ",";
  }
  out << '\n';
  for (const auto& row : rows) {
    separator = "";
    for (const std::string& column : columns) {
      const auto value = row.find(column);
      out << separator << (value == row.end() ? "" : csvField(value->second));
      separator = ",";
    }
    out << '\n';
  }
}

FlatRow flattened(const Json& row) {
  FlatRow flat;
  flatten(row, "", flat);
  return flat;
}

void printResults(const std::vector<RunResult>& results, std::ostream& out) {
  const Table table(results);
  for (const std::string& line : inColumns(table.rows(), 1))
    out << line << '\n';
  if (!table.keptByAll().empty()) out << wrapped("kept by all: " + table.keptByAll(), 100);
}
