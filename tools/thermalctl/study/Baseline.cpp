#include "study/Baseline.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <set>
#include <system_error>

#include <fmt/format.h>

#include "base/TextReader.h"
#include "text/Characters.h"
#include "text/Columns.h"
#include "text/Json.h"
#include "text/Phrases.h"

// Earlier results, as they were written for a study, one row for each run:
//   {"format": ..., "version": ..., "runs": [
//     {"configuration": "day.conf", "workload": "game", "seed": 1, ...figures...}, ...]}
// Nested figures are taken apart into one name each, with points between the parts, and are held
// against those of the run with the same configuration, workload and seed: a verdict may get
// better or worse, a figure only differ by more than its tolerance.

namespace {

using Json = RunResult::Json;

constexpr std::array<const char*, 3> kIdentity = {"configuration", "workload", "seed"};
constexpr char kBudgets[] = "budgets.";
constexpr char kVerdict[] = ".verdict";
constexpr char kNotAsked[] = "not asked for";

std::string shown(const Json& value) {
  if (value.is_null()) return "-";
  if (value.is_string()) return value.get<std::string>();
  return value.is_number() ? fmt::format("{:g}", value.get<double>()) : jsonText(value);
}

// Which of the earlier runs it is.
std::string keyOf(const Json& row) {
  std::string key;
  for (const char* part : kIdentity)
    key += (key.empty() ? "" : ", ") +
           (row.at(part).is_string() ? row.at(part).get<std::string>() : jsonText(row.at(part)));
  return key;
}

bool hasIdentity(const Json& row) {
  return row.is_object() && row.contains("configuration") && row.at("configuration").is_string() &&
         row.contains("workload") && row.at("workload").is_string() && row.contains("seed") &&
         row.at("seed").is_number_unsigned();
}

bool isVerdict(const std::string& figure) {
  return figure.rfind(kBudgets, 0) == 0 && figure.size() > std::size(kVerdict) &&
         figure.compare(figure.size() - std::size(kVerdict) + 1, std::string::npos, kVerdict) == 0;
}

// The worse, the higher.
int rankOf(const std::string& verdict) {
  if (verdict == "kept") return 0;
  return verdict == "unjudged" || verdict == kNotAsked ? 1 : 2;
}

// The last word of a figure's name; a budget has points of its own.
std::string leafOf(const std::string& figure) {
  return figure.substr(figure.rfind('.') + 1);
}

Position positionOf(const std::string& text, size_t byte) {
  const std::string before = text.substr(0, std::min(byte, text.size()));
  const auto lines = std::count(before.begin(), before.end(), '\n');
  const size_t start = before.rfind('\n') + 1; // 0 where there is none
  return {static_cast<int>(lines) + 1, static_cast<int>(before.size() - start) + 1};
}

// What is wrong with a whole JSON text; nothing if it is one that this program reads.
std::optional<Problem> problemOf(const Json& json, const std::string& path) {
  const std::string hint = "--against takes a results.json of thermalctl simulate";
  if (!json.is_object() || !json.contains("format") || json.at("format") != kResultsFormat)
    return Problem{path, {}, "holds no results of thermalctl", hint};
  if (!json.contains("version") || !json.at("version").is_number_integer())
    return Problem{path, {}, "does not say which version of results it holds", hint};
  const Json& version = json.at("version");
  if (version < 1)
    return Problem{path,
                   {},
                   fmt::format("holds results of version {}, which never was", jsonText(version)),
                   hint};
  if (version > kResultsVersion)
    return Problem{path,
                   {},
                   fmt::format("holds results of version {}, and this thermalctl knows them up to "
                               "{}",
                               jsonText(version), kResultsVersion),
                   "take the thermalctl that wrote it, or a newer one"};
  if (!json.contains("runs") || !json.at("runs").is_array())
    return Problem{path, {}, "has no list 'runs'", hint};
  const Json& runs = json.at("runs");
  for (size_t i = 0; i < runs.size(); ++i) {
    if (!hasIdentity(runs[i]))
      return Problem{
          path,
          {},
          fmt::format("run {} of {} has no configuration, workload and seed", i + 1, runs.size()),
          "it comes of thermalctl plot, or it has been edited: run simulate again"};
  }
  return std::nullopt;
}

class Comparer {
public:
  Comparer(const Tolerances& tolerances_, std::vector<FigureChange>& changes_)
      : tolerances(tolerances_), changes(changes_) {}

