#include "margin/Distribution.h"

#include <cmath>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "margin/Population.h"
#include "margin/Special.h"

namespace {

// At the middles of so many equal parts of the probability.
template <typename Visit> void eachPart(const Distribution& distribution, Visit visit) {
  constexpr int kParts = 100'000;
  for (int i = 0; i < kParts; ++i)
    visit(distribution.at(normalQuantile((i + 0.5) / kParts)), 1.0 / kParts);
}

struct Moments {
  double mean = 0;
  double deviation = 0;
};

Moments momentsOf(const Distribution& distribution) {
  Moments moments;
  double squares = 0;
  eachPart(distribution, [&](double value, double share) {
    moments.mean += value * share;
    squares += value * value * share;
  });
  moments.deviation = std::sqrt(squares - moments.mean * moments.mean);
  return moments;
}

struct Case {
  std::string what;
  Distribution distribution;
  double mean;
  double deviation;
};

TEST(DistributionTest, HasTheMomentsThatItsKindHas) {
  const double variance = std::exp(0.09) - 1;
  const Case cases[] = {
      {"normal", Distribution::normal(3, 2), 3, 2},
      {"lognormal", Distribution::lognormal(5, 0.3), 5 * std::exp(0.045),
       5 * std::exp(0.045) * std::sqrt(variance)},
      {"uniform", Distribution::uniform(-1, 5), 2, 6 / std::sqrt(12.0)},
      {"triangular", Distribution::triangular(0, 1, 5), 2, std::sqrt((25 + 1 - 5) / 18.0)},
      {"list", Distribution::list({{10, 1}, {2, 3}}), 4, std::sqrt(12.0)}};
  for (const auto& [what, distribution, mean, deviation] : cases) {
    const Moments moments = momentsOf(distribution);
    EXPECT_NEAR(moments.mean, mean, 1e-3) << what;
    EXPECT_NEAR(moments.deviation, deviation, 3e-3) << what;
  }
}

double shareWithin(const Distribution& distribution, double low, double high) {
  double share = 0;
  eachPart(distribution, [&](double value, double part) {
    if (value >= low && value <= high) share += part;
  });
  return share;
}

TEST(DistributionTest, AnIntervalHolds95PerCent) {
  for (const auto& distribution :
       {Distribution::normalWithin(0.8, 1.4), Distribution::lognormalWithin(0.8, 1.4),
        Distribution::uniformWithin(0.8, 1.4), Distribution::triangularWithin(0.8, 1.4)}) {
    EXPECT_NEAR(shareWithin(distribution, 0.8, 1.4), 0.95, 1e-4);
    EXPECT_NEAR(shareWithin(distribution, -100, 0.8), 0.025, 1e-4);
  }
}

TEST(DistributionTest, GrowsWithTheStandardNumber) {
  Distribution cut = Distribution::triangular(0, 1, 5);
  ASSERT_TRUE(cut.cut(0.5, 4));
  for (const auto& distribution :
       {cut, Distribution::list({{10, 1}, {2, 3}}), Distribution::uniform(-1, 5)}) {
    double before = distribution.least();
    for (double standard = -kFarthest; standard <= kFarthest; standard += 0.01) {
      EXPECT_GE(distribution.at(standard), before);
      before = distribution.at(standard);
    }
    EXPECT_LE(before, distribution.most());
  }
}

TEST(DistributionTest, ACutOneKeepsItsShapeWithinItsEnds) {
  Distribution cut = Distribution::normal(0, 1);
  ASSERT_TRUE(cut.cut(-1, 2));
  EXPECT_GE(cut.least(), -1);
  EXPECT_LE(cut.most(), 2);
  // (phi(-1) - phi(2)) / (Phi(2) - Phi(-1))
  EXPECT_NEAR(momentsOf(cut).mean, (0.24197072 - 0.05399097) / (0.97724987 - 0.15865525), 1e-4);
  const double inside = normalProbability(1) - normalProbability(0);
  const double all = normalProbability(2) - normalProbability(-1);
  EXPECT_NEAR(shareWithin(cut, 0, 1), inside / all, 1e-4);
}

TEST(DistributionTest, NothingIsLeftBeyondItsEnds) {
  EXPECT_FALSE(Distribution::uniform(0, 1).cut(2, 3));
  EXPECT_FALSE(Distribution::normal(0, 1).cut(60, 70));
  EXPECT_TRUE(Distribution::uniform(0, 1).cut(0.5, 3));
}

TEST(DistributionTest, StandardNumbersAreStandardNormal) {
  constexpr size_t kUnits = 20'000;
  double sums[3] = {};
  double squares[3] = {};
  double product = 0;
  for (size_t unit = 1; unit <= kUnits; ++unit) {
    const std::vector<double> numbers = standardNumbers(7, unit, Stream::kUnit, 3);
    for (size_t i = 0; i < 3; ++i) {
      sums[i] += numbers[i];
      squares[i] += numbers[i] * numbers[i];
    }
    product += numbers[0] * numbers[1];
  }
  // Four deviations of each.
  for (size_t i = 0; i < 3; ++i) {
    EXPECT_NEAR(sums[i] / kUnits, 0, 4 / std::sqrt(kUnits));
    EXPECT_NEAR(squares[i] / kUnits, 1, 4 * std::sqrt(2.0 / kUnits));
  }
  EXPECT_NEAR(product / kUnits, 0, 4 / std::sqrt(kUnits));
}

TEST(DistributionTest, AUnitsNumbersDependOnSeedUnitAndStreamAlone) {
  const auto numbers = [](uint64_t seed, uint64_t unit, Stream stream, size_t count) {
    return standardNumbers(seed, unit, stream, count);
  };
  const std::vector<double> some = numbers(1, 4711, Stream::kUnit, 5);
  EXPECT_EQ(numbers(1, 4711, Stream::kUnit, 5), some);
  // More of them begin with the same.
  std::vector<double> more = numbers(1, 4711, Stream::kUnit, 8);
  more.resize(5);
  EXPECT_EQ(more, some);
  EXPECT_NE(numbers(2, 4711, Stream::kUnit, 5), some);
  EXPECT_NE(numbers(1, 4712, Stream::kUnit, 5), some);
  EXPECT_NE(numbers(1, 4711, Stream::kOther, 5), some);
  EXPECT_NE(noiseSeed(1, 1), noiseSeed(1, 2));
  EXPECT_NE(noiseSeed(1, 1), noiseSeed(2, 1));
}

} // namespace
