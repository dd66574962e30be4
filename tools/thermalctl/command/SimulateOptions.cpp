#include "command/SimulateOptions.h"

#include <filesystem>
#include <optional>
#include <utility>

#include "base/Names.h"
#include "base/TextReader.h"
#include "command/CheckFirst.h"
#include "study/Seeds.h"
#include "study/StudyFile.h"
#include "study/Workloads.h"
#include "text/Numbers.h"
#include "text/Phrases.h"

namespace {

namespace fs = std::filesystem;

constexpr int64_t kHour = 3'600'000;

void requireBoard(const std::string& board, Problems& problems) {
  std::error_code error;
  if (board.empty() || fs::is_directory(board, error)) return;
  problems.add(
      {"--board " + board, {}, error ? "cannot be read: " + error.message() : "is no folder"});
}

// Of a command line that names none of its files each is missing for one reason.
Problem missing(const std::string& option, const std::string& why, const SimulateOptions& options) {
  const bool namesNothing = options.board.empty() && options.study.empty() &&
                            options.environment.empty() && options.configurations.empty() &&
                            options.plant.empty() && options.workloads.empty() &&
                            options.recording.files.empty();
  if (namesNothing)
    return {"--board", {}, "is missing", "write --board DIR, or name each file with its option"};
  return {option, {}, "is missing, and there is no " + why};
}

// The study's file that is meant; nothing for a run that the command line tells.
std::string studyPath(const SimulateOptions& options, Problems& problems) {
  const bool isNamed = !options.workloads.empty() || !options.recording.files.empty();
  if (!options.study.empty() || isNamed) return options.study;
  std::string beside = (fs::path(options.board) / kStudyFile).string();
  std::error_code ignored;
  if (!options.board.empty() && fs::exists(beside, ignored)) return beside;
  if (problems.none())
    problems.add(missing("--workload",
                         (options.board.empty() ? "--board or --study" : beside) + " to name one",
                         options));
  return "";
}

// Puts together what the command line says and, for the rest, the study's file and the board. Of
// the latter the files are called as on a device.
class RequestReader {
public:
  RequestReader(const SimulateOptions& options_, const std::string& studyPath_,
                const StudyFile& file_, Problems& problems_)
      : options(options_), studyPath(studyPath_), file(file_), problems(problems_),
        studyFolder(fs::path(studyPath).parent_path().string()), board(boardOf()) {}

  // All that can be read is, so that one look shows all that is wrong.
  // What the command line names is taken before the study's file, and that before the board's
  // folder.
  StudyRequest read() {
    request.environment = fromBoard(options.environment, "--env", kEnvironmentFile);
    request.units = unitsOf(request.environment);
    request.plant = fromBoard(options.plant, "--plant", "plant.toml");
    request.configurationFolder = board;
    readConfigurations();
    readWorkloads();
    readSeedsOf();
    readDurationOf();
    for (SelectedBudget budget : file.budgets) {
      for (std::string& name : budget.configurations)
        name = besideStudy(name);
      for (std::string& name : budget.workloads)
        name = ownWorkload(name);
      request.budgets.push_back(std::move(budget));
    }
    for (AskedBudget& asked : readBudgets(options.budgets, problems))
      request.budgets.push_back({std::move(asked)});
    return std::move(request);
  }

private:
  std::string boardOf() const {
    if (!options.board.empty() || studyPath.empty()) return options.board;
    return studyFolder.empty() ? "." : studyFolder;
  }

  std::string fromBoard(const std::string& named, const char* option, const char* path) {
    if (!named.empty()) return named;
    if (board.empty()) problems.add(missing(option, "--board to take it from", options));
    return (fs::path(board) / fs::path(path).filename()).string();
  }

  std::string besideStudy(const std::string& name) const {
    return (fs::path(studyFolder) / name).string();
  }

  std::string ownWorkload(const std::string& name) {
    const auto at = file.workloadsAt.find(name);
    // What a budget alone names has been told there.
    Problems ignored;
    if (at == file.workloadsAt.end()) return findWorkload(board, studyFolder, name, {}, ignored);
    return findWorkload(board, studyFolder, name, {studyPath, at->second, quoted(name) + " "},
                        problems);
  }

  void readConfigurations() {
    request.configurations = options.configurations;
    // The study's, or for want of any what a device starts with.
    if (request.configurations.empty()) {
      for (const std::string& name : file.configurations)
        request.configurations.push_back(besideStudy(name));
    }
    if (request.configurations.empty())
      request.configurations.push_back(fromBoard("", "--conf", kFactoryConfiguration));
  }

  void readWorkloads() {
    if (!options.recording.files.empty()) return readRecording();
    std::vector<std::string> paths;
    for (const std::string& word : options.workloads)
      paths.push_back(findWorkload(board, "", word, {"--workload " + word, {}, ""}, problems));
    for (const std::string& name : file.workloads)
      if (options.workloads.empty()) paths.push_back(ownWorkload(name));
    if (paths.empty() && problems.none())
      problems.add({studyPath,
                    {},
                    "names no workload",
                    "write which, such as workloads = [\"game\"], or give --workload"});
    request.workloads = namedWorkloads(paths);
  }

