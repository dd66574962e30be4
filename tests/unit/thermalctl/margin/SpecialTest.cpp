#include "margin/Special.h"

#include <cmath>

#include <gtest/gtest.h>

namespace {

TEST(SpecialTest, TheNormalDistributionAndItsInverse) {
  EXPECT_DOUBLE_EQ(normalProbability(0), 0.5);
  EXPECT_NEAR(normalProbability(1.959963984540054), 0.975, 1e-15);
  EXPECT_NEAR(normalQuantile(0.975), 1.959963984540054, 1e-12);
  for (double standard = -7; standard <= 5; standard += 0.25)
    EXPECT_NEAR(normalQuantile(normalProbability(standard)), standard, 1e-9);
}

// With a = 1 and with b = 1 it has a closed form.
TEST(SpecialTest, TheBetaDistributionsInverse) {
  for (const double probability : {1e-9, 0.025, 0.5, 0.975}) {
    for (const double count : {1.0, 10.0, 10'000.0, 1e6}) {
      const double exact = -std::expm1(std::log1p(-probability) / count);
      EXPECT_NEAR(betaQuantile(1, count, probability) / exact, 1, 1e-9) << count;
      EXPECT_NEAR(betaQuantile(count, 1, probability), std::pow(probability, 1 / count), 1e-12);
    }
  }
}

TEST(SpecialTest, AFactorOfWhatIsPositiveDefinite) {
  const auto factor = choleskyOf({1, 0.6, 0.6, 1}, 2);
  ASSERT_TRUE(factor);
  EXPECT_NEAR((*factor)[0], 1, 1e-15);
  EXPECT_EQ((*factor)[1], 0);
  EXPECT_NEAR((*factor)[2], 0.6, 1e-15);
  EXPECT_NEAR((*factor)[3], 0.8, 1e-15);
  EXPECT_FALSE(choleskyOf({1, 1, 1, 1}, 2));
  EXPECT_FALSE(choleskyOf({1, 0.9, 0.9, 0.9, 1, -0.9, 0.9, -0.9, 1}, 3));
}

} // namespace
