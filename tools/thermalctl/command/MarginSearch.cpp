#include "command/MarginSearch.h"

#include <unistd.h>

#include <filesystem>
#include <iostream>
#include <optional>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "command/CheckFirst.h"
#include "command/Interruptible.h"
#include "command/Replay.h"
#include "file/OutputFiles.h"
#include "margin/Measures.h"
#include "margin/Search.h"
#include "margin/SearchBounds.h"
#include "margin/SearchText.h"
#include "margin/ToleranceFile.h"
#include "terminal/Colour.h"
#include "text/Phrases.h"
#include "toml/Problems.h"

namespace {

namespace fs = std::filesystem;

constexpr char kWorkloadFile[] = "worst.workload.toml";
constexpr char kUnitFile[] = "worst.tolerances.toml";

// What is searched, and the options that run an attempt of it again.
struct SearchReady {
  std::string title;
  std::string name;
  std::optional<SearchSpace> space;
  SimulateOptions again;
  uint64_t seed = 0;
};

// One run is what can be searched, under what it is held to.
bool isOneRun(const Study& study, Problems& problems) {
  if (!problems.none()) return false;
  if (study.cells.size() != 1)
    problems.add({"--search",
                  {},
                  "takes one configuration, one workload and one seed, and here are " +
                      counted(study.cells.size(), "run"),
                  "name them with --conf and --workload"});
  else if (study.inputs.front().description.budgets.empty())
    problems.add({"--search", {}, "asks what breaks a limit", "give --limit or --require"});
  return problems.none();
}

// A study's file has its limits for workloads by name, and another workload is to keep them.
SimulateOptions againOf(const SimulateOptions& options, const StudyRequest& request,
                        const std::vector<Budget>& budgets) {
  SimulateOptions again;
  again.board = request.configurationFolder;
  again.environment = options.environment;
  again.plant = options.plant;
  again.configurations = request.configurations;
  for (const Budget& budget : budgets)
    (budget.ofTemperature() ? again.budgets.limits : again.budgets.requirements)
        .push_back(textOf(budget));
  return again;
}

SearchReady readyToSearch(const MarginSearchOptions& options, Problems& problems) {
  auto [request, ignored] = readAskedStudy(options.simulate, problems);
  if (options.simulate.seeds.empty()) request.seeds = {1};
  if (request.duration > kLongestUnit)
    problems.add({"--duration", {}, "must be at most " + clockOf(kLongestUnit)});
  Study study;
  if (problems.none()) study = readStudy(request, problems);
  Tolerated tolerated;
  SearchBounds bounds;
  if (isOneRun(study, problems)) {
    tolerated = readTolerances(options.tolerances, study.inputs, request.plant, problems);
    const std::vector<std::string> folders = {
        fs::path(request.configurations.front()).parent_path().string(),
        request.configurationFolder};
    bounds = readSearchBounds(options.tolerances, folders, study.inputs.front(),
                              study.configurations, problems);
  }
  SearchReady ready;
  if (!mayRun(request.environment, study.configurations, problems)) return ready;
  RunInput& input = study.inputs.front();
  input.seed = ready.seed = study.cells.front().seed;
  ready.title = titleOf(request);
  ready.name = study.cells.front().name;
  ready.again = againOf(options.simulate, request, input.description.budgets);
  ready.space.emplace(std::move(input), std::move(tolerated.population), std::move(bounds));
  return ready;
}

// A nominal unit needs no tolerances.
std::string runsAgain(const SearchReady& ready, const std::string& out, const Attempt& attempt) {
  SimulateOptions again = ready.again;
  again.workloads = {(fs::path(out) / kWorkloadFile).string()};
  again.duration = fmt::format("{}ms", attempt.duration);
  if (ready.space->tolerancesOf(attempt).empty()) return replayOf(again, "", ready.seed);
  return replayOf(again, (fs::path(out) / kUnitFile).string(), ready.seed) + " --unit 1";
}

std::optional<std::string> writeAttempt(const SearchReady& ready, const std::string& out,
                                        const Attempt& attempt) {
  const std::string unit = ready.space->tolerancesOf(attempt);
  OutputFiles outputs(out);
  outputs.add(kWorkloadFile) << "# " << runsAgain(ready, out, attempt) << "\n"
                             << ready.space->workloadOf(attempt);
  outputs.add(kUnitFile) << (unit.empty() ? "# the nominal unit\n" : unit);
  return outputs.putInPlace();
}

// That a folder cannot be written is known before the first simulation.
std::optional<std::string> cannotWrite(const std::string& out) {
  if (out.empty()) return std::nullopt;
  OutputFiles probe(out);
  probe.add(kWorkloadFile);
  return probe.failure();
}

ExitStatus presentSearch(const MarginSearchOptions& options, const SearchReady& ready,
                         const SearchResult& result) {
  const Attempt& told = toldAttempt(result);
  if (!options.out.empty())
    if (const auto error = writeAttempt(ready, options.out, told))
      return complain(kCouldNotRun, *error);
  if (options.asJunit)
    writeJunit(ready.title, searchSuites(ready.name, *ready.space, result), std::cout);
  else
    printSearch(ready.title, *ready.space, result,
                options.out.empty() ? "" : runsAgain(ready, options.out, told), std::cout);
  if (!result.complete)
    return complain(kCouldNotRun, "interrupted: what is shown is what the first " +
                                      counted(result.simulations, "simulation") + " found");
  for (const SearchResult::Worst& worst : result.worst)
    if (worst.broken) return kProblems;
  if (result.unjudged > 0)
    return complain(kNoVerdict, "no verdict: in " + counted(result.unjudged, "simulation") +
                                    " a daemon stood still, or a limit is of what was never seen");
  return kFine;
}

} // namespace

ExitStatus runMarginSearch(const MarginSearchOptions& options) {
  Problems problems;
  const SearchReady ready = readyToSearch(options, problems);
  if (!ready.space) return kCouldNotRun;
  if (const auto error = cannotWrite(options.out)) return complain(kCouldNotRun, *error);
  const Interruptible untilTheEnd;
  const SearchResult result =
      searchWorst(*ready.space, ready.seed, options.simulations, options.simulate.jobs,
                  [] { return !Interruptible::isAsked(); });
  if (result.simulations == 0)
    return complain(kCouldNotRun, "interrupted before the first simulation had run");
  return presentSearch(options, ready, result);
}
