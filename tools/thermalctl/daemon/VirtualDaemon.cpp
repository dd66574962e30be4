#include "daemon/VirtualDaemon.h"

#include <algorithm>
#include <sstream>
#include <typeinfo>

#include "algo/Monitor.h"
#include "algo/SS.h"
#include "base/Names.h"
#include "config/ConfParser.h"
#include "config/TextReader.h"
#include "core/EnvParser.h"
#include "core/Int32.h"
#include "device/Device.h"
#include "device/ReportDevice.h"
#include "sensor/Real.h"
#include "thread/MonitorThread.h"
#include "thread/SSThread.h"
#include "thread/SensorThread.h"

namespace {

constexpr char kNothing[] = "/dev/null";

std::vector<std::string> wordsOf(const std::string& line) {
  std::istringstream in(line);
  std::vector<std::string> words;
  for (std::string word; in >> word;)
    words.push_back(word);
  return words;
}

// The environment with no path of the host in it, and the kind of every section by its name. A
// camera becomes a device of the base kind: its levels are the same, and the one thing that it adds
// is a write to a path of its own.
std::string confined(const std::string& environment, std::map<std::string, std::string>& kinds) {
  std::istringstream in(environment);
  std::string result;
  std::string name;
  for (std::string line; std::getline(in, line);) {
    const std::vector<std::string> words = wordsOf(line);
    const bool header = !words.empty() && words[0][0] == '[';
    if (header) name = headerName(words[0]);
    // Where a blank line follows a header, the rest of the header's line is the type line.
    const size_t type = header ? 1 : 0;
    if (words.size() > type + 1 && words[type] == "type") {
      kinds[name] = words[type + 1];
      if (words[type + 1] == "camera") line = (header ? words[0] + " " : "") + "type backlight";
    } else if (words.size() > 1 && words[0] == "node_path") {
      line = std::string("node_path ") + kNothing;
    }
    result += line + "\n";
  }
  // The last line feed decides about what the reader makes of the file's end.
  if (!environment.empty() && environment.back() != '\n') result.pop_back();
  return result;
}

template <typename Key, typename Worker> void freeWorkers(const std::map<Key, Worker*>& workers) {
  for (const auto& [key, worker] : workers) {
    for (auto* item : worker->items)
      delete item;
    delete worker;
  }
}

// Calls `visit(scenario, item)` for every item but those that a swap has retired.
template <typename Visit>
void forEachItem(const std::map<std::string, Sensor*>& sensors, Visit visit) {
  for (const auto& [name, sensor] : sensors) {
    if (!sensor) continue;
    for (const auto& [scenario, items] : sensor->algorithms) {
      if (scenario.find(kRetiredMark) != std::string::npos) continue;
      for (Algo* item : items)
        visit(scenario, *item);
    }
  }
}

template <typename Track>
std::optional<size_t> indexOf(const std::vector<Track>& tracks, const std::string& name) {
  for (size_t i = 0; i < tracks.size(); ++i) {
    if (tracks[i].name == name) return i;
  }
  return std::nullopt;
}

void describeDetails(const Monitor& monitor, const TraceDescription& board, AlgorithmTrack& track) {
  // With `lowactive` the daemon keeps temperatures negated.
  const auto asWritten = [&monitor](int32_t stored) {
    return monitor.lowactive ? wrapNegate(stored) : stored;
  };
  const auto& clear = monitor.thresholdsClr;
  for (size_t i = 0; i < monitor.thresholds.size(); ++i) {
    // A level without a clearing threshold is left at its own, as the monitor does it.
    const int32_t reached = monitor.thresholds[i];
    track.thresholds.push_back(
        {asWritten(reached), asWritten(i < clear.size() ? clear[i] : reached)});
  }
  for (const std::vector<Device*>& row : monitor.actions) {
    for (const Device* device : row) {
      const auto index = device ? indexOf(board.devices, device->name) : std::nullopt;
      auto& known = track.devices;
      if (index && std::find(known.begin(), known.end(), *index) == known.end())
        known.push_back(*index);
    }
  }
}

void describeDetails(const SS& ss, const TraceDescription& board, AlgorithmTrack& track) {
  const auto asWritten = [&ss](int32_t stored) {
    return ss.lowactive ? wrapNegate(stored) : stored;
  };
  track.kind = AlgorithmTrack::Kind::kStep;
  track.thresholds.push_back({asWritten(ss.startTemp), asWritten(ss.clearTemp)});
  if (const auto index = indexOf(board.devices, ss.device->name)) track.devices.push_back(*index);
}

} // namespace

