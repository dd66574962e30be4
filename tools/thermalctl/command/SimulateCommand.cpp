#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <iostream>
#include <optional>
#include <string>
#include <vector>

#include "base/Log.h"
#include "base/Names.h"
#include "command/BudgetOptions.h"
#include "command/CheckFirst.h"
#include "command/Commands.h"
#include "command/RecordingOption.h"
#include "command/Verdict.h"
#include "report/RunReport.h"
#include "simulate/Engine.h"
#include "simulate/Inputs.h"
#include "terminal/Colour.h"
#include "terminal/ProgressLine.h"
#include "text/Characters.h"
#include "text/Nearest.h"
#include "text/Numbers.h"
#include "text/Phrases.h"

namespace {

namespace fs = std::filesystem;

struct Options {
  std::string board;
  std::string environment;
  std::vector<std::string> configurations;
  std::string plant;
  std::string workload;
  RecordingOption recording;
  std::string duration;
  std::string out;
  BudgetOptions budgets;
  uint64_t seed = 1;
};

constexpr char kExamples[] =
    "Examples:\n"
    "  thermalctl simulate --board boards/phone --workload game --out report\n"
    "  thermalctl simulate --board boards/phone --workload game --conf old.conf --conf new.conf\n"
    "  thermalctl simulate --board boards/phone --workload camera --limit skin=43C\n"
    "\n"
    "The daemon's own code runs in virtual time, an hour in less than a second. A table goes to\n"
    "standard output; --out adds trace.csv, trace.json for the Perfetto UI, and report.html.\n"
    "\n"
    "Exit status: 0 every limit was kept, 1 a sensor or its node has passed its limit, 2 a file "
    "is\n"
    "wrong or could not be read or written, 3 no verdict: the daemon stood still, or a sensor "
    "with\n"
    "a limit never had a sample.";

// Tells on standard error how far a run is.
class Progress {
public:
  Progress(const RunInput& run, size_t number, size_t count)
      : label(visible(run.description.name) + " (" + std::to_string(number) + " of " +
              std::to_string(count) + "): "),
        duration(run.duration) {}

  void show(int64_t time) {
    const Clock::time_point wallClock = Clock::now();
    if (wallClock < next) return;
    next = wallClock + std::chrono::milliseconds(100);
    line.show(label + std::to_string(100 * time / duration) + " %");
  }

  void clear() { line.clear(); }

private:
  using Clock = std::chrono::steady_clock;

