#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <iostream>
#include <optional>
#include <string>
#include <vector>

#include "base/Log.h"
#include "base/Names.h"
#include "command/Commands.h"
#include "report/RunReport.h"
#include "simulate/Engine.h"
#include "simulate/Inputs.h"
#include "simulate/Numbers.h"
#include "terminal/ProgressLine.h"
#include "text/Characters.h"
#include "text/Phrases.h"

namespace {

namespace fs = std::filesystem;

struct Options {
  std::string board;
  std::string environment;
  std::vector<std::string> configurations;
  std::string plant;
  std::string workload;
  std::string duration = "1h";
  std::string out;
  std::vector<std::string> limits;
  uint64_t seed = 1;
};

constexpr char kExamples[] =
    "Examples:\n"
    "  thermalctl simulate --board boards/phone --workload game --out report\n"
    "  thermalctl simulate --board boards/phone --workload game --conf old.conf --conf new.conf\n"
    "  thermalctl simulate --board boards/phone --workload camera --limit skin=43000\n"
    "\n"
    "The daemon's own code runs in virtual time, an hour in less than a second. A table goes to\n"
    "standard output; --out adds trace.csv, trace.json for the Perfetto UI, and report.html.\n"
    "\n"
    "Exit status: 0 every limit was kept, 1 a sensor has passed its limit, 2 a file is wrong or\n"
    "could not be read or written.";

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

void setLimits(const std::vector<std::string>& limits, SimulationRequest& request,
               Problems& problems) {
  for (const std::string& limit : limits) {
    // A sensor's name may hold an "=", a number does not.
    const size_t equals = limit.rfind('=');
    const std::string number = equals == std::string::npos ? "" : limit.substr(equals + 1);
    char* end = nullptr;
    const long value = std::strtol(number.c_str(), &end, 10);
    if (number.empty() || *end != '\0' || value != static_cast<int32_t>(value))
      problems.add("--limit " + limit, 0,
                   "must be a sensor and millidegrees Celsius, such as skin=43000");
    else
      request.limits[limit.substr(0, equals)] = static_cast<int32_t>(value);
  }
}

// A name of the board's own goes before a file of that name where the user stands.
std::string workloadPath(const Options& options) {
  std::error_code ignored;
  const fs::path folder = fs::path(options.board) / "workloads";
  for (const char* ending : {".csv", ".toml"}) {
    const fs::path path = folder / (options.workload + ending);
    if (!options.board.empty() && fs::is_regular_file(path, ignored)) return path;
  }
  return options.workload;
}

// The files that the user names, and for the rest those of the board, which are called as on a
// device.
SimulationRequest requestOf(const Options& options, Problems& problems) {
  const auto fromBoard = [&](const std::string& named, const char* option, const char* path) {
    if (!named.empty()) return named;
    if (options.board.empty())
      problems.add(option, 0, "is missing, and there is no --board to take it from");
    return (fs::path(options.board) / fs::path(path).filename()).string();
  };
  SimulationRequest request;
  request.environment = fromBoard(options.environment, "--env", kEnvironmentFile);
  request.configurations = options.configurations;
  if (request.configurations.empty())
    request.configurations.push_back(fromBoard("", "--conf", kFactoryConfiguration));
  request.plant = fromBoard(options.plant, "--plant", "plant.toml");
  request.workload = workloadPath(options);
  request.configurationFolder = options.board;
  request.seed = options.seed;
  setLimits(options.limits, request, problems);
  const std::optional<int64_t> duration = parseDuration(options.duration);
  if (duration && *duration > 0)
    request.duration = *duration;
  else
    problems.add("--duration " + options.duration, 0, "must be a time above 0, such as 90s or 1h");
  return request;
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
  Problems problems;
  const SimulationRequest request = requestOf(options, problems);
  std::vector<RunInput> runs;
  if (problems.none()) runs = readInputs(request, problems);
  if (!problems.none()) {
    problems.print(std::cerr);
    return kCouldNotRun;
  }

  RunReport report;
  if (!options.out.empty()) {
    const std::string title = fs::path(request.workload).stem().string() + " on " +
                              fs::absolute(request.environment).parent_path().filename().string();
    if (const auto error = report.writeTo(options.out, title))
      return complain(kCouldNotRun, *error);
  }
  simulate(runs, report);
  if (const auto error = report.finish()) return complain(kCouldNotRun, *error);
  report.summary().print(std::cout);
  return report.summary().passedALimit() ? kProblems : kFine;
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
      .takes("FILE")
      .isRequired();
  line.option("--duration", &options.duration, "Time to run, such as 90s, 15m or 1h")
      .showsDefault()
      .takes("TIME");
  line.option("--out", &options.out, "Folder for trace.csv, trace.json and report.html")
      .takes("DIR");
  line.option("--limit", &options.limits,
              "Temperature that a sensor must not pass; if one does, the exit status is 1")
      .takes("SENSOR=MILLIDEGREES")
      .takesAll();
  line.option("--seed", &options.seed, "Of the sensors' noise").showsDefault();
}

} // namespace

Command simulateCommand() {
  return commandOf("simulate",
                   "Run configurations against a thermal model of the device, in virtual time",
                   kExamples, addOptions, runSimulation);
}
