#pragma once

#include <algorithm>
#include <vector>

#include "sensor/Algo.h"

class Device;

// The level algorithm: ascending entry thresholds split the temperature range into levels 0 to n,
// clearing thresholds below them hold a level until the temperature has fallen far enough. Level 0
// releases the devices and sleeps.
//
// Shape:   index i of the four lists belongs to level i + 1. A level without a row drives nothing,
//          a null device or one without an entry gets no request, a missing clearing threshold
//          counts as the level's entry threshold.
// Source:  an item of type "monitor".
class Monitor : public Algo {
public:
  using DeviceRows = std::vector<std::vector<Device*>>;
  using LevelRows = std::vector<std::vector<int32_t>>;

  Monitor(const std::string& name, uint32_t sampling, int32_t startTemp, int32_t clearTemp,
          const std::string& scenarioName, bool lowactive, Sensor* sensor, ThermalThread* thread,
          const DeviceRows& actions, const LevelRows& actionInfo,
          const std::vector<int32_t>& thresholds, const std::vector<int32_t>& thresholdsClr);

  int decision() override;

  // For the item's own thread, behind a decision: if the monitor was put to sleep in it, takes back
  // what was posted since.
  void withdrawIfAsleep();

  // Releases the current level and sleeps. At level 0 it does nothing at all: the monitor stays
  // marked active.
  void deactivate() override;

  // Where a decision at this temperature, as the monitor reads it, leads from `level`.
  uint32_t nextLevel(int32_t temp, uint32_t level) const;

  // Calls `visit(device, level index)` for each device that `level` drives.
  template <typename Visit> void forEachDriven(uint32_t level, Visit visit) const {
    if (level == 0 || level > actions.size() || level > actionInfo.size()) return;
    const std::vector<Device*>& devices = actions[level - 1];
    const std::vector<int32_t>& levels = actionInfo[level - 1];
    const size_t complete = std::min(devices.size(), levels.size());
    for (size_t i = 0; i < complete; ++i) {
      if (devices[i]) visit(*devices[i], levels[i]);
    }
  }

  std::vector<int32_t> thresholds;
  DeviceRows actions;
  LevelRows actionInfo;
  std::vector<int32_t> thresholdsClr;

private:
  int32_t clearThreshold(uint32_t index) const;
  void moveTo(uint32_t newLevel, uint32_t oldLevel);
  void post(uint32_t level);
  void withdraw(uint32_t level);
  void apply(uint32_t level);
  // Asks once more for what a namesake has taken away while another scenario was in force. A device
  // that still has the request is left alone.
  void takeBack(uint32_t level);
};
