#include "report/HeldSeries.h"

#include <gtest/gtest.h>

namespace {

TEST(HeldSeriesTest, HoldsAValueUntilTheNext) {
  HeldSeries series;
  series.set(0, 10);
  series.set(1000, 20);
  series.finish(2000);
  EXPECT_EQ(series.at(0), 10);
  EXPECT_EQ(series.at(900), 10);
  EXPECT_EQ(series.at(1000), 20);
  EXPECT_EQ(series.at(2000), 20);
  EXPECT_EQ(series.range(), 10);
}

TEST(HeldSeriesTest, KnowsNothingBeforeTheFirstValueInAGapAndBehindTheEnd) {
  HeldSeries series;
  series.set(500, 10);
  series.skip(1000, 2000);
  series.set(2500, 20);
  series.finish(3000);
  for (const int64_t time : {-100, 0, 400, 1100, 1900, 2400, 3200})
    EXPECT_EQ(series.at(time), std::nullopt) << time;
  EXPECT_EQ(series.at(500), 10);
  EXPECT_EQ(series.at(900), 10);
  EXPECT_EQ(series.at(2500), 20);
  EXPECT_EQ(HeldSeries().range(), std::nullopt);
}

TEST(HeldSeriesTest, TakesLongerStepsForALongerRun) {
  HeldSeries series;
  constexpr int64_t kDay = 86400000;
  for (int64_t time = 0; time < kDay; time += 60000)
    series.set(time, static_cast<int32_t>(time / 60000));
  series.finish(kDay);
  EXPECT_EQ(series.step(), 800);
  for (int64_t minute = 0; minute < 1440; minute += 7)
    EXPECT_EQ(series.at(minute * 60000 + 30000), minute) << minute;
}

} // namespace
