#include "simulate/Inputs.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <set>
#include <system_error>

#include "base/TextReader.h"
#include "daemon/VirtualDaemon.h"
#include "file/Names.h"
#include "simulate/InputKind.h"
#include "text/Nearest.h"
#include "text/Phrases.h"

namespace {

namespace fs = std::filesystem;

std::string reason(int number) {
  return std::generic_category().message(number);
}

std::string readOrReport(const std::string& path, Problems& problems) {
  errno = 0;
  std::optional<std::string> text = readFile(path);
  if (!text) problems.add({path, {}, "cannot be read: " + reason(errno)});
  return text.value_or("");
}

// For files that the check reads as well: a pipe gives its text once.
std::string readBoardsOwn(const std::string& path, Problems& problems) {
  std::error_code ignored;
  const fs::file_status status = fs::status(path, ignored);
  if (!fs::exists(status) || fs::is_directory(status) || fs::is_regular_file(status))
    return readOrReport(path, problems);
  problems.add(
      {path, {}, "is no regular file", "write the text to one: it is read more than once"});
  return "";
}

class InputReader {
public:
  InputReader(const SimulationRequest& request_, Problems& problems_)
      : request(request_), problems(problems_) {}

  SimulationInputs read() {
    const std::string environment = readBoardsOwn(request.environment, problems);
    const std::string plantText = readOrReport(request.plant, problems);
    const std::string workloadText =
        request.workloadText ? *request.workloadText : readOrReport(request.workload, problems);
    for (const std::string& path : request.configurations)
      addFile(path);
    if (!problems.none()) return {};
    tellIfForeign(environment, request.environment, InputKind::kEnvironment, problems);
    for (const std::string& path : files)
      tellIfForeign(texts[path], path, InputKind::kConfiguration, problems);
    tellIfForeign(plantText, request.plant, InputKind::kPlant, problems);
    tellIfForeign(workloadText, request.workload, InputKind::kWorkload, problems);
    if (!problems.none()) return {};

    base.environment = environment;
    base.duration = request.duration;
    base.seed = request.seed;
    readBoard();
    base.plant = readPlant(plantText, request.plant, base.description, problems);
    // Without its nodes the plant could not even be read, and all that follows would only repeat
    // it.
    if (base.plant.nodes.empty()) return {{}, files};
    base.workload =
        readWorkload(workloadText, request.workload, base.plant, base.description, problems);
    // Behind both, whose indices are those of the board's own sensors.
    addNodesAndSources();
    base.description.duration = request.duration;

    const std::vector<std::string> starts = files;
    std::vector<RunInput> runs;
    runs.reserve(starts.size());
    for (const std::string& path : starts)
      runs.push_back(runOf(path, starts));
    checkScenarios();
    return {std::move(runs), files};
  }

private:
  // Several runs may ask for one file, and by several names.
  void addFile(const std::string& path) {
    const auto known = [&path](const std::string& other) { return isSameFile(path, other); };
    const auto found = std::find_if(files.begin(), files.end(), known);
    if (found != files.end()) {
      texts[path] = texts[*found];
      return;
    }
    files.push_back(path);
    texts[path] = readBoardsOwn(path, problems);
  }

  void readBoard() {
    const VirtualDaemon board(base.environment);
    base.description = board.describe();
    base.description.countIn(request.units);
    initialWord = board.confFileName;
    if (base.description.sensors.empty())
      problems.add({request.environment, {}, "declares no sensor"});
  }

  void addNodesAndSources() {
    for (const PlantDescription::Node& node : base.plant.nodes)
      base.description.sensors.push_back({node.name, SensorTrack::Kind::kPlantNode, 1000, {}});
    for (const PlantDescription::Source& source : base.plant.sources)
      base.description.sources.push_back(source.name);
  }

  // What the run of that configuration is held to.
  void addBudgets(const std::string& path, TraceDescription& run) {
    for (const AskedBudget& asked : request.budgets) {
      const auto& paths = asked.configurations;
      const bool isMeant = std::any_of(paths.begin(), paths.end(), [&](const std::string& other) {
        return isSameFile(path, other);
      });
      if (!paths.empty() && !isMeant) continue;
      if (asked.budget.of == Budget::Of::kWork)
        addRequirement(asked, workingSources(), "the plant has no source that does work called ",
                       run);
      else if (asked.budget.of == Budget::Of::kChanges)
        addRequirement(asked, devicesWithLevels(), "the board has no device with levels called ",
                       run);
      else
        addLimit(asked, run);
    }
  }

  void addRequirement(const AskedBudget& asked, const std::vector<std::string>& names,
                      const std::string& noSuch, TraceDescription& run) {
    const std::string& name = asked.budget.name;
    if (std::find(names.begin(), names.end(), name) != names.end())
      run.hold(asked.budget);
    else
      problems.add({asked.file, asked.span, noSuch + quoted(name),
                    didYouMean(name, names, names.empty() ? "" : "there are " + listed(names))});
  }

  std::vector<std::string> workingSources() const {
    std::vector<std::string> names;
    for (const PlantDescription::Source& source : base.plant.sources)
      if (source.work) names.push_back(source.name);
    return names;
  }

