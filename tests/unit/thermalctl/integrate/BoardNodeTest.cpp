#include "integrate/BoardNode.h"

#include <gtest/gtest.h>

#include "device/CameraDevice.h"

namespace {

constexpr char kNode[] = "/sys/devices/platform/a/node";

BoardNodes nodesIn(const std::string& text) {
  static Environment environment;
  environment = readEnvironment("board.env", text);
  return nodesOf(environment);
}

std::string sensor(const std::string& path) {
  return "[cpu]\ntype real\nnode_path " + path + "\n\n";
}

std::string device(const std::string& kind, const std::string& table,
                   const std::string& path = kNode, const std::string& name = "knob") {
  return "[" + name + "]\ntype " + kind + "\nnode_path " + path + "\nlevel_table " + table + "\n\n";
}

// What the only device is given at level 0.
std::optional<std::string> levelZero(const std::string& kind, const std::string& table) {
  return nodesIn(device(kind, table)).nodes.at(0).atLevelZero;
}

} // namespace

TEST(BoardNodeTest, KnowsWhatIsReadAndWhatIsWritten) {
  const BoardNodes board =
      nodesIn(sensor("/sys/devices/a/temp") + device("charger", "3 2", "/dev/charger"));
  ASSERT_EQ(board.nodes.size(), 2u);
  EXPECT_FALSE(board.nodes[0].isWritten);
  EXPECT_EQ(board.nodes[0].place, BoardNode::kSys);
  EXPECT_FALSE(board.nodes[0].atLevelZero);
  EXPECT_TRUE(board.nodes[1].isWritten);
  EXPECT_EQ(board.nodes[1].place, BoardNode::kDev);
  EXPECT_TRUE(board.findings.empty());
}

TEST(BoardNodeTest, HasAtLevelZeroWhatTheDaemonWouldWrite) {
  EXPECT_EQ(levelZero("gpufreq", "850 700"), "850");
  EXPECT_EQ(levelZero("gpufreq", "0850kHz 700"), "850");
  EXPECT_EQ(levelZero("gpufreq", "0xFF 0x10"), "ff");
  EXPECT_EQ(levelZero("gpufreq", "\"no limit\" \"half\""), "no limit");
  EXPECT_EQ(levelZero("cpufreq", "1 0"), std::string("\1\0\0\0", 4));
}

TEST(BoardNodeTest, HasNothingWhereTheDaemonWritesNothing) {
  EXPECT_EQ(levelZero("gpufreq", "0b11 0b01"), std::nullopt);
  EXPECT_EQ(nodesIn("[a]\ntype gpufreq\nnode_path /sys/devices/a\n").nodes.at(0).atLevelZero,
            std::nullopt);
  EXPECT_EQ(levelZero("report", "1 2"), std::nullopt);
}

TEST(BoardNodeTest, PutsWhatIsNoTextIntoAFile) {
  EXPECT_EQ(nodesIn(device("cpufreq", "1 0")).nodes.at(0).levelZeroFile,
            "talmor-thermal-knob.level0");
  EXPECT_EQ(nodesIn(device("gpufreq", "1 0")).nodes.at(0).levelZeroFile, "");
  EXPECT_EQ(nodesIn(device("gpufreq", "\"\xff\" \"1\"")).nodes.at(0).levelZeroFile,
            "talmor-thermal-knob.level0");
}

TEST(BoardNodeTest, GivesEachDeviceAFileOfItsOwn) {
  const BoardNodes board = nodesIn(device("cpufreq", "1 0", "/sys/devices/a", "a/b") +
                                   device("cpufreq", "1 0", "/sys/devices/b", "a*b"));
  ASSERT_EQ(board.nodes.size(), 2u);
  EXPECT_EQ(board.nodes[0].levelZeroFile, "talmor-thermal-a_b.level0");
  EXPECT_EQ(board.nodes[1].levelZeroFile, "talmor-thermal-a_b-2.level0");
}

