#pragma once

#include "device/Device.h"

// A report file instead of a cooling knob: one line, with the local time, for every requester that
// posts 1 (over its thresholds) or 0 (under them again). A reported request is set to 2, so that
// each post is reported once.
//
// Shape:  lines are appended in sequence; the file starts empty with every run of the daemon.
class ReportDevice : public Device {
public:
  using Device::Device;
  void statusApply() override;

  // Always counts, also where a namesake goes on: every alarm that was reported gets its end.
  void withdraw(const Requester& requester) override;
};