  const std::string label;
  const int64_t duration; // milliseconds
  ProgressLine line{STDERR_FILENO};
  // A run that is over before it would be read shows nothing.
  Clock::time_point next = Clock::now() + std::chrono::milliseconds(300);
};

// The names of the board's own.
std::vector<std::string> workloadNames(const fs::path& folder) {
  std::vector<std::string> names;
  std::error_code ignored;
  for (const auto& entry : fs::directory_iterator(folder, ignored)) {
    const fs::path& path = entry.path();
    if (path.extension() == ".csv" || path.extension() == ".toml") names.push_back(path.stem());
  }
  std::sort(names.begin(), names.end());
  return names;
}

// A name of the board's own goes before a file of that name where the user stands.
std::string workloadPath(const Options& options, Problems& problems) {
  if (options.board.empty()) return options.workload;
  std::error_code ignored;
  const fs::path folder = fs::path(options.board) / "workloads";
  for (const char* ending : {".csv", ".toml"}) {
    const fs::path path = folder / (options.workload + ending);
    if (fs::is_regular_file(path, ignored)) return path;
  }
  // What looks like a path is one: that it cannot be read is told where it is read.
  const bool isName = fs::path(options.workload).filename() == options.workload;
  const std::vector<std::string> names = workloadNames(folder);
  if (isName && !names.empty() && !fs::exists(options.workload, ignored))
    problems.add({"--workload " + options.workload,
                  {},
                  "is no file, and no workload of " + options.board,
                  didYouMean(options.workload, names, "there are " + listed(names))});
  return options.workload;
}

void requireBoard(const std::string& board, Problems& problems) {
  std::error_code error;
  if (board.empty() || fs::is_directory(board, error)) return;
  problems.add(
      {"--board " + board, {}, error ? "cannot be read: " + error.message() : "is no folder"});
}

// By default that of a recording, or an hour.
void takeDuration(const Options& options, SimulationRequest& request, Problems& problems) {
  const bool isGiven = !options.duration.empty();
  if (!isGiven && !options.recording.files.empty()) return;
  const std::optional<int64_t> duration = parseDuration(isGiven ? options.duration : "1h");
  if (duration && *duration > 0)
    request.duration = *duration;
  else
    problems.add(
        {"--duration " + options.duration, {}, "must be a time above 0, such as 90s or 1h"});
}

// The files that the user names, and for the rest those of the board, which are called as on a
// device.
SimulationRequest requestOf(const Options& options, Problems& problems) {
  const auto fromBoard = [&](const std::string& named, const char* option, const char* path) {
    if (!named.empty()) return named;
    if (options.board.empty())
      problems.add({option, {}, "is missing, and there is no --board to take it from"});
    return (fs::path(options.board) / fs::path(path).filename()).string();
  };
  SimulationRequest request;
  requireBoard(options.board, problems);
  request.environment = fromBoard(options.environment, "--env", kEnvironmentFile);
  request.configurations = options.configurations;
  if (request.configurations.empty())
    request.configurations.push_back(fromBoard("", "--conf", kFactoryConfiguration));
  request.plant = fromBoard(options.plant, "--plant", "plant.toml");
  if (options.recording.files.empty()) request.workload = workloadPath(options, problems);
  request.configurationFolder = options.board;
  request.seed = options.seed;
  request.budgets = readBudgets(options.budgets, problems);
  takeDuration(options, request, problems);
  if (!options.recording.files.empty() && problems.none())
    takeRecording(options.recording, request, problems);
  return request;
}

void tellShortRows(const std::string& file, const std::vector<int>& rows) {
  if (rows.empty()) return;
  complain(kFine, file + ": " + counted(rows.size(), "row") +
                      " with fewer cells than columns, the first in line " +
                      std::to_string(rows.front()) + ": what is missing counts as empty");
}

void simulate(const std::vector<RunInput>& runs, RunReport& report) {
  for (size_t i = 0; i < runs.size(); ++i) {
    Progress progress(runs[i], i + 1, runs.size());
    const Engine::Listener listener = {[&progress](int64_t time) { progress.show(time); },
                                       [&](int64_t time, const std::string& what) {
                                         progress.clear();
                                         std::cerr << visible(runs[i].description.name)
                                                   << ": warning: at " << clockTime(time / 1000)
                                                   << " " << what << "\n";
                                       }};
    Engine(runs[i], report, listener).run();
  }
}

ExitStatus runSimulation(const Options& options) {
  if (options.workload.empty() == options.recording.files.empty())
    throw UsageError(options.workload.empty() ? "--workload is required"
                                              : "--workload excludes --recording");
  Problems problems;
  const SimulationRequest request = requestOf(options, problems);
  const SimulationInputs inputs =
      problems.none() ? readInputs(request, problems) : SimulationInputs();
  // What is wrong with the board's own files comes first: the rest may only follow from it.
  if (!inputs.configurations.empty() && !passesCheck(request.environment, inputs.configurations))
    return complain(kCouldNotRun, "nothing was run: the check has found errors");
  const std::vector<std::string> others = sensorsInOtherUnits(request.environment);
  if (!others.empty())
    return complain(kCouldNotRun, "nothing was run: a plant's sensors count in millidegrees, and "
                                  "by the board's settings not " +
                                      listed(others));
  if (!problems.none()) {
    problems.print(std::cerr, colourFor(STDERR_FILENO));
    return kCouldNotRun;
  }

  tellShortRows(request.workload, inputs.runs.front().workload.shortRows);
  RunReport report;
  if (!options.out.empty()) {
    const std::string title = fs::path(request.workload).stem().string() + " on " +
                              fs::absolute(request.environment).parent_path().filename().string();
    if (const auto error = report.writeTo(options.out, title))
      return complain(kCouldNotRun, *error);
  }
  simulate(inputs.runs, report);
  if (const auto error = report.finish()) return complain(kCouldNotRun, *error);
  report.summary().print(std::cout);
  return verdictOf(report.summary());
}

void addOptions(CommandLine& line, Options& options) {
  line.option("--board", &options.board,
              "Folder with talmor-thermal.env, talmor-thermal.conf, plant.toml and "
              "workloads/, for what is not named otherwise")
      .takes("DIR");
  line.option("--env", &options.environment, "Environment file").takes("FILE");
  line.option("--conf", &options.configurations,
              "Configuration file; several are run one after the other and compared")
      .takes("FILE")
      .takesAll();
  line.option("--plant", &options.plant, "Thermal model of the device").takes("FILE");
  line.option("--workload", &options.workload,
              "What the device does: a file, or the name of one in the board's workloads/")
      .takes("FILE");
  addRecordingOption(line, options.recording);
  line.option("--duration", &options.duration,
              "Time to run, such as 90s, 15m or 1h; by default 1h, or a recording's")
      .takes("TIME");
  line.option("--out", &options.out, "Folder for trace.csv, trace.json and report.html")
      .takes("DIR");
  addBudgetOptions(line, options.budgets,
                   "a sensor and the node it reads, or with node: a node of the plant");
  line.option("--seed", &options.seed, "Of the sensors' noise").showsDefault();
}

} // namespace

Command simulateCommand() {
  return commandOf("simulate",
                   "Run configurations against a thermal model of the device, in virtual time",
                   kExamples, addOptions, runSimulation);
}
