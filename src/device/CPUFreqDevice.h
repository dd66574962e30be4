#pragma once

#include "base/Int32.h"
#include "device/Device.h"

// The cap of a CPU cluster's frequency. Its driver takes the number of the table entry as 4 raw
// bytes in the processor's own order, whatever the type of the table.
class CPUFreqDevice : public Device {
public:
  using Device::Device;

  std::string output(int32_t level) const override {
    const int32_t value = parseInt32(entry(level));
    return {reinterpret_cast<const char*>(&value), sizeof value};
  }
};
