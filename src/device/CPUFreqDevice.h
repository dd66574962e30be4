#pragma once

#include "device/Device.h"

// The cap of a CPU cluster's frequency. Its driver takes the number of the table entry as 4 raw
// bytes in the processor's own order, whatever the type of the table.
class CPUFreqDevice : public Device {
public:
  using Device::Device;
  void statusApply() override;
};
