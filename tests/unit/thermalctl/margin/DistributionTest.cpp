#include "margin/Distribution.h"

#include <algorithm>
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

TEST(DistributionTest, TheMiddleIsTheMedian) {
  EXPECT_DOUBLE_EQ(Distribution::normal(3, 2).at(0), 3);
  EXPECT_DOUBLE_EQ(Distribution::lognormal(5, 0.3).at(0), 5);
  EXPECT_DOUBLE_EQ(Distribution::uniform(-1, 5).at(0), 2);
  // Of a triangle of base 5 and of height 2 / 5, whose half lies on the falling side.
  EXPECT_NEAR(Distribution::triangular(0, 1, 5).at(0), 5 - std::sqrt(10.0), 1e-12);
  EXPECT_NEAR(Distribution::triangular(0, 4, 5).at(0), std::sqrt(10.0), 1e-12);
  // With its mode at an end.
  EXPECT_NEAR(Distribution::triangular(0, 0, 1).at(0), 1 - std::sqrt(0.5), 1e-12);
  EXPECT_NEAR(Distribution::triangular(0, 1, 1).at(0), std::sqrt(0.5), 1e-12);
}

TEST(DistributionTest, NoUnitIsBeyondItsEnds) {
  EXPECT_DOUBLE_EQ(Distribution::normal(3, 2).least(), 3 - 2 * kFarthest);
  EXPECT_DOUBLE_EQ(Distribution::normal(3, 2).most(), 3 + 2 * kFarthest);
  for (const Distribution& distribution :
       {Distribution::uniform(-1, 5), Distribution::triangular(-1, 0, 5)}) {
    EXPECT_NEAR(distribution.least(), -1, 1e-6);
    EXPECT_NEAR(distribution.most(), 5, 1e-6);
    EXPECT_GE(distribution.least(), -1);
    EXPECT_LE(distribution.most(), 5);
  }
}

// At the middles of a thousand equal parts of the probability.
std::vector<double> thousandOf(const Distribution& distribution) {
  std::vector<double> values;
  values.reserve(1000);
  for (int i = 0; i < 1000; ++i)
    values.push_back(distribution.at(normalQuantile((i + 0.5) / 1000)));
  return values;
}

TEST(DistributionTest, EveryKindKeepsItsShapeWhenItIsCut) {
  const struct {
    const char* what;
    Distribution whole;
    double least, most;
  } cases[] = {{"normal", Distribution::normal(3, 2), 2, 6},
               {"lognormal", Distribution::lognormal(5, 0.3), 4, 7},
               {"lognormal from below 0", Distribution::lognormal(5, 0.3), -4, 7},
               {"uniform", Distribution::uniform(-1, 5), 0, 9},
               {"rising", Distribution::triangular(0, 3, 5), 1, 2},
               {"falling", Distribution::triangular(0, 3, 5), 4, 9},
               {"both", Distribution::triangular(0, 3, 5), -1, 4}};
  for (const auto& [what, whole, least, most] : cases) {
    Distribution cut = whole;
    ASSERT_TRUE(cut.cut(least, most)) << what;
    std::vector<double> left;
    for (const double value : thousandOf(whole))
      if (value >= least && value <= most) left.push_back(value);
    const std::vector<double> values = thousandOf(cut);
    EXPECT_GE(values.front(), least) << what;
    EXPECT_LE(values.back(), most) << what;
    // What is left of the whole lies as it did.
    for (size_t i = 0; i < left.size(); ++i) {
      const auto below = std::lower_bound(values.begin(), values.end(), left[i]) - values.begin();
      EXPECT_NEAR(static_cast<double>(below) / 1000,
                  (static_cast<double>(i) + 0.5) / static_cast<double>(left.size()), 0.01)
          << what;
    }
  }
}

TEST(DistributionTest, AListHasItsValuesInOrderWithoutThoseThatNobodyHas) {
  const Distribution list = Distribution::list({{7, 0}, {10, 3}, {2, 1}, {5, 4}});
  EXPECT_EQ(list.steps(), (std::vector<double>{0.125, 0.625, 1}));
  EXPECT_EQ(list.least(), 2);
  EXPECT_EQ(list.at(normalQuantile(0.124)), 2);
  EXPECT_EQ(list.at(normalQuantile(0.126)), 5);
  EXPECT_EQ(list.at(normalQuantile(0.624)), 5);
  EXPECT_EQ(list.at(normalQuantile(0.626)), 10);
  EXPECT_EQ(list.most(), 10);
  EXPECT_TRUE(Distribution::uniform(0, 1).steps().empty());
}

} // namespace
