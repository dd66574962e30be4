#include "device/ReportDevice.h"

#include <time.h>

#include <algorithm>
#include <cstdlib>

#include <gtest/gtest.h>

#include "support/EnvironmentVariable.h"
#include "support/Fifo.h"
#include "support/FullDisk.h"
#include "support/RecordedLog.h"
#include "support/SysfsDir.h"

namespace {

using Requests = std::map<std::string, int32_t>;

constexpr size_t kStampLength = sizeof "2026-11-15 15:06:00" - 1;

// A text with every digit turned into a 0.
std::string shapeOf(std::string text) {
  std::replace_if(
      text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; }, '0');
  return text;
}

// The lines of a report behind their time stamps, each of which must look like one.
std::vector<std::string> events(const std::string& report) {
  std::vector<std::string> found;
  std::istringstream in(report);
  for (std::string line; std::getline(in, line);) {
    EXPECT_EQ(shapeOf(line.substr(0, kStampLength)), "0000-00-00 00:00:00") << line;
    found.push_back(line.substr(std::min(line.size(), kStampLength)));
  }
  EXPECT_TRUE(report.empty() || report.back() == '\n');
  return found;
}

class ReportDeviceTest : public testing::Test {
protected:
  std::vector<std::string> reported() const { return events(sysfs.read("report")); }

  SysfsDir sysfs;
  ReportDevice report{"report", sysfs.node("report"), "integer", {}};
};

TEST_F(ReportDeviceTest, ReportsRequestersOverAndUnderTheirThresholdsInTheOrderOfTheirNames) {
  report.deviceControl("C", 2);
  report.deviceControl("B", 0);
  report.deviceControl("A", 1);
  report.statusApply();
  EXPECT_EQ(reported(), (std::vector<std::string>{" : [A] Over Thresholds, currenct Status(1)",
                                                  " : [B] Under Thresholds Clear"}));
  EXPECT_EQ(report.requests, (Requests{{"A", 2}, {"B", 2}, {"C", 2}}));
  const std::string before = sysfs.read("report");
  report.statusApply();
  EXPECT_EQ(sysfs.read("report"), before);
}

TEST_F(ReportDeviceTest, WritesNothingWithoutRequests) {
  report.statusApply();
  EXPECT_EQ(sysfs.read("report"), "");
}

TEST_F(ReportDeviceTest, SaysNothingOfAnyOtherLevelAndKeepsIt) {
  for (const int32_t level : {-1, 2, 3, INT32_MIN, INT32_MAX}) {
    report.deviceControl("A", level);
    report.statusApply();
    EXPECT_EQ(report.requests, (Requests{{"A", level}}));
  }
  EXPECT_EQ(sysfs.read("report"), "");
}

TEST_F(ReportDeviceTest, ReportsEveryNewPostOnceBehindTheEarlierLines) {
  for (const int32_t level : {1, 1, 0}) {
    report.deviceControl("cpu_hot", level);
    report.statusApply();
    report.statusApply();
  }
  EXPECT_EQ(reported(),
            (std::vector<std::string>{" : [cpu_hot] Over Thresholds, currenct Status(1)",
                                      " : [cpu_hot] Over Thresholds, currenct Status(1)",
                                      " : [cpu_hot] Under Thresholds Clear"}));
}

TEST_F(ReportDeviceTest, LeavesItsLevelAloneAndNeedsNoLevelTable) {
  report.useMax = false;
  report.deviceControl("A", 1);
  const RecordedLog log;
  report.statusApply();
  EXPECT_EQ(report.currentLevel, 0);
  EXPECT_EQ(reported().size(), 1u);
  EXPECT_EQ(log.lines(), std::vector<std::string>{});
}

TEST_F(ReportDeviceTest, EveryLineOfOneApplicationBearsTheSameStamp) {
  for (const char* name : {"A", "B", "C"})
    report.deviceControl(name, 1);
  report.statusApply();
  const std::string text = sysfs.read("report");
  const std::string stamp = text.substr(0, kStampLength);
  const std::string event = "] Over Thresholds, currenct Status(1)\n";
  EXPECT_EQ(text, stamp + " : [A" + event + stamp + " : [B" + event + stamp + " : [C" + event);
}

TEST(ReportDeviceStartTest, ItsFileStartsEmpty) {
  const SysfsDir sysfs;
  const ReportDevice report("report", sysfs.write("report", "of an earlier run\n"), "integer", {});
  EXPECT_EQ(sysfs.read("report"), "");
}

