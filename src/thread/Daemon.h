#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <thread>

#include "base/Names.h"

class Device;
class MonitorThread;
class Scenario;
class Sensor;
class SensorThread;
class SSThread;

// A daemon as its parsers fill it and its scenario thread steers it: every registry, and what there
// is to be asked of whoever keeps them.
//
// Shape:   each object by its name. An entry of a name that was only referred to is null.
// Threads: once threads run, the registries belong to the scenario thread, which changes them in a
//          live reconfiguration; they have no lock.
class Daemon {
public:
  virtual ~Daemon() = default;

  // Whether there is a configuration of that name.
  virtual bool findConfFile(const std::string& name) const = 0;

  // Puts another configuration in force and starts the workers that it brings.
  virtual void dynamicConfParse(const std::string& name) = 0;

  // Frees what a replaced configuration left: its entries in the sensors, its items, and the
  // workers that have no other.
  void destroyOldUnusings();

  std::string confFileName{kDefaultConfiguration};
  std::map<std::string, SSThread*> ssThreads;
  std::map<std::string, MonitorThread*> monitorThreads;
  std::map<int32_t, SensorThread*> sensorThreads;
  std::map<std::string, Device*> devices;
  std::map<std::string, Sensor*> sensors;
  std::map<std::string, Scenario*> scenarios;
  std::map<std::string, std::thread*> threads;
};
