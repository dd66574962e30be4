#include "fit/Stuck.h"

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

} // namespace
