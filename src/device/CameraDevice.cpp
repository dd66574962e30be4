#include "device/CameraDevice.h"

namespace {

// Opened anew for every write, as its driver expects; a node that is not there is skipped without a
// word.
void writeFixedFrameRate(const char* value) {
  std::ofstream(CameraDevice::kFixedFrameRateNode) << value;
}

} // namespace

void CameraDevice::statusApply() {
  const std::lock_guard<std::mutex> guard(lock);
  const std::optional<int32_t> level = mergedLevel();
  if (!level) return;
  // Two tests on their own, before the test for a change: staying at level 0 writes 1 and then 0.
  if (currentLevel == 0) writeFixedFrameRate("1");
  if (*level == 0) writeFixedFrameRate(kFixedFrameRateOff);
  if (*level == currentLevel) return;
  writeNode(output(*level));
  currentLevel = *level;
}
