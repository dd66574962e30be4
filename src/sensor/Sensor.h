#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

class Algo;
class ThermalThread;

// One source of temperature, with the algorithms that watch it, by scenario.
//
// Units:   millidegrees Celsius, as the kernel reports them; `sampling` in milliseconds.
// Threads: sampled by its own `SensorThread` alone; any thread may read `temperature` and `active`.
// The registry has no
//          lock: the parser adds entries that are not in force, and all else happens while the
//          sensor's thread waits at a barrier of a scenario change (`inForce` tells why its walk
//          needs no lookup).
// Source:  a "real" or "virtual" section of the environment file.
class Sensor {
public:
  using AlgoMap = std::map<std::string, std::vector<Algo*>>;

  Sensor(const std::string& name, uint32_t sampling, ThermalThread* thread);
  virtual ~Sensor() = default;
  Sensor(const Sensor&) = delete;
  Sensor& operator=(const Sensor&) = delete;

  // Takes one sample and stores it in `temperature`.
  virtual void updateTemp() = 0;

  void insertAlgoItems(Algo* algo, const std::string& scenarioName);

  // Wakes every sleeping algorithm of the scenario in force whose start temperature is reached. A
  // null entry ends the walk.
  void traversItems();

  // Switches the sensor on, once.
  void activate();

  // Puts `name` in force. Called at a barrier of a scenario change, by the sensor's own thread.
  void changeScenario(const std::string& name);

  // Puts the algorithms of `oldScenario` to sleep, those that are awake.
  void deactivateOldScen();

  // Moves every entry of `algorithms` to its prefixed name. Called while the sensor's thread waits
  // at a barrier.
  void addPrefixScenName(const std::string& prefix);

  // Drops every entry whose name holds "OLDSCEN_" and marks its algorithms `old`; deletes none of
  // them. Returns the entry in force if it was among them: the sensor's thread may be walking it,
  // so it must outlive that walk.
  AlgoMap::node_type destroyOldScens();

  std::string name;
  uint32_t sampling;
  ThermalThread* thread;
  AlgoMap algorithms;
  // Written by the sensor's own `activate` and, for a `Virtual`, by the thread of its trip sensor.
  std::atomic<bool> active{false};
  // Written by the sensor's own thread, read by any: one 32-bit value, a stale read is accepted.
  std::atomic<int32_t> temperature{0};
  std::string oldScenario{"Default"};
  std::string scenario{"Default"};
  // Which scenario in turn is in force, counted from 1 for all sensors alike. The sensor's own
  // thread alone looks at it.
  uint32_t era = 1;

private:
  // The entry of `algorithms` for `scenario`, looked up when the scenario changes instead of at
  // every sample: while the sensor's thread walks it, the parser may insert other entries and the
  // clean-up may erase others, and neither moves this one. Null until the first walk.
  std::atomic<std::vector<Algo*>*> inForce{nullptr};
};
