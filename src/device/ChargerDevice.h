#pragma once

#include "device/Device.h"

// Charging current or voltage. Behaves as the base device does.
class ChargerDevice : public Device {
public:
  using Device::Device;
};
