#include "diff/StudyDifference.h"

#include <algorithm>
#include <iostream>
#include <sstream>
#include <tuple>
#include <utility>

#include "report/RunReport.h"
#include "study/Jobs.h"
#include "study/StudyRun.h"
#include "text/Characters.h"

namespace {

std::vector<RunResult> resultsOf(const NamedStudy& side, size_t threads) {
  RunReport report;
  std::ostringstream warnings;
  runStudy(side.study, threads, report, warnings);
  if (!warnings.str().empty()) std::cerr << visible(side.name) << ":\n" << warnings.str();
  return report.results();
}

bool areOne(const Study::Cell& a, const Study::Cell& b) {
  return std::tie(a.configuration, a.workload, a.seed) ==
         std::tie(b.configuration, b.workload, b.seed);
}

} // namespace

bool StudyDifference::none() const {
  return figures.changes.empty() && figures.added == 0 && figures.gone == 0 &&
         std::none_of(runs.begin(), runs.end(),
                      [](const Run& run) { return run.parting.has_value(); });
}

StudyDifference differenceOf(const NamedStudy& before, const NamedStudy& now,
                             const Tolerances& tolerances, size_t threads) {
  StudyDifference difference;
  std::vector<std::pair<const Study::Cell*, const Study::Cell*>> pairs;
  for (const Study::Cell& cell : now.study.cells) {
    const auto& cells = before.study.cells;
    const auto earlier = std::find_if(
        cells.begin(), cells.end(), [&](const Study::Cell& other) { return areOne(cell, other); });
    if (earlier == cells.end()) continue;
    pairs.emplace_back(&*earlier, &cell);
    difference.runs.push_back({cell.name, std::nullopt});
  }
  const Baseline baseline(resultsOf(before, threads));
  difference.figures = baseline.compare(resultsOf(now, threads), tolerances);
  const auto findParting = [&](size_t i) {
    difference.runs[i].parting =
        partingOf(before.study.inputOf(*pairs[i].first), now.study.inputOf(*pairs[i].second));
  };
  runJobs(pairs.size(), threads, findParting, [](size_t) {});
  return difference;
}
