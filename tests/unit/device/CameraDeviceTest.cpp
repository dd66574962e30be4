#include "device/CameraDevice.h"

#include <gtest/gtest.h>

#include "support/Fifo.h"
#include "support/FrameRateNode.h"
#include "support/FullDisk.h"
#include "support/LogSwitchedOff.h"
#include "support/RecordedLog.h"
#include "support/SysfsDir.h"

namespace {

using Lines = std::vector<std::string>;

// A camera, with its own node in a temporary directory and the frame-rate node of
// `frameRateWrites`.
class CameraDeviceTest : public testing::Test {
protected:
  // Lets a new camera take one level after the other and expects what its two nodes hold then.
  void expectWrites(const std::vector<int32_t>& levels, const std::string& frameRate,
                    const std::string& own,
                    const std::vector<std::string>& table = {"30", "24", "15"}) {
    const std::optional<std::string> writes = frameRateWrites([&] {
      CameraDevice camera("camera", sysfs.node("fps"), "integer", table);
      for (const int32_t level : levels) {
        sysfs.clear("fps");
        camera.deviceControl("A", level);
        camera.statusApply();
      }
    });
    if (!writes) GTEST_SKIP() << "no mount namespace here for the frame-rate node";
    EXPECT_EQ(*writes, frameRate);
    EXPECT_EQ(sysfs.read("fps"), own);
  }

  SysfsDir sysfs;
};

TEST_F(CameraDeviceTest, LeavingLevelZeroFixesTheFrameRateAndWritesTheNewEntry) {
  expectWrites({2}, "1", "15");
}

TEST_F(CameraDeviceTest, ReturningToLevelZeroFreesTheFrameRateAndWritesEntryZero) {
  expectWrites({2, 0}, "10", "30");
}

TEST_F(CameraDeviceTest, AppliedAtLevelZeroFixesAndFreesTheFrameRateAndLeavesItsOwnNodeAlone) {
  expectWrites({0}, "10", "");
}

TEST_F(CameraDeviceTest, EveryApplicationAtLevelZeroDoesSo) {
  expectWrites({0, 0, -1}, "101010", "");
}

TEST_F(CameraDeviceTest, MovingBetweenTwoLevelsLeavesTheFrameRateAlone) {
  expectWrites({1, 2}, "1", "15");
}

TEST_F(CameraDeviceTest, StayingAtALevelWritesNothing) {
  expectWrites({2, 2}, "1", "");
}

TEST_F(CameraDeviceTest, ALevelPastTheTableIsTheLastEntry) {
  expectWrites({3}, "1", "15");
  expectWrites({2, INT32_MAX}, "1", "");
}

TEST_F(CameraDeviceTest, ATableOfOneEntryStaysAtLevelZero) {
  expectWrites({1}, "10", "", {"30"});
}

TEST_F(CameraDeviceTest, WithoutALevelTableTheFrameRateIsLeftAlone) {
  expectWrites({1}, "", "", {});
}

TEST_F(CameraDeviceTest, WritesItsEntryAsTextWhateverItsType) {
  for (const char* type : {"integer", "hex", "bin", "string", "any"}) {
    CameraDevice camera("camera", sysfs.node("fps"), type, {"30", "0x1F fps"});
    camera.deviceControl("A", 1);
    camera.statusApply();
    EXPECT_EQ(camera.currentLevel, 1);
    EXPECT_EQ(sysfs.read("fps"), "0x1F fps") << type;
  }
}

TEST_F(CameraDeviceTest, WritesTheHighestOfAllRequestsFromTheStartOfItsNode) {
  CameraDevice camera("camera", sysfs.node("fps"), "integer", {"30", "24", "5"});
  camera.deviceControl("A", 1);
  camera.statusApply();
  EXPECT_EQ(sysfs.read("fps"), "24");
  camera.deviceControl("B", 2);
  camera.statusApply();
  EXPECT_EQ(sysfs.read("fps"), "54");
  camera.useMax = false;
  camera.statusApply();
  EXPECT_EQ(camera.currentLevel, 0);
  EXPECT_EQ(sysfs.read("fps"), "30");
}

TEST_F(CameraDeviceTest, WithoutAFrameRateNodeItGoesOnWithoutAWord) {
  const RecordedLog log;
  CameraDevice camera("camera", sysfs.node("fps"), "integer", {"30", "24"});
  camera.statusApply();
  camera.deviceControl("A", 1);
  camera.statusApply();
  EXPECT_EQ(camera.currentLevel, 1);
  EXPECT_EQ(sysfs.read("fps"), "24");
  EXPECT_EQ(log.lines(), Lines{});
}

TEST_F(CameraDeviceTest, AnEmptyLevelTableIsLoggedAtEveryApplication) {
  CameraDevice camera("camera", sysfs.node("fps"), "integer", {});
  camera.deviceControl("A", 1);
  const RecordedLog log;
  camera.statusApply();
  camera.statusApply();
  const std::string empty = "[TalmorThermal] [TalmorThermal] statusApply: Level Table is Empty\n";
  EXPECT_EQ(log.lines(), (Lines{empty, empty}));
  EXPECT_EQ(camera.currentLevel, 0);
  EXPECT_EQ(sysfs.read("fps"), "");
  const LogSwitchedOff off;
  camera.statusApply();
  EXPECT_EQ(log.lines().size(), 2u);
}

TEST_F(CameraDeviceTest, AfterOneRefusedWriteNoLaterOneReachesTheNode) {
  CameraDevice camera("camera", sysfs.node("fps"), "integer", {"30", "24", "15"});
  camera.deviceControl("A", 1);
  {
    const FullDisk full;
    camera.statusApply();
  }
  camera.deviceControl("A", 2);
  camera.statusApply();
  EXPECT_EQ(camera.currentLevel, 2);
  EXPECT_EQ(sysfs.read("fps"), "");
}

TEST_F(CameraDeviceTest, ANodeThatFailsIsSilentWhileItsLevelsGoOn) {
  const Fifo fifo(sysfs.node("fifo"));
  for (const std::string& path : {sysfs.node("fifo"), std::string("/dev/full")}) {
    const RecordedLog log;
    CameraDevice camera("camera", path, "integer", {"30", "24"});
    camera.deviceControl("A", 1);
    camera.statusApply();
    EXPECT_EQ(camera.currentLevel, 1) << path;
    EXPECT_TRUE(camera.node.fail()) << path;
    EXPECT_EQ(log.lines(), Lines{}) << path;
  }
  EXPECT_EQ(fifo.take(), "") << "the failed seek keeps the text back";
}

} // namespace