  void readRecording() {
    if (!options.workloads.empty())
      problems.add({"--recording " + options.recording.files, {}, "excludes --workload"});
    if (!problems.none()) return;
    RecordedWorkload recorded =
        readRecordedWorkload(options.recording, request.environment, request.plant, problems);
    request.workloads = {std::move(recorded.workload)};
    usualDuration = recorded.length;
  }

  // The command line's take the place of the study's, and each counts once: a seed is a run.
  void readSeedsOf() {
    request.seeds = file.seeds;
    if (!options.seeds.empty()) request.seeds.clear();
    for (const std::string& text : options.seeds) {
      const SeedsText read = readSeeds(text);
      if (!read.seeds) problems.add({"--seed " + text, {}, read.wrong, read.hint});
      for (const uint64_t seed : read.seeds.value_or(std::vector<uint64_t>())) {
        auto& seeds = request.seeds;
        if (std::find(seeds.begin(), seeds.end(), seed) == seeds.end()) seeds.push_back(seed);
      }
    }
    if (request.seeds.empty()) request.seeds = {1};
  }

  void readDurationOf() {
    request.duration = file.duration.value_or(usualDuration);
    if (options.duration.empty()) return;
    const std::optional<int64_t> duration = parseDuration(options.duration);
    if (duration.value_or(0) > 0)
      request.duration = *duration;
    else
      problems.add(
          {"--duration " + options.duration, {}, "must be a time above 0, such as 90s or 1h"});
  }

  const SimulateOptions& options;
  const std::string& studyPath;
  const StudyFile& file;
  Problems& problems;
  const std::string studyFolder;
  const std::string board;
  int64_t usualDuration = kHour; // milliseconds
  StudyRequest request;
};

void setTolerances(const std::vector<std::string>& texts, Tolerances& tolerances,
                   Problems& problems) {
  for (const std::string& text : texts) {
    const size_t equals = text.find('=');
    const std::string amount = equals == std::string::npos ? "" : text.substr(equals + 1);
    const ToleranceProblem problem = setTolerance(text.substr(0, equals), amount, tolerances);
    if (!problem.wrong.empty())
      problems.add({"--tolerance " + text, {}, problem.wrong, problem.hint});
  }
}

} // namespace

void addRunOptions(CommandLine& line, SimulateOptions& options, const std::string& seedHelp) {
  line.option("--board", &options.board,
              "Folder with talmor-thermal.env, talmor-thermal.conf, plant.toml, workloads/ and "
              "study.toml, for what is not named otherwise")
      .takes("DIR");
  line.option("--study", &options.study,
              "What is run and what it is held to, where it is not named otherwise; the board's "
              "study.toml without --workload")
      .takes("FILE");
  line.option("--env", &options.environment, "Environment file").takes("FILE");
  line.option("--conf", &options.configurations, "Configuration file; several are compared")
      .takes("FILE")
      .takesAll();
  line.option("--plant", &options.plant, "Thermal model of the device").takes("FILE");
  line.option("--workload", &options.workloads,
              "What the device does: a file, or the name of one in the board's workloads/; "
              "several are run each")
      .takes("FILE")
      .takesAll();
  addRecordingOption(line, options.recording);
  line.option("--duration", &options.duration,
              "Time to run, such as 90s, 15m or 1h; by default 1h, or a recording's")
      .takes("TIME");
  line.option("--seed", &options.seeds, seedHelp).takes("SEEDS").takesAll();
  line.option("--jobs", &options.jobs, "Runs at a time; by default one for each processor")
      .takes("NUMBER")
      .isWithin(1, 1024);
}

void addSimulateOptions(CommandLine& line, SimulateOptions& options) {
  addRunOptions(line, options, "Of the sensors' noise, such as 7, 1..20 or 1,2,5; by default 1");
  addUnitOptions(line, options.unit);
  addBudgetOptions(line, options.budgets,
                   "a sensor and the node it reads, or with node: a node of the plant");
  addOutputOptions(line, options.outputs);
  line.option(
          "--against", &options.against,
          "Also show what has changed since these results, and end with 1 if a verdict is worse")
      .takes("RESULTS-FILE");
  line.option("--tolerance", &options.tolerances,
              "How much a figure may differ from them without being shown, such as peak=0.5 or "
              "joules=2%")
      .takes("FIGURE=AMOUNT")
      .takesAll();
}

AskedStudy readAskedStudy(const SimulateOptions& options, Problems& problems) {
  requireBoard(options.board, problems);
  const std::string path = studyPath(options, problems);
  const StudyFile file = path.empty() ? StudyFile() : readStudyFile(path, problems);
  AskedStudy asked{RequestReader(options, path, file, problems).read(), file.tolerances};
  setTolerances(options.tolerances, asked.tolerances, problems);
  return asked;
}

std::string titleOf(const StudyRequest& request) {
  std::vector<std::string> names;
  for (const NamedWorkload& workload : request.workloads)
    names.push_back(fs::path(workload.path).stem().string());
  return enumerated(names) + " on " +
         fs::absolute(request.environment).parent_path().filename().string();
}

std::vector<std::string> filesOf(const StudyRequest& request, const Study& study) {
  std::vector<std::string> files{request.environment};
  files.insert(files.end(), study.configurations.begin(), study.configurations.end());
  files.push_back(request.plant);
  for (const NamedWorkload& workload : request.workloads)
    stringTokenizer(workload.path, files, workload.text ? "," : "");
  return files;
}