  void compare(const std::string& run_, const std::map<std::string, Json>& before,
               const FlatRow& now) {
    run = run_;
    std::set<std::string> seen;
    for (const auto& [figure, value] : now) {
      seen.insert(figure);
      const auto earlier = before.find(figure);
      if (isVerdict(figure))
        compareVerdicts(figure, earlier == before.end() ? kNotAsked : shown(earlier->second),
                        shown(value));
      else if (earlier != before.end())
        compareFigures(figure, earlier->second, value);
    }
    // A budget that is no longer asked for would else go without a word.
    for (const auto& [figure, value] : before) {
      if (isVerdict(figure) && seen.count(figure) == 0)
        compareVerdicts(figure, shown(value), kNotAsked);
    }
  }

private:
  void compareVerdicts(const std::string& figure, const std::string& before,
                       const std::string& now) {
    if (before == now) return;
    const bool isWorse = before != kNotAsked && rankOf(now) > rankOf(before);
    const size_t start = std::size(kBudgets) - 1;
    const std::string budget =
        figure.substr(start, figure.size() - start - std::size(kVerdict) + 1);
    changes.push_back({run, budget, before, now, isWorse ? "worse" : "", isWorse});
  }

  void compareFigures(const std::string& figure, const Json& before, const Json& now) {
    const auto tolerance = tolerances.find(leafOf(figure));
    if (tolerance == tolerances.end() || before == now) return;
    const bool areNumbers = before.is_number() && now.is_number();
    const double a = areNumbers ? before.get<double>() : 0;
    const double b = areNumbers ? now.get<double>() : 0;
    if (areNumbers && tolerance->second.allows(a, b)) return;
    changes.push_back({run, figure, shown(before), shown(now),
                       areNumbers ? fmt::format("{:+g}", b - a) : "", false});
  }

  const Tolerances& tolerances;
  std::vector<FigureChange>& changes;
  std::string run;
};

} // namespace

std::optional<Baseline> Baseline::read(const std::string& path, Problems& problems) {
  errno = 0;
  const std::optional<std::string> text = readFile(path);
  if (!text) {
    problems.add({path, {}, "cannot be read: " + std::generic_category().message(errno)});
    return std::nullopt;
  }
  problems.read(path, *text);
  Json json;
  try {
    json = parsedJson(*text);
  } catch (const Json::parse_error& error) {
    const Position at = positionOf(*text, error.byte > 0 ? error.byte - 1 : 0);
    problems.add({path,
                  {at, 1},
                  "is no whole JSON from here on",
                  "--against takes a results.json of thermalctl simulate; this one is torn, or "
                  "another file"});
    return std::nullopt;
  }
  if (const auto problem = problemOf(json, path)) {
    problems.add(*problem);
    return std::nullopt;
  }
  Baseline baseline;
  baseline.path = path;
  for (const Json& row : json.at("runs"))
    baseline.add(row);
  return baseline;
}

Baseline::Baseline(const std::vector<RunResult>& results) {
  for (const RunResult& result : results)
    add(result.row());
}

void Baseline::add(const Json& row) {
  const FlatRow flat = flattened(row);
  runs.push_back({keyOf(row), {flat.begin(), flat.end()}});
}

ResultChanges Baseline::compare(const std::vector<RunResult>& results,
                                const Tolerances& tolerances) const {
  ResultChanges comparison;
  Comparer comparer(tolerances, comparison.changes);
  for (const RunResult& result : results) {
    const std::string key = keyOf(result.identity);
    const auto is = [&key](const Run& run) { return run.key == key; };
    const auto earlier = std::find_if(runs.begin(), runs.end(), is);
    if (earlier == runs.end())
      ++comparison.added;
    else
      comparer.compare(result.name, earlier->figures, flattened(result.row()));
  }
  comparison.compared = results.size() - comparison.added;
  comparison.gone = runs.size() > comparison.compared ? runs.size() - comparison.compared : 0;
  return comparison;
}

bool ResultChanges::isWorse() const {
  return std::any_of(changes.begin(), changes.end(),
                     [](const FigureChange& change) { return change.worse; });
}

void printChanges(const std::vector<FigureChange>& changes, std::ostream& out) {
  std::vector<std::vector<std::string>> rows = {{"run", "figure", "before", "now", "difference"}};
  std::string last;
  for (const FigureChange& change : changes) {
    rows.push_back({change.run == last ? "" : change.run, change.figure, change.before, change.now,
                    change.difference});
    last = change.run;
  }
  for (const std::string& line : inColumns(rows, 2))
    out << line << '\n';
}

void Baseline::print(const ResultChanges& comparison, std::ostream& out) const {
  out << '\n'
      << (!comparison.changes.empty() ? "changed against "
          : comparison.compared > 0   ? "nothing has changed against "
                                      : "no run is in both, and nothing is compared with ")
      << visible(path) << '\n';
  if (!comparison.changes.empty()) printChanges(comparison.changes, out);
  if (comparison.added > 0) out << "not in it: " << counted(comparison.added, "run") << '\n';
  if (comparison.gone > 0) out << "only in it: " << counted(comparison.gone, "run") << '\n';
}
