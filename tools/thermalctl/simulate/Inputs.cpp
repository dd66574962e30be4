#include "simulate/Inputs.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <set>
#include <system_error>

#include "base/TextReader.h"
#include "daemon/VirtualDaemon.h"
#include "file/Names.h"
#include "text/Nearest.h"

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

class InputReader {
public:
  InputReader(const SimulationRequest& request_, Problems& problems_)
      : request(request_), problems(problems_) {}

  std::vector<RunInput> read() {
    const std::string environment = readOrReport(request.environment, problems);
    const std::string plantText = readOrReport(request.plant, problems);
    const std::string workloadText = readOrReport(request.workload, problems);
    for (const std::string& path : request.configurations)
      texts[path] = readOrReport(path, problems);
    if (!problems.none()) return {};

    base.environment = environment;
    base.duration = request.duration;
    base.seed = request.seed;
    readBoard();
    base.plant = readPlant(plantText, request.plant, base.description, problems);
    // Without its nodes the plant could not even be read, and all that follows would only repeat
    // it.
    if (base.plant.nodes.empty()) return {};
    base.workload =
        readWorkload(workloadText, request.workload, base.plant, base.description, problems);
    // Behind both, whose indices are those of the board's own sensors.
    addPlantNodes();
    addLimits();
    base.description.duration = request.duration;

    std::vector<RunInput> runs;
    for (const std::string& path : request.configurations)
      runs.push_back(runOf(path));
    checkScenarios();
    return runs;
  }

private:
  void readBoard() {
    const VirtualDaemon board(base.environment);
    base.description = board.describe();
    initialWord = board.confFileName;
    if (base.description.sensors.empty())
      problems.add({request.environment, {}, "declares no sensor"});
  }

  // Those that no sensor reads.
  void addPlantNodes() {
    std::set<size_t> read;
    for (const PlantDescription::Probe& probe : base.plant.probes)
      read.insert(probe.node);
    for (size_t i = 0; i < base.plant.nodes.size(); ++i) {
      const std::string& name = base.plant.nodes[i].name;
      if (read.count(i) > 0 || sensorNamed(name)) continue;
      base.shownNodes.push_back(i);
      base.description.sensors.push_back({name, SensorTrack::Kind::kPlantNode, 1000, {}});
    }
  }

  void addLimits() {
    for (const auto& [name, millidegrees] : request.limits) {
      if (SensorTrack* sensor = sensorNamed(name))
        sensor->limit = millidegrees;
      else
        problems.add({"--limit " + name, {}, "is no sensor of the board and no node of the plant"});
    }
  }

  SensorTrack* sensorNamed(const std::string& name) {
    for (SensorTrack& sensor : base.description.sensors) {
      if (sensor.name == name) return &sensor;
    }
    return nullptr;
  }

  RunInput runOf(const std::string& path) {
    RunInput run = base;
    run.description.name = shortName(path, request.configurations);
    addConfiguration(run, initialWord, path);
    for (const Change& change : run.workload.changes) {
      if (change.kind != Change::Kind::kConfiguration || run.configurations.count(change.word) > 0)
        continue;
      if (const auto asked = pathOf(change.word, path))
        addConfiguration(run, change.word, *asked);
      else
        problems.add({request.workload, change.at,
                      "there is no configuration '" + change.word + "' beside " + path});
    }
    return run;
  }

  std::optional<std::string> pathOf(const std::string& word, const std::string& beside) const {
    // Beside the run's own configuration first: runs that are compared may each have a variant
    // there.
    for (const fs::path& folder :
         {fs::path(beside).parent_path(), fs::path(request.configurationFolder)}) {
      std::error_code ignored;
      const fs::path path = folder / word;
      if (fs::is_regular_file(path, ignored)) return path.string();
    }
    return std::nullopt;
  }

  void addConfiguration(RunInput& run, const std::string& word, const std::string& path) {
    // Several runs may ask for one file.
    if (texts.count(path) == 0) texts[path] = readOrReport(path, problems);
    // A daemon of its own: one that has read a configuration keeps its items.
    VirtualDaemon daemon(base.environment);
    if (const auto error = daemon.parseConfiguration(texts[path])) {
      problems.add({path, {}, "the daemon would end here: " + *error});
      return;
    }
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
  std::string initialWord; // what the daemon calls the configuration that it starts with
  std::map<std::string, std::string> texts; // of the configurations, by their paths
  std::set<std::string> scenarios;
};

} // namespace

std::vector<RunInput> readInputs(const SimulationRequest& request, Problems& problems) {
  return InputReader(request, problems).read();
}
