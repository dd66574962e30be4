#include "device/CPUFreqDevice.h"

#include <cstring>

#include <gtest/gtest.h>

#include "support/Fifo.h"
#include "support/FullDisk.h"
#include "support/LogSwitchedOff.h"
#include "support/RecordedLog.h"
#include "support/SysfsDir.h"

namespace {

using Lines = std::vector<std::string>;

std::string rawBytes(int32_t value) {
  char bytes[sizeof value];
  std::memcpy(bytes, &value, sizeof value);
  return {bytes, sizeof bytes};
}

std::string writtenByCpu(const std::string& type, const std::string& entry) {
  const SysfsDir sysfs;
  CPUFreqDevice cpu("cpu", sysfs.node("max_freq"), type, {"unused", entry});
  cpu.deviceControl("A", 1);
  cpu.statusApply();
  EXPECT_EQ(cpu.currentLevel, 1);
  return sysfs.read("max_freq");
}

TEST(CPUFreqDeviceTest, WritesTheNumberAsFourBytesTheLowestFirst) {
  EXPECT_EQ(writtenByCpu("integer", "1950000"), std::string("\x30\xC1\x1D\x00", 4));
}

TEST(CPUFreqDeviceTest, ReadsItsEntryAsADecimalNumber) {
  const struct {
    const char* entry;
    int32_t expected;
    const char* why;
  } cases[] = {
      {"0", 0, "zero is four zero bytes"},
      {"-2", -2, "a negative number"},
      {"800MHz", 800, "the digits at the start"},
      {"low", 0, "letters only"},
      {"", 0, "an empty entry"},
      {"0x10", 0, "no hexadecimal numbers"},
      {"2147483647", INT32_MAX, "the largest"},
      {"2147483648", INT32_MIN, "cut to 32 bits"},
  };
  for (const auto& c : cases)
    EXPECT_EQ(writtenByCpu("integer", c.entry), rawBytes(c.expected))
        << '"' << c.entry << "\": " << c.why;
}

TEST(CPUFreqDeviceTest, WritesTheSameBytesWhateverTheTypeOfItsTable) {
  for (const char* type : {"integer", "hex", "bin", "string", "any"})
    EXPECT_EQ(writtenByCpu(type, "1000"), rawBytes(1000)) << type;
}

TEST(CPUFreqDeviceTest, WritesOnlyWhenTheMergedLevelChanged) {
  const SysfsDir sysfs;
  CPUFreqDevice cpu("cpu", sysfs.node("max_freq"), "integer", {"3000", "2000", "1000"});
  cpu.statusApply();
  EXPECT_EQ(sysfs.read("max_freq"), "") << "level 0 is in force at the start";
  cpu.deviceControl("A", 2);
  cpu.deviceControl("B", 1);
  cpu.statusApply();
  EXPECT_EQ(sysfs.read("max_freq"), rawBytes(1000));
  sysfs.clear("max_freq");
  cpu.statusApply();
  EXPECT_EQ(sysfs.read("max_freq"), "") << "nothing new";
  cpu.deviceControl("A", 0);
  cpu.statusApply();
  EXPECT_EQ(sysfs.read("max_freq"), rawBytes(2000));
  cpu.deviceControl("B", -3);
  cpu.statusApply();
  EXPECT_EQ(sysfs.read("max_freq"), rawBytes(3000)) << "a negative request is level 0";
}

TEST(CPUFreqDeviceTest, ALevelPastTheTableIsTheLastEntry) {
  const SysfsDir sysfs;
  CPUFreqDevice cpu("cpu", sysfs.node("max_freq"), "integer", {"3000", "2000"});
  cpu.deviceControl("A", 2);
  cpu.statusApply();
  EXPECT_EQ(cpu.currentLevel, 1);
  EXPECT_EQ(sysfs.read("max_freq"), rawBytes(2000));
  sysfs.clear("max_freq");
  cpu.deviceControl("A", INT32_MAX);
  cpu.statusApply();
  EXPECT_EQ(sysfs.read("max_freq"), "");
}

TEST(CPUFreqDeviceTest, WithoutTheMaximumRuleTheLevelIsAlwaysZero) {
  const SysfsDir sysfs;
  CPUFreqDevice cpu("cpu", sysfs.node("max_freq"), "integer", {"3000", "2000"});
  cpu.useMax = false;
  cpu.deviceControl("A", 1);
  cpu.statusApply();
  EXPECT_EQ(cpu.currentLevel, 0);
  EXPECT_EQ(sysfs.read("max_freq"), "");
}

TEST(CPUFreqDeviceTest, AnEmptyLevelTableIsLoggedAtEveryApplication) {
  const SysfsDir sysfs;
  CPUFreqDevice cpu("cpu", sysfs.node("max_freq"), "integer", {});
  cpu.deviceControl("A", 1);
  const RecordedLog log;
  cpu.statusApply();
  cpu.statusApply();
  const std::string empty = "[TalmorThermal] [TalmorThermal] statusApply: Level Table is Empty\n";
  EXPECT_EQ(log.lines(), (Lines{empty, empty}));
  EXPECT_EQ(cpu.currentLevel, 0);
  const LogSwitchedOff off;
  cpu.statusApply();
  EXPECT_EQ(log.lines().size(), 2u);
}

TEST(CPUFreqDeviceTest, AfterOneRefusedWriteNoLaterOneReachesTheNode) {
  const SysfsDir sysfs;
  CPUFreqDevice cpu("cpu", sysfs.node("max_freq"), "integer", {"3000", "2000", "1000"});
  cpu.deviceControl("A", 1);
  {
    const FullDisk full;
    cpu.statusApply();
  }
  cpu.deviceControl("A", 2);
  cpu.statusApply();
  EXPECT_EQ(cpu.currentLevel, 2);
  EXPECT_EQ(sysfs.read("max_freq"), "");
}

TEST(CPUFreqDeviceTest, ANodeThatFailsIsSilentWhileItsLevelsGoOn) {
  const SysfsDir sysfs;
  const Fifo fifo(sysfs.node("fifo"));
  for (const std::string& path : {sysfs.node("fifo"), std::string("/dev/full")}) {
    const RecordedLog log;
    CPUFreqDevice cpu("cpu", path, "integer", {"3000", "2000"});
    cpu.deviceControl("A", 1);
    cpu.statusApply();
    EXPECT_EQ(cpu.currentLevel, 1) << path;
    EXPECT_TRUE(cpu.node.fail()) << path;
    EXPECT_EQ(log.lines(), Lines{}) << path;
  }
  EXPECT_EQ(fifo.take(), "") << "the failed seek keeps the bytes back";
}

} // namespace
