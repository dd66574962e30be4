#include "command/MarginSearch.h"

#include <filesystem>
#include <iostream>
#include <optional>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "command/CheckFirst.h"
#include "command/Interruptible.h"
#include "command/PageOrigin.h"
#include "command/Replay.h"
#include "file/OutputFiles.h"
#include "file/Sha256.h"
#include "margin/MarginStudy.h"
#include "margin/Measures.h"
#include "margin/Sampling.h"
#include "margin/Search.h"
#include "margin/SearchBounds.h"
#include "margin/SearchReport.h"
#include "margin/SearchText.h"
#include "margin/ToleranceFile.h"
#include "report/Junit.h"
#include "text/Phrases.h"
#include "toml/Problems.h"

namespace {

namespace fs = std::filesystem;

constexpr char kWorkloadFile[] = "worst.workload.toml";
constexpr char kUnitFile[] = "worst.tolerances.toml";
constexpr char kPartFile[] = "worst.part"; // from which another round goes on

// What is searched, and what an earlier round has found.
struct SearchReady {
  MarginStudy asked;
  std::optional<SearchSpace> space;
  std::optional<MergedParts> before;
  std::string from; // the digest of that
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

// But for the workload and the unit. A study's file has its limits for workloads by name, and
// another workload is to keep them.
std::string againOf(const SimulateOptions& options, const StudyRequest& request,
                    const std::vector<Budget>& budgets, uint64_t seed) {
  SimulateOptions again;
  again.board = request.configurationFolder;
  again.environment = options.environment;
  again.plant = options.plant;
  again.configurations = request.configurations;
  for (const Budget& budget : budgets)
    (budget.ofTemperature() ? again.budgets.limits : again.budgets.requirements)
        .push_back(textOf(budget));
  return replayOf(again, "", seed);
}

MarginStudy searchedOf(const MarginSearchOptions& options, const StudyRequest& request,
                       const Study& study, const Tolerated& tolerated) {
  MarginStudy asked = askedOf(study, tolerated.population);
  std::vector<std::string> files = filesOf(request, study);
  files.insert(files.end(), tolerated.files.begin(), tolerated.files.end());
  asked.title = titleOf(request);
  asked.inputs = inputsByName(files);
  asked.replay = againOf(options.simulate, request, asked.runs.front().budgets, asked.seed);
  return asked;
}

void readFrom(const std::string& folder, SearchReady& ready, Problems& problems) {
  const std::string path = (fs::path(folder) / kPartFile).string();
  ready.before = mergeParts({path}, problems);
  if (!ready.before) return;
  const std::string difference =
      ready.before->search ? differenceOf(ready.asked, ready.before->study) : "it is of units";
  if (!difference.empty())
    problems.add({path,
                  {},
                  "is of another search than this one: " + difference,
                  "search the same in each round, and without --from something else"});
  ready.from = sha256OfFile(path).value_or("");
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
  SearchReady ready;
  if (isOneRun(study, problems)) {
    tolerated = readTolerances(options.tolerances, study.inputs, request.plant, problems);
    const std::vector<std::string> folders = {
        fs::path(request.configurations.front()).parent_path().string(),
        request.configurationFolder};
    bounds = readSearchBounds(options.tolerances, folders, study.inputs.front(),
                              study.configurations, problems);
    if (problems.none()) ready.asked = searchedOf(options, request, study, tolerated);
    if (problems.none() && !options.from.empty()) readFrom(options.from, ready, problems);
  }
  if (!mayRun(request.environment, study.configurations, problems)) return ready;
  RunInput& input = study.inputs.front();
  input.seed = ready.asked.seed;
  ready.space.emplace(std::move(input), std::move(tolerated.population), std::move(bounds));
  return ready;
}

// A nominal unit needs no tolerances.
std::string runsAgain(const MarginStudy& study, const std::string& out,
                      const SearchReport::Told& told) {
  const auto within = [&](const char* name) { return shellWord((fs::path(out) / name).string()); };
  const std::string run = fmt::format("{} --workload {} --duration {}ms", study.replay,
                                      within(kWorkloadFile), told.duration);
  return told.unit.empty() ? run : run + " --tolerances " + within(kUnitFile) + " --unit 1";
}

std::optional<std::string> writeFound(const MergedParts& found, const std::string& out) {
  const SearchReport::Told& told = found.search->told;
  OutputFiles outputs(out);
  outputs.add(kWorkloadFile) << "# " << runsAgain(found.study, out, told) << "\n" << told.workload;
  outputs.add(kUnitFile) << (told.unit.empty() ? "# the nominal unit\n" : told.unit);
  writeSearchPart(outputs.add(kPartFile), found.study, {found.asked, 1, 1}, *found.search);
  return outputs.putInPlace();
}

ExitStatus writeShard(const MarginSearchOptions& options, const MarginStudy& study,
                      const Shard& shard, const SearchReport& report) {
  if (!report.complete) return complain(kCouldNotRun, "interrupted: no part is written");
  const fs::path place(options.out);
  OutputFiles outputs(place.has_parent_path() ? place.parent_path() : ".");
  writeSearchPart(outputs.add(place.filename()), study, shard, report);
  if (const auto error = outputs.putInPlace()) return complain(kCouldNotRun, *error);
  std::cout << fmt::format("{}: {} of {}, shard {}/{}\n", options.out,
                           counted(shard.units().size(), "simulation"), shard.asked.size(),
                           shard.index, shard.count);
  return kFine;
}

ExitStatus statusOf(const SearchReport& report) {
  if (!report.complete)
    return complain(kCouldNotRun, "interrupted: what is shown is what the first " +
                                      counted(report.simulations, "simulation") + " found");
  for (const SearchResult::Worst& worst : report.worst)
    if (worst.broken) return kProblems;
  if (report.unjudged > 0)
    return complain(kNoVerdict, "no verdict: in " + counted(report.unjudged, "simulation") +
                                    " a daemon stood still, or a limit is of what was never seen");
  return kFine;
}

// Its part of the simulations, those behind what an earlier round has run.
SearchReport search(const MarginSearchOptions& options, const SearchReady& ready,
                    const Shard& shard) {
  const Interruptible untilTheEnd;
  SearchTask task{ready.asked.seed, shard.units()};
  if (ready.before) task.from = ready.before->search->worst;
  const SearchResult result = searchWorst(*ready.space, task, options.simulate.jobs,
                                          [] { return !Interruptible::isAsked(); });
  if (result.simulations == 0) return {};
  SearchReport report = reportOf(*ready.space, result);
  report.from = ready.from;
  // So that all parts together have counted it once.
  if (ready.before && shard.index == 1) report.count(*ready.before->search);
  return report;
}

} // namespace

ExitStatus presentSearch(const MergedParts& found, const std::string& out, bool asJunit) {
  if (!out.empty())
    if (const auto error = writeFound(found, out)) return complain(kCouldNotRun, *error);
  const SearchReport& report = *found.search;
  if (asJunit)
    writeJunit(found.study.title, searchSuites(found.study, report), std::cout);
  else
    printSearch(found.study, report, out.empty() ? "" : runsAgain(found.study, out, report.told),
                std::cout);
  return statusOf(report);
}

ExitStatus runMarginSearch(const MarginSearchOptions& options) {
  Problems problems;
  const SearchReady ready = readyToSearch(options, problems);
  if (!ready.space) return kCouldNotRun;
  const uint64_t first = ready.before ? ready.before->asked.end : 1;
  Shard shard = options.shard.value_or(Shard{});
  shard.asked = {first, first + options.simulations};
  const fs::path out(options.out);
  if (!out.empty())
    if (const auto error = standsInTheWay(options.shard ? out : out / kPartFile))
      return complain(kCouldNotRun, *error);
  SearchReport report = search(options, ready, shard);
  if (report.worst.empty())
    return complain(kCouldNotRun, "interrupted before the first simulation had run");
  if (options.shard) return writeShard(options, ready.asked, shard, report);
  // What was interrupted is a search of so many.
  const Range asked = report.complete ? shard.asked : Range{1, report.simulations + 1};
  return presentSearch({ready.asked, asked, std::move(report), {}, {}, {}}, options.out,
                       options.asJunit);
}
