#include "margin/Shrinking.h"

#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "thermalctl/margin/SearchBoard.h"

namespace {

// What a point of a space is made into, as small as still breaks its first limit.
class ShrinkingTest : public testing::Test, protected SearchBoard {
protected:
  SearchResult::Smallest shrink(const SearchSpace& space, const std::vector<double>& point) {
    SearchResult::Worst worst;
    worst.point = point;
    worst.outcome = space.outcomeOf(space.at(point));
    EXPECT_TRUE(worst.outcome.broken.front());
    SearchResult::Smallest smallest = shrunk(space, 0, worst, [this] { return asked++ < most; });
    EXPECT_TRUE(space.holds(smallest.attempt));
    EXPECT_TRUE(space.outcomeOf(smallest.attempt).broken.front());
    return smallest;
  }

  // All full and all hot, in the middle of all else.
  static std::vector<double> full(const SearchSpace& space) {
    std::vector<double> point(space.dimensions(), 0.5);
    for (size_t i = 0; i < point.size(); ++i)
      if (space.areLoads()[i]) point[i] = 1;
    return point;
  }

  size_t asked = 0;
  size_t most = 1000;
};

constexpr char kVaried[] =
    "[[vary]]\nof = [\"resistance.die-ambient\"]\nuniform = { from = 5, to = 15 }\n"
    "[[vary]]\nof = [\"sensor.cpu.offset\"]\nas = \"plus\"\nuniform = { from = -1, to = 1 }\n"
    "[search]\nscenarios = []\n";

TEST_F(ShrinkingTest, WhatDoesNotMatterGoes) {
  const SearchSpace space = spaceOf(
      std::string(kVaried) + "steps = 3\nfaults = { cpu = [\"stuck\"] }\n", {"node:die=50C"});
  std::vector<double> point = full(space);
  point[0] = point[1] = 0.9;
  const Attempt attempt = shrink(space, point).attempt;
  EXPECT_FALSE(attempt.unit[0] || attempt.unit[1]);
  ASSERT_EQ(attempt.steps.size(), 1U);
  EXPECT_EQ(attempt.steps[0].time, 0);
  EXPECT_FALSE(attempt.steps[0].fault);
  // One of the two sources alone is enough.
  EXPECT_EQ(attempt.steps[0].loads[0], 0);
  EXPECT_LE(attempt.duration, 2000);
}

TEST_F(ShrinkingTest, OfTheUnitOnlyWhatBreaksItStaysAndItIsRound) {
  const SearchSpace space = spaceOf(std::string(kVaried) + "steps = 1\n", {"node:die=76C"});
  std::vector<double> point = full(space);
  // 14.47 K/W at 5 watts, and half a degree that nobody needs.
  point[0] = 0.77;
  point[1] = 0.75;
  const SearchResult::Smallest smallest = shrink(space, point);
  EXPECT_FALSE(smallest.attempt.unit[1]);
  ASSERT_TRUE(smallest.attempt.unit[0]);
  // Rounded to one digit it would be 10, and no more than 75 degrees.
  EXPECT_EQ(smallest.attempt.unit[0], 14);
  EXPECT_GT(smallest.simulations, 0U);
  EXPECT_EQ(smallest.budget, 0U);
  EXPECT_EQ(smallest.outcome.measured.front(), 25'000 + 5 * 14'000);
}

TEST_F(ShrinkingTest, TheStepThatBreaksItTakesTheTimeOfTheOthers) {
  const SearchSpace space =
      spaceOf("[search]\nscenarios = []\nsteps = 2\nlasts = [\"10s\", \"40s\"]\n"
              "load = { a = 0, b = [0, 1] }\nfaults = { cpu = [90] }\n",
              {"cpu=89C"});
  std::vector<double> point(space.dimensions(), 0.3);
  point.back() = 0.9; // the second step's fault
  const Attempt attempt = shrink(space, point).attempt;
  ASSERT_EQ(attempt.steps.size(), 1U);
  EXPECT_EQ(attempt.steps[0].fault->word, "90");
  EXPECT_EQ(attempt.steps[0].loads, (std::vector<double>{0, 0}));
}

TEST_F(ShrinkingTest, TimesBecomeShorterAsFarAsTheTimeAboveAllows) {
  const SearchSpace space = spaceOf(
      "[search]\nscenarios = []\nsteps = 1\nload = { a = 0, b = [0, 1] }\n", {"node:die=50C:7s"});
  const Attempt attempt = shrink(space, full(space)).attempt;
  // Above for more than seven seconds.
  EXPECT_EQ(attempt.duration, 8000);
}

TEST_F(ShrinkingTest, WhatIsHeldAgainstTheWholeTimeKeepsIt) {
  const SearchSpace space = spaceOf(
      "[search]\nscenarios = []\nsteps = 1\nload = { a = 0, b = [0, 1] }\n", {"p90:node:die=50C"});
  EXPECT_EQ(shrink(space, full(space)).attempt.duration, 60'000);
}

TEST_F(ShrinkingTest, TheAirOfALaterStepBecomesThatOfTheOneBefore) {
  const SearchSpace space = spaceOf(
      "[search]\nscenarios = []\nsteps = 2\nlasts = [\"10s\", \"40s\"]\nambient = [20, 30]\n"
      "load = { a = 0, b = 1 }\n",
      {"node:die=54.5C:15s"});
  const Attempt attempt = shrink(space, {0, 0.55, 0.9}).attempt;
  ASSERT_FALSE(attempt.steps.empty());
  for (const Attempt::Step& step : attempt.steps)
    EXPECT_EQ(step.ambient, attempt.steps[0].ambient);
}

TEST_F(ShrinkingTest, WhoeverIsInterruptedHasTheSmallestSoFar) {
  const SearchSpace space = spaceOf(std::string(kVaried) + "steps = 3\n", {"node:die=50C"});
  std::vector<double> point = full(space);
  point[0] = 0.9;
  most = 0;
  const SearchResult::Smallest whole = shrink(space, point);
  EXPECT_EQ(whole.attempt, space.at(point));
  EXPECT_EQ(whole.simulations, 0U);
  asked = 0;
  most = 1;
  const SearchResult::Smallest one = shrink(space, point);
  EXPECT_EQ(one.simulations, 1U);
  // The whole unit goes at once where it can.
  EXPECT_FALSE(one.attempt.unit[0] || one.attempt.unit[1]);
  EXPECT_EQ(one.attempt.steps, whole.attempt.steps);
}

} // namespace
