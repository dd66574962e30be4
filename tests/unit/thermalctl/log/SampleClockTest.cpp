#include "log/SampleClock.h"

#include <gtest/gtest.h>

namespace {

const Periods kSamplings = {{"big", 250}, {"battery", 1000}};

class SampleClockTest : public ::testing::Test {
protected:
  static LogLine lineOf(LogLine::Kind kind, const char* name) {
    LogLine line;
    line.kind = kind;
    line.name = name;
    return line;
  }
  int64_t sample(const char* sensor) { return clock.at(lineOf(LogLine::Kind::kSample, sensor)); }
  int64_t within(int64_t second, const char* sensor) {
    return clock.within(second, lineOf(LogLine::Kind::kSample, sensor));
  }
  int64_t change() { return clock.at(lineOf(LogLine::Kind::kChange, "game")); }

  // As all threads do in a change: each samples for it, and then begins a new period.
  void switchScenario() {
    change();
    sample("big");
    sample("battery");
    sample("big");
    sample("battery");
  }

  // The samples of a time between two changes, without those at its beginning.
  void letPass(int seconds) {
    for (int quarter = 1; quarter <= 4 * seconds; ++quarter) {
      sample("big");
      if (quarter % 4 == 0) sample("battery");
    }
  }

  SampleClock clock{kSamplings};
};

TEST_F(SampleClockTest, CountsThePeriodsOfTheSensorThatIsAheadOfTheOthers) {
  EXPECT_EQ(sample("big"), 0);
  EXPECT_EQ(sample("battery"), 0);
  EXPECT_EQ(sample("big"), 250);
  EXPECT_EQ(sample("battery"), 1000);
  EXPECT_EQ(sample("big"), 1000);
  EXPECT_EQ(sample("gpu"), 1000); // of which the board knows nothing
}

TEST_F(SampleClockTest, TakesTheSamplesOfAChangeForNoPeriods) {
  sample("big");
  sample("battery");
  letPass(10);
  switchScenario();
  // Half of the period that the change has cut short.
  EXPECT_EQ(clock.at(LogLine()), 10125);
  letPass(10);
  EXPECT_EQ(clock.at(LogLine()), 20125);
}

TEST_F(SampleClockTest, CountsTheSecondChangeOfASwapForNoTime) {
  sample("big");
  sample("battery");
  letPass(10);
  switchScenario();
  switchScenario();
  EXPECT_EQ(clock.at(LogLine()), 10125);
}

TEST_F(SampleClockTest, StaysWithinAPeriodOfATimeWithManyChanges) {
  sample("big");
  sample("battery");
  // Each falls into another part of a period: half of one on average.
  for (int i = 0; i < 100; ++i) {
    letPass(5);
    switchScenario();
  }
  EXPECT_NEAR(static_cast<double>(clock.at(LogLine())), 100 * 5125, 250);
}

TEST_F(SampleClockTest, SpreadsSamplesOverTheSecondInWhichTheyWereWritten) {
  EXPECT_EQ(within(0, "big"), 0);
  EXPECT_EQ(within(0, "big"), 250);
  EXPECT_EQ(within(0, "battery"), 250);
  EXPECT_EQ(within(0, "big"), 500);
  EXPECT_EQ(within(1000, "big"), 1000);
  EXPECT_EQ(within(1000, "battery"), 1000);
  // Never out of the second, however many there are.
  EXPECT_EQ(within(1000, "big"), 1250);
  for (int i = 0; i < 5; ++i)
    within(1000, "big");
  EXPECT_EQ(within(1000, "big"), 1999);
  EXPECT_EQ(within(5000, "big"), 5000);
}

// A quarter of a second each, of which the battery's sample is the first line of its second.
TEST_F(SampleClockTest, SpreadsThemBehindAChangeAsBefore) {
  within(0, "battery");
  within(0, "big");
  clock.within(0, lineOf(LogLine::Kind::kChange, "game"));
  for (int i = 0; i < 2; ++i) {
    within(0, "big");
    within(0, "battery");
  }
  EXPECT_EQ(within(0, "big"), 250);
  for (const int64_t second : {1000, 2000}) {
    EXPECT_EQ(within(second, "battery"), second);
    EXPECT_EQ(within(second, "big"), second);
    EXPECT_EQ(within(second, "big"), second + 250);
  }
}

TEST_F(SampleClockTest, BeginsAnewWithTheDaemon) {
  within(0, "battery");
  clock.within(0, lineOf(LogLine::Kind::kStart, ""));
  EXPECT_EQ(within(0, "battery"), 0);
  EXPECT_EQ(within(0, "big"), 0);
  EXPECT_EQ(within(1000, "battery"), 1000);
}

} // namespace
