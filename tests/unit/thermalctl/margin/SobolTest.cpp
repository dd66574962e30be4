#include "margin/Sobol.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <utility>
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

// By hand, of two samples: the mean is 1.5 and the variance 1.25.
TEST(SobolTest, TheIndicesAreThoseOfTheSums) {
  const std::vector<uint8_t> once(SobolSums::kReplicates, 1);
  SobolSums sums(1, 0);
  sums.add({1, 3, 2}, once);
  EXPECT_TRUE(sums.indices().empty());
  sums.add({2, 0, 2}, once);
  EXPECT_EQ(sums.samples(), 2U);
  const SobolIndex index = sums.indices().at(0);
  EXPECT_DOUBLE_EQ(index.first.value, 3 * 1 / 2.0 / 1.25);
  EXPECT_DOUBLE_EQ(index.total.value, 1 * 1 / 2.0 / 2 / 1.25);
  // Each of the replicates has both of them once.
  EXPECT_DOUBLE_EQ(index.first.interval.low, index.first.value);
  EXPECT_DOUBLE_EQ(index.first.interval.high, index.first.value);
}

TEST(SobolTest, AnIntervalIsThatOfTheReplicatesAndLeavesOutAFortiethOnEitherSide) {
  SobolSums sums(1, 0);
  // Six of them have the first sample alone, five the second one three times, the others both.
  std::vector<uint8_t> first(SobolSums::kReplicates, 1);
  std::vector<uint8_t> second(SobolSums::kReplicates, 1);
  std::fill_n(second.begin(), 6, 0);
  std::fill_n(first.rbegin(), 5, 0);
  std::fill_n(second.rbegin(), 5, 3);
  sums.add({1, 3, 2}, first);
  sums.add({2, 0, 3}, second);
  const SobolIndex index = sums.indices().at(0);
  EXPECT_DOUBLE_EQ(index.total.value, 1 / 2.0 / 1.25);
  // 0.5 of the variance 1 either way; of these eleven five lie above, but the least is that of
  // both.
  EXPECT_DOUBLE_EQ(index.total.interval.low, 0.4);
  EXPECT_DOUBLE_EQ(index.total.interval.high, 0.5);
  // 3 of the first alone, and none of the second: the one is told, the other is outside.
  EXPECT_DOUBLE_EQ(index.first.interval.high, 3);
  EXPECT_DOUBLE_EQ(index.first.interval.low, 1.2);
}

TEST(SobolTest, AsManyAreLeftOutAsChanceHasIt) {
  double shares[4] = {};
  constexpr int kSamples = 500;
  for (uint64_t sample = 1; sample <= kSamples; ++sample)
    for (const uint8_t weight : weightsOf(2, sample))
      if (weight < 4) shares[weight] += 1.0 / kSamples / SobolSums::kReplicates;
  const double none = std::exp(-1);
  for (const auto& [weight, share] :
       {std::pair(0, none), std::pair(1, none), std::pair(2, none / 2), std::pair(3, none / 6)})
    EXPECT_NEAR(shares[weight], share, 0.006) << weight;
}

TEST(SobolTest, WeightsDependOnTheSeedAndTheSampleAlone) {
  EXPECT_EQ(weightsOf(1, 7), weightsOf(1, 7));
  EXPECT_EQ(weightsOf(1, 7).size(), SobolSums::kReplicates);
  EXPECT_NE(weightsOf(1, 7), weightsOf(1, 8));
  EXPECT_NE(weightsOf(1, 7), weightsOf(2, 7));
}

} // namespace
