#include "fit/Clocks.h"

#include <vector>

#include <gtest/gtest.h>

#include "fit/RecordingFiles.h"
#include "thermalctl/fit/FitExamples.h"

namespace {

// Loads and sensors of one clock.
Recorded together() {
  std::vector<Recorded> recordings = {fit_examples::recorded(600)};
  fit_examples::measure(recordings, fit_examples::plantOf(), {0, 0});
  return recordings[0];
}

TEST(ClocksTest, FindsHowFarAClockIsBehind) {
  for (const double behind : {0.0, 2.5, 31.0, -44.0}) {
    Recorded recorded = together();
    shift(recorded.files[1], -behind);
    const auto offsets = clocksOf(recorded, fit_examples::plantOf());
    ASSERT_TRUE(offsets) << behind;
    EXPECT_EQ((*offsets)[0], 0);
    EXPECT_NEAR((*offsets)[1], behind, 0.1);
  }
}

TEST(ClocksTest, LoadsThatNeverMoveTellNothing) {
  Recorded recorded = together();
  for (Reading& reading : recorded.files[1].readings)
    reading.celsius = 21;
  recorded.files[0].changes = {{0, RecordedChange::Kind::kLoad, 0, 0},
                               {0, RecordedChange::Kind::kLoad, 1, 0}};
  EXPECT_FALSE(clocksOf(recorded, fit_examples::plantOf()));
}

TEST(ClocksTest, WithoutReadingsThereIsNothingToTellThem) {
  Recorded recorded = together();
  recorded.files[1].rows.clear();
  recorded.files[1].readings.clear();
  EXPECT_FALSE(clocksOf(recorded, fit_examples::plantOf()));
}

TEST(ClocksTest, SaysWhichClockIsBehindWhich) {
  const Recorded recorded = fit_examples::recorded();
  EXPECT_EQ(clockInWords(recorded.files[1], 3.4, recorded.files[0]),
            "sensors.csv: its clock is 3.40 s behind that of loads.csv");
  EXPECT_EQ(clockInWords(recorded.files[1], -3.4, recorded.files[0]),
            "sensors.csv: its clock is 3.40 s ahead of that of loads.csv");
}

} // namespace
