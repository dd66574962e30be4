#include "margin/Sobol.h"

#include <cmath>
#include <functional>
#include <vector>

#include <gtest/gtest.h>

#include "margin/Population.h"

namespace {

using Function = std::function<double(const std::vector<double>&)>;

std::vector<SobolIndex> indicesOf(const Function& function, size_t drivers, uint64_t samples,
                                  uint64_t seed) {
  SobolSums sums(drivers, 0);
  for (uint64_t sample = 1; sample <= samples; ++sample) {
    const std::vector<double> unit = standardNumbers(seed, sample, Stream::kUnit, drivers);
    const std::vector<double> other = standardNumbers(seed, sample, Stream::kOther, drivers);
    std::vector<double> figures = {function(unit), function(other)};
    for (size_t i = 0; i < drivers; ++i) {
      std::vector<double> mixed = unit;
      mixed[i] = other[i];
      figures.push_back(function(mixed));
    }
    sums.add(figures, weightsOf(seed, sample));
  }
  return sums.indices();
}

bool holds(const Known& known, double truth) {
  return known.interval.low <= truth && truth <= known.interval.high;
}

// Of a sum each driver has its share of the variance, alone and in all; here 9, 4 and 1 of 14.
TEST(SobolTest, TheIntervalsOfALinearFigureHoldItsShares) {
  const Function linear = [](const std::vector<double>& x) { return 3 * x[0] - 2 * x[1] + x[2]; };
  const double truths[] = {9 / 14.0, 4 / 14.0, 1 / 14.0};
  int held = 0;
  constexpr int kRuns = 60;
  for (uint64_t seed = 1; seed <= kRuns; ++seed) {
    const std::vector<SobolIndex> indices = indicesOf(linear, 3, 400, seed);
    ASSERT_EQ(indices.size(), 3U);
    for (size_t i = 0; i < 3; ++i) {
      held += holds(indices[i].first, truths[i]) + holds(indices[i].total, truths[i]);
      EXPECT_NEAR(indices[i].first.value, truths[i], 0.25);
      EXPECT_NEAR(indices[i].total.value, truths[i], 0.15);
    }
  }
  EXPECT_GE(held, 6 * kRuns * 0.90);
  EXPECT_LE(held, 6 * kRuns * 0.99);
}

// A product's variance is nobody's own.
TEST(SobolTest, WhatTwoDoTogetherIsInTheTotalAlone) {
  const Function product = [](const std::vector<double>& x) { return x[0] * x[1]; };
  const std::vector<SobolIndex> indices = indicesOf(product, 3, 20'000, 1);
  for (size_t i = 0; i < 2; ++i) {
    EXPECT_NEAR(indices[i].first.value, 0, 0.05);
    EXPECT_NEAR(indices[i].total.value, 1, 0.05);
  }
  EXPECT_NEAR(indices[2].first.value, 0, 1e-12);
  EXPECT_NEAR(indices[2].total.value, 0, 1e-12);
}

TEST(SobolTest, AFigureThatDoesNotVaryHasNone) {
  EXPECT_TRUE(indicesOf([](const std::vector<double>&) { return 5; }, 2, 10, 1).empty());
}

TEST(SobolTest, SamplesAreDrawnAgainAsOftenAsChanceHasIt) {
  double sum = 0;
  double squares = 0;
  constexpr int kSamples = 500;
  for (uint64_t sample = 1; sample <= kSamples; ++sample) {
    for (const uint8_t weight : weightsOf(1, sample)) {
      sum += weight;
      squares += weight * weight;
    }
  }
  const double count = kSamples * static_cast<double>(SobolSums::kReplicates);
  EXPECT_NEAR(sum / count, 1, 0.02);
  EXPECT_NEAR(squares / count - 1, 1, 0.05);
}

} // namespace
