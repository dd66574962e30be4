#include "margin/MarginText.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include <fmt/format.h>

#include "text/Characters.h"
#include "text/Columns.h"
#include "text/Phrases.h"

namespace {

constexpr size_t kNamed = 3; // drivers in a sentence
constexpr size_t kLineWidth = 100;

// In the order of kPercentiles.
constexpr size_t kMedian = 3;
constexpr size_t kP95 = 5;
constexpr size_t kP99 = 6;

// The greatest first, and no more than a reader takes in.
using Weighed = std::vector<std::pair<double, std::string>>;

Weighed heaviest(Weighed all) {
  std::stable_sort(all.begin(), all.end(), [](const auto& a, const auto& b) {
    return std::abs(a.first) > std::abs(b.first);
  });
  all.resize(std::min(all.size(), kNamed));
  return all;
}

std::vector<std::string> texts(const Weighed& weighed, const char* format) {
  std::vector<std::string> all;
  for (const auto& [weight, name] : weighed)
    all.push_back(name + " " + fmt::format(fmt::runtime(format), weight));
  return all;
}

std::vector<std::string> rowOf(const MarginStudy& study, const MarginStudy::Run& run,
                               const MarginResult::Run& result, size_t index) {
  const MarginResult::Budgeted& budget = result.budgets[index];
  const MarginResult::Figure& figure = figureOf(run, result, index);
  const auto cell = [&](int32_t value) {
    return figure.units == 0 ? "-" : figureText(study, run.figures.measures[figure.measure], value);
  };
  std::vector<std::string> row = {run.name, textOf(run.budgets[index]),
                                  fmt::format("{} of {}", budget.kept, budget.units()),
                                  brokenText(budget)};
  for (const size_t which : {kMedian, kP95, kP99})
    row.push_back(figure.units == 0 ? "-" : cell(figure.percentiles[which]));
  row.push_back(budget.worst.empty() ? "-" : cell(budget.worst.front().value));
  row.push_back(budget.worst.empty() ? "-" : std::to_string(budget.worst.front().unit));
  return row;
}

void printBudgets(const MarginStudy& study, const MarginResult& result, std::ostream& out) {
  std::vector<std::vector<std::string>> rows = {{"run", "limit", "keep it",
                                                 "share that does not, 95 %", "p50", "p95", "p99",
                                                 "worst", "unit"}};
  for (size_t run = 0; run < result.runs.size(); ++run)
    for (size_t budget = 0; budget < result.runs[run].budgets.size(); ++budget)
      rows.push_back(rowOf(study, study.runs[run], result.runs[run], budget));
  if (rows.size() == 1) return;
  for (const std::string& line : inColumns(rows, 2))
    out << visible(line) << '\n';
}

// Where nothing is asked for.
void printFigures(const MarginStudy& study, const MarginStudy::Run& run,
                  const MarginResult::Run& result, std::ostream& out) {
  std::vector<std::vector<std::string>> rows = {
      {run.name, "mean", "p5", "p50", "p95", "p99", "highest"}};
  for (const MarginResult::Figure& figure : result.figures) {
    const Measure& measure = run.figures.measures[figure.measure];
    if (measure.of == Measure::Of::kTime || figure.units == 0) continue;
    rows.push_back({measure.name + ", " + measure.unit()});
    const auto add = [&](double value) { rows.back().push_back(rounded(value, 2)); };
    add(measure.inUnits(1'000'000, study.duration) * figure.mean / 1e6);
    for (const size_t which : {size_t{1}, kMedian, kP95, kP99})
      add(measure.inUnits(figure.percentiles[which], study.duration));
    add(measure.inUnits(figure.most, study.duration));
  }
  for (const std::string& line : inColumns(rows, 1))
    out << visible(line) << '\n';
}

void tell(const std::string& sentence, std::ostream& out) {
  if (!sentence.empty()) out << wrapped(visible(sentence), kLineWidth);
}

void printWorst(const MarginStudy& study, const MarginStudy::Run& run, const std::string& of,
                size_t measure, const std::vector<MarginResult::Worst>& worst, std::ostream& out) {
  if (worst.empty()) return;
  std::vector<std::string> units;
  units.reserve(worst.size());
  for (const MarginResult::Worst& each : worst)
    units.push_back(fmt::format("{} ({})", each.unit,
                                figureText(study, run.figures.measures[measure], each.value)));
  tell("worst units of " + of + " in " + run.name + ": " + enumerated(units), out);
}

void printRun(const MarginStudy& study, const MarginResult& result, size_t index,
              std::ostream& out) {
  const MarginStudy::Run& run = study.runs[index];
  const MarginResult::Run& one = result.runs[index];
  for (size_t i = 0; i < one.budgets.size(); ++i) {
    const MarginResult::Budgeted& budget = one.budgets[i];
    const std::string of = textOf(run.budgets[i]);
    const std::string inRun = of + " in " + run.name + ": ";
    const std::string answer = answerText(result, budget);
    if (!answer.empty()) tell(inRun + answer, out);
    if (budget.unjudged > 0)
      tell(inRun + "nobody knows of " + counted(budget.unjudged, "unit") +
               ", in which it was never seen or the daemon stood still",
           out);
    if (budget.broken == 0) continue;
    tell(commonText(study, budget), out);
    tell(driversText(study, figureOf(run, one, i)), out);
    printWorst(study, run, of, run.figures.budgets[i].measured, budget.worst, out);
  }
  if (one.budgets.empty())
    printWorst(study, run, run.figures.measures.front().name, 0, one.hottest, out);
  if (one.stoodStill > 0)
    tell(run.name + ": in " + counted(one.stoodStill, "unit") +
             " the daemon stood still: no limit is kept by what samples and decides nothing",
         out);
}

JunitCase caseOf(const MarginStudy& study, const MarginStudy::Run& run, const MarginResult& result,
                 const MarginResult::Run& one, size_t index) {
  const MarginResult::Budgeted& budget = one.budgets[index];
  JunitCase made{textOf(run.budgets[index])};
  const MarginResult::Answer answer = result.answerTo(budget);
  if (answer == MarginResult::Answer::kKept) return made;
  made.element = answer == MarginResult::Answer::kBroken ? "failure" : "error";
  made.message = fmt::format("{} of {} units keep it, share that does not: {}", budget.kept,
                             budget.units(), brokenText(budget));
  if (!budget.worst.empty())
    made.message +=
        fmt::format(", worst {} in unit {}",
                    figureText(study, run.figures.measures[run.figures.budgets[index].measured],
                               budget.worst.front().value),
                    budget.worst.front().unit);
  const std::string told = answerText(result, budget);
  if (!told.empty()) made.message += "; " + told;
  return made;
}

} // namespace

