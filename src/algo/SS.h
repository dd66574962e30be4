#pragma once

#include "sensor/Algo.h"

class Device;

// The step algorithm: drives one device, a level for each whole degree that the temperature moved
// since the previous decision, from its set point until the temperature falls below the clearing
// set point. A temperature stuck within one degree for `timeTickTrigger` decisions adds a level.
//
// Source: an item of type "ss".
class SS : public Algo {
public:
  SS(const std::string& name, uint32_t sampling, int32_t setPoint, int32_t setPointClr,
     int32_t startLevel, const std::string& scenarioName, bool lowactive, Sensor* sensor,
     ThermalThread* thread, Device* device, int32_t devicePerfFloor, uint32_t timeTickTrigger);

  int decision() override;

  // For the item's own thread, behind a decision: if the item was put to sleep in it, takes back
  // what was posted since.
  void withdrawIfAsleep();

  void activate() override;

  // Releases the device and sleeps, also at step 0.
  void deactivate() override;

  Device* device;
  int32_t prevTemp = 0;    // as read, so negated when `lowactive`
  int32_t devicePerfFloor; // the highest device level that is ever requested
  // Decisions in a row within one whole degree. Written by whoever runs `decision` or `deactivate`.
  std::atomic<uint32_t> tickCount{0};
  uint32_t timeTickTrigger; // 0 turns the rule off
  int32_t startLevel;       // the device level requested at step 1

private:
  int32_t stepFor(int32_t temp, uint32_t steps) const;
  int32_t stuckLevel(int32_t step);
  int32_t requestFor(int32_t steps) const;
  void release();

  // Whether the latest `decision` has posted. The item's own thread alone looks at it.
  bool hasPosted = false;
};
