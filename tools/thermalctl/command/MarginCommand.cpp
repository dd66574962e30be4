#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <optional>
#include <string>
#include <vector>

#include <fmt/format.h>

#include "command/CheckFirst.h"
#include "command/Commands.h"
#include "command/Interruptible.h"
#include "command/MarginSearch.h"
#include "command/PageOrigin.h"
#include "command/Replay.h"
#include "command/SimulateOptions.h"
#include "command/UnitOption.h"
#include "file/OutputFiles.h"
#include "margin/Chances.h"
#include "margin/MarginFiles.h"
#include "margin/MarginPage.h"
#include "margin/MarginResult.h"
#include "margin/MarginStudy.h"
#include "margin/MarginText.h"
#include "margin/PartFile.h"
#include "margin/Sampling.h"
#include "margin/ToleranceFile.h"
#include "report/Junit.h"
#include "terminal/Colour.h"
#include "text/Phrases.h"
#include "toml/Problems.h"

namespace {

namespace fs = std::filesystem;

constexpr char kExamples[] =
    "Examples:\n"
    "  thermalctl margin --board boards/phone --tolerances boards/phone/tolerances.toml \\\n"
    "    --workload game --units 10000 --limit skin=43C --out margin\n"
    "  thermalctl margin --board boards/phone --tolerances boards/phone/tolerances.toml \\\n"
    "    --workload game --limit skin=44C --units 100000 --until 'share<=0.1%@95%'\n"
    "  thermalctl margin merge part-* --out margin\n"
    "  thermalctl margin --board boards/phone --tolerances boards/phone/tolerances.toml \\\n"
    "    --workload game --limit skin=44.5C --search --out worst\n"
    "\n"
    "Runs many units of a board, each with numbers of its own, and tells what share of them keeps\n"
    "each limit, as far as so many units can tell, what drives it, and which units are the worst.\n"
    "--shard I/N runs one of N parts, on whatever machine, and merge puts them together.\n"
    "--search looks for a workload and a unit that break a limit, and writes as little as does;\n"
    "--from goes on from there. Its parts are merged, too.\n"
    "\n"
    "Exit status: 0 every unit kept every limit, --until was answered so, or --search broke none;\n"
    "1 one did not, or one was broken; 2 could not run, or was interrupted; 3 no verdict, or\n"
    "--until is not answered yet.";

struct MarginOptions {
  std::vector<std::string> merge; // the word and its parts
  SimulateOptions simulate;
  std::string tolerances;
  std::string units = "1000";
  std::string sobol;
  std::string until;
  std::string shard;
  bool search = false;
  uint64_t simulations = 1500;
  std::string from;
  std::string out;
  std::string format = "text";
};

// Takes "10000", or "10001..20000" for a later round.
Range readUnits(const std::string& text, Problems& problems) {
  constexpr char kMust[] =
      "a number of units from 1 on, such as 10000, or a range such as 10001..20000";
  const size_t dots = text.find("..");
  const auto count = [&](const std::string& part) {
    return countIn("--units", part, kMust, problems);
  };
  if (dots == std::string::npos) return {1, count(text) + 1};
  const Range range{count(text.substr(0, dots)), count(text.substr(dots + 2)) + 1};
  if (problems.none() && range.end <= range.first)
    problems.add({"--units " + text, {}, "ends before it begins"});
  return range;
}

std::optional<Shard> readShard(const MarginOptions& options, const Range& asked,
                               Problems& problems) {
  const std::string& text = options.shard;
  if (text.empty()) return std::nullopt;
  if (options.out.empty())
    problems.add({"--shard " + text, {}, "needs --out, the file of the part"});
  constexpr char kMust[] = "one of so many, such as 3/8";
  const size_t slash = text.find('/');
  Problems wrong;
  const Shard shard{
      asked, countIn("", text.substr(0, slash), "", wrong),
      countIn("", slash == std::string::npos ? "" : text.substr(slash + 1), "", wrong)};
  if (!wrong.none() || shard.index > shard.count)
    problems.add({"--shard " + text, {}, std::string("must be ") + kMust});
  return shard;
}

std::optional<Question> readUntil(const std::string& text, Problems& problems) {
  if (text.empty()) return std::nullopt;
  const QuestionText read = readQuestion(text);
  if (!read.question) problems.add({"--until " + text, {}, read.wrong, read.hint});
  return read.question;
}

// All that is to be run, read and checked.
struct Ready {
  Study study;
  Population population;
  MarginStudy asked;
};

// A population of each seed is another.
void takeOneSeed(const MarginOptions& options, StudyRequest& request, Problems& problems) {
  if (options.simulate.seeds.empty()) request.seeds = {1};
  if (request.seeds.size() > 1)
    problems.add({"--seed", {}, "must be one number", "each seed makes another population"});
}

Ready readyToRun(const MarginOptions& options, uint64_t sobolSamples, Problems& problems) {
  auto [request, ignored] = readAskedStudy(options.simulate, problems);
  takeOneSeed(options, request, problems);
  if (request.duration > kLongestUnit)
    problems.add({"--duration", {}, "must be at most " + clockOf(kLongestUnit) + " for each unit"});
  Ready ready;
  if (problems.none()) ready.study = readStudy(request, problems);
  Tolerated tolerated;
  if (problems.none())
    tolerated = readTolerances(options.tolerances, ready.study.inputs, request.plant, problems);
  if (!mayRun(request.environment, ready.study.configurations, problems)) return {};
  std::vector<std::string> files = filesOf(request, ready.study);
  files.insert(files.end(), tolerated.files.begin(), tolerated.files.end());
  ready.population = std::move(tolerated.population);
  ready.asked = askedOf(ready.study, ready.population);
  ready.asked.title = titleOf(request);
  ready.asked.sobolSamples = sobolSamples;
  ready.asked.inputs = inputsByName(files);
  ready.asked.replay = replayOf(options.simulate, options.tolerances, ready.asked.seed);
  return ready;
}

// Where as much as all the units is kept until the end.
std::string spoolFolder(const std::string& out) {
  std::error_code ignored;
  if (out.empty()) return fs::temp_directory_path(ignored).string();
  fs::path folder = fs::absolute(out, ignored);
  while (!fs::is_directory(folder, ignored) && folder.has_relative_path())
    folder = folder.parent_path();
  return folder.string();
}

ExitStatus statusOf(const MarginResult& result) {
  switch (result.answer()) {
  case MarginResult::Answer::kKept:
    return kFine;
  case MarginResult::Answer::kBroken:
    return kProblems;
  case MarginResult::Answer::kOpen:
    break;
  }
  return complain(kNoVerdict, result.question
                                  ? "--until is not answered: take more units"
                                  : "no verdict: a daemon stood still, or a limit is of "
                                    "what was never seen");
}

std::optional<std::string> writeFiles(const std::string& out, const MarginStudy& study,
                                      const MarginResult& result, bool complete,
                                      const UnitRows& units) {
  OutputFiles outputs(out);
  writeMarginJson(study, result, complete, outputs.add("margin.json"));
  writeMarginCsv(study, result.units.first, units, outputs.add("margin.csv"));
  writeMarginPage(study, result, complete, outputs.add("margin.html"));
  return outputs.putInPlace();
}

ExitStatus present(const MarginOptions& options, const MarginStudy& study,
                   const MarginResult& result, bool complete, const UnitRows& units) {
  if (!options.out.empty())
    if (const auto error = writeFiles(options.out, study, result, complete, units))
      return complain(kCouldNotRun, *error);
  if (options.format == "junit")
    writeJunit(study.title, marginSuites(study, result), std::cout);
  else
    printMargin(study, result, std::cout);
  if (!complete)
    return complain(kCouldNotRun, "interrupted: what is shown is what the first " +
                                      counted(result.units.size(), "unit") + " tell");
  return statusOf(result);
}

// Runs all that is asked for, or as much of it as the user waits for.
class MarginRun {
public:
  MarginRun(const MarginOptions& options_, const Ready& ready_)
      : options(options_), ready(ready_), folder(spoolFolder(options.out)),
        units(folder, ready.asked.columns()), samples(folder, ready.asked.columns()),
        sampling(ready.study, ready.population, ready.asked, options.simulate.jobs) {}

