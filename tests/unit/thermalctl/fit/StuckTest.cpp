#include "fit/Stuck.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include <gtest/gtest.h>

#include "thermalctl/fit/FitExamples.h"

namespace {

class StuckTest : public testing::Test {
protected:
  RecordedFile& sensors() { return measured.recordings[0].files[1]; }
  double& chip(size_t row) { return sensors().readings[sensors().rows[row].first].celsius; }
  std::vector<Stuck> found() const { return stuckOf(measured.misfit, measured.values); }

  fit_examples::Measured measured;
};

TEST_F(StuckTest, AReadingThatStaysWhileItsHeatGoesElsewhere) {
  for (size_t row = 300; row < 700; ++row)
    chip(row) = 33;
  ASSERT_EQ(found().size(), 1U);
  EXPECT_EQ(found()[0].output, 0U);
  EXPECT_EQ(found()[0].file, 1U);
  EXPECT_EQ(found()[0].first, 300U);
  EXPECT_EQ(found()[0].end, 700U);
  EXPECT_EQ(found()[0].celsius, 33);
}

TEST_F(StuckTest, ItIsToldWithItsLine) {
  for (size_t row = 300; row < 700; ++row)
    chip(row) = 33;
  // The rows begin with 5 seconds, in line 5.
  EXPECT_EQ(inWords(found()[0], measured.recordings, {"chip_t", "case_t", "chip", "case"}),
            "sensors.csv:305: 'chip_t' is stuck at 33 from 0:05:00 to 0:11:39: left out");
}

TEST_F(StuckTest, ReadingsThatAreRoundedStayForAWhile) {
  for (Reading& reading : sensors().readings)
    reading.celsius = std::round(reading.celsius);
  measured.misfit.likelihoods.assign(4, {0.3, 1});
  EXPECT_TRUE(found().empty());
}

TEST_F(StuckTest, AFewReadingsAlikeMayBeChance) {
  for (size_t row = 300; row < 319; ++row)
    chip(row) = 90;
  EXPECT_TRUE(found().empty());
}

TEST_F(StuckTest, ItsReadingsAreLeftOutAndNoOthers) {
  const size_t before = sensors().readings.size();
  const double chipBefore = chip(299);
  const double caseBehind = sensors().readings[sensors().rows[1000].first + 1].celsius;
  leaveOut(measured.recordings, {{0, 1, 0, 300, 700, 33}});
  EXPECT_EQ(sensors().readings.size(), before - 400);
  EXPECT_EQ(chip(299), chipBefore);
  for (size_t row = 300; row < 700; ++row) {
    ASSERT_EQ(sensors().rows[row].end - sensors().rows[row].first, 1U) << row;
    ASSERT_EQ(sensors().readings[sensors().rows[row].first].output, 1U) << row;
  }
  EXPECT_EQ(sensors().readings[sensors().rows[1000].first + 1].celsius, caseBehind);
}

TEST_F(StuckTest, TwentyReadingsAlikeAreNoChance) {
  // While the panel's and the CPU's heat comes: by much more than what the noise of a tenth hides.
  for (size_t i = 0; i < 4; ++i)
    measured.misfit.likelihoods[i].noise = 0.1;
  for (size_t row = 35; row < 55; ++row)
    chip(row) = 90;
  ASSERT_EQ(found().size(), 1U);
  EXPECT_EQ(found()[0].end, 55U);
  chip(54) = 91;
  EXPECT_TRUE(found().empty());
}

TEST_F(StuckTest, ASensorWhoseHeatStaysIsAtRest) {
  fit_examples::Measured resting;
  resting.recordings[0].files[0].changes = {{0, RecordedChange::Kind::kLoad, 0, 0},
                                            {0, RecordedChange::Kind::kLoad, 1, 0}};
  for (Reading& reading : resting.recordings[0].files[1].readings)
    reading.celsius = 60;
  resting.misfit.likelihoods.assign(4, {1, 0});
  // The model goes down from 24 degrees, by less than four times the noise.
  resting.values.tail(3).array() = 22;
  EXPECT_TRUE(stuckOf(resting.misfit, resting.values).empty());
}

TEST_F(StuckTest, OneThatIsNearToWhatTheModelHasIsNotStuck) {
  double low = chip(300);
  double high = low;
  for (size_t row = 300; row < 700; ++row) {
    low = std::min(low, chip(row));
    high = std::max(high, chip(row));
  }
  const double middle = (low + high) / 2;
  const double apart = (high - low) / 2;
  for (size_t row = 300; row < 700; ++row)
    chip(row) = middle;
  measured.misfit.likelihoods[0].noise = apart / 5 * 1.01;
  EXPECT_TRUE(found().empty());
  measured.misfit.likelihoods[0].noise = apart / 5 * 0.99;
  EXPECT_EQ(found().size(), 1U);
}

TEST_F(StuckTest, OneThatIsStuckMostOfTheTimeIsTakenToHaveTheUsualNoise) {
  // The fit took what is between the model and the sensor for noise.
  measured.misfit.likelihoods[0].noise = 8;
  for (size_t row = 300; row < 890; ++row)
    chip(row) = 24;
  EXPECT_TRUE(found().empty());
  for (size_t row = 890; row < 900; ++row)
    chip(row) = 24;
  ASSERT_EQ(found().size(), 1U);
  EXPECT_EQ(found()[0].end, 900U);
}

TEST_F(StuckTest, TwoTimesAreTwo) {
  for (size_t row = 100; row < 300; ++row)
    chip(row) = 33;
  for (size_t row = 500; row < 800; ++row)
    chip(row) = 34;
  ASSERT_EQ(found().size(), 2U);
  EXPECT_EQ(found()[0].end, 300U);
  EXPECT_EQ(found()[1].first, 500U);
  EXPECT_EQ(found()[1].celsius, 34);
}

TEST_F(StuckTest, OfALogThereIsNoLine) {
  for (ReadingRow& row : sensors().rows)
    row.line = 0;
  EXPECT_EQ(inWords({0, 1, 1, 0, 10, 24.5}, measured.recordings, {"chip_t", "case_t"}),
            "sensors.csv: 'case_t' is stuck at 24.5 from 0:00:00 to 0:00:09: left out");
}

TEST_F(StuckTest, OfSeveralEachIsLeftOut) {
  const size_t before = sensors().readings.size();
  leaveOut(measured.recordings, {{0, 1, 0, 300, 400, 33}, {0, 1, 1, 350, 500, 33}});
  EXPECT_EQ(sensors().readings.size(), before - 250);
  EXPECT_EQ(sensors().rows[360].end, sensors().rows[360].first);
  EXPECT_EQ(sensors().rows[450].end - sensors().rows[450].first, 1U);
  EXPECT_EQ(sensors().rows[500].end - sensors().rows[500].first, 2U);
}

} // namespace
