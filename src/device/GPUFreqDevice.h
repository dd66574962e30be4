#pragma once

#include "device/Device.h"

// The cap of the GPU's frequency. Behaves as the base device does.
class GPUFreqDevice : public Device {
public:
  using Device::Device;
};