  std::vector<std::string> devicesWithLevels() const {
    std::vector<std::string> names;
    for (const DeviceTrack& device : base.description.devices)
      if (!device.levels.empty()) names.push_back(device.name);
    return names;
  }

  void addLimit(const AskedBudget& asked, TraceDescription& run) {
    const Budget& limit = asked.budget;
    SensorTrack* const sensor = limit.ofNode ? nullptr : trackNamed(limit.name, Of::kSensor, run);
    SensorTrack* const node = trackNamed(limit.name, Of::kNode, run);
    if (sensor) {
      run.hold(*sensor, limit);
      limitWhatItReads(*sensor, limit, run);
    } else if (node) {
      run.hold(*node, limit);
    } else {
      tellNoSuch(asked);
    }
  }

  // A sensor that is stuck or slow would keep its limit in any heat.
  void limitWhatItReads(const SensorTrack& sensor, const Budget& limit,
                        TraceDescription& run) const {
    for (const PlantDescription::Probe& probe : base.plant.probes) {
      if (&run.sensors[probe.sensor] == &sensor)
        run.hold(run.sensors[base.firstNode() + probe.node], limit);
    }
  }

  void tellNoSuch(const AskedBudget& asked) {
    const Budget& limit = asked.budget;
    // A node may bear a sensor's name.
    std::vector<std::string> names;
    for (const SensorTrack& track : base.description.sensors)
      if ((track.isNode() || !limit.ofNode) &&
          std::find(names.begin(), names.end(), track.name) == names.end())
        names.push_back(track.name);
    const std::string what =
        limit.ofNode ? "the plant has no node " : "the board has no sensor and the plant no node ";
    problems.add({asked.file, asked.span, what + quoted(limit.name),
                  didYouMean(limit.name, names, "there are " + listed(names))});
  }

  enum class Of { kSensor, kNode };
  static SensorTrack* trackNamed(const std::string& name, Of kind, TraceDescription& run) {
    for (SensorTrack& track : run.sensors) {
      if (track.name == name && track.isNode() == (kind == Of::kNode)) return &track;
    }
    return nullptr;
  }

  RunInput runOf(const std::string& path, const std::vector<std::string>& starts) {
    RunInput run = base;
    run.description.name = shortName(path, starts);
    addBudgets(path, run.description);
    addConfiguration(run, initialWord, path);
    for (const Change& change : run.workload.changes) {
      if (change.kind != Change::Kind::kConfiguration || run.configurations.count(change.word) > 0)
        continue;
      if (const auto asked = pathOf(change.word, path))
        addConfiguration(run, change.word, *asked);
      else
        problems.add({request.workload, change.at,
                      "there is no configuration '" + change.word + "' beside " + path,
                      didYouMean(change.word, configurationsBeside(path))});
    }
    return run;
  }

  // Beside the run's own configuration first: runs that are compared may each have a variant there.
  std::vector<fs::path> foldersBeside(const std::string& path) const {
    return {fs::path(path).parent_path(), fs::path(request.configurationFolder)};
  }

  std::vector<std::string> configurationsBeside(const std::string& path) const {
    std::vector<std::string> names;
    for (const fs::path& folder : foldersBeside(path)) {
      std::error_code ignored;
      for (const auto& entry : fs::directory_iterator(folder, ignored))
        if (entry.path().extension() == ".conf") names.push_back(entry.path().filename());
    }
    std::sort(names.begin(), names.end());
    return names;
  }

  std::optional<std::string> pathOf(const std::string& word, const std::string& beside) const {
    for (const fs::path& folder : foldersBeside(beside)) {
      std::error_code ignored;
      const fs::path path = folder / word;
      if (fs::is_regular_file(path, ignored)) return path.string();
    }
    return std::nullopt;
  }

  void addConfiguration(RunInput& run, const std::string& word, const std::string& path) {
    if (texts.count(path) == 0) addFile(path);
    // A daemon of its own: one that has read a configuration keeps its items. Where it would end,
    // the check has told.
    VirtualDaemon daemon(base.environment);
    if (daemon.parseConfiguration(texts[path])) return;
    for (const auto& [name, scenario] : daemon.scenarios)
      scenarios.insert(name);
    run.configurations[word] = texts[path];
    for (AlgorithmTrack& track : daemon.describeItems(run.description, word))
      run.description.algorithms.push_back(std::move(track));
  }

  // Against those of all configurations: which of them is in force when the workload asks is not
  // known before the run.
  void checkScenarios() {
    for (const Change& change : base.workload.changes) {
      if (change.kind == Change::Kind::kScenario && scenarios.count(change.word) == 0)
        problems.add({request.workload, change.at,
                      "no configuration declares the scenario '" + change.word + "'",
                      didYouMean(change.word, {scenarios.begin(), scenarios.end()})});
    }
  }

  const SimulationRequest& request;
  Problems& problems;
  RunInput base;
  std::string initialWord;        // what the daemon calls the configuration that it starts with
  std::vector<std::string> files; // of the configurations, each once
  std::map<std::string, std::string> texts; // of the configurations, by their paths
  std::set<std::string> scenarios;
};

} // namespace

SimulationInputs readInputs(const SimulationRequest& request, Problems& problems) {
  return InputReader(request, problems).read();
}
