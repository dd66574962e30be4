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

} // namespace