void printMargin(const MarginStudy& study, const MarginResult& result, std::ostream& out) {
  out << visible(fmt::format("{}: {} from {} on, {} each, seed {}", study.title,
                             counted(result.units.size(), "unit"), result.units.first,
                             clockOf(study.duration), study.seed))
      << "\n\n";
  printBudgets(study, result, out);
  for (size_t i = 0; i < result.runs.size(); ++i)
    if (result.runs[i].budgets.empty()) printFigures(study, study.runs[i], result.runs[i], out);
  out << '\n';
  for (size_t i = 0; i < result.runs.size(); ++i)
    printRun(study, result, i, out);
  out << visible("one unit by itself: " + study.replay + " --unit NUMBER") << '\n';
}

std::vector<JunitSuite> marginSuites(const MarginStudy& study, const MarginResult& result) {
  std::vector<JunitSuite> suites;
  for (size_t run = 0; run < result.runs.size(); ++run) {
    const MarginResult::Run& one = result.runs[run];
    suites.push_back({study.runs[run].name, {}});
    for (size_t i = 0; i < one.budgets.size(); ++i)
      suites.back().cases.push_back(caseOf(study, study.runs[run], result, one, i));
    if (!one.budgets.empty()) continue;
    JunitCase whole{"run"};
    if (one.stoodStill > 0) {
      whole.element = "error";
      whole.message = "in " + counted(one.stoodStill, "unit") + " the daemon stood still";
    }
    suites.back().cases.push_back(whole);
  }
  return suites;
}

