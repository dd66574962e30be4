#pragma once

#include "device/Device.h"

// The brightness of the display. Behaves as the base device does.
class BacklightDevice : public Device {
public:
  using Device::Device;
};
