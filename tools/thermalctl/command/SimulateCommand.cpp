#include <iostream>
#include <optional>
#include <string>
#include <vector>

#include "command/CheckFirst.h"
#include "command/Commands.h"
#include "command/OutputOptions.h"
#include "command/PageOrigin.h"
#include "command/SimulateOptions.h"
#include "command/Verdict.h"
#include "report/RunReport.h"
#include "study/Baseline.h"
#include "study/Study.h"
#include "study/StudyRun.h"
#include "text/Phrases.h"
#include "toml/Problems.h"

namespace {

// A day has some hundred megabytes of traces.
constexpr int64_t kMostTraced = 86'400'000; // milliseconds

constexpr char kSimulateExamples[] =
    "Examples:\n"
    "  thermalctl simulate --board boards/phone --workload game --out report\n"
    "  thermalctl simulate --board boards/phone --workload game --conf old.conf --conf new.conf\n"
    "  thermalctl simulate --board boards/phone --workload camera --limit skin=43C:60s\n"
    "  thermalctl simulate --board boards/phone --workload game --seed 1..20 --out sweep\n"
    "  thermalctl simulate --board boards/phone --against yesterday/results.json\n"
    "\n"
    "The daemon's own code runs in virtual time, an hour in less than a second: each "
    "configuration\n"
    "under each workload with each seed. Without --workload the board's study.toml tells what is\n"
    "run, and what it is held to. A table goes to standard output; --out adds results for "
    "machines,\n"
    "report.html, trace.csv, and trace.json for the Perfetto UI.\n"
    "\n"
    "Exit status: 0 every limit was kept and every requirement met, 1 one was not, or --against\n"
    "finds a verdict that is worse, 2 a file is wrong or could not be read or written, 3 no\n"
    "verdict: the daemon stood still, or a sensor with a limit never had a sample.";

void tellShortRows(const StudyRequest& request, const Study& study) {
  const size_t configurations = study.inputs.size() / request.workloads.size();
  for (size_t i = 0; i < request.workloads.size(); ++i) {
    const std::vector<int>& rows = study.inputs[i * configurations].workload.shortRows;
    if (rows.empty()) continue;
    complain(kFine, request.workloads[i].path + ": " + counted(rows.size(), "row") +
                        " with fewer cells than columns, the first in line " +
                        std::to_string(rows.front()) + ": what is missing counts as empty");
  }
}

// A page of very many runs shows none, and a year of traces fills a disk.
Outputs usualOutputs(const Study& study) {
  Outputs outputs;
  const int64_t duration = study.inputs.front().duration;
  const auto runs = static_cast<int64_t>(study.cells.size());
  outputs.page = study.cells.size() <= kOnPage;
  outputs.csv = outputs.events = duration <= kMostTraced / runs;
  if (!outputs.page)
    complain(kFine, "report.html is left out: it shows " + std::to_string(kOnPage) +
                        " runs at most by itself; --only html writes it");
  if (!outputs.csv)
    complain(kFine, "trace.csv and trace.json are left out: the runs are longer than a day in all; "
                    "--only csv,json writes them");
  return outputs;
}

Provenance provenanceOf(const StudyRequest& request, const Study& study) {
  std::string seeds;
  for (const uint64_t seed : request.seeds)
    seeds += (seeds.empty() ? "" : ", ") + std::to_string(seed);
  return originOf(filesOf(request, study), seeds);
}

ExitStatus run(const SimulateOptions& options, const StudyRequest& request, const Study& study,
               const Outputs& asked, const std::optional<Baseline>& baseline,
               const Tolerances& tolerances) {
  tellShortRows(request, study);
  const std::string title = titleOf(request);
  RunReport report;
  if (!options.outputs.out.empty()) {
    const Outputs outputs = options.outputs.chooses() ? asked : usualOutputs(study);
    if (const auto error =
            report.writeTo(options.outputs.out, title, provenanceOf(request, study), outputs))
      return complain(kCouldNotRun, *error);
  }
  runStudy(study, options.jobs, report, std::cerr);
  if (const auto error = report.finish()) return complain(kCouldNotRun, *error);
  printReport(options.outputs, report, title, std::cout);
  // Behind a form for machines there is nothing else.
  std::ostream& remarks = options.outputs.asJunit() ? std::cerr : std::cout;
  bool worse = false;
  if (baseline) {
    const ResultChanges comparison = baseline->compare(report.results(), tolerances);
    baseline->print(comparison, remarks);
    worse = comparison.isWorse();
  }
  const ExitStatus verdict = verdictOf(report.results());
  return worse && verdict == kFine ? kProblems : verdict;
}

ExitStatus runSimulation(const SimulateOptions& options) {
  Problems problems;
  const auto [request, tolerances] = readAskedStudy(options, problems);
  const Outputs outputs = readOutputs(options.outputs, problems);
  std::optional<Baseline> baseline;
  if (!options.against.empty()) baseline = Baseline::read(options.against, problems);
  Study study = problems.none() ? readStudy(request, problems) : Study();
  if (options.unit.isAsked() && problems.none())
    study = studyOfUnit(options.unit, study, request, problems);
  if (!mayRun(request.environment, study.configurations, problems)) return kCouldNotRun;
  return run(options, request, study, outputs, baseline, tolerances);
}

} // namespace

Command simulateCommand() {
  return commandOf("simulate",
                   "Run configurations against a thermal model of the device, in virtual time",
                   kSimulateExamples, addSimulateOptions, runSimulation);
}
