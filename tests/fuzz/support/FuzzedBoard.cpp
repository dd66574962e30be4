#include "support/FuzzedBoard.h"

#include <algorithm>
#include <sstream>

#include "config/ConfParser.h"
#include "config/EnvParser.h"
#include "device/Device.h"
#include "sensor/Real.h"
#include "sensor/Virtual.h"
#include "support/Require.h"
#include "thread/MonitorThread.h"
#include "thread/SSThread.h"
#include "thread/ScenarioThread.h"
#include "thread/SensorThread.h"

namespace {

// Gives every sensor and every device one of the board's own nodes.
class ConfinedParser : public EnvParser {
public:
  ConfinedParser(std::istream& in_, Daemon& board_, const Nodes& nodes_, std::set<Device*>& made_)
      : EnvParser(in_, board_), nodes(nodes_), made(made_) {}

protected:
  Real* makeReal(const std::string& name, uint32_t sampling, const std::string& path) override {
    return EnvParser::makeReal(name, sampling, nodes.path(path));
  }

  Device* makeDevice(const std::string& kind, const std::string& name, const std::string& path,
                     const std::string& type, const std::vector<std::string>& levels) override {
    Device* device = EnvParser::makeDevice(kind, name, nodes.path(path), type, levels);
    // One whose section comes twice is out of the registry from then on.
    if (device) made.insert(device);
    return device;
  }

private:
  const Nodes& nodes;
  std::set<Device*>& made;
};

template <typename Key, typename Worker> void freeWorkers(const std::map<Key, Worker*>& workers) {
  for (const auto& [key, worker] : workers) {
    for (auto* item : worker->items)
      delete item;
    delete worker;
  }
}

template <typename Worker> int32_t activeItems(const Worker& worker) {
  return static_cast<int32_t>(std::count_if(worker.items.begin(), worker.items.end(),
                                            [](const auto* item) { return item->active.load(); }));
}

void checkSensor(const Sensor& sensor) {
  require(sensor.thread != nullptr, "every sensor of the file has a worker");
  const auto* real = dynamic_cast<const Real*>(&sensor);
  if (!real) return;
  require(real->active, "a real sensor is always on");
  const auto on = std::count_if(real->virtuals.begin(), real->virtuals.end(),
                                [](const Virtual* v) { return v->active.load(); });
  require(real->activeVirtuals == on, "a trip sensor knows how many sensors it has switched on");
}

void checkDevice(const Device& device) {
  const size_t length = std::max<size_t>(1, device.levelTable.size());
  require(device.currentLevel >= 0 && static_cast<size_t>(device.currentLevel) < length,
          "a level is inside the table");
}

void checkItem(const Algo& item) {
  require(item.active || item.status == 0, "who sleeps is at level 0");
}

void checkItem(const Monitor& monitor) {
  checkItem(static_cast<const Algo&>(monitor));
  require(monitor.status <= monitor.thresholds.size(), "a monitor's level has a threshold");
}

template <typename Worker> void checkAlgoWorker(const Worker& worker, bool swapped) {
  // A monitor that is replaced while awake at level 0 leaves its count behind.
  require(swapped ? worker.activeCount >= activeItems(worker)
                  : worker.activeCount == activeItems(worker),
          "a worker counts its active items");
  for (const auto* item : worker.items) {
    require(item->thread == &worker, "an item knows its worker");
    checkItem(*item);
  }
}

} // namespace

FuzzedBoard::FuzzedBoard()
    : FuzzedBoard(Paths{"/dev/null", "/dev/null", "/dev/null/", "/dev/null", "/dev/null"}) {}

FuzzedBoard::FuzzedBoard(const Paths& paths) : ThermalMain(paths) {}

FuzzedBoard::~FuzzedBoard() {
  rememberDevices();
  rememberScenarios();
  freeWorkers(ssThreads);
  freeWorkers(monitorThreads);
  freeWorkers(sensorThreads);
  for (const Device* device : devicesSeen)
    delete device;
  for (const Scenario* scenario : scenariosSeen)
    delete scenario;
  delete scenarioThread;
}

void FuzzedBoard::parseEnvironment(const std::string& text, const Nodes& nodes) {
  std::istringstream in(text);
  ConfinedParser(in, *this, nodes, devicesSeen).parse();
  for (const Device* device : devicesSeen)
    require(Nodes::holds(device->nodePath), "no device's path escapes");
  for (const auto& [period, worker] : sensorThreads) {
    require(worker->period == period, "a sensor worker has the period of its key");
    for (const Sensor* sensor : worker->items) {
      const auto* real = dynamic_cast<const Real*>(sensor);
      require(!real || Nodes::holds(real->nodePath), "no sensor's path escapes");
      require(sensor->sampling == static_cast<uint32_t>(period),
              "a sensor's worker has its period");
    }
  }
}

std::optional<std::string> FuzzedBoard::parseConfiguration(const std::string& text) {
  rememberScenarios();
  std::istringstream in(text);
  const ConfParser::Registries registries{sensors, devices, ssThreads, monitorThreads, scenarios};
  return ConfParser(in, registries).parse();
}

void FuzzedBoard::pass() {
  for (const auto& [period, worker] : sensorThreads)
    worker->samplingPass();
  decide();
}

void FuzzedBoard::changeScenario(const std::string& name) {
  for (const auto& [period, worker] : sensorThreads) {
    for (Sensor* sensor : worker->items)
      sensor->changeScenario(name);
    worker->samplingPass();
  }
  decide();
  for (const auto& [period, worker] : sensorThreads) {
    for (Sensor* sensor : worker->items) {
      sensor->deactivateOldScen();
      sensor->oldScenario = sensor->scenario;
    }
  }
  scenarioInForce = name;
}

bool FuzzedBoard::swapConfiguration(const std::string& text) {
  std::string scenario = scenarioInForce;
  for (const auto& [period, worker] : sensorThreads) {
    for (Sensor* sensor : worker->items)
      sensor->addPrefixScenName(kRetiredMark);
  }
  changeScenario(kRetiredMark + scenario);
  if (parseConfiguration(text)) return false;
  if (scenarios.count(scenario) == 0) scenario = kDefaultScenario;
  changeScenario(scenario);
  destroyOldUnusings();
  swapped = true;
  return true;
}

void FuzzedBoard::rememberScenarios() {
  for (const auto& [name, scenario] : scenarios)
    scenariosSeen.insert(scenario);
}

void FuzzedBoard::check() const {
  for (const auto& [period, worker] : sensorThreads) {
    require(worker->activeCount == activeItems(*worker), "a sensor worker counts its sensors");
    for (const Sensor* sensor : worker->items)
      checkSensor(*sensor);
  }
  for (const Device* device : devicesSeen)
    checkDevice(*device);
  for (const auto& [key, worker] : ssThreads)
    checkAlgoWorker(*worker, swapped);
  for (const auto& [key, worker] : monitorThreads)
    checkAlgoWorker(*worker, swapped);
}

void FuzzedBoard::rememberDevices() {
  for (const auto& [name, device] : devices) {
    if (device) devicesSeen.insert(device);
  }
}

void FuzzedBoard::decide() {
  for (const auto& [key, worker] : ssThreads)
    worker->decisionPass();
  for (const auto& [key, worker] : monitorThreads)
    worker->decisionPass();
}
