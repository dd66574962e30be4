#include "report/TimeAtValue.h"

#include <limits>
#include <utility>
#include <vector>

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

TEST(TimeAtValueTest, CountsAValueThatIsAlone) {
  TimeAtValue record;
  record.set(0, 30);
  record.finish(4000);
  EXPECT_EQ(record.at(30), 4000);
  EXPECT_EQ(record.at(29), 0);
  EXPECT_EQ(record.atLeast(30), 4000);
  EXPECT_EQ(record.atLeast(31), 0);
  EXPECT_EQ(record.atMost(29), 0);
  EXPECT_EQ(record.percentile(50), 30);
}

TEST(TimeAtValueTest, KeepsTheTimesWhenAValueLiesBetweenTheSteps) {
  TimeAtValue record;
  const int32_t values[] = {25'000, 25'100, 24'800, 31'000, 25'100, 25'130, 24'999, 25'000};
  int64_t time = 0;
  for (const int32_t value : values)
    record.set(time += 1000, value);
  record.finish(time + 1000);
  using Times = std::vector<std::pair<int32_t, int64_t>>;
  EXPECT_EQ(record.all(), (Times{{24'800, 1000},
                                 {24'999, 1000},
                                 {25'000, 2000},
                                 {25'100, 2000},
                                 {25'130, 1000},
                                 {31'000, 1000}}));
  EXPECT_EQ(record.atLeast(25'001), 4000);
  EXPECT_EQ(record.atMost(25'100), 6000);
  EXPECT_EQ(record.percentile(75), 25'100);
}

TEST(TimeAtValueTest, TakesValuesAsFarApartAsThereAre) {
  constexpr int32_t kLeast = std::numeric_limits<int32_t>::min();
  constexpr int32_t kMost = std::numeric_limits<int32_t>::max();
  TimeAtValue record;
  record.set(0, kMost);
  record.set(1000, kLeast);
  record.set(2000, 0);
  record.finish(4000);
  EXPECT_EQ(record.at(kLeast), 1000);
  EXPECT_EQ(record.at(kMost), 1000);
  EXPECT_EQ(record.atLeast(kLeast), 4000);
  EXPECT_EQ(record.atMost(kMost), 4000);
  EXPECT_EQ(record.percentile(50), 0);
}

TEST(TimeAtValueTest, FindsItsWayBackFromManyValues) {
  TimeAtValue record;
  int64_t time = 0;
  for (int32_t round = 0; round < 3; ++round) {
    for (int32_t value = -9000; value <= 9000; value += 7)
      record.set(time++, value);
  }
  record.finish(time);
  EXPECT_EQ(record.all().size(), 2572u);
  for (const auto& [value, held] : record.all())
    ASSERT_EQ(held, 3) << value;
  EXPECT_DOUBLE_EQ(record.mean(), -1.5);
}

// 32 bits of milliseconds are 49 days.
TEST(TimeAtValueTest, AddsUpYears) {
  constexpr int64_t kYear = 31'536'000'000;
  TimeAtValue record;
  record.set(0, 30);
  record.set(kYear, 31);
  record.set(kYear + 4'294'967'295, 30);
  record.set(kYear + 4'294'967'296, 60);
  record.finish(3 * kYear);
  EXPECT_EQ(record.at(30), kYear + 1);
  EXPECT_EQ(record.at(31), 4'294'967'295);
  EXPECT_EQ(record.at(60), 2 * kYear - 4'294'967'296);
  EXPECT_EQ(record.atMost(31), kYear + 4'294'967'296);
  EXPECT_EQ(record.percentile(33), 30);
  EXPECT_EQ(record.percentile(37), 31);
}

} // namespace
