#pragma once

#include "device/Device.h"

// The number of CPU cores that may be online. Behaves as the base device does.
class CPUHotplugDevice : public Device {
public:
  using Device::Device;
};