VirtualScenarioThread::VirtualScenarioThread(ThermalMain& owner_) {
  delete owner_.scenarioThread;
  owner_.scenarioThread = this;
  owner = &owner_;
}

bool VirtualScenarioThread::changeIsDue() const {
  return currentScenName != requestedScenName || confState != kParsed;
}

void VirtualScenarioThread::changeWithSensorThreads(const std::map<int32_t, SensorThread*>&,
                                                    bool newConf) {
  change(newConf);
}

void VirtualScenarioThread::loadConfiguration(const std::string& name) {
  load(name);
}

VirtualDaemon::VirtualDaemon(const std::string& environment)
    : ThermalMain(Paths{kNothing, kNothing, std::string(kNothing) + "/", kNothing, kNothing}),
      scenarioFile(kDefaultScenario), requestFile(kParsed),
      control(new VirtualScenarioThread(*this)) {
  // The daemon's start-up has read and written nothing: the files come only now.
  confDir = MemoryFile::folder();
  control->scenPath = scenarioFile.path();
  control->dconfPath = requestFile.path();
  std::istringstream in(confined(environment, kinds));
  EnvParser(in, *this).parse();
}

// The base frees nothing: on a device its objects live as long as the process.
VirtualDaemon::~VirtualDaemon() {
  rememberScenarios();
  freeWorkers(ssThreads);
  freeWorkers(monitorThreads);
  freeWorkers(sensorThreads);
  for (const auto& [name, device] : devices)
    delete device;
  for (const Scenario* scenario : scenariosSeen)
    delete scenario;
  delete scenarioThread;
}

std::optional<std::string> VirtualDaemon::parseConfiguration(const std::string& text) {
  rememberScenarios();
  std::istringstream in(text);
  const ConfParser::Registries registries{sensors, devices, ssThreads, monitorThreads, scenarios};
  return ConfParser(in, registries).parse();
}

TraceDescription VirtualDaemon::describe() const {
  TraceDescription board;
  for (const auto& [name, sensor] : sensors) {
    // A name that is only referred to has an empty entry.
    if (!sensor) continue;
    const bool isReal = dynamic_cast<const Real*>(sensor) != nullptr;
    board.sensors.push_back({name,
                             isReal ? SensorTrack::Kind::kReal : SensorTrack::Kind::kVirtual,
                             sensor->sampling,
                             {}});
  }
  for (const auto& [name, device] : devices) {
    if (!device) continue;
    const bool isReport = typeid(*device) == typeid(ReportDevice);
    board.devices.push_back(
        {name, kinds.at(name), isReport ? std::vector<std::string>() : device->levelTable});
  }
  return board;
}

std::vector<AlgorithmTrack> VirtualDaemon::describeItems(const TraceDescription& board,
                                                         const std::string& configuration) const {
  std::vector<AlgorithmTrack> tracks;
  forEachItem(sensors, [&](const std::string& scenario, const Algo& item) {
    AlgorithmTrack track;
    track.name = item.name;
    track.configuration = configuration;
    track.scenario = scenario;
    track.sensor = indexOf(board.sensors, item.sensor->name);
    track.lowactive = item.lowactive;
    if (const auto* monitor = dynamic_cast<const Monitor*>(&item))
      describeDetails(*monitor, board, track);
    else
      describeDetails(dynamic_cast<const SS&>(item), board, track);
    tracks.push_back(std::move(track));
  });
  return tracks;
}

std::vector<Algo*> VirtualDaemon::items() const {
  std::vector<Algo*> all;
  forEachItem(sensors, [&all](const std::string&, Algo& item) { all.push_back(&item); });
  return all;
}

std::unique_ptr<MemoryFile> VirtualDaemon::connect(Sensor& sensor) {
  auto* real = dynamic_cast<Real*>(&sensor);
  if (!real || !real->node.is_open()) return nullptr;
  auto node = std::make_unique<MemoryFile>();
  real->node.close();
  real->node.open(node->path());
  return node;
}

void VirtualDaemon::rememberScenarios() {
  for (const auto& [name, scenario] : scenarios)
    scenariosSeen.insert(scenario);
}
