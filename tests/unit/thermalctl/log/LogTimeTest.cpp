#include "log/LogTime.h"

#include <gtest/gtest.h>

namespace {

constexpr int64_t kOneDay = 86400000;

int64_t between(const char* earlier, const char* later) {
  const auto from = parseTime(earlier);
  const auto to = parseTime(later);
  EXPECT_TRUE(from && to) << earlier << " " << later;
  return to.value_or(0) - from.value_or(0);
}

TEST(LogTimeTest, ReadsDateAndTimeToTheMillisecond) {
  EXPECT_EQ(between("01-30 14:03:22.123  1234  5678 V tag: x", "01-30 14:03:23.125 V/tag( 1): x"),
            1002);
  EXPECT_EQ(between("01-30 23:59:59.999 ", "01-31 00:00:00.000 "), 1);
  EXPECT_EQ(between("01-31 00:00:00.000 ", "02-01 00:00:00.000 "), kOneDay);
  EXPECT_EQ(between("02-28 00:00:00.000 ", "03-01 00:00:00.000 "), kOneDay);
}

TEST(LogTimeTest, CountsTheDaysOfAYearThatIsWritten) {
  EXPECT_EQ(between("2023-12-31 00:00:00.000 ", "2024-01-01 00:00:00.000 "), kOneDay);
  EXPECT_EQ(between("2024-02-28 00:00:00.000 ", "2024-03-01 00:00:00.000 "), 2 * kOneDay);
  EXPECT_EQ(between("2023-02-28 00:00:00.000 ", "2023-03-01 00:00:00.000 "), kOneDay);
  EXPECT_EQ(between("2100-02-28 00:00:00.000 ", "2100-03-01 00:00:00.000 "), kOneDay);
}

TEST(LogTimeTest, ReadsSecondsSinceTheEpochOrTheBoot) {
  EXPECT_EQ(between("         1706623402.123  1234  5678 V tag: x", "1706623403.125 x"), 1002);
  EXPECT_EQ(parseTime("  12.345 x"), 12345);
}

TEST(LogTimeTest, LeavesFinerDigitsOut) {
  EXPECT_EQ(between("01-30 14:03:22.123456 ", "01-30 14:03:22.124999 "), 1);
  EXPECT_EQ(between("01-30 14:03:22.123456789 ", "01-30 14:03:22.125 "), 2);
}

TEST(LogTimeTest, ReadsTheHeaderOfTheLongFormat) {
  EXPECT_EQ(between("[ 01-30 14:03:22.123  1234: 5678 V/tag ]", "[          01-30 14:03:22.124 ]"),
            1);
}

TEST(LogTimeTest, FindsNoTimeWhereThereIsNone) {
  for (const char* line :
       {"", " ", "V/tag( 1234): x", "[TalmorThermal] No scen file", "01-30 14:03:22",
        "13-30 14:03:22.123 ", "01-3x 14:03:22.123 ", "01-30 14:03:22,123 ", "1234 x", "12.3"})
    EXPECT_FALSE(parseTime(line)) << line;
}

TEST(LogClockTest, BeginsAtNothing) {
  LogClock clock;
  EXPECT_EQ(clock.at(1706623402123), 0);
  EXPECT_EQ(clock.at(1706623402373), 250);
}

TEST(LogClockTest, NeverGoesBackForLinesOutOfOrder) {
  LogClock clock;
  clock.at(10000);
  EXPECT_EQ(clock.at(12000), 2000);
  EXPECT_EQ(clock.at(11000), 2000);
  EXPECT_EQ(clock.at(12500), 2500);
  EXPECT_EQ(clock.timesSet(), 0u);
}

TEST(LogClockTest, GoesOnWhereTheClockWasSetBack) {
  LogClock clock;
  clock.at(100000);
  clock.at(110000);
  EXPECT_EQ(clock.at(50000), 10000);
  EXPECT_EQ(clock.at(51000), 11000);
  EXPECT_EQ(clock.timesSet(), 1u);
}

TEST(LogClockTest, GoesOnWhereTheClockWasSetFromTheEpochToToday) {
  LogClock clock;
  clock.at(5000);
  EXPECT_EQ(clock.at(1706623402000), 0);
  EXPECT_EQ(clock.at(1706623403000), 1000);
  EXPECT_EQ(clock.timesSet(), 1u);
}

TEST(LogClockTest, GoesOnIntoANewYearThatIsNotWritten) {
  LogClock clock;
  clock.at(*parseTime("12-31 23:59:59.000 "));
  EXPECT_EQ(clock.at(*parseTime("01-01 00:00:01.000 ")), 2000);
  EXPECT_EQ(clock.timesSet(), 0u);
}

} // namespace
