#pragma once

#include "device/Device.h"

// The camera's frame rate. Beside its own node it switches the image-signal processor's fixed frame
// rate: on when it is applied at level 0, off when it is applied to level 0, both when it stays
// there.
class CameraDevice : public Device {
public:
  // The switch, and what it holds as long as the camera is at level 0.
  static constexpr char kFixedFrameRateNode[] =
      "/sys/devices/platform/150c0000.talmor_is/debug/en_fixed_sensor_fps";
  static constexpr char kFixedFrameRateOff[] = "0";

  using Device::Device;
  void statusApply() override;
  std::string output(int32_t level) const override { return entry(level); }
};
