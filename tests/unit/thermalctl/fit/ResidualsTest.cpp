#include "fit/Residuals.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "thermalctl/fit/FitExamples.h"

namespace {

class ResidualsTest : public testing::Test {
protected:
  std::vector<std::string> told() const {
    return oddResiduals(measured.misfit, measured.values, {"chip_t", "case_t", "chip", "case"});
  }

  fit_examples::Measured measured;
};

TEST_F(ResidualsTest, NoiseIsNotTold) {
  for (size_t row = 0; row < 1100; ++row)
    measured.addToChip(row, row + 1, row % 2 == 0 ? 0.3 : -0.3);
  EXPECT_TRUE(told().empty());
}

TEST_F(ResidualsTest, AStretchThatIsOffIsToldWithItsSensorAndByHowMuch) {
  measured.addToChip(400, 600, 0.5);
  ASSERT_EQ(told().size(), 1U);
  EXPECT_NE(told()[0].find("of chip_t in loads.csv,sensors.csv"), std::string::npos) << told()[0];
  EXPECT_NE(told()[0].find("+0.50 C"), std::string::npos) << told()[0];
}

TEST_F(ResidualsTest, WhatIsOffByLittleIsOfNoInterest) {
  measured.addToChip(400, 600, 0.2);
  EXPECT_TRUE(told().empty());
}

TEST_F(ResidualsTest, AStretchSoFarOffThatEachReadingIsAstrayIsToldToo) {
  measured.addToChip(400, 600, -10);
  ASSERT_EQ(told().size(), 1U);
  EXPECT_NE(told()[0].find("-10.00 C"), std::string::npos) << told()[0];
}

TEST_F(ResidualsTest, AReadingThatIsAstrayAloneIsNotTold) {
  measured.addToChip(500, 501, 40);
  EXPECT_TRUE(told().empty());
}

TEST_F(ResidualsTest, ItIsToldWhenItIsAndHowItGoesOn) {
  // Blocks of 49 readings, the first from 5 s on: by half a degree in the third and the fourth.
  measured.addToChip(98, 196, 0.5);
  ASSERT_EQ(told().size(), 1U);
  const std::string sentence = told()[0];
  EXPECT_EQ(
      sentence.rfind("the residuals of chip_t in loads.csv,sensors.csv are not noise: +0.50 C "
                     "about 0:01:38 to 0:03:15, ",
                     0),
      0U)
      << sentence;
  // As it stays the same, the sign in front of 0 is chance.
  EXPECT_NE(sentence.find("0.000 C a minute: a path or a source may be missing"), std::string::npos)
      << sentence;
}

TEST_F(ResidualsTest, ASlopeIsThatOfAMinute) {
  measured.misfit.likelihoods[0].noise = 1;
  for (size_t row = 98; row < 147; ++row)
    measured.addToChip(row, row + 1, 1 + 0.005 * (static_cast<double>(row) - 122));
  ASSERT_EQ(told().size(), 1U);
  EXPECT_NE(told()[0].find("+1.00 C about 0:01:38 to 0:02:26, +0.300 C a minute"),
            std::string::npos)
      << told()[0];
}

TEST_F(ResidualsTest, OfSeveralStretchesTheWorstIsTold) {
  measured.addToChip(98, 147, 0.5);
  measured.addToChip(294, 343, -0.75);
  measured.addToChip(490, 539, 0.625);
  ASSERT_EQ(told().size(), 1U);
  EXPECT_NE(told()[0].find("-0.75 C about 0:04:54 to 0:05:42"), std::string::npos) << told()[0];
}

TEST_F(ResidualsTest, OneThatGoesOnIsAsBadAsItsWorstPart) {
  measured.addToChip(98, 147, 0.5);
  measured.addToChip(147, 196, 0.75);
  ASSERT_EQ(told().size(), 1U);
  EXPECT_NE(told()[0].find("+0.75 C about 0:01:38 to 0:03:15"), std::string::npos) << told()[0];
}

TEST_F(ResidualsTest, OneToTheOtherSideIsAnother) {
  measured.addToChip(98, 147, 0.5);
  measured.addToChip(147, 196, -0.75);
  ASSERT_EQ(told().size(), 1U);
  EXPECT_NE(told()[0].find("-0.75 C about 0:02:27 to 0:03:15"), std::string::npos) << told()[0];
}

TEST_F(ResidualsTest, EachSensorIsToldByItself) {
  RecordedFile& file = measured.recordings[0].files[1];
  for (size_t row = 98; row < 196; ++row)
    for (size_t i = file.rows[row].first; i < file.rows[row].end; ++i)
      file.readings[i].celsius += 0.5;
  ASSERT_EQ(told().size(), 2U);
  EXPECT_NE(told()[0].find("of chip_t in"), std::string::npos);
  EXPECT_NE(told()[1].find("of case_t in"), std::string::npos);
}

TEST_F(ResidualsTest, MoreNoiseHidesMore) {
  measured.addToChip(98, 196, 0.5);
  // Five standard deviations of the mean of 49 readings: five sevenths of the noise.
  measured.misfit.likelihoods[0].noise = 0.69;
  EXPECT_EQ(told().size(), 1U);
  measured.misfit.likelihoods[0].noise = 0.71;
  EXPECT_TRUE(told().empty());
}

TEST_F(ResidualsTest, AStepHidesWhatLiesWithinIt) {
  measured.misfit.likelihoods[0] = {0.05, 1};
  measured.addToChip(98, 196, 0.4);
  EXPECT_TRUE(told().empty());
  measured.addToChip(98, 196, 0.9);
  EXPECT_EQ(told().size(), 1U);
}

} // namespace
