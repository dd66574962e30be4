#include "simulate/Random.h"

#include <cmath>

#include <gtest/gtest.h>

namespace {

TEST(RandomTest, IsTheSameOnEveryMachine) {
  Random random(0);
  EXPECT_EQ(random.next(), 0xE220A8397B1DCDAFU);
  EXPECT_EQ(random.next(), 0x6E789E6AA1B965F4U);
  EXPECT_EQ(random.next(), 0x06C45D188009454FU);
}

TEST(RandomTest, NormalNumbersHaveTheirMeanAndDeviation) {
  constexpr int kCount = 100'000;
  Random random(1);
  double sum = 0;
  double squares = 0;
  int within = 0;
  for (int i = 0; i < kCount; ++i) {
    const double value = random.normal();
    ASSERT_LE(std::abs(value), 6);
    sum += value;
    squares += value * value;
    within += std::abs(value) < 1 ? 1 : 0;
  }
  // Four standard errors.
  EXPECT_NEAR(sum / kCount, 0, 0.013);
  EXPECT_NEAR(squares / kCount, 1, 0.018);
  EXPECT_NEAR(static_cast<double>(within) / kCount, 0.6827, 0.01);
}

} // namespace
