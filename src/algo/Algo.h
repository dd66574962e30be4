#pragma once

#include <atomic>
#include <cstdint>
#include <string>

class Sensor;
class ThermalThread;

// One control algorithm: watches a sensor, drives devices, sleeps until its start temperature is
// reached.
//
// Units:   temperatures in millidegrees Celsius; with `lowactive` all of them are negated, both
// when stored and when the
//          sensor is read, so that the rules for a rising temperature serve for a falling one.
// Threads: `decision` runs on the algorithm's own thread, `activate` on its sensor's. `deactivate`
// runs on the
//          algorithm's thread, or on another in a scenario change, possibly across a running
//          `decision`: whoever clears `active` lowers the thread's count, and the thread, which has
//          the item decide only while it is active, withdraws after the decision what one posted
//          that has been put to sleep meanwhile.
// Source:  an item of the configuration file.
class Algo {
public:
  virtual ~Algo() = default;
  Algo(const Algo&) = delete;
  Algo& operator=(const Algo&) = delete;

  // One control step on the sensor's latest temperature. Returns 0.
  virtual int decision() = 0;
  virtual void activate();
  virtual void deactivate();

  std::string name; // also the requester name at devices
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
  // The sensor's `era` when this item was last woken or its scenario last came in force; 0 before.
  // Requests carry it, so that an item which retires in a scenario change cannot withdraw the
  // request of a namesake which woke in it.
  std::atomic<uint32_t> era{0};
  // Set by `activate`, cleared by the first `decision` after it: a scenario change waits for that
  // first decision before it lets the previous scenario's algorithms go, so that no device is
  // without a request in between.
  std::atomic<bool> undecided{false};

protected:
  Algo(const std::string& name, uint32_t sampling, bool lowactive, Sensor* sensor,
       ThermalThread* thread);

  // Registers with the sensor and stores the two temperatures, negated when `lowactive`.
  void watch(const std::string& scenarioName, int32_t start, int32_t clear);

  // The sensor's temperature as this algorithm reads it, negated when `lowactive`.
  int32_t readTemp() const;

  // A configured temperature as this algorithm stores it.
  int32_t storedTemp(int32_t configured) const;

  // Clears `active` and, if this call did it, lowers the thread's count.
  void fallAsleep();
};
