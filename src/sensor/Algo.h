#pragma once

#include <atomic>
#include <cstdint>
#include <string>

#include "device/Requester.h"

class Sensor;
class ThermalThread;

// One control algorithm: watches a sensor, drives devices, sleeps until its start temperature is
// reached. Its `name` is also the requester name at devices.
//
// Units:   temperatures in millidegrees Celsius; with `lowactive` all of them are negated, both
//          when stored and when the sensor is read, so that the rules for a rising temperature
//          serve for a falling one.
// Threads: `decision` runs on the algorithm's own thread, `activate` on its sensor's. `deactivate`
//          runs on the algorithm's thread, or on another in a scenario change, possibly across a
//          running `decision`: whoever clears `active` lowers the thread's count, and the thread,
//          which has the item decide only while it is active, withdraws after the decision what
//          one posted that has been put to sleep meanwhile.
// Source:  an item of the configuration file.
class Algo : public Requester {
public:
  virtual ~Algo() = default;
  Algo(const Algo&) = delete;
  Algo& operator=(const Algo&) = delete;

  // One control step on the sensor's latest temperature. Returns 0.
  virtual int decision() = 0;
  virtual void activate();
  virtual void deactivate();

  uint32_t sampling;
  int32_t startTemp = 0;
  int32_t clearTemp = 0;
  // The level (`Monitor`) or step count (`SS`), 0 when idle. Written by whoever runs `decision` or
  // `deactivate`.
  std::atomic<uint32_t> status{0};
  // Set by the sensor's thread, cleared by whoever runs `deactivate`.
  std::atomic<bool> active{false};
  Sensor* sensor;
  ThermalThread* thread;
  // Written and read by the scenario thread alone.
  bool old = false;
  bool lowactive;
  // Woken by the change that put its scenario in force, and without a decision since. Set by the
  // sensor's thread, cleared by the first `decision`: the change waits for that one before it lets
  // the previous scenario's algorithms go, so that no device is without a request in between.
  std::atomic<bool> undecided{false};
  // Still awake from an earlier time when its scenario came back in force, and without a decision
  // since. Set by the sensor's thread, cleared by the first `decision`.
  std::atomic<bool> returned{false};

protected:
  Algo(const std::string& name, uint32_t sampling, bool lowactive, Sensor* sensor,
       ThermalThread* thread);

  // Stores the two temperatures, negated when `lowactive`, and registers with the sensor, whose
  // thread may wake the item from then on: the last step of a construction.
  void watch(const std::string& scenarioName, int32_t start, int32_t clear);

  // The sensor's temperature as this algorithm reads it, negated when `lowactive`.
  int32_t readTemp() const;

  // A configured temperature as this algorithm stores it.
  int32_t storedTemp(int32_t configured) const;

  // Clears `active` and, if this call did it, lowers the thread's count.
  void fallAsleep();
};
