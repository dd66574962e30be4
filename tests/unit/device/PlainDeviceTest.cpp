#include <typeinfo>

#include <gtest/gtest.h>

#include "device/BacklightDevice.h"
#include "device/CPUHotplugDevice.h"
#include "device/ChargerDevice.h"
#include "device/GPUFreqDevice.h"
#include "support/RecordedLog.h"
#include "support/SysfsDir.h"

namespace {

// The kinds that behave as the base device does.
template <typename Kind> class PlainDeviceTest : public testing::Test {
protected:
  SysfsDir sysfs;
};

struct KindName {
  // GoogleTest asks for it by this name. NOLINTNEXTLINE(readability-identifier-naming)
  template <typename Kind> static std::string GetName(int) {
    if (std::is_same_v<Kind, BacklightDevice>) return "BacklightDevice";
    if (std::is_same_v<Kind, ChargerDevice>) return "ChargerDevice";
    if (std::is_same_v<Kind, CPUHotplugDevice>) return "CPUHotplugDevice";
    return "GPUFreqDevice";
  }
};

using PlainKinds = testing::Types<BacklightDevice, ChargerDevice, CPUHotplugDevice, GPUFreqDevice>;
TYPED_TEST_SUITE(PlainDeviceTest, PlainKinds, KindName);

TYPED_TEST(PlainDeviceTest, IsAClassOfItsOwn) {
  const TypeParam kind("knob", this->sysfs.node("node"), "integer", {"3", "2"});
  const Device& device = kind;
  EXPECT_TRUE(typeid(device) == typeid(TypeParam));
  EXPECT_TRUE(typeid(device) != typeid(Device));
}

TYPED_TEST(PlainDeviceTest, WritesTheEntryOfTheHighestRequestByItsType) {
  const struct {
    const char* type;
    const char* entry;
    const char* expected;
  } cases[] = {
      {"integer", "2", "2"}, {"hex", "0x1F", "1f"}, {"string", "off", "off"}, {"bin", "0b1", ""}};
  for (const auto& c : cases) {
    TypeParam kind("knob", this->sysfs.node("node"), c.type, {"unused", "unused", c.entry});
    Device& device = kind;
    device.deviceControl("A", 2);
    device.deviceControl("B", 1);
    device.statusApply();
    EXPECT_EQ(this->sysfs.read("node"), c.expected) << c.type;
    EXPECT_EQ(device.currentLevel, 2);
    this->sysfs.clear("node");
    device.statusApply();
    EXPECT_EQ(this->sysfs.read("node"), "") << c.type << ", applied again";
  }
}

TYPED_TEST(PlainDeviceTest, LogsWhatTheBaseDeviceLogs) {
  const RecordedLog log;
  TypeParam kind("knob", this->sysfs.node("no/such/folder"), "integer", {});
  kind.statusApply();
  EXPECT_EQ(log.lines(),
            (std::vector<std::string>{
                "[TalmorThermal] [TalmorThermal] Device [knob] open failed\n",
                "[TalmorThermal] [TalmorThermal] statusApply: Level Table is Empty\n"}));
}

} // namespace
