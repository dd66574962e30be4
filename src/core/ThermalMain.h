#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include "base/Names.h"

class Device;
class MonitorThread;
class Scenario;
class ScenarioThread;
class Sensor;
class SensorThread;
class SSThread;

// The daemon: every registry, the start-up sequence and the life of the process.
//
// Errors:  an error in the configuration ends the process with status 0, at start-up and later
//          alike.
// Threads: start-up runs on the main thread alone. From then on the registries belong to the
//          scenario thread, which changes them in a live reconfiguration; they have no lock.
class ThermalMain {
public:
  // Starts the daemon on the given files and stays for the life of the process.
  ThermalMain(const std::string& confPath, const std::string& envPath);

  // Starts a thread for every worker that has none yet.
  void runThreads();

  // Whether a file of that name opens in the configuration directory. The name is joined as it
  // stands.
  bool findConfFile(const std::string& name) const;

  // Reads the configuration in force; if that cannot be read, the factory's.
  void confParse();

  // Puts another file of the configuration directory in force and starts the workers that it
  // brings.
  void dynamicConfParse(const std::string& name);

  // Frees what a replaced configuration left: its entries in the sensors, its items, and the
  // workers that have no other.
  void destroyOldUnusings();

  std::string confPath; // the factory configuration
  std::string envPath;
  std::string confDir; // ends in "/"
  std::string confFileName{kDefaultConfiguration};
  std::map<std::string, SSThread*> ssThreads;
  std::map<std::string, MonitorThread*> monitorThreads;
  std::map<int32_t, SensorThread*> sensorThreads;
  std::map<std::string, Device*> devices;
  std::map<std::string, Sensor*> sensors;
  ScenarioThread* scenarioThread = nullptr;
  std::map<std::string, Scenario*> scenarios;
  std::map<std::string, std::thread*> threads;

protected:
  // Where the daemon's files are.
  struct Paths {
    std::string conf;
    std::string env;
    std::string confDir;
    std::string dconf;
    std::string scen;
  };

  // The whole start-up up to the point where the threads would start: a board that can be driven
  // pass by pass.
  explicit ThermalMain(const Paths& paths);

private:
  void readEnvironment();
  void installConfiguration();
  void prepareScenarioThread(const Paths& paths);
  void parseFirstReadable(const std::vector<std::string>& names);
  // The content of the first file of the configuration directory that can be read, whose name then
  // is `confFileName`; failing all of them that of the factory file; failing that, too, nothing.
  std::string readConfiguration(const std::vector<std::string>& names);
};
