#include "device/Device.h"

#include <gtest/gtest.h>

#include "support/RecordedLog.h"
#include "support/SysfsDir.h"

namespace {

TEST(DeviceTest, WritesTheHighestOfAllRequests) {
  SysfsDir sysfs;
  Device gpu("gpu", sysfs.node("max_freq"), "integer", {"800", "650", "500"});
  gpu.deviceControl("A", 2);
  gpu.deviceControl("B", 1);
  gpu.statusApply();
  EXPECT_EQ(sysfs.read("max_freq"), "500");
  gpu.deviceControl("A", 0);
  gpu.statusApply();
  EXPECT_EQ(sysfs.read("max_freq"), "650");
}

} // namespace