TEST(BoardNodeTest, ACameraHasItsSwitchAsWell) {
  const BoardNodes board = nodesIn(device("camera", "30 24"));
  ASSERT_EQ(board.nodes.size(), 2u);
  EXPECT_EQ(board.nodes[0].atLevelZero, "30");
  EXPECT_EQ(board.nodes[1].path, CameraDevice::kFixedFrameRateNode);
  EXPECT_EQ(board.nodes[1].atLevelZero, "0");
}

TEST(BoardNodeTest, LeavesOutWhatTheDaemonDrops) {
  EXPECT_TRUE(nodesIn("[a]\ntype fan\nnode_path /sys/devices/a\nlevel_table 1 2\n").nodes.empty());
  const BoardNodes board = nodesIn(device("gpufreq", "1 2", "/sys/devices/old") +
                                   device("gpufreq", "3 4", "/sys/devices/new"));
  ASSERT_EQ(board.nodes.size(), 1u);
  EXPECT_EQ(board.nodes[0].path, "/sys/devices/new");
}

TEST(BoardNodeTest, ANodeOfTwoDevicesStandsThereOnce) {
  const BoardNodes board =
      nodesIn(device("gpufreq", "1 2", kNode, "a") + device("charger", "3 4", kNode, "b"));
  EXPECT_EQ(board.nodes.size(), 1u);
  EXPECT_TRUE(board.findings.empty());
}

TEST(BoardNodeTest, ANodeThatIsReadAndWrittenIsAnErrorAtTheSecondPlace) {
  const BoardNodes board = nodesIn(sensor(kNode) + device("gpufreq", "1 2", kNode));
  ASSERT_EQ(board.findings.size(), 1u);
  EXPECT_EQ(board.findings[0].severity, Severity::kError);
  EXPECT_EQ(board.findings[0].at.line, 7);
  EXPECT_EQ(board.findings[0].at.column, 11);
}

TEST(BoardNodeTest, RefusesAPathThatNoLabelCanBeFor) {
  for (const char* path :
       {"/proc/temp", "temp", "/data/vendor/other/log", "/sys/devices/../temp", "/sys//temp",
        "/sys/devices/a/", "/sys/devices/a$b", "/sys/devices/a*", "/sys/devices/\"a\"",
        "/sys/devices/\xc3\xa4", "/sys/kernel/debug/temp", "/sys/kernel/tracing/temp"}) {
    const BoardNodes board = nodesIn(sensor(path));
    EXPECT_TRUE(board.nodes.empty()) << path;
    ASSERT_EQ(board.findings.size(), 1u) << path;
    EXPECT_EQ(board.findings[0].severity, Severity::kError) << path;
    EXPECT_EQ(board.findings[0].length, std::string(path).size()) << path;
    EXPECT_NE(board.findings[0].hint, "") << path;
  }
}

TEST(BoardNodeTest, DoubtsAPathWhoseLabelMayMissTheNode) {
  for (const char* path : {"/sys/class/thermal/x/temp", "/sys/bus/iio/devices/a/in_temp_raw",
                           "/sys/devices/virtual/thermal/thermal_zone3/temp",
                           "/sys/devices/platform/a/hwmon/hwmon12/temp1_input"}) {
    const BoardNodes board = nodesIn(sensor(path));
    EXPECT_EQ(board.nodes.size(), 1u) << path;
    ASSERT_EQ(board.findings.size(), 1u) << path;
    EXPECT_EQ(board.findings[0].severity, Severity::kWarning) << path;
  }
  EXPECT_TRUE(nodesIn(sensor("/sys/devices/a/thermal_zones/temp")).findings.empty());
  EXPECT_TRUE(nodesIn(sensor("/sys/devices/classes/temp")).findings.empty());
}

