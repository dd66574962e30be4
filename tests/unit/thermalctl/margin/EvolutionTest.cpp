#include "margin/Evolution.h"

#include <algorithm>
#include <cmath>
#include <functional>
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

} // namespace
