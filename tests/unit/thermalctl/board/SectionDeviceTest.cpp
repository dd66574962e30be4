#include "board/SectionDevice.h"

#include <gtest/gtest.h>

#include "device/CPUFreqDevice.h"

namespace {

Environment readKnob(const std::string& section) {
  return readEnvironment("board.env", "[knob]\n" + section);
}

} // namespace

TEST(SectionDeviceTest, IsOfTheSectionsKindAndHasItsTable) {
  const Environment board = readKnob("type cpufreq\nlevel_table 20 10\n");
  const auto device = deviceOf(board.sections.front());
  EXPECT_NE(dynamic_cast<CPUFreqDevice*>(device.get()), nullptr);
  EXPECT_EQ(device->name, "knob");
  EXPECT_EQ(device->levelTable, (std::vector<std::string>{"20", "10"}));
}

TEST(SectionDeviceTest, WritesItsEntriesAsTheDaemonDoes) {
  const auto output = [](const std::string& table) {
    const Environment board = readKnob("type gpufreq\nlevel_table " + table + "\n");
    return deviceOf(board.sections.front())->output(0);
  };
  EXPECT_EQ(output("7x 1"), "7");
  EXPECT_EQ(output("0x1F 0x1"), "1f");
  EXPECT_EQ(output("\"a b\" \"c\""), "a b");
  EXPECT_EQ(output("0b1 0b0"), "");
}

TEST(SectionDeviceTest, OpensNoNode) {
  const Environment board = readKnob("type gpufreq\nnode_path /dev/null\nlevel_table 2 1\n");
  EXPECT_FALSE(deviceOf(board.sections.front())->node.is_open());
}
