#include "margin/Search.h"

#include <algorithm>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "thermalctl/margin/SearchBoard.h"

namespace {

class SearchTest : public testing::Test, protected SearchBoard {
protected:
  const std::function<bool()> always = [] { return true; };
};

SearchTask firstOnes(uint64_t simulations) {
  return {1, {1, simulations + 1}};
}

constexpr char kUnit[] = "[[vary]]\nof = [\"resistance.die-ambient\"]\nas = \"factor\"\n"
                         "normal = { mean = 1, deviation = 0.05 }\n";

TEST_F(SearchTest, TheWorstIsAtTheEndsOfTheBounds) {
  const SearchSpace space = spaceOf(std::string(kUnit) + "[search]\nload = { a = [0, 0.5] }\n"
                                                         "ambient = [20, 30]\n",
                                    {"node:die=1000C"});
  const SearchResult result = searchWorst(space, firstOnes(600), 1, always);
  EXPECT_EQ(result.simulations, 600U);
  EXPECT_FALSE(result.worst.front().broken);
  // 30 degrees, and 10 K/W and three deviations more, of 0.5 x 2 W and 3 W.
  EXPECT_NEAR(result.worst.front().outcome.measured.front(), 30'000 + 11'500 * 4, 300);
  EXPECT_LE(result.worst.front().outcome.measured.front(), 30'000 + 11'500 * 4);
  EXPECT_FALSE(result.smallest);
}

TEST_F(SearchTest, WhatIsBrokenIsMadeSmall) {
  const SearchSpace space = spaceOf(std::string(kUnit) + "[search]\nsteps = 4\n", {"node:die=50C"});
  const SearchResult result = searchWorst(space, firstOnes(200), 1, always);
  ASSERT_TRUE(result.smallest);
  const Attempt& attempt = result.smallest->attempt;
  EXPECT_EQ(attempt.steps.size(), 1U);
  EXPECT_FALSE(attempt.unit.front());
  EXPECT_EQ(space.tolerancesOf(attempt), "");
  EXPECT_LE(attempt.duration, 2000);
  // One of the two sources alone is enough.
  EXPECT_EQ(attempt.steps.front().loads.front(), 0);
  EXPECT_TRUE(result.smallest->outcome.broken.front());
  EXPECT_TRUE(space.outcomeOf(attempt).broken.front());
}

TEST_F(SearchTest, WhatIsSmallerStaysWithinTheBounds) {
  const SearchSpace space = spaceOf("[search]\nsteps = 4\nlasts = [\"10s\", \"15s\"]\n"
                                    "load = { a = [0.2, 1], b = [0.1, 1] }\n",
                                    {"node:die=40C"});
  const SearchResult result = searchWorst(space, firstOnes(50), 1, always);
  ASSERT_TRUE(result.smallest);
  EXPECT_TRUE(space.holds(result.smallest->attempt));
  EXPECT_GE(result.smallest->attempt.steps.front().loads[0], 0.2);
}

TEST_F(SearchTest, AnAttemptIsWrittenAsItIsRun) {
  const SearchSpace space =
      spaceOf(std::string(kUnit) + "[search]\nfaults = { cpu = [\"stuck\"] }\n"
                                   "ambient = [20, 30]\n",
              {"node:die=50C"});
  Attempt attempt;
  attempt.unit = {1.1};
  attempt.duration = 20'000;
  attempt.steps = {{0, 21.5, {0.5, 1}}, {12'300, 21.5, {0.5, 0.25}, "Default", "", {{0, "stuck"}}}};
  EXPECT_EQ(space.workloadOf(attempt),
            "[[at]]\ntime = 0\nambient = 21.5\nload = { a = 0.5, b = 1 }\n"
            "\n[[at]]\ntime = 12.3\nload = { b = 0.25 }\n"
            "scenario = \"Default\"\nfault = { cpu = \"stuck\" }\n");
  EXPECT_EQ(space.tolerancesOf(attempt), "[[vary]]\nof = [\"resistance.die-ambient\"]\n"
                                         "as = \"factor\"\nlist = { values = [1.1] }\n");
  // 21.5 degrees and 11 K/W of 4 W.
  EXPECT_NEAR(space.outcomeOf(attempt).measured.front(), 65'500, 20);
}

TEST_F(SearchTest, AWorkloadsOwnSpreadsAndTheAmbientAreLeftToTheBounds) {
  const std::string all =
      std::string(kUnit) +
      "[[vary]]\nof = [\"ambient\"]\nas = \"plus\"\nuniform = { from = -1, to = 1 }\n"
      "[[vary]]\nof = [\"workload.load.a\"]\nas = \"factor\"\n"
      "uniform = { from = 0.5, to = 1 }\n[search]\nsteps = 1\n";
  const SearchSpace given = spaceOf(all + "ambient = [0, 1]\n", {"node:die=50C"});
  const SearchSpace kept = spaceOf(all, {"node:die=50C"});
  const auto isDrawn = [](const SearchSpace& space, size_t spread) {
    return space.at(std::vector<double>(space.dimensions(), 0.9)).unit[spread].has_value();
  };
  EXPECT_TRUE(isDrawn(kept, 0) && isDrawn(kept, 1));
  EXPECT_TRUE(isDrawn(given, 0));
  EXPECT_FALSE(isDrawn(given, 1));
  EXPECT_FALSE(isDrawn(given, 2) || isDrawn(kept, 2));
}

TEST_F(SearchTest, WhoeverIsInterruptedHasTheWorstSoFar) {
  const SearchSpace space = spaceOf("[search]\n", {"node:die=50C"});
  size_t asked = 0;
  const SearchResult result = searchWorst(space, firstOnes(500), 1, [&] { return ++asked <= 20; });
  EXPECT_FALSE(result.complete);
  EXPECT_EQ(result.simulations, 20U);
  EXPECT_TRUE(result.worst.front().broken);
  EXPECT_FALSE(result.smallest);
}

// It climbs from there, and does not only keep it.
TEST_F(SearchTest, ALaterRoundBeginsWithTheWorstOfTheOneBefore) {
  files.request.duration = 10'000;
  std::string varied = kUnit;
  for (const char* source : {"a", "b"})
    varied += std::string("[[vary]]\nof = [\"source.") + source +
              ".watts\"]\nas = \"factor\"\nnormal = { mean = 1, deviation = 0.05 }\n";
  const SearchSpace space =
      spaceOf(varied + "[search]\nsteps = 1\nambient = [20, 30]\n", {"node:die=1000C"});
  const auto worstOf = [](const SearchResult& result) {
    return result.worst.front().outcome.measured.front();
  };
  int64_t begun = 0;
  int64_t kept = 0;
  for (const uint64_t seed : {1U, 2U, 3U, 4U, 5U, 6U, 7U, 8U}) {
    const SearchResult first = searchWorst(space, {seed, {1, 41}}, 1, always);
    const SearchResult second = searchWorst(space, {seed, {41, 81}, first.worst}, 1, always);
    const SearchResult one = searchWorst(space, {seed, {41, 42}, first.worst}, 1, always);
    EXPECT_GE(worstOf(second), worstOf(first));
    EXPECT_EQ(second.simulations, 40U);
    EXPECT_GE(worstOf(one), worstOf(first));
    const size_t found = one.worst.front().found;
    EXPECT_EQ(found, worstOf(one) > worstOf(first) ? 41U : first.worst.front().found);
    begun += worstOf(second);
    kept += std::max(worstOf(first), worstOf(searchWorst(space, {seed, {41, 81}}, 1, always)));
  }
  EXPECT_GT(begun, kept);
}

TEST_F(SearchTest, AnotherPartTriesOthers) {
  const SearchSpace space = spaceOf("[search]\n", {"node:die=1000C"});
  const auto pointOf = [&](uint64_t simulation) {
    return searchWorst(space, {1, {simulation, simulation + 1}}, 1, always).worst.front().point;
  };
  EXPECT_EQ(pointOf(1), pointOf(1));
  EXPECT_NE(pointOf(1), pointOf(2));
  EXPECT_NE(pointOf(2), pointOf(3));
}

TEST_F(SearchTest, WhoeverIsInterruptedWhileItIsMadeSmallHasNotSeenTheEnd) {
  const SearchSpace space = spaceOf("[search]\nsteps = 4\n", {"node:die=50C"});
  size_t asked = 0;
  const SearchResult result = searchWorst(space, firstOnes(30), 1, [&] { return ++asked <= 33; });
  EXPECT_EQ(result.simulations, 30U);
  ASSERT_TRUE(result.smallest);
  EXPECT_TRUE(result.smallest->outcome.broken.front());
  EXPECT_FALSE(result.complete);
}

TEST_F(SearchTest, ASpaceOfOnePointIsLookedAtOnce) {
  const SearchSpace space =
      spaceOf("[search]\nsteps = 1\nscenarios = []\nload = { a = 1, b = 1 }\n", {"node:die=80C"});
  EXPECT_EQ(space.dimensions(), 0U);
  const SearchResult result = searchWorst(space, firstOnes(10), 1, always);
  EXPECT_EQ(result.simulations, 1U);
  EXPECT_EQ(result.worst.front().outcome.measured.front(), 75'000);
}

} // namespace
