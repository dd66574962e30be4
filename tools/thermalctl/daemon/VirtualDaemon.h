#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "core/ThermalMain.h"
#include "daemon/MemoryFile.h"
#include "thread/ScenarioThread.h"
#include "trace/Trace.h"

class Algo;

// The scenario thread without a thread: its own cycle, with someone else to carry out what it has
// to wait for.
//
// Shape:   `change` and `load` must be set before a cycle that finds something to do: they stand
//          for the change with the sensor threads and for the reading of a configuration.
// Threads: the caller's. The cycle goes on when `change` or `load` returns.
class VirtualScenarioThread : public ScenarioThread {
public:
  // Takes the place of the thread that `owner` has.
  explicit VirtualScenarioThread(ThermalMain& owner);

  // Whether the next cycle changes the scenario or the configuration, and so needs every sensor
  // worker.
  bool changeIsDue() const;

  std::function<void(bool newConf)> change;
  std::function<void(const std::string& word)> load;

  using ScenarioThread::prepareName;

protected:
  void changeWithSensorThreads(const std::map<int32_t, SensorThread*>& workers,
                               bool newConf) override;
  void loadConfiguration(const std::string& name) override;
};

// The daemon with all of its objects and none of its threads, and with files in memory for those of
// the device: the sensors' nodes, the two control files and the configurations. No device of the
// host is opened.
//
// Shape:   the daemon's own registries, by name, as its parsers fill them. Its objects belong to
//          it.
// Errors:  an environment is read as far as the daemon reads it, without a word. A configuration on
//          which the daemon would end is told; what was read before that point stays.
// Threads: the caller's alone: passes are called, thread bodies never.
// Source:  the texts of an environment and of configurations; a device's node is nowhere, a
//          sensor's where `connect` puts it.
class VirtualDaemon : public ThermalMain {
public:
  explicit VirtualDaemon(const std::string& environment);
  ~VirtualDaemon();
  VirtualDaemon(const VirtualDaemon&) = delete;
  VirtualDaemon& operator=(const VirtualDaemon&) = delete;

  // Adds the items of a configuration. Returns the daemon's message where it would have ended,
  // without its prefixes.
  std::optional<std::string> parseConfiguration(const std::string& text);

  // Sensors and devices, in the order of their names.
  TraceDescription describe() const;

  // The items in the registry, as AlgorithmTracks with the indices of `board`. The order is that of
  // `items`.
  std::vector<AlgorithmTrack> describeItems(const TraceDescription& board,
                                            const std::string& configuration) const;

  // Every item of the configuration that was read last, of any scenario.
  std::vector<Algo*> items() const;

  // Gives a real sensor its node. Nothing for a sensor whose section names none.
  static std::unique_ptr<MemoryFile> connect(Sensor& sensor);

  MemoryFile scenarioFile;
  MemoryFile requestFile;
  VirtualScenarioThread* control; // the scenario thread

private:
  void rememberScenarios();

  std::map<std::string, std::string> kinds; // of the devices, by the file's own words
  std::set<Scenario*> scenariosSeen;        // a replaced one is out of the registry, but not freed
};
