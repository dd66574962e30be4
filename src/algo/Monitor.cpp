#include "algo/Monitor.h"

#include <algorithm>

#include "base/Log.h"
#include "device/Device.h"

Monitor::Monitor(const std::string& name_, uint32_t sampling_, int32_t startTemp_,
                 int32_t clearTemp_, const std::string& scenarioName, bool lowactive_,
                 Sensor* sensor_, ThermalThread* thread_, const DeviceRows& actions_,
                 const LevelRows& actionInfo_, const std::vector<int32_t>& thresholds_,
                 const std::vector<int32_t>& thresholdsClr_)
    : Algo(name_, sampling_, lowactive_, sensor_, thread_), thresholds(thresholds_),
      actions(actions_), actionInfo(actionInfo_), thresholdsClr(thresholdsClr_) {
  for (int32_t& threshold : this->thresholds)
    threshold = storedTemp(threshold);
  for (int32_t& threshold : this->thresholdsClr)
    threshold = storedTemp(threshold);
  watch(scenarioName, startTemp_, clearTemp_);
}

int Monitor::decision() {
  const int32_t temp = readTemp();
  const uint32_t oldLevel = status;
  const uint32_t newLevel = nextLevel(temp, oldLevel);
  LOG_LINE(message::kMonitorDecision, name.c_str(), temp, oldLevel, newLevel);
  const bool justReturned = returned.exchange(false);
  if (newLevel == oldLevel) {
    if (justReturned) takeBack(newLevel);
  } else if (newLevel > 0) {
    moveTo(newLevel, oldLevel);
  } else {
    deactivate();
  }
  undecided = false;
  return 0;
}

void Monitor::withdrawIfAsleep() {
  // Whoever put the monitor to sleep either saw its new level and withdrew it, or did not, and then
  // it is withdrawn here.
  if (active || status == 0) return;
  const uint32_t posted = status.exchange(0);
  withdraw(posted);
  apply(posted);
}

void Monitor::deactivate() {
  if (status == 0) return;
  // Asleep first, so that a `decision` that is just posting either had its level stored by now, or
  // is seen asleep when its thread looks again.
  fallAsleep();
  const uint32_t level = status.exchange(0);
  withdraw(level);
  apply(level);
}

uint32_t Monitor::nextLevel(int32_t temp, uint32_t level) const {
  const auto reached = [temp](int32_t threshold) { return threshold <= temp; };
  if (level == 0 || (level < thresholds.size() && temp >= thresholds[level])) {
    const auto firstAbove = std::find_if_not(thresholds.begin(), thresholds.end(), reached);
    return static_cast<uint32_t>(firstAbove - thresholds.begin());
  }
  if (temp >= clearThreshold(level - 1)) return level;
  uint32_t held = 0;
  while (held < level - 1 && temp >= clearThreshold(held))
    ++held;
  return held;
}

int32_t Monitor::clearThreshold(uint32_t index) const {
  return index < thresholdsClr.size() ? thresholdsClr[index] : thresholds[index];
}

void Monitor::moveTo(uint32_t newLevel, uint32_t oldLevel) {
  // Everything is posted before anything is applied: a device of both levels moves straight from
  // one to the other.
  withdraw(oldLevel);
  post(newLevel);
  apply(oldLevel);
  apply(newLevel);
  status = newLevel;
}

void Monitor::takeBack(uint32_t level) {
  forEachDriven(level, [this, level](Device& device, int32_t wanted) {
    if (device.holds(*this)) return;
    device.deviceControl(*this, wanted);
    device.statusApply();
    // As after any post: who puts the monitor to sleep meanwhile may have withdrawn before it.
    status = level;
  });
}

void Monitor::post(uint32_t level) {
  forEachDriven(level,
                [this](Device& device, int32_t wanted) { device.deviceControl(*this, wanted); });
}

void Monitor::withdraw(uint32_t level) {
  forEachDriven(level, [this](Device& device, int32_t) { device.withdraw(*this); });
}

void Monitor::apply(uint32_t level) {
  forEachDriven(level, [](Device& device, int32_t) { device.statusApply(); });
}
