#include "margin/Evolution.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <map>
#include <vector>

#include <gtest/gtest.h>

#include "margin/Population.h"

namespace {

using Coordinates = Evolution::Point;

// The least value found, by so many evaluations.
double leastOf(const std::function<double(const Coordinates&)>& function, const Coordinates& start,
               size_t evaluations) {
  Evolution evolution(start, 0.25);
  double least = function(start);
  uint64_t drawn = 0;
  for (size_t done = 0; done < evaluations && !evolution.isStalled(); done += evolution.size()) {
    const std::vector<Coordinates> points = evolution.ask(
        standardNumbers(7, ++drawn, Stream::kSearch, evolution.size() * start.size()));
    std::vector<double> values;
    values.reserve(points.size());
    for (const Coordinates& point : points)
      values.push_back(function(point));
    least = std::min(least, *std::min_element(values.begin(), values.end()));
    evolution.tell(points, values);
  }
  return least;
}

TEST(EvolutionTest, FindsTheMiddleOfABowl) {
  const auto bowl = [](const Coordinates& point) {
    double sum = 0;
    for (const double each : point)
      sum += (each - 0.3) * (each - 0.3);
    return sum;
  };
  EXPECT_LT(leastOf(bowl, Coordinates(10, 0.9), 1500), 1e-3);
}

// What it learns of how coordinates go together is what tells it from a walk along the axes.
TEST(EvolutionTest, FollowsAValleyThatLiesAcrossAllAxes) {
  const auto valley = [](const Coordinates& point) {
    double along = 0;
    for (const double each : point)
      along += each - 0.5;
    double across = 0;
    for (size_t i = 0; i + 1 < point.size(); ++i)
      across += (point[i] - point[i + 1]) * (point[i] - point[i + 1]);
    return along * along + 1000 * across;
  };
  const Coordinates start = {0.05, 0.05, 0.05, 0.05, 0.05};
  EXPECT_GT(valley(start), 5);
  EXPECT_LT(leastOf(valley, start, 2000), 0.05);
}

TEST(EvolutionTest, ReachesACornerAndStaysInTheCube) {
  const auto corner = [](const Coordinates& point) {
    double sum = 0;
    for (const double each : point) {
      EXPECT_TRUE(each >= 0 && each <= 1) << each;
      sum -= each;
    }
    return sum;
  };
  EXPECT_LT(leastOf(corner, Coordinates(20, 0.5), 1500), -19.8);
}

TEST(EvolutionTest, WhereNothingGetsBetterItStalls) {
  Evolution evolution({0.5, 0.5}, 0.25);
  size_t generations = 0;
  for (; !evolution.isStalled(); ++generations) {
    ASSERT_LT(generations, 100U);
    const std::vector<Coordinates> points =
        evolution.ask(standardNumbers(1, generations, Stream::kSearch, evolution.size() * 2));
    evolution.tell(points, std::vector<double>(points.size(), 1));
  }
  EXPECT_GT(generations, 5U);
}

TEST(EvolutionTest, APointThatWasMovedFarOffThrowsNothingOffBalance) {
  Evolution evolution({0.5, 0.5, 0.5}, 0.01);
  for (uint64_t drawn = 1; drawn < 30; ++drawn) {
    std::vector<Coordinates> points =
        evolution.ask(standardNumbers(1, drawn, Stream::kSearch, evolution.size() * 3));
    points.front() = {1, 0, 1};
    std::vector<double> values(points.size(), 1);
    values.front() = 0;
    evolution.tell(points, values);
    for (const Coordinates& point : points)
      for (const double each : point)
        ASSERT_TRUE(std::isfinite(each));
  }
}

TEST(EvolutionTest, AGenerationGrowsWithTheLogarithmOfTheDimensions) {
  for (const auto& [dimensions, size] :
       std::map<size_t, size_t>{{1, 4}, {2, 6}, {3, 7}, {5, 8}, {10, 10}, {20, 12}, {100, 17}})
    EXPECT_EQ(Evolution(Coordinates(dimensions, 0.5), 0.1).size(), size) << dimensions;
}

TEST(EvolutionTest, TheFirstGenerationLiesAroundItsStartWithinTheCube) {
  const Evolution evolution({0.25, 0.75}, 0.1);
  std::vector<double> standard(evolution.size() * 2);
  standard[2] = 1;
  standard[5] = -2;
  standard[6] = -3;
  standard[7] = 3;
  const std::vector<Coordinates> points = evolution.ask(standard);
  ASSERT_EQ(points.size(), evolution.size());
  EXPECT_EQ(points[0], (Coordinates{0.25, 0.75}));
  EXPECT_DOUBLE_EQ(points[1][0], 0.35);
  EXPECT_DOUBLE_EQ(points[1][1], 0.75);
  EXPECT_DOUBLE_EQ(points[2][1], 0.55);
  EXPECT_EQ(points[3], (Coordinates{0, 1}));
}

TEST(EvolutionTest, TheNextGenerationLiesAroundTheBetterHalf) {
  Evolution evolution({0.5}, 0.1);
  ASSERT_EQ(evolution.size(), 4U);
  evolution.tell({{0.9}, {0.4}, {0.45}, {0.6}}, {4, 1, 2, 3});
  // By the logarithms of 2.5, and of 2.5 halves.
  const double first = std::log(2.5) / (std::log(2.5) + std::log(1.25));
  EXPECT_NEAR(evolution.ask({0, 0, 0, 0})[0][0], first * 0.4 + (1 - first) * 0.45, 1e-12);
}

// As the tutorial's formulas have it in one dimension, of a move that was likely and of one so far
// that the path of the mean is not followed.
TEST(EvolutionTest, TheNextGenerationIsAsWideAsTheTutorialHasIt) {
  const auto widthAfter = [](double step, const std::vector<Coordinates>& points) {
    Evolution evolution({0.5}, step);
    evolution.tell(points, {4, 1, 2, 3});
    const std::vector<Coordinates> next = evolution.ask({0, 1, 0, 0});
    return std::abs(next[1][0] - next[0][0]);
  };
  EXPECT_NEAR(widthAfter(0.1, {{0.9}, {0.4}, {0.45}, {0.6}}), 0.105903236485, 1e-9);
  EXPECT_NEAR(widthAfter(0.01, {{0.9}, {0.8}, {0.85}, {0.6}}), 0.014456633148, 1e-9);
}

TEST(EvolutionTest, OfEqualOnesTheEarlierIsTheBetter) {
  Evolution one({0.5}, 0.1);
  Evolution other({0.5}, 0.1);
  one.tell({{0.4}, {0.6}, {0.45}, {0.55}}, {1, 1, 1, 1});
  other.tell({{0.4}, {0.6}, {0.45}, {0.55}}, {1, 2, 3, 4});
  EXPECT_EQ(one.ask({1, 0, -1, 2}), other.ask({1, 0, -1, 2}));
}

TEST(EvolutionTest, AStepThatIsTooSmallToMatterIsStalled) {
  EXPECT_TRUE(Evolution({0.5, 0.5}, 0.0019).isStalled());
  EXPECT_FALSE(Evolution({0.5, 0.5}, 0.0021).isStalled());
}

} // namespace
