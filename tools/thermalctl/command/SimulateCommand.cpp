#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <iomanip>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "command/Command.h"
#include "core/Log.h"
#include "daemon/MemoryFile.h"
#include "report/RunReport.h"
#include "simulate/Duration.h"
#include "simulate/Engine.h"
#include "simulate/Inputs.h"
#include "text/Source.h"

namespace {

namespace fs = std::filesystem;
using simulation::Engine;
using simulation::Problems;
using simulation::Request;
using simulation::RunInput;

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

// A line on the terminal that tells how far a run is; nothing where standard error is no terminal.
class Progress {
public:
  Progress(const RunInput& run_, size_t number_, size_t count_)
      : run(run_), number(number_), count(count_), shown(::isatty(STDERR_FILENO) == 1) {}
  ~Progress() { clear(); }
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  void show(int64_t time) {
    const Clock::time_point wallClock = Clock::now();
    if (!shown || wallClock < next) return;
    next = wallClock + std::chrono::milliseconds(100);
    std::cerr << "\r\x1b[K" << visible(run.description.name) << " (" << number << " of " << count
              << "): " << 100 * time / run.duration << " %" << std::flush;
    drawn = true;
  }

  void clear() {
    if (drawn) std::cerr << "\r\x1b[K" << std::flush;
    drawn = false;
  }

private:
  using Clock = std::chrono::steady_clock;

  const RunInput& run;
  size_t number;
  size_t count;
  bool shown;
  bool drawn = false;
  // A run that is over before it would be read shows nothing.
  Clock::time_point next = Clock::now() + std::chrono::milliseconds(300);
};

std::string clockText(int64_t milliseconds) {
  const int64_t seconds = milliseconds / 1000;
  std::ostringstream text;
  text << std::setfill('0') << seconds / 3600 << ':' << std::setw(2) << seconds / 60 % 60 << ':'
       << std::setw(2) << seconds % 60;
  return text.str();
}

void setLimits(const std::vector<std::string>& limits, Request& request, Problems& problems) {
  for (const std::string& limit : limits) {
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

std::string workloadPath(const Options& options) {
  std::error_code ignored;
  const fs::path folder = fs::path(options.board) / "workloads";
  for (const char* ending : {".csv", ".toml"}) {
    const fs::path path = folder / (options.workload + ending);
    if (!options.board.empty() && fs::is_regular_file(path, ignored)) return path;
  }
  return options.workload;
}

// The files that the user names, and for the rest those of the board.
Request requestOf(const Options& options, Problems& problems) {
  const auto fromBoard = [&](const std::string& named, const char* option, const char* file) {
    if (!named.empty()) return named;
    if (options.board.empty())
      problems.add(option, 0, "is missing, and there is no --board to take it from");
    return (fs::path(options.board) / file).string();
  };
  Request request;
  request.environment = fromBoard(options.environment, "--env", "talmor-thermal.env");
  request.configurations = options.configurations;
  if (request.configurations.empty())
    request.configurations.push_back(fromBoard("", "--conf", "talmor-thermal.conf"));
  request.plant = fromBoard(options.plant, "--plant", "plant.toml");
  request.workload = workloadPath(options);
  request.configurationFolder = options.board;
  request.seed = options.seed;
  setLimits(options.limits, request, problems);
  const std::optional<int64_t> duration = simulation::parseDuration(options.duration);
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
                                                   << ": warning: at " << clockText(time) << " "
                                                   << what << "\n";
                                       }};
    Engine(runs[i], report, listener).run();
  }
}

ExitStatus simulateCommand(const Options& options) {
  logEnabled = false;
  simulation::raiseFileLimit();
  Problems problems;
  const Request request = requestOf(options, problems);
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

} // namespace

void addSimulateCommand(CLI::App& app, int& status) {
  const auto options = std::make_shared<Options>();
  CLI::App* command = app.add_subcommand(
      "simulate", "Run configurations against a thermal model of the device, in virtual time");
  command
      ->add_option("--board", options->board,
                   "Folder with talmor-thermal.env, talmor-thermal.conf, plant.toml and "
                   "workloads/, for what is not named otherwise")
      ->type_name("DIR");
  command->add_option("--env", options->environment, "Environment file")->type_name("FILE");
  command
      ->add_option("--conf", options->configurations,
                   "Configuration file; several are run one after the other and compared")
      ->type_name("FILE")
      ->take_all();
  command->add_option("--plant", options->plant, "Thermal model of the device")->type_name("FILE");
  command
      ->add_option("--workload", options->workload,
                   "What the device does: a file, or the name of one in the board's workloads/")
      ->type_name("FILE")
      ->required();
  command->add_option("--duration", options->duration, "Time to run, such as 90s, 15m or 1h")
      ->capture_default_str()
      ->type_name("TIME");
  command->add_option("--out", options->out, "Folder for trace.csv, trace.json and report.html")
      ->type_name("DIR");
  command
      ->add_option("--limit", options->limits,
                   "Temperature that a sensor must not pass; if one does, the exit status is 1")
      ->type_name("SENSOR=MILLIDEGREES")
      ->take_all();
  command->add_option("--seed", options->seed, "Of the sensors' noise")->capture_default_str();
  command->footer(kExamples);
  command->callback([options, &status] { status = simulateCommand(*options); });
}
