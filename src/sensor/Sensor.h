#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "base/ItemList.h"
#include "base/Names.h"

class Algo;
class ThermalThread;

// One source of temperature, with the algorithms that watch it, by scenario.
//
// Units:   millidegrees Celsius, as the kernel reports them; `sampling` in milliseconds.
// Threads: sampled by its own `SensorThread` alone; any thread may read `temperature` and `active`.
//          The registry has no lock and needs none: it belongs to the scenario thread, but for the
//          time in which that waits for the sensor's thread in a scenario change. A sample never
//          looks into it: what it walks is `watching`, which may grow and shrink under a walk.
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

  // Drops every entry whose name holds `kRetiredMark` and marks its algorithms `old`; deletes none
  // of them. On return no sample sees one of them any more.
  void destroyOldScens();

  std::string name;
  uint32_t sampling;
  ThermalThread* thread;
  AlgoMap algorithms;
  // Written by the sensor's own `activate` and, for a `Virtual`, by the thread of its trip sensor.
  std::atomic<bool> active{false};
  // Written by the sensor's own thread, read by any: one 32-bit value, a stale read is accepted.
  std::atomic<int32_t> temperature{0};
  std::string oldScenario{kDefaultScenario};
  std::string scenario{kDefaultScenario};

private:
  // The algorithms of the scenario in force: the same as its entry in `algorithms`.
  ItemList<Algo> watching;
  // Whether `algorithms` is known to have an entry for `scenario`. The sensor's own thread alone
  // looks at it.
  bool hasEntry = false;
  // In a change that puts other algorithms in force, until those before them are let go. The
  // sensor's own thread alone looks at it.
  bool entering = false;
};
