// Prints what the daemon holds of an environment file and a configuration, by its own parsers, as
// JSON. Nothing of thermalctl is in it: the tests of the tool take it for the truth.

#include <cstring>
#include <iostream>
#include <sstream>

#include <nlohmann/json.hpp>

#include "algo/Monitor.h"
#include "algo/SS.h"
#include "base/Log.h"
#include "base/TextReader.h"
#include "config/ConfParser.h"
#include "config/EnvParser.h"
#include "device/CPUFreqDevice.h"
#include "device/ReportDevice.h"
#include "sensor/Real.h"
#include "sensor/Virtual.h"
#include "thread/Daemon.h"
#include "thread/MonitorThread.h"
#include "thread/SSThread.h"
#include "thread/SensorThread.h"

namespace {

using Json = nlohmann::ordered_json;

class Registries : public Daemon {
public:
  bool findConfFile(const std::string&) const override { return false; }
  void dynamicConfParse(const std::string&) override {}
};

Json nameOf(const Sensor* sensor) {
  return sensor ? Json(sensor->name) : Json();
}
Json nameOf(const Device* device) {
  return device ? Json(device->name) : Json();
}

Json sensorOf(const Sensor& sensor) {
  if (const auto* real = dynamic_cast<const Real*>(&sensor))
    return {{"kind", "real"}, {"sampling", sensor.sampling}, {"node_path", real->nodePath}};
  const auto& combined = dynamic_cast<const Virtual&>(sensor);
  Json sources = Json::array();
  for (const Sensor* source : combined.sources)
    sources.push_back(nameOf(source));
  return {{"kind", "virtual"},
          {"sampling", sensor.sampling},
          {"set_point", combined.setPoint},
          {"set_point_clr", combined.setPointClr},
          {"sensors", sources},
          {"weights", combined.weights},
          {"offsets", combined.offsets}};
}

// What the node gets at a level. Of a CPU's frequency those are the bytes of a number.
Json outputOf(const Device& device, int32_t level) {
  const std::string bytes = device.output(level);
  int32_t number = 0;
  if (!dynamic_cast<const CPUFreqDevice*>(&device) || bytes.size() != sizeof number) return bytes;
  std::memcpy(&number, bytes.data(), sizeof number);
  return std::to_string(number);
}

Json deviceOf(const Device& device) {
  Json outputs = Json::array();
  const bool writes = !dynamic_cast<const ReportDevice*>(&device);
  for (size_t i = 0; writes && i < device.levelTable.size(); ++i)
    outputs.push_back(outputOf(device, static_cast<int32_t>(i)));
  return {{"type", device.type}, {"node_path", device.nodePath}, {"outputs", outputs}};
}

std::string scenarioOf(const Algo* item) {
  for (const auto& [scenario, items] : item->sensor->algorithms)
    for (const Algo* each : items)
      if (each == item) return scenario;
  return "";
}

Json commonOf(const Algo& item, const char* kind) {
  return {{"kind", kind},
          {"name", item.name},
          {"scenario", scenarioOf(&item)},
          {"sensor", nameOf(item.sensor)},
          {"sampling", item.sampling},
          {"lowactive", item.lowactive}};
}

// Temperatures as they stand in the file: an item that acts on cold holds their opposites.
Json asWritten(const Algo& item, const std::vector<int32_t>& temperatures) {
  Json list = Json::array();
  for (const int32_t each : temperatures)
    list.push_back(item.lowactive ? wrapNegate(each) : each);
  return list;
}

Json itemOf(const Monitor& item) {
  Json json = commonOf(item, "monitor");
  json["thresholds"] = asWritten(item, item.thresholds);
  json["thresholds_clr"] = asWritten(item, item.thresholdsClr);
  Json rows = Json::array();
  for (uint32_t level = 1; level <= item.thresholds.size(); ++level) {
    Json row = Json::array();
    item.forEachDriven(level, [&row](const Device& device, int32_t wanted) {
      row.push_back({device.name, wanted});
    });
    rows.push_back(row);
  }
  json["rows"] = rows;
  return json;
}

Json itemOf(const SS& item) {
  Json json = commonOf(item, "ss");
  json["set_point"] = asWritten(item, {item.startTemp}).front();
  json["set_point_clr"] = asWritten(item, {item.clearTemp}).front();
  json["device"] = nameOf(item.device);
  json["start_level"] = item.startLevel;
  json["device_perf_floor"] = item.devicePerfFloor;
  json["time_tick_trigger"] = item.timeTickTrigger;
  return json;
}

template <typename Worker> void addItems(Json& items, const std::map<std::string, Worker*>& all) {
  for (const auto& [key, worker] : all)
    for (const auto* item : worker->items)
      items.push_back(itemOf(*item));
}

Json held(const std::string& environment, const std::string& configuration) {
  auto& daemon = *new Registries; // as long as the process, like the daemon's own
  std::istringstream board(environment);
  EnvParser(board, daemon).parse();
  std::istringstream day(configuration);
  const std::optional<std::string> error =
      ConfParser(day, {daemon.sensors, daemon.devices, daemon.ssThreads, daemon.monitorThreads,
                       daemon.scenarios})
          .parse();
  Json json = {{"conf_file", daemon.confFileName}, {"error", error ? Json(*error) : Json()}};
  json["sensors"] = Json::object();
  for (const auto& [name, sensor] : daemon.sensors)
    if (sensor) json["sensors"][name] = sensorOf(*sensor);
  // The one by which a virtual sensor is switched.
  for (const auto& [period, worker] : daemon.sensorThreads)
    for (const Sensor* sensor : worker->items)
      if (const auto* real = dynamic_cast<const Real*>(sensor))
        for (const Virtual* each : real->virtuals)
          json["sensors"][each->name]["trip_sensor"] = real->name;
  json["devices"] = Json::object();
  for (const auto& [name, device] : daemon.devices)
    if (device) json["devices"][name] = deviceOf(*device);
  json["items"] = Json::array();
  addItems(json["items"], daemon.monitorThreads);
  addItems(json["items"], daemon.ssThreads);
  return json;
}

} // namespace

int main(int count, char** words) {
  logEnabled = false;
  for (int i = 2; i < count; ++i)
    std::cout << held(readFile(words[1]).value_or(""), readFile(words[i]).value_or(""))
                     .dump(-1, ' ', true, Json::error_handler_t::replace)
              << '\n';
}