  ExitStatus whole(const Range& range, const std::optional<Question>& question) {
    if (!options.out.empty())
      if (const auto error = standsInTheWay(fs::path(options.out) / "margin.json"))
        return complain(kCouldNotRun, *error);
    Answering answering(ready.asked, question);
    const bool all = go({range, 1, 1}, &answering);
    if (units.rows().rows() == 0)
      return complain(kCouldNotRun, "interrupted before the first unit had run");
    const UnitRows rows = units.rows();
    return present(options, ready.asked,
                   resultOf(ready.asked, range.first, rows, samples.rows(), question), all, rows);
  }

  ExitStatus part(const Shard& shard) {
    if (const auto error = standsInTheWay(options.out)) return complain(kCouldNotRun, *error);
    if (!go(shard, nullptr)) return complain(kCouldNotRun, "interrupted: no part is written");
    if (const auto error = writePart(options.out, ready.asked, shard, units.rows(), samples.rows()))
      return complain(kCouldNotRun, *error);
    std::cout << fmt::format("{}: {} of {}, shard {}/{}\n", options.out,
                             counted(shard.units().size(), "unit"), shard.asked.size(), shard.index,
                             shard.count);
    return kFine;
  }

private:
  // Whether nobody asked to come to an end before.
  bool go(const Shard& shard, Answering* answering) {
    const Interruptible untilTheEnd;
    const auto goesOn = [] { return !Interruptible::isAsked(); };
    const auto told = [&](const std::vector<int32_t>& row) {
      return !answering || !answering->isAnsweredBy(row);
    };
    sampling.units(shard.units(), {told, goesOn}, units);
    const auto any = [](const std::vector<int32_t>&) { return true; };
    if (goesOn()) sampling.samples(shard.samples(ready.asked), {any, goesOn}, samples);
    return goesOn();
  }