// The stamp of a place whose clocks are `ahead` seconds ahead of UTC.
std::string stampNow(time_t ahead) {
  const time_t there = ::time(nullptr) + ahead;
  struct tm fields = {};
  ::gmtime_r(&there, &fields);
  char text[kStampLength + 1];
  return {text, std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &fields)};
}

TEST_F(ReportDeviceTest, StampsALineWithTheLocalTimeOfItsApplication) {
  const EnvironmentVariable timeZone("TZ", "<EAST>-11:30");
  constexpr time_t kAhead = 11 * 3600 + 30 * 60;
  report.deviceControl("A", 1);
  const std::string before = stampNow(kAhead);
  report.statusApply();
  const std::string after = stampNow(kAhead);
  const std::string stamp = sysfs.read("report").substr(0, kStampLength);
  EXPECT_LE(before, stamp);
  EXPECT_LE(stamp, after);
}

TEST_F(ReportDeviceTest, FollowsTheTimeZoneWhenItChanges) {
  const EnvironmentVariable timeZone("TZ", "<WEST>+5:00");
  report.deviceControl("A", 1);
  report.statusApply();
  timeZone.set("<EAST>-9:00");
  report.deviceControl("A", 0);
  constexpr time_t kAhead = time_t{9} * 3600;
  const std::string before = stampNow(kAhead);
  report.statusApply();
  const std::string after = stampNow(kAhead);
  const std::string written = sysfs.read("report");
  const std::string stamp = written.substr(written.find('\n') + 1, kStampLength);
  EXPECT_LE(before, stamp);
  EXPECT_LE(stamp, after);
}

TEST_F(ReportDeviceTest, ReportsTheEndOfEveryAlarmAlsoWhereANamesakeInForceGoesOn) {
  Requester going{"A"};
  Requester coming{"A"};
  coming.inForce = true;
  report.deviceControl(going, 1);
  report.statusApply();
  report.deviceControl(coming, 1);
  report.statusApply();
  report.withdraw(going);
  report.statusApply();
  report.withdraw(coming);
  report.statusApply();
  const std::string over = " : [A] Over Thresholds, currenct Status(1)";
  const std::string under = " : [A] Under Thresholds Clear";
  EXPECT_EQ(reported(), (std::vector<std::string>{over, over, under, under}));
}

TEST_F(ReportDeviceTest, WritesInSequenceAndNeverRewinds) {
  const Fifo fifo(sysfs.node("fifo"));
  ReportDevice piped("report", sysfs.node("fifo"), "integer", {});
  piped.deviceControl("A", 1);
  piped.statusApply();
  EXPECT_EQ(events(fifo.take()),
            (std::vector<std::string>{" : [A] Over Thresholds, currenct Status(1)"}));
  piped.deviceControl("A", 0);
  piped.statusApply();
  EXPECT_EQ(events(fifo.take()), (std::vector<std::string>{" : [A] Under Thresholds Clear"}));
}

TEST_F(ReportDeviceTest, AReportThatCannotBeWrittenIsLostButCountsAsReported) {
  for (const std::string& path : {sysfs.node("no/such/folder"), std::string("/dev/full")}) {
    ReportDevice lost("report", path, "integer", {});
    lost.deviceControl("A", 1);
    lost.deviceControl("B", 0);
    const RecordedLog log;
    lost.statusApply();
    EXPECT_EQ(lost.requests, (Requests{{"A", 2}, {"B", 2}})) << path;
    EXPECT_EQ(log.lines(), std::vector<std::string>{}) << path;
  }
}

TEST_F(ReportDeviceTest, AfterOneRefusedLineNoneIsWrittenAnyMore) {
  report.deviceControl("A", 1);
  {
    const FullDisk full;
    report.statusApply();
  }
  report.deviceControl("B", 1);
  report.statusApply();
  EXPECT_EQ(report.requests, (Requests{{"A", 2}, {"B", 2}}));
  EXPECT_EQ(sysfs.read("report"), "");
}

TEST(ReportDeviceStartTest, AFileThatCannotBeOpenedIsLoggedOnce) {
  const SysfsDir sysfs;
  const RecordedLog log;
  const ReportDevice report("alarms", sysfs.node("no/such/folder"), "integer", {});
  EXPECT_EQ(log.lines(), (std::vector<std::string>{
                             "[TalmorThermal] [TalmorThermal] Device [alarms] open failed\n"}));
}

} // namespace
