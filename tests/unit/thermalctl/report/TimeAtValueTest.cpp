#include "report/TimeAtValue.h"

#include <gtest/gtest.h>

namespace {

// 10 for a second, 20 for two, 10 for one.
TimeAtValue upAndDown() {
  TimeAtValue record;
  record.set(1000, 10);
  record.set(2000, 20);
  record.set(3000, 20);
  record.set(4000, 10);
  record.finish(5000);
  return record;
}

TEST(TimeAtValueTest, IsEmptyBeforeTheFirstValue) {
  TimeAtValue record;
  record.finish(1000);
  EXPECT_TRUE(record.empty());
  EXPECT_EQ(record.total(), 0);
}

TEST(TimeAtValueTest, CountsFromTheFirstValueToTheEnd) {
  EXPECT_EQ(upAndDown().total(), 4000);
}

TEST(TimeAtValueTest, AddsUpTheTimesAtOneValue) {
  const TimeAtValue record = upAndDown();
  EXPECT_EQ(record.at(10), 2000);
  EXPECT_EQ(record.at(20), 2000);
  EXPECT_EQ(record.at(15), 0);
}

TEST(TimeAtValueTest, CountsTheValueItselfAsReached) {
  const TimeAtValue record = upAndDown();
  EXPECT_EQ(record.atLeast(20), 2000);
  EXPECT_EQ(record.atLeast(21), 0);
  EXPECT_EQ(record.atLeast(19), 2000);
  EXPECT_EQ(record.atMost(10), 2000);
  EXPECT_EQ(record.atMost(9), 0);
  EXPECT_EQ(record.atMost(11), 2000);
}

TEST(TimeAtValueTest, CountsChangesButNoRepetition) {
  EXPECT_EQ(upAndDown().changes(), 2u);
}

TEST(TimeAtValueTest, WeighsItsMeanByTime) {
  TimeAtValue record;
  record.set(0, 0);
  record.set(1000, 40);
  record.finish(4000);
  EXPECT_DOUBLE_EQ(record.mean(), 30);
}

TEST(TimeAtValueTest, TakesTheLastValueForItsMeanWhileNoTimeHasPassed) {
  TimeAtValue record;
  record.set(500, 7);
  record.set(500, 9);
  EXPECT_DOUBLE_EQ(record.mean(), 9);
}

TEST(TimeAtValueTest, RemembersAPeakThatPassedAtOnce) {
  TimeAtValue record;
  record.set(0, 5);
  record.set(1000, 90);
  record.set(1000, -3);
  record.finish(2000);
  EXPECT_EQ(record.highest(), 90);
  EXPECT_EQ(record.lowest(), -3);
  EXPECT_EQ(record.at(90), 0);
}

TEST(TimeAtValueTest, LeavesOutWhatIsSkipped) {
  TimeAtValue record;
  record.set(1000, 10);
  record.skip(2000, 5000);
  record.finish(6000);
  EXPECT_EQ(record.at(10), 2000);
  record.set(7000, 20);
  record.finish(8000);
  EXPECT_EQ(record.at(10), 3000);
  EXPECT_EQ(record.at(20), 1000);
}

TEST(TimeAtValueTest, SkipsNothingTwice) {
  TimeAtValue record;
  record.set(0, 10);
  record.skip(1000, 5000);
  record.skip(2000, 4000);
  record.finish(6000);
  EXPECT_EQ(record.total(), 2000);
}

TEST(TimeAtValueTest, APercentileIsNotExceededForThatShareOfTheTime) {
  const TimeAtValue record = upAndDown();
  EXPECT_EQ(record.percentile(50), 10);
  EXPECT_EQ(record.percentile(51), 20);
  EXPECT_EQ(record.percentile(99.9), 20);
}

TEST(TimeAtValueTest, APercentileIgnoresAValueThatHadNoTime) {
  TimeAtValue record;
  record.set(0, 10);
  record.set(1000, 90);
  record.set(1000, 20);
  record.finish(2000);
  EXPECT_EQ(record.percentile(99), 20);
}

TEST(TimeAtValueTest, APercentileOfNoTimeIsTheLastValue) {
  TimeAtValue record;
  record.set(0, 10);
  record.set(0, 5);
  EXPECT_EQ(record.percentile(99), 5);
}

} // namespace
