#include "device/DeviceKinds.h"

#include "device/BacklightDevice.h"
#include "device/CPUFreqDevice.h"
#include "device/CPUHotplugDevice.h"
#include "device/CameraDevice.h"
#include "device/ChargerDevice.h"
#include "device/GPUFreqDevice.h"
#include "device/ReportDevice.h"

namespace {

template <typename Kind>
Device* make(const std::string& name, const std::string& nodePath, const std::string& type,
             const std::vector<std::string>& levelTable) {
  return new Kind(name, nodePath, type, levelTable);
}

} // namespace

const std::vector<DeviceKind>& deviceKinds() {
  static const std::vector<DeviceKind> kinds = {
      {"camera", make<CameraDevice>},         {"report", make<ReportDevice>},
      {"charger", make<ChargerDevice>},       {"cpufreq", make<CPUFreqDevice>},
      {"gpufreq", make<GPUFreqDevice>},       {"backlight", make<BacklightDevice>},
      {"cpuhotplug", make<CPUHotplugDevice>},
  };
  return kinds;
}

DeviceMaker deviceMaker(const std::string& kind) {
  for (const DeviceKind& each : deviceKinds())
    if (each.word == kind) return each.make;
  return nullptr;
}
