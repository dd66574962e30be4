#include "daemon/VirtualDaemon.h"

#include <algorithm>
#include <sstream>

#include "algo/Monitor.h"
#include "algo/SS.h"
#include "base/Int32.h"
#include "base/Names.h"
#include "config/ConfParser.h"
#include "config/EnvParser.h"
#include "device/Device.h"
#include "sensor/Real.h"
#include "thread/MonitorThread.h"
#include "thread/SSThread.h"
#include "thread/SensorThread.h"

namespace {

// Builds the board with none of the host's nodes.
class Builder : public EnvParser {
public:
  Builder(std::istream& in_, Daemon& board_, const VirtualDaemon::NodeSource& nodes_,
          std::map<std::string, std::string>& kinds_)
      : EnvParser(in_, board_), nodes(nodes_), kinds(kinds_) {}

protected:
  Real* makeReal(const std::string& name, uint32_t sampling, const std::string& path) override {
    Real* sensor = EnvParser::makeReal(name, sampling, "");
    std::streambuf* const node = path.empty() ? nullptr : nodes(name);
    // The stream's failure to open anything goes with the buffer that it had.
    if (node) static_cast<std::ios&>(sensor->node).rdbuf(node);
    return sensor;
  }

  Device* makeDevice(const std::string& kind, const std::string& name, const std::string&,
                     const std::string& type, const std::vector<std::string>& levels) override {
    // All that a camera adds to a device is a write to a path of its own.
    Device* device = kind == "camera" ? new Device(name, "", type, levels)
                                      : EnvParser::makeDevice(kind, name, "", type, levels);
    if (device) kinds[name] = kind;
    return device;
  }

private:
  const VirtualDaemon::NodeSource& nodes;
  std::map<std::string, std::string>& kinds;
};

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

// With `lowactive` the daemon keeps temperatures negated.
int32_t asWritten(const Algo& item, int32_t stored) {
  return item.lowactive ? wrapNegate(stored) : stored;
}

void describeDetails(const Monitor& monitor, const TraceDescription& board, AlgorithmTrack& track) {
  const auto& clear = monitor.thresholdsClr;
  for (size_t i = 0; i < monitor.thresholds.size(); ++i) {
    // A level without a clearing threshold is left at its own, as the monitor does it.
    const int32_t reached = monitor.thresholds[i];
    track.thresholds.push_back(
        {asWritten(monitor, reached), asWritten(monitor, i < clear.size() ? clear[i] : reached)});
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
  track.kind = AlgorithmTrack::Kind::kStep;
  track.thresholds.push_back({asWritten(ss, ss.startTemp), asWritten(ss, ss.clearTemp)});
  if (const auto index = indexOf(board.devices, ss.device->name)) track.devices.push_back(*index);
}

void toMillidegrees(std::vector<AlgorithmTrack::Threshold>& thresholds, const SensorTrack& sensor) {
  for (AlgorithmTrack::Threshold& each : thresholds)
    each = {sensor.millidegreesOf(each.reached), sensor.millidegreesOf(each.cleared)};
}

} // namespace

VirtualDaemon::VirtualDaemon(const std::string& environment, const NodeSource& nodes) {
  std::istringstream in(environment);
  Builder(in, *this, nodes, kinds).parse();
}

// The base frees nothing: on a device its objects live as long as the process.
VirtualDaemon::~VirtualDaemon() {
  freeWorkers(ssThreads);
  freeWorkers(monitorThreads);
  freeWorkers(sensorThreads);
  for (const auto& [name, device] : devices)
    delete device;
  for (const auto& [name, scenario] : scenarios)
    delete scenario;
}

bool VirtualDaemon::findConfFile(const std::string& name) const {
  return configurations.count(name) > 0;
}

void VirtualDaemon::dynamicConfParse(const std::string& name) {
  confFileName = name;
  parseConfiguration(configurations.at(name));
}

std::optional<std::string> VirtualDaemon::parseConfiguration(const std::string& text) {
  const std::map<std::string, Scenario*> before = scenarios;
  std::istringstream in(text);
  const ConfParser::Registries registries{sensors, devices, ssThreads, monitorThreads, scenarios};
  if (auto error = ConfParser(in, registries).parse()) return error;
  // The daemon keeps those for good.
  for (const auto& [name, scenario] : before)
    delete scenario;
  return std::nullopt;
}

TraceDescription VirtualDaemon::describe() const {
  TraceDescription board;
  for (const auto& [name, sensor] : sensors) {
    // A name that is only referred to has an empty entry.
    if (!sensor) continue;
    const bool isReal = dynamic_cast<const Real*>(sensor) != nullptr;
    const auto kind = isReal ? SensorTrack::Kind::kReal : SensorTrack::Kind::kVirtual;
    board.sensors.push_back({name, kind, sensor->sampling, {}});
  }
  for (const auto& [name, device] : devices) {
    if (!device) continue;
    const std::string& kind = kinds.at(name);
    board.devices.push_back(
        {name, kind, kind == "report" ? std::vector<std::string>() : device->levelTable});
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
    if (track.sensor) toMillidegrees(track.thresholds, board.sensors[*track.sensor]);
    tracks.push_back(std::move(track));
  });
  return tracks;
}

std::vector<Algo*> VirtualDaemon::items() const {
  std::vector<Algo*> all;
  forEachItem(sensors, [&all](const std::string&, Algo& item) { all.push_back(&item); });
  return all;
}
