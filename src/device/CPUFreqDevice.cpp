#include "device/CPUFreqDevice.h"

#include "base/Int32.h"

void CPUFreqDevice::statusApply() {
  const std::lock_guard<std::mutex> guard(lock);
  const std::optional<int32_t> level = mergedLevel();
  if (!level || *level == currentLevel) return;
  const int32_t value = parseInt32(entry(*level));
  writeNode({reinterpret_cast<const char*>(&value), sizeof value});
  currentLevel = *level;
}