std::string percentOf(double share) {
  const double least = std::min(share, 1 - share);
  // Two digits of the share, or of what it lacks to all: 99.970 % must not become 100.
  const double digits = least <= 0 ? 0 : 1 - std::floor(std::log10(100 * least) + 1e-9);
  return rounded(100 * share, static_cast<int>(std::clamp(digits, 0.0, 12.0)));
}

std::string brokenText(const MarginResult::Budgeted& budget) {
  const double low = 1 - budget.keeping.high;
  const double high = 1 - budget.keeping.low;
  if (budget.kept == budget.units()) return "at most " + percentOf(high) + " %";
  if (budget.kept == 0) return "at least " + percentOf(low) + " %";
  return percentOf(low) + " to " + percentOf(high) + " %";
}

std::string figureText(const MarginStudy& study, const Measure& measure, int32_t value) {
  const int digits = measure.of == Measure::Of::kTime ? 0 : 2;
  return rounded(measure.inUnits(value, study.duration), digits) + " " + measure.unit();
}

std::string commonText(const MarginStudy& study, const MarginResult::Budgeted& budget) {
  if (budget.common.empty()) return "";
  Weighed weighed;
  // Over all units a driver has the deviation 1, so that the mean of n of them has 1 / sqrt(n).
  const double root = std::sqrt(static_cast<double>(budget.broken));
  // What chance alone hardly makes of the mean of so many.
  for (size_t i = 0; i < budget.common.size(); ++i)
    if (std::abs(budget.common[i]) * root >= 3)
      weighed.emplace_back(budget.common[i], study.drivers[i].name);
  const std::string who = budget.broken == 1
                              ? "the one that does not keep it"
                              : fmt::format("the {} that do not keep it", budget.broken);
  if (weighed.empty()) return who + ": no driver of them stands out";
  return who + ", in standard deviations from all units: " +
         enumerated(texts(heaviest(weighed), "{:+.1f}"));
}

std::string driversText(const MarginStudy& study, const MarginResult::Figure& figure) {
  Weighed weighed;
  if (!figure.sobol.empty()) {
    for (size_t i = 0; i < figure.sobol.size(); ++i)
      weighed.emplace_back(std::max(0.0, 100 * figure.sobol[i].first.value),
                           partName(study, study.independent[i]));
    return "what drives it, in per cent of its variance: " +
           enumerated(texts(heaviest(weighed), "{:.0f} %"));
  }
  for (size_t i = 0; i < figure.correlations.size(); ++i)
    weighed.emplace_back(figure.correlations[i].value, study.drivers[i].name);
  if (weighed.empty()) return "";
  return "what drives it, by rank correlation: " + enumerated(texts(heaviest(weighed), "{:+.2f}"));
}

std::string answerText(const MarginResult& result, const MarginResult::Budgeted& budget) {
  if (!result.question) return "";
  if (!budget.answeredAt)
    return fmt::format("{} units do not settle whether no more than {:g} % break it; take more",
                       budget.units(), 100 * result.question->share);
  return fmt::format("{} {:g} % break it, at {:g} %, settled behind unit {}",
                     budget.isAtMost ? "no more than" : "more than", 100 * result.question->share,
                     100 * result.question->confidence, *budget.answeredAt);
}

const MarginResult::Figure& figureOf(const MarginStudy::Run& run, const MarginResult::Run& result,
                                     size_t budget) {
  const size_t measured = run.figures.budgets[budget].measured;
  return *std::find_if(result.figures.begin(), result.figures.end(),
                       [&](const auto& figure) { return figure.measure == measured; });
}
