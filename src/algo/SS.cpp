#include "algo/SS.h"

#include <algorithm>

#include "base/Int32.h"
#include "base/Log.h"
#include "device/Device.h"

SS::SS(const std::string& name_, uint32_t sampling_, int32_t setPoint, int32_t setPointClr,
       int32_t startLevel_, const std::string& scenarioName, bool lowactive_, Sensor* sensor_,
       ThermalThread* thread_, Device* device_, int32_t devicePerfFloor_, uint32_t timeTickTrigger_)
    : Algo(name_, sampling_, lowactive_, sensor_, thread_), device(device_),
      devicePerfFloor(devicePerfFloor_), timeTickTrigger(timeTickTrigger_),
      startLevel(startLevel_) {
  watch(scenarioName, setPoint, setPointClr);
}

int SS::decision() {
  const int32_t temp = readTemp();
  const uint32_t steps = status;
  if (temp < clearTemp) {
    LOG_LINE(message::kStepRelease, name.c_str(), prevTemp, temp, steps);
    deactivate();
    undecided = false;
    return 0;
  }

  const int32_t step = stepFor(temp, steps);
  const int32_t extra = stuckLevel(step);
  const int32_t newSteps = std::max(0, wrapAdd(wrapAdd(step, static_cast<int32_t>(steps)), extra));
  if (newSteps != static_cast<int32_t>(steps)) {
    status = static_cast<uint32_t>(newSteps);
    const int32_t request = requestFor(newSteps);
    LOG_LINE(message::kStepRequest, name.c_str(), prevTemp, temp, request);
    device->deviceControl(*this, request);
    device->statusApply();
    tickCount = 0;
    hasPosted = true;
  }
  prevTemp = temp;
  undecided = false;
  return 0;
}

void SS::withdrawIfAsleep() {
  // Also at step 0: whoever put the item to sleep may have released the device before the post.
  if (hasPosted && !active) release();
  hasPosted = false;
}

void SS::activate() {
  Algo::activate();
}

void SS::deactivate() {
  // Asleep first, so that a `decision` that is just posting is seen asleep when its thread looks
  // again.
  fallAsleep();
  release();
}

int32_t SS::stepFor(int32_t temp, uint32_t steps) const {
  if (steps != 0) return temp / 1000 - prevTemp / 1000;
  return temp / 1000 - startTemp / 1000 + 1;
}

int32_t SS::stuckLevel(int32_t step) {
  if (timeTickTrigger == 0) return 0;
  if (step != 0 || device->currentLevel > devicePerfFloor) {
    tickCount = 0;
    return 0;
  }
  // Counts on past the trigger, so that one run of equal degrees adds one level only.
  return ++tickCount == timeTickTrigger ? 1 : 0;
}

int32_t SS::requestFor(int32_t steps) const {
  const int32_t index = wrapSubtract(wrapAdd(steps, startLevel), 1);
  const auto length = static_cast<uint32_t>(device->levelTable.size());
  // As an unsigned number a negative index is past the end too and gives the last entry, on
  // purpose.
  const bool inside = static_cast<uint32_t>(index) < length;
  return std::min(inside ? index : static_cast<int32_t>(length - 1), devicePerfFloor);
}

void SS::release() {
  status = 0;
  tickCount = 0;
  device->withdraw(*this);
  device->statusApply();
}
