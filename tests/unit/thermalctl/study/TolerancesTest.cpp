#include "study/Tolerances.h"

#include <gtest/gtest.h>

namespace {

TEST(TolerancesTest, AreAmountsOrShares) {
  Tolerances tolerances = usualTolerances();
  EXPECT_EQ(setTolerance("peak", "0.5", tolerances).wrong, "");
  EXPECT_TRUE(tolerances.at("peak").allows(40, 40.5));
  EXPECT_TRUE(tolerances.at("peak").allows(40, 39.5));
  EXPECT_FALSE(tolerances.at("peak").allows(40, 40.51));
  EXPECT_EQ(setTolerance("joules", "2%", tolerances).wrong, "");
  EXPECT_TRUE(tolerances.at("joules").allows(100, 102));
  EXPECT_FALSE(tolerances.at("joules").allows(100, 102.1));
  EXPECT_EQ(setTolerance("p99", "0", tolerances).wrong, "");
  EXPECT_FALSE(tolerances.at("p99").allows(40, 40.001));
}

TEST(TolerancesTest, OfNoFigureAreWrong) {
  Tolerances tolerances = usualTolerances();
  const ToleranceProblem problem = setTolerance("paek", "0.5", tolerances);
  EXPECT_EQ(problem.wrong, "there is no figure 'paek'");
  EXPECT_EQ(problem.hint, "did you mean 'peak'?");
  for (const char* amount : {"", "x", "-1", "1C", "%"})
    EXPECT_NE(setTolerance("peak", amount, tolerances).wrong.find("is no tolerance"),
              std::string::npos)
        << amount;
}

TEST(TolerancesTest, AShareIsOfTheSizeOfTheEarlierValue) {
  const Tolerance tenth{0.1, true};
  EXPECT_TRUE(tenth.allows(-100, -110));
  EXPECT_FALSE(tenth.allows(-100, -111));
  EXPECT_TRUE(tenth.allows(0, 0));
  EXPECT_FALSE(tenth.allows(0, 0.001));
  // Of the later value it would be enough.
  EXPECT_FALSE(tenth.allows(90, 100));
}

TEST(TolerancesTest, WhatOnlyRoundingMakesIsTheSame) {
  EXPECT_TRUE(Tolerance().allows(0.3, 0.1 + 0.2));
  EXPECT_FALSE(Tolerance().allows(0.3, 0.3 + 1e-8));
}

TEST(TolerancesTest, OneThatIsWrongLeavesTheUsual) {
  Tolerances tolerances = usualTolerances();
  setTolerance("peak", "lots", tolerances);
  setTolerance("skin", "1", tolerances);
  EXPECT_EQ(tolerances.size(), usualTolerances().size());
  EXPECT_EQ(tolerances.at("peak").amount, usualTolerances().at("peak").amount);
}

TEST(TolerancesTest, AnAmountTakesThePlaceOfAShare) {
  Tolerances tolerances = usualTolerances();
  ASSERT_TRUE(tolerances.at("joules").relative);
  setTolerance("joules", "5", tolerances);
  EXPECT_TRUE(tolerances.at("joules").allows(1000, 1005));
  EXPECT_FALSE(tolerances.at("joules").allows(1000, 1006));
}

} // namespace