TEST(BoardNodeTest, SaysWhyAPathCanHaveNoLabelAndWhatToDo) {
  struct {
    const char* path;
    const char* message;
    const char* hint;
  } const cases[] = {
      {"/proc/temp", "no label is for a node here: it would be closed to the daemon",
       "a node stands below /sys or /dev, a report below /data/vendor/thermal"},
      {"/sys//temp", "this path cannot be told to init and to the policy as it is",
       "write it with letters, digits and _-.,:@+=~% between single slashes, without '.' and '..'"},
      {"/sys/kernel/debug/temp",
       "a user build has no such node: it belongs to a file system for debugging",
       "have the driver give the node a place below /sys/devices"},
      {"/sys/class/a/temp",
       "this path leads through a symbolic link, and a label holds for the real one",
       "write what 'adb shell realpath' prints for it"},
      {"/sys/devices/iio:device0/raw",
       "the number in this path is given as drivers come up, and may be another one with the next "
       "kernel",
       "see 'Unstable zone numbers' in docs/android.md"},
  };
  for (const auto& each : cases) {
    const BoardNodes board = nodesIn(sensor(each.path));
    ASSERT_EQ(board.findings.size(), 1U) << each.path;
    EXPECT_EQ(board.findings[0].message, each.message);
    EXPECT_EQ(board.findings[0].hint, each.hint);
    EXPECT_EQ(board.findings[0].rule, "integrate");
    EXPECT_EQ(board.findings[0].file, "board.env");
  }
}

TEST(BoardNodeTest, EverySignThatMeansNothingToInitMayBeInAPath) {
  const BoardNodes board = nodesIn(sensor("/sys/devices/a_b-c.d,e:f@0+1=2~3%4/Temp9"));
  EXPECT_EQ(board.nodes.size(), 1U);
  EXPECT_TRUE(board.findings.empty());
}

TEST(BoardNodeTest, KnowsTheDaemonsOwnFolder) {
  const BoardNodes board = nodesIn("[log]\ntype report\nnode_path /data/vendor/thermal/log\n");
  ASSERT_EQ(board.nodes.size(), 1U);
  EXPECT_EQ(board.nodes[0].place, BoardNode::kData);
  EXPECT_TRUE(board.nodes[0].isWritten);
  EXPECT_FALSE(board.nodes[0].atLevelZero);
  EXPECT_EQ(board.nodes[0].path, "/data/vendor/thermal/log");
}

TEST(BoardNodeTest, DoubtsALinkWhereverTheKernelHasOnes) {
  for (const char* path : {"/sys/block/a/x", "/sys/dev/a/x", "/sys/module/a/drivers/x",
                           "/sys/devices/cooling_device12/x", "/sys/devices/hwmon3"})
    EXPECT_EQ(nodesIn(sensor(path)).findings.size(), 1U) << path;
  for (const char* path : {"/sys/module/a/parameters/x", "/sys/devices/class/x", "/dev/block/a",
                           "/sys/devices/hwmon/x", "/sys/devices/hwmon3a/x"})
    EXPECT_TRUE(nodesIn(sensor(path)).findings.empty()) << path;
}

TEST(BoardNodeTest, ANodeThatIsSharedIsDoubtedOnce) {
  const std::string path = "/sys/class/a/x";
  EXPECT_EQ(nodesIn(device("gpufreq", "1 2", path, "a") + device("gpufreq", "1 2", path, "b"))
                .findings.size(),
            1U);
}

TEST(BoardNodeTest, AllCamerasHaveOneSwitch) {
  const BoardNodes board = nodesIn(device("camera", "30 24", "/sys/devices/a", "front") +
                                   device("camera", "30 15", "/sys/devices/b", "back"));
  ASSERT_EQ(board.nodes.size(), 3U);
  EXPECT_EQ(board.nodes[1].path, CameraDevice::kFixedFrameRateNode);
  EXPECT_EQ(board.nodes[2].path, "/sys/devices/b");
  EXPECT_TRUE(board.findings.empty());
}

TEST(BoardNodeTest, WithoutANodeThereIsNone) {
  EXPECT_TRUE(nodesIn("[cpu]\ntype real\n\n[a]\ntype gpufreq\nlevel_table 1 2\n").nodes.empty());
  const BoardNodes board = nodesIn("[a]\ntype camera\nlevel_table 30 24\n");
  ASSERT_EQ(board.nodes.size(), 1U);
  EXPECT_EQ(board.nodes[0].path, CameraDevice::kFixedFrameRateNode);
}
