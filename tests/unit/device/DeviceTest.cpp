#include "device/Device.h"

#include <functional>
#include <future>
#include <memory>
#include <thread>
#include <type_traits>

#include <gtest/gtest.h>

#include "device/CPUFreqDevice.h"
#include "device/CameraDevice.h"
#include "device/ReportDevice.h"
#include "support/Eventually.h"
#include "support/Fifo.h"
#include "support/FullDisk.h"
#include "support/LogSwitchedOff.h"
#include "support/RecordedLog.h"
#include "support/SysfsDir.h"

namespace {

using Lines = std::vector<std::string>;

// What a node holds after a device of the given type has moved to `entry`.
std::string writtenFor(const std::string& type, const std::string& entry) {
  const SysfsDir sysfs;
  Device device("gpu", sysfs.node("max_freq"), type, {"unused", entry});
  device.deviceControl("A", 1);
  device.statusApply();
  EXPECT_EQ(device.currentLevel, 1);
  return sysfs.read("max_freq");
}

TEST(DeviceTest, KeepsWhatItIsMadeOfAndStartsAtLevelZeroWithoutRequests) {
  const SysfsDir sysfs;
  const Device device("gpu", sysfs.node("max_freq"), "integer", {"800", "650"});
  EXPECT_EQ(device.name, "gpu");
  EXPECT_EQ(device.nodePath, sysfs.node("max_freq"));
  EXPECT_EQ(device.type, "integer");
  EXPECT_EQ(device.levelTable, (Lines{"800", "650"}));
  EXPECT_EQ(device.currentLevel, 0);
  EXPECT_TRUE(device.requests.empty());
  EXPECT_TRUE(device.useMax);
  EXPECT_TRUE(device.node.is_open());
  static_assert(std::is_same_v<decltype(device.currentLevel), std::atomic<int32_t>>,
                "read by algorithms without the lock");
}

TEST(DeviceTest, EmptiesItsNodeWhenItIsMade) {
  const SysfsDir sysfs;
  const Device device("gpu", sysfs.write("max_freq", "old"), "integer", {"800"});
  EXPECT_EQ(sysfs.read("max_freq"), "");
}

TEST(DeviceTest, MakesANodeThatIsNotThere) {
  const SysfsDir sysfs;
  const Device device("gpu", sysfs.node("max_freq"), "integer", {"800"});
  EXPECT_TRUE(sysfs.exists("max_freq"));
}

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

TEST(DeviceTest, APostWritesNothingUntilItIsApplied) {
  const SysfsDir sysfs;
  Device gpu("gpu", sysfs.node("max_freq"), "integer", {"800", "650"});
  EXPECT_EQ(gpu.deviceControl("A", 1), 0);
  EXPECT_EQ(sysfs.read("max_freq"), "");
  EXPECT_EQ(gpu.currentLevel, 0);
  gpu.statusApply();
  EXPECT_EQ(sysfs.read("max_freq"), "650");
  EXPECT_EQ(gpu.currentLevel, 1);
}

TEST(DeviceTest, KeepsOneRequestPerRequesterAndAWithdrawnOneAsZero) {
  const SysfsDir sysfs;
  Device gpu("gpu", sysfs.node("max_freq"), "integer", {"800", "650"});
  gpu.deviceControl("B", 1);
  gpu.deviceControl("A", 1);
  gpu.deviceControl("B", -7);
  gpu.deviceControl("A", 0);
  gpu.statusApply();
  EXPECT_EQ(gpu.requests, (std::map<std::string, int32_t>{{"A", 0}, {"B", -7}}));
}

TEST(DeviceTest, NeverWritesLevelZeroFirst) {
  const SysfsDir sysfs;
  Device gpu("gpu", sysfs.node("max_freq"), "integer", {"800", "650"});
  gpu.statusApply();
  EXPECT_EQ(sysfs.read("max_freq"), "") << "no request at all";
  gpu.deviceControl("A", 0);
  gpu.statusApply();
  EXPECT_EQ(sysfs.read("max_freq"), "") << "a request of level 0";
}

TEST(DeviceTest, WritesLevelZeroWhenItReturnsToIt) {
  const SysfsDir sysfs;
  Device gpu("gpu", sysfs.node("max_freq"), "integer", {"800", "650"});
  gpu.deviceControl("A", 1);
  gpu.statusApply();
  gpu.deviceControl("A", 0);
  gpu.statusApply();
  EXPECT_EQ(sysfs.read("max_freq"), "800");
  EXPECT_EQ(gpu.currentLevel, 0);
}

TEST(DeviceTest, AppliedTwiceWithoutANewRequestWritesOnce) {
  const SysfsDir sysfs;
  Device gpu("gpu", sysfs.node("max_freq"), "integer", {"800", "650"});
  gpu.deviceControl("A", 1);
  gpu.statusApply();
  sysfs.clear("max_freq");
  gpu.statusApply();
  EXPECT_EQ(sysfs.read("max_freq"), "");
}

TEST(DeviceTest, WritesNothingWhenTheMergedLevelStaysTheSame) {
  const SysfsDir sysfs;
  Device gpu("gpu", sysfs.node("max_freq"), "integer", {"800", "650"});
  gpu.deviceControl("A", 1);
  gpu.statusApply();
  sysfs.clear("max_freq");
  gpu.deviceControl("B", 1);
  gpu.statusApply();
  gpu.deviceControl("A", 0);
  gpu.statusApply();
  EXPECT_EQ(sysfs.read("max_freq"), "");
}

TEST(DeviceTest, MergesRequestsIntoALevelInsideItsTable) {
  const struct {
    std::vector<int32_t> requests;
    int32_t expected;
    const char* why;
  } cases[] = {
      {{}, 0, "no request"},
      {{0}, 0, "a request of level 0"},
      {{-1}, 0, "a negative request alone"},
      {{INT32_MIN}, 0, "the most negative one"},
      {{-1, 1}, 1, "a negative request beside a positive one"},
      {{1, 0}, 1, "the first is the highest"},
      {{0, 1, 2, 1}, 2, "one in the middle is the highest"},
      {{2}, 2, "one below the last entry"},
      {{3}, 3, "the last entry"},
      {{4}, 3, "one past the last entry"},
      {{INT32_MAX}, 3, "far past the last entry"},
      {{INT32_MAX, INT32_MIN}, 3, "both extremes"},
  };
  const SysfsDir sysfs;
  for (const auto& c : cases) {
    Device gpu("gpu", sysfs.node("max_freq"), "integer", {"800", "650", "500", "350"});
    for (size_t i = 0; i < c.requests.size(); ++i)
      gpu.deviceControl(std::to_string(i), c.requests[i]);
    gpu.statusApply();
    EXPECT_EQ(gpu.currentLevel, c.expected) << c.why;
    EXPECT_EQ(sysfs.read("max_freq"),
              c.expected == 0 ? "" : gpu.levelTable[static_cast<size_t>(c.expected)])
        << c.why;
  }
}

TEST(DeviceTest, ALevelPastTheTableIsTheLastEntryBeforeItIsComparedWithTheLevelInForce) {
  const SysfsDir sysfs;
  Device gpu("gpu", sysfs.node("max_freq"), "integer", {"800", "650"});
  gpu.deviceControl("A", 1);
  gpu.statusApply();
  sysfs.clear("max_freq");
  gpu.deviceControl("A", 9);
  gpu.statusApply();
  EXPECT_EQ(sysfs.read("max_freq"), "");
}

TEST(DeviceTest, ATableOfOneEntryHasNoLevelToMoveTo) {
  const SysfsDir sysfs;
  Device gpu("gpu", sysfs.node("max_freq"), "integer", {"800"});
  gpu.deviceControl("A", 1);
  gpu.statusApply();
  EXPECT_EQ(gpu.currentLevel, 0);
  EXPECT_EQ(sysfs.read("max_freq"), "");
}

TEST(DeviceTest, WithoutTheMaximumRuleTheLevelIsAlwaysZero) {
  const SysfsDir sysfs;
  Device gpu("gpu", sysfs.node("max_freq"), "integer", {"800", "650"});
  gpu.deviceControl("A", 1);
  gpu.statusApply();
  gpu.useMax = false;
  gpu.statusApply();
  EXPECT_EQ(gpu.currentLevel, 0);
  EXPECT_EQ(sysfs.read("max_freq"), "800");
}

TEST(DeviceTest, WritesAHexEntryWithoutItsFirstTwoCharactersInLowerCase) {
  const struct {
    const char* entry;
    const char* expected;
    const char* why;
  } cases[] = {
      {"0x1F", "1f", "the prefix goes, the digits turn lower-case"},
      {"0x00aB", "ab", "leading zeros go"},
      {"0x0", "0", "zero"},
      {"1F", "0", "without a prefix the two digits are dropped, and nothing is 0"},
      {"1234", "34", "without a prefix the first two digits are dropped"},
      {"zz10", "10", "the two characters are not looked at"},
      {"0x10:2", "10", "the digits end at the first other character"},
      {"0xghi", "0", "no digits"},
      {"0x", "0", "nothing behind the prefix"},
      {"8", "0", "an entry of one character"},
      {"", "0", "an empty entry"},
      {"0x0x1f", "1f", "a second prefix is read as one"},
      {"0xffffffff", "ffffffff", "all of 32 bits"},
  };
  for (const auto& c : cases)
    EXPECT_EQ(writtenFor("hex", c.entry), c.expected) << '"' << c.entry << "\": " << c.why;
}

TEST(DeviceTest, WritesAnIntegerEntryAsADecimalNumber) {
  const struct {
    const char* entry;
    const char* expected;
    const char* why;
  } cases[] = {
      {"1800000", "1800000", "digits"},
      {"007", "7", "leading zeros go"},
      {"+5", "5", "a plus sign goes"},
      {"-1", "-1", "a minus sign stays"},
      {"800MHz", "800", "the digits at the start"},
      {"low", "0", "letters only"},
      {"", "0", "an empty entry"},
      {"4294967297", "1", "cut to 32 bits"},
  };
  for (const auto& c : cases)
    EXPECT_EQ(writtenFor("integer", c.entry), c.expected) << '"' << c.entry << "\": " << c.why;
}

TEST(DeviceTest, WritesAStringEntryUnchanged) {
  EXPECT_EQ(writtenFor("string", "low power"), "low power");
  EXPECT_EQ(writtenFor("string", "0x1F"), "0x1F");
  EXPECT_EQ(writtenFor("string", " 1 \n"), " 1 \n");
  EXPECT_EQ(writtenFor("string", ""), "");
}

TEST(DeviceTest, WithAnyOtherTypeTheLevelMovesButNothingIsWritten) {
  for (const char* type : {"bin", "", "Integer", "HEX", "strings", "gpufreq"})
    EXPECT_EQ(writtenFor(type, "0b11"), "") << type;
}

TEST(DeviceTest, WritesEveryTextFromTheStartOfTheNodeWithoutALineEnd) {
  const SysfsDir sysfs;
  Device gpu("gpu", sysfs.node("max_freq"), "integer", {"9", "100000", "75"});
  gpu.deviceControl("A", 1);
  gpu.statusApply();
  EXPECT_EQ(sysfs.read("max_freq"), "100000");
  gpu.deviceControl("A", 2);
  gpu.statusApply();
  EXPECT_EQ(sysfs.read("max_freq"), "750000") << "a plain file keeps what the shorter text leaves";
  gpu.deviceControl("A", 0);
  gpu.statusApply();
  EXPECT_EQ(sysfs.read("max_freq"), "950000");
}

TEST(DeviceTest, AnEmptyLevelTableIsLoggedAtEveryApplicationAndNothingElseHappens) {
  const SysfsDir sysfs;
  Device gpu("gpu", sysfs.node("max_freq"), "integer", {});
  const RecordedLog log;
  gpu.statusApply();
  gpu.deviceControl("A", 1);
  gpu.statusApply();
  const std::string empty = "[TalmorThermal] [TalmorThermal] statusApply: Level Table is Empty\n";
  EXPECT_EQ(log.lines(), (Lines{empty, empty}));
  EXPECT_EQ(gpu.currentLevel, 0);
  EXPECT_EQ(sysfs.read("max_freq"), "");
}

TEST(DeviceTest, ANodeThatCannotBeOpenedIsLoggedOnceAndItsLevelsGoOn) {
  const SysfsDir sysfs;
  for (const std::string& path : {sysfs.node("no/such/folder"), sysfs.node(""), std::string()}) {
    const RecordedLog log;
    Device gpu("gpu", path, "integer", {"800", "650"});
    gpu.deviceControl("A", 1);
    gpu.statusApply();
    EXPECT_EQ(gpu.currentLevel, 1);
    gpu.deviceControl("A", 0);
    gpu.statusApply();
    EXPECT_EQ(gpu.currentLevel, 0);
    EXPECT_EQ(log.lines(), (Lines{"[TalmorThermal] [TalmorThermal] Device [gpu] open failed\n"}));
  }
}

TEST(DeviceTest, ANodeThatOpensLogsNothing) {
  const SysfsDir sysfs;
  const RecordedLog log;
  Device gpu("gpu", sysfs.node("max_freq"), "integer", {"800", "650"});
  gpu.deviceControl("A", 1);
  gpu.statusApply();
  EXPECT_EQ(log.lines(), Lines{});
}

TEST(DeviceTest, WithTheLogSwitchedOffNoFailureIsLogged) {
  const SysfsDir sysfs;
  const LogSwitchedOff off;
  const RecordedLog log;
  Device gpu("gpu", sysfs.node("no/such/folder"), "integer", {});
  gpu.statusApply();
  EXPECT_EQ(log.lines(), Lines{});
}

TEST(DeviceTest, ANodeThatCannotBeRewoundReceivesNothingWhileItsLevelsGoOn) {
  const SysfsDir sysfs;
  const Fifo node(sysfs.node("max_freq"));
  const RecordedLog log;
  Device gpu("gpu", sysfs.node("max_freq"), "integer", {"800", "650"});
  gpu.deviceControl("A", 1);
  gpu.statusApply();
  EXPECT_EQ(gpu.currentLevel, 1);
  EXPECT_TRUE(gpu.node.fail());
  EXPECT_EQ(node.take(), "");
  EXPECT_EQ(log.lines(), Lines{});
}

TEST(DeviceTest, ANodeThatRefusesAWriteIsSilentWhileItsLevelsGoOn) {
  const RecordedLog log;
  Device gpu("gpu", "/dev/full", "integer", {"800", "650"});
  gpu.deviceControl("A", 1);
  gpu.statusApply();
  EXPECT_EQ(gpu.currentLevel, 1);
  EXPECT_TRUE(gpu.node.fail());
  gpu.deviceControl("A", 0);
  gpu.statusApply();
  EXPECT_EQ(gpu.currentLevel, 0);
  EXPECT_EQ(log.lines(), Lines{});
}

TEST(DeviceTest, AfterOneRefusedWriteNoLaterOneReachesTheNode) {
  const SysfsDir sysfs;
  Device gpu("gpu", sysfs.node("max_freq"), "integer", {"800", "650", "500"});
  gpu.deviceControl("A", 1);
  {
    const FullDisk full;
    gpu.statusApply();
  }
  gpu.deviceControl("A", 2);
  gpu.statusApply();
  EXPECT_EQ(gpu.currentLevel, 2);
  EXPECT_EQ(sysfs.read("max_freq"), "");
}

// A requester as an item of a scenario in force, or of one that is not.
struct Item : Requester {
  explicit Item(bool inForce_) {
    name = "A";
    inForce = inForce_;
  }
};

TEST(DeviceTest, HoldsTheLaterPostOfTwoRequestersOfOneName) {
  const SysfsDir sysfs;
  for (const bool firstInForce : {true, false}) {
    for (const bool secondInForce : {true, false}) {
      Device gpu("gpu", sysfs.node("max_freq"), "integer", {"800", "650", "500"});
      const Item first(firstInForce);
      const Item second(secondInForce);
      EXPECT_EQ(gpu.deviceControl(first, 2), 0);
      EXPECT_EQ(gpu.deviceControl(second, 1), 0);
      EXPECT_EQ(gpu.requests, (std::map<std::string, int32_t>{{"A", 1}}));
      EXPECT_FALSE(gpu.holds(first));
      EXPECT_TRUE(gpu.holds(second));
    }
  }
}

TEST(DeviceTest, IgnoresAWithdrawalOnlyOfARequesterThatIsOutOfForceForOneThatIsInForce) {
  const struct {
    bool going;
    bool coming;
    int32_t posted;
    int32_t left;
    const char* why;
  } cases[] = {
      {true, true, 2, 0, "in force both: the later post holds, withdrawals included"},
      {false, true, 2, 2, "the one that goes leaves the request to the one that comes"},
      {false, true, 0, 0, "which has none"},
      {true, false, 2, 0, "the one in force may"},
      {false, false, 2, 0, "neither in force"},
  };
  const SysfsDir sysfs;
  for (const auto& c : cases) {
    Device gpu("gpu", sysfs.node("max_freq"), "integer", {"800", "650", "500"});
    const Item going(c.going);
    const Item coming(c.coming);
    gpu.deviceControl(going, 1);
    gpu.deviceControl(coming, c.posted);
    gpu.withdraw(going);
    EXPECT_EQ(gpu.requests.at("A"), c.left) << c.why;
    EXPECT_EQ(gpu.holds(coming), !c.going && c.coming) << c.why;
  }
}

TEST(DeviceTest, GivesTheRequestBackThatALatePostOfARequesterOutOfForceTookAway) {
  const SysfsDir sysfs;
  Device gpu("gpu", sysfs.node("max_freq"), "integer", {"800", "650", "500"});
  const Item going(false);
  const Item coming(true);
  const Item gone(false);
  gpu.deviceControl(gone, 1);
  gpu.deviceControl(coming, 2);
  gpu.deviceControl(going, 1);
  EXPECT_EQ(gpu.requests.at("A"), 1) << "a post always counts";
  EXPECT_TRUE(gpu.holds(going));
  gpu.withdraw(going);
  EXPECT_EQ(gpu.requests.at("A"), 2);
  EXPECT_FALSE(gpu.holds(going));
}

TEST(DeviceTest, GivesBackTheLatestRequestOfSeveralInForce) {
  const SysfsDir sysfs;
  Device gpu("gpu", sysfs.node("max_freq"), "integer", {"800", "650", "500", "350"});
  const Item first(true);
  const Item second(true);
  const Item going(false);
  gpu.deviceControl(first, 1);
  gpu.deviceControl(second, 3);
  gpu.deviceControl(second, 2);
  gpu.deviceControl(going, 1);
  gpu.withdraw(going);
  EXPECT_EQ(gpu.requests.at("A"), 2);
  EXPECT_TRUE(gpu.holds(second));
}

TEST(DeviceTest, LetsARequesterWithdrawWhatItNeverAskedFor) {
  const SysfsDir sysfs;
  Device gpu("gpu", sysfs.node("max_freq"), "integer", {"800", "650"});
  for (const bool inForce : {true, false}) {
    const Item item(inForce);
    EXPECT_FALSE(gpu.holds(item));
    gpu.withdraw(item);
    EXPECT_EQ(gpu.requests.at("A"), 0);
  }
}

TEST(DeviceTest, EachCallWaitsWhileAnotherHasTheDevice) {
  const Item item(true);
  const std::function<void(Device&)> calls[] = {
      [](Device& device) { device.deviceControl("B", 1); },
      [&item](Device& device) { device.deviceControl(item, 1); },
      [&item](Device& device) { device.withdraw(item); },
      [&item](Device& device) { device.holds(item); },
      [](Device& device) { device.statusApply(); },
  };
  const Lines table{"0"};
  const std::unique_ptr<Device> devices[] = {
      std::make_unique<Device>("base", "", "integer", table),
      std::make_unique<CameraDevice>("camera", "", "integer", table),
      std::make_unique<CPUFreqDevice>("cpu", "", "integer", table),
      std::make_unique<ReportDevice>("report", "", "integer", table),
  };
  for (const auto& device : devices) {
    std::vector<std::future<void>> work;
    const std::lock_guard<std::mutex> another(device->lock);
    for (const auto& call : calls)
      work.push_back(std::async(std::launch::async, call, std::ref(*device)));
    EXPECT_TRUE(staysUnderWay(work.back())) << device->name;
    for (size_t i = 0; i < work.size(); ++i)
      EXPECT_FALSE(isOver(work[i])) << device->name << ", call " << i;
  }
}

TEST(DeviceTest, ManyThreadsAtOnceLeaveTheMergeOfTheirLastRequests) {
  const SysfsDir sysfs;
  Device gpu("gpu", sysfs.node("max_freq"), "integer", {"900", "800", "700", "600", "500"});
  constexpr int32_t kThreads = 4;
  std::vector<std::thread> requesters;
  requesters.reserve(kThreads);
  for (int32_t last = 0; last < kThreads; ++last) {
    requesters.emplace_back([&gpu, last] {
      const std::string name(1, static_cast<char>('A' + last));
      for (int32_t i = 0; i < 500; ++i) {
        gpu.deviceControl(name, i % 5);
        gpu.statusApply();
      }
      gpu.deviceControl(name, last);
      gpu.statusApply();
    });
  }
  for (std::thread& requester : requesters)
    requester.join();
  EXPECT_EQ(gpu.requests, (std::map<std::string, int32_t>{{"A", 0}, {"B", 1}, {"C", 2}, {"D", 3}}));
  EXPECT_EQ(gpu.currentLevel, 3);
  EXPECT_EQ(sysfs.read("max_freq"), "600");
}

} // namespace
