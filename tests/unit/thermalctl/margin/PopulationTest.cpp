#include "margin/Population.h"

#include <cmath>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

using Words32 = std::vector<uint32_t>;
using Numbers = std::vector<double>;
using IndexLists = std::vector<std::vector<size_t>>;

// The generator's published numbers for a counter and a key of zeros.
TEST(PopulationTest, TheFirstNumbersAreThoseOfThePublishedGenerator) {
  EXPECT_EQ(randomWords(0, 0, Stream::kUnit, 4),
            (Words32{0x6627e8d5, 0xe169c58d, 0xbc57ac4c, 0x9b00dbd8}));
  const Numbers numbers = standardNumbers(0, 0, Stream::kUnit, 2);
  EXPECT_NEAR(normalProbability(numbers[0]), 0x6627e8d5e169c58dp-64, 1e-12);
  EXPECT_NEAR(normalProbability(numbers[1]), 0xbc57ac4c9b00dbd8p-64, 1e-12);
}

TEST(PopulationTest, MoreWordsBeginWithTheSame) {
  const Words32 all = randomWords(1, 2, Stream::kResampling, 13);
  for (size_t count = 0; count <= all.size(); ++count)
    EXPECT_EQ(randomWords(1, 2, Stream::kResampling, count),
              Words32(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(count)));
}

TEST(PopulationTest, SeedsAndUnitsDifferInAllOfTheirBits) {
  const Words32 plain = randomWords(1, 1, Stream::kUnit, 8);
  for (int bit = 1; bit < 64; ++bit) {
    const uint64_t other = 1 | uint64_t{1} << bit;
    EXPECT_NE(randomWords(other, 1, Stream::kUnit, 8), plain) << bit;
    EXPECT_NE(randomWords(1, other, Stream::kUnit, 8), plain) << bit;
    EXPECT_NE(noiseSeed(1, other), noiseSeed(1, 1)) << bit;
    EXPECT_NE(noiseSeed(other, 1), noiseSeed(1, 1)) << bit;
  }
}

TEST(PopulationTest, StreamsOfAUnitHaveNothingInCommon) {
  const Stream streams[] = {Stream::kUnit, Stream::kOther, Stream::kNoise, Stream::kResampling,
                            Stream::kSearch};
  for (const Stream one : streams)
    for (const Stream other : streams)
      EXPECT_EQ(standardNumbers(1, 1, one, 3) == standardNumbers(1, 1, other, 3), one == other);
}

TEST(PopulationTest, WithoutAFactorNumbersStayAsTheyWere) {
  EXPECT_EQ(correlated({1, -2, 9}, {}), (Numbers{1, -2, 9}));
}

TEST(PopulationTest, AFactorMixesEachNumberWithThoseBeforeIt) {
  const SquareMatrix factor = {1, 0, 0, 0.6, 0.8, 0, -0.5, 0.25, 0.5};
  const Numbers numbers = correlated({1, 2, -4}, factor);
  EXPECT_DOUBLE_EQ(numbers[0], 1);
  EXPECT_DOUBLE_EQ(numbers[1], 0.6 + 1.6);
  EXPECT_DOUBLE_EQ(numbers[2], -0.5 + 0.5 - 2);
}

TEST(PopulationTest, NoCorrelatedNumberIsFurtherOutThanAnyThatIsDrawn) {
  const SquareMatrix factor = {1, 0, 0.6, 0.8};
  EXPECT_EQ(correlated({8, 8}, factor), (Numbers{8, kFarthest}));
  EXPECT_EQ(correlated({-8, -8}, factor), (Numbers{-8, -kFarthest}));
}

// Both act on the ambient.
Population ofTheAmbient() {
  const auto set = [](RunInput& run, const Drawn& drawn) {
    run.plant.ambient = drawn.of(run.plant.ambient);
  };
  Population population;
  population.variables = {{{"first"}, 25, {}, set}, {{"second"}, 25, {}, set}};
  return population;
}

TEST(PopulationTest, AUnitDoesNotDependOnTheOrderOfItsTolerances) {
  Population population = ofTheAmbient();
  population.spreads = {{"double", "", Drawn::As::kFactor, Distribution::list({{2, 1}}), {1}},
                        {"thirty", "", Drawn::As::kValue, Distribution::list({{30, 1}}), {0}}};
  RunInput nominal;
  nominal.plant.ambient = 25;
  EXPECT_EQ(population.unit(nominal, {0, 0}).plant.ambient, 60);
  std::swap(population.spreads[0], population.spreads[1]);
  EXPECT_EQ(population.unit(nominal, {0, 0}).plant.ambient, 60);
  EXPECT_EQ(nominal.plant.ambient, 25);
}

TEST(PopulationTest, WhatVariesTogetherGetsOneNumberAndOthersTheirOwn) {
  Population population = ofTheAmbient();
  const Distribution plain = Distribution::normal(0, 1);
  population.spreads = {{"both", "", Drawn::As::kPlus, plain, {0, 1}}};
  RunInput nominal;
  nominal.plant.ambient = 25;
  EXPECT_DOUBLE_EQ(population.unit(nominal, {1.5}).plant.ambient, 28);
  population.spreads = {{"one", "", Drawn::As::kPlus, plain, {0}},
                        {"other", "", Drawn::As::kPlus, plain, {1}}};
  EXPECT_DOUBLE_EQ(population.unit(nominal, {1.5, -4}).plant.ambient, 22.5);
  // The second follows the first, and has nothing of its own.
  population.factor = {1, 0, 0.5, 0};
  EXPECT_DOUBLE_EQ(population.unit(nominal, {2, -4}).plant.ambient, 28);
}

TEST(PopulationTest, WhatIsCorrelatedByWayOfAnotherIsOfOnePart) {
  const auto partsOf = [](size_t spreads, const SquareMatrix& factor) {
    Population population = ofTheAmbient();
    population.spreads.assign(spreads,
                              {"", "", Drawn::As::kValue, Distribution::normal(0, 1), {0}});
    population.factor = factor;
    return population.independentParts();
  };
  EXPECT_EQ(partsOf(0, {}), IndexLists());
  EXPECT_EQ(partsOf(3, {}), (IndexLists{{0}, {1}, {2}}));
  EXPECT_EQ(partsOf(3, {1, 0, 0, 0, 1, 0, 0, 0, 1}), (IndexLists{{0}, {1}, {2}}));
  EXPECT_EQ(partsOf(3, {1, 0, 0, 0, 1, 0, 0, -0.1, 1}), (IndexLists{{0}, {1, 2}}));
  // The third goes with both, and so do these.
  EXPECT_EQ(partsOf(3, {1, 0, 0, 0, 1, 0, 0.5, 0.5, 1}), (IndexLists{{0, 1, 2}}));
  EXPECT_EQ(partsOf(4, {1, 0, 0, 0, 0, 1, 0, 0, 0.5, 0, 1, 0, 0, 0.5, 0, 1}),
            (IndexLists{{0, 2}, {1, 3}}));
  // The last one joins two parts that had nothing in common before.
  EXPECT_EQ(partsOf(4, {1, 0, 0, 0, 0, 1, 0, 0, 0, 0.5, 1, 0, 0.5, 0, 0.5, 1}),
            (IndexLists{{0, 1, 2, 3}}));
}

} // namespace
