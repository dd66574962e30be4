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

} // namespace