  const MarginOptions& options;
  const Ready& ready;
  const std::string folder;
  UnitSpool units;
  UnitSpool samples;
  Sampling sampling;
};

ExitStatus runUnits(const MarginOptions& options) {
  if (options.tolerances.empty())
    throw UsageError("--tolerances is required; write --tolerances FILE");
  if (!options.from.empty() || options.simulations != MarginOptions().simulations)
    throw UsageError("--from and --simulations are of a search: give --search, too");
  Problems problems;
  const Range range = readUnits(options.units, problems);
  const std::optional<Shard> shard = readShard(options, range, problems);
  const std::optional<Question> question = readUntil(options.until, problems);
  const uint64_t samples = options.sobol.empty()
                               ? 0
                               : countIn("--sobol", options.sobol,
                                         "a number of samples from 1 on, such as 500", problems);
  if (shard && question)
    problems.add({"--until", {}, "cannot be answered by a part", "give it to margin merge"});
  const Ready ready = readyToRun(options, samples, problems);
  if (ready.study.cells.empty()) return kCouldNotRun;
  const auto isHeld = [](const MarginStudy::Run& run) { return !run.budgets.empty(); };
  if (question && std::none_of(ready.asked.runs.begin(), ready.asked.runs.end(), isHeld))
    return complain(kCouldNotRun, "--until asks how many keep a limit: give --limit or --require");
  MarginRun run(options, ready);
  return shard ? run.part(*shard) : run.whole(range, question);
}

// What parts have said already, and nobody else may say.
bool asksForARun(const MarginOptions& options) {
  const SimulateOptions& run = options.simulate;
  const MarginOptions none;
  const auto isGiven = [](const auto& each) { return !each.empty(); };
  const auto isAnyGiven = [&](const auto& all) {
    return std::any_of(all.begin(), all.end(), isGiven);
  };
  return options.search || options.units != none.units || options.simulations != none.simulations ||
         isAnyGiven(std::vector{options.tolerances, options.shard, options.sobol, options.from,
                                run.board, run.study, run.environment, run.plant,
                                run.recording.files, run.duration}) ||
         isAnyGiven(std::vector{run.configurations, run.workloads, run.seeds, run.budgets.limits,
                                run.budgets.requirements});
}

ExitStatus runMerge(const MarginOptions& options) {
  if (options.merge.front() != "merge")
    throw UsageError("'" + options.merge.front() + "' is no word of margin: write merge PART...");
  if (asksForARun(options))
    throw UsageError("merge takes --out, --format and --until alone: its parts say the rest");
  Problems problems;
  const std::optional<Question> question = readUntil(options.until, problems);
  const std::vector<std::string> paths(options.merge.begin() + 1, options.merge.end());
  if (paths.empty()) problems.add({"margin merge", {}, "names no part"});
  const std::optional<MergedParts> merged = mergeParts(paths, problems);
  if (merged && merged->search && question)
    problems.add({"--until " + options.until, {}, "is of units, and these are parts of a search"});
  problems.print(std::cerr, colourFor(STDERR_FILENO));
  if (!merged || !problems.none()) return kCouldNotRun;
  if (merged->search) return presentSearch(*merged, options.out, options.format == "junit");
  return present(
      options, merged->study,
      resultOf(merged->study, merged->asked.first, merged->units, merged->samples, question), true,
      merged->units);
}

ExitStatus runSearch(const MarginOptions& options) {
  if (options.tolerances.empty())
    throw UsageError("--tolerances is required; write --tolerances FILE");
  if (!options.sobol.empty() || !options.until.empty() || options.units != MarginOptions().units)
    throw UsageError("--search excludes --units, --sobol and --until: it draws no units");
  Problems problems;
  const std::optional<Shard> shard = readShard(options, {1, options.simulations + 1}, problems);
  if (shard && shard->count > options.simulations)
    problems.add({"--shard " + options.shard,
                  {},
                  "must be one of at most " + std::to_string(options.simulations) +
                      ": each part has a simulation at least",
                  "give more --simulations, which all parts share"});
  problems.print(std::cerr, colourFor(STDERR_FILENO));
  if (!problems.none()) return kCouldNotRun;
  return runMarginSearch({options.simulate, options.tolerances, options.from, options.simulations,
                          shard, options.out, options.format == "junit"});
}

ExitStatus runMargin(const MarginOptions& options) {
  if (!options.merge.empty()) return runMerge(options);
  return options.search ? runSearch(options) : runUnits(options);
}

void addMarginOptions(CommandLine& line, MarginOptions& options) {
  line.option("PART", &options.merge,
              "merge and the files of --shard: puts parts together in the place of a run")
      .takes("[merge FILE...]")
      .takesAll();
  line.option("--tolerances", &options.tolerances,
              "What differs from unit to unit, such as boards/phone/tolerances.toml")
      .takes("FILE");
  line.option("--units", &options.units,
              "How many, or which: 10000, or 10001..20000 for a second round")
      .takes("NUMBER")
      .showsDefault();
  addRunOptions(line, options.simulate, "Of all that is drawn, such as 7; by default 1");
  addBudgetOptions(line, options.simulate.budgets,
                   "a sensor and the node it reads, or with node: a node of the plant");
  line.option("--sobol", &options.sobol,
              "Also say what share of each figure's variance each number makes, by so many samples")
      .takes("NUMBER");
  line.option("--until", &options.until,
              "Stop when it is known whether no more than a share breaks each limit, such as "
              "'share<=0.1%@95%'")
      .takes("QUESTION");
  line.flag("--search", &options.search,
            "Look for a workload and a unit that break a limit, within the bounds that the "
            "tolerances' [search] has");
  line.option("--simulations", &options.simulations, "Of a search, in all its parts together")
      .takes("NUMBER")
      .isWithin(1, 1'000'000)
      .showsDefault();
  line.option("--from", &options.from,
              "Of a search: go on from the worst that another round has found, its --out")
      .takes("DIR");
  line.option("--shard", &options.shard, "Run one of so many parts, into the file of --out")
      .takes("I/N");
  line.option("--out", &options.out,
              "Folder for margin.json, margin.csv and margin.html, with --search of the worst "
              "workload and unit; with --shard the part's file")
      .takes("DIR");
  line.option("--format", &options.format, "Of what goes to standard output")
      .showsDefault()
      .isOneOf({"text", "junit"});
}

} // namespace

Command marginCommand() {
  return commandOf("margin", "Tell what share of a board's units keeps its limits", kExamples,
                   addMarginOptions, runMargin);
}
