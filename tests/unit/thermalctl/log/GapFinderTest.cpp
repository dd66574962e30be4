#include "log/GapFinder.h"

#include <gtest/gtest.h>

namespace {

using Lines = std::vector<std::string>;

const Periods kPeriods = {{"big", 250}, {"battery", 1000}};

class GapFinderTest : public ::testing::Test {
protected:
  Lines sample(int64_t time, const char* sensor, int64_t uncertainty = 0) {
    LogLine line;
    line.kind = LogLine::Kind::kSample;
    line.name = sensor;
    return told(finder.take(time, uncertainty, line));
  }
  Lines message(int64_t time, LogLine::Kind kind = LogLine::Kind::kOther) {
    LogLine line;
    line.kind = kind;
    return told(finder.take(time, 0, line));
  }
  static Lines told(const std::vector<LogGap>& gaps) {
    Lines lines;
    for (const LogGap& gap : gaps)
      lines.push_back(std::to_string(gap.from) + "-" + std::to_string(gap.to) + " " + gap.sensor);
    return lines;
  }

  GapFinder finder{kPeriods};
};

TEST_F(GapFinderTest, FindsNoneWherePeriodsExplainTheSilence) {
  for (int64_t time = 0; time < 10000; time += 255) {
    EXPECT_EQ(sample(time, "big"), Lines());
    if (time % 1020 == 0) {
      EXPECT_EQ(sample(time, "battery"), Lines());
    }
  }
}

TEST_F(GapFinderTest, FindsASilenceOfTwoPeriodsAndHalfASecond) {
  sample(0, "big");
  EXPECT_EQ(sample(1000, "big"), Lines());
  EXPECT_EQ(sample(2001, "big"), Lines{"1250-2001 "});
}

TEST_F(GapFinderTest, FindsTheSilenceOfOneSensor) {
  sample(0, "battery");
  for (int64_t time = 0; time < 5000; time += 250)
    EXPECT_EQ(sample(time, "big"), Lines());
  EXPECT_EQ(sample(5000, "battery"), Lines{"1000-5000 battery"});
}

TEST_F(GapFinderTest, TellsAGapInEverythingOnce) {
  sample(0, "big");
  sample(0, "battery");
  EXPECT_EQ(message(60000), Lines{"250-60000 "});
  EXPECT_EQ(sample(60100, "big"), Lines());
  EXPECT_EQ(sample(61000, "battery"), Lines());
}

TEST_F(GapFinderTest, LetsAChangeOfTheScenarioWaitForTheSlowest) {
  sample(0, "big");
  sample(0, "battery");
  message(100, LogLine::Kind::kChange);
  EXPECT_EQ(sample(2000, "big"), Lines());
  EXPECT_EQ(message(2000, LogLine::Kind::kScenario), Lines());
  EXPECT_EQ(sample(4000, "big"), Lines{"2250-4000 "});
}

TEST_F(GapFinderTest, AllowsForTimesOfWholeSeconds) {
  sample(0, "big", 1000);
  EXPECT_EQ(sample(2000, "big", 1000), Lines());
  EXPECT_EQ(sample(4001, "big", 1000), Lines{"2250-4001 "});
}

TEST_F(GapFinderTest, FindsTheSilenceOfASensorInWhichTheLogEnds) {
  sample(0, "battery");
  for (int64_t time = 0; time <= 5000; time += 250)
    sample(time, "big");
  EXPECT_EQ(told(finder.finish(2500, 0)), Lines());
  EXPECT_EQ(told(finder.finish(5000, 0)), Lines{"1000-5000 battery"});
}

TEST_F(GapFinderTest, FindsNothingWithoutAnyPeriod) {
  const Periods none;
  GapFinder blind(none);
  LogLine line;
  blind.take(0, 0, line);
  EXPECT_EQ(told(blind.take(1000000, 0, line)), Lines());
}

TEST(PeriodsSeenTest, IsWhatLiesBetweenTwoSamplesMostOften) {
  PeriodsSeen seen;
  LogLine line;
  line.name = "big";
  for (const int64_t time : {0, 251, 500, 500, 752, 1003, 9000})
    seen.take(time, line);
  line.name = "once";
  seen.take(0, line);
  Periods known = {{"gpu", 1}};
  seen.addTo(known);
  EXPECT_EQ(known, (Periods{{"big", 250}, {"gpu", 1}}));
}

} // namespace
