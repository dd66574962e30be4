#include "margin/SearchReport.h"

#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "thermalctl/margin/SearchBoard.h"

namespace {

SearchResult::Worst worst(double score, bool isBroken, size_t found) {
  return {{0.1, score / 100},
          {{score}, {isBroken}, {42}},
          found,
          isBroken ? std::optional(found) : std::nullopt};
}

// Of two budgets, as one part has found it.
SearchReport part(const SearchResult::Worst& first, const SearchResult::Worst& second,
                  const std::string& workload) {
  SearchReport report;
  report.simulations = 10;
  report.stoodStill = 1;
  report.unjudged = 2;
  report.worst = {first, second};
  for (SearchResult::Worst& each : report.worst) {
    each.outcome.scores.push_back(each.outcome.scores.front());
    each.outcome.broken.push_back(each.outcome.broken.front());
  }
  report.told.workload = workload;
  return report;
}

TEST(SearchReportTest, TheWorstOfAllPartsIsToldForEachBudget) {
  const SearchReport all = joined({part(worst(1, false, 3), worst(7, true, 4), "a"),
                                   part(worst(2, false, 12), worst(5, true, 11), "b")});
  EXPECT_EQ(all.simulations, 20U);
  EXPECT_EQ(all.stoodStill, 2U);
  EXPECT_EQ(all.unjudged, 4U);
  EXPECT_EQ(all.worst[0].found, 12U);
  EXPECT_FALSE(all.worst[0].broken);
  EXPECT_EQ(all.worst[1].found, 4U);
  EXPECT_EQ(all.worst[1].broken, 4U);
  // The second is broken, and the first part has that at its worst.
  EXPECT_EQ(all.told.workload, "a");
}

TEST(SearchReportTest, WhatIsBrokenIsWorseThanWhatIsNot) {
  const SearchReport all = joined({part(worst(9, false, 3), worst(1, false, 3), "a"),
                                   part(worst(2, true, 12), worst(0, false, 11), "b")});
  EXPECT_EQ(all.worst[0].found, 12U);
  EXPECT_EQ(all.worst[1].found, 3U);
  EXPECT_EQ(all.told.workload, "b");
}

TEST(SearchReportTest, TheFirstThatBrokeIsThatOfAnyPart) {
  const SearchReport all = joined({part(worst(4, true, 6), worst(1, false, 1), "a"),
                                   part(worst(8, true, 12), worst(1, false, 12), "b")});
  EXPECT_EQ(all.worst[0].found, 12U);
  EXPECT_EQ(all.worst[0].broken, 6U);
}

TEST(SearchReportTest, WhoeverIsAsBadAndComesFirstIsTold) {
  const SearchReport all = joined({part(worst(4, false, 6), worst(1, false, 1), "a"),
                                   part(worst(4, false, 12), worst(1, false, 12), "b")});
  EXPECT_EQ(all.worst[0].found, 6U);
  EXPECT_EQ(all.told.workload, "a");
}

TEST(SearchReportTest, AsJsonItIsTheSameAgain) {
  SearchReport report = part(worst(1.0 / 3, true, 6), worst(-1e9, false, 1), "load = \"\u00e9\"\n");
  report.within = "loads 0 to 1\n";
  report.from = "abc";
  report.told.broken = 0;
  report.told.measured = -7;
  report.told.simulations = 70;
  report.told.duration = 12'300;
  report.told.unit = "unit";
  const std::string text = report.asJson();
  const std::optional<SearchReport> again = SearchReport::fromJson(text);
  ASSERT_TRUE(again);
  EXPECT_EQ(again->asJson(), text);
  EXPECT_EQ(again->worst[0].point, report.worst[0].point);
  EXPECT_EQ(again->worst[0].outcome.scores, report.worst[0].outcome.scores);
  EXPECT_EQ(again->told.broken, 0U);
  EXPECT_FALSE(again->worst[1].broken);
}

TEST(SearchReportTest, AnotherTextIsNone) {
  for (const char* text : {"", "{}", "[]", "{\"within\": 1}"})
    EXPECT_FALSE(SearchReport::fromJson(text)) << text;
}

// Of 25 to 75 degrees, by the load of the two sources.
class ReportOfTest : public testing::Test, protected SearchBoard {
protected:
  SearchSpace space() {
    return spaceOf("[search]\nsteps = 1\nscenarios = []\n", {"node:die=80C", "node:die=50C"});
  }

  // What a point has come to.
  static SearchResult::Worst at(const SearchSpace& space, const std::vector<double>& point) {
    SearchResult::Worst worst;
    worst.point = point;
    worst.outcome = space.outcomeOf(space.at(point));
    worst.found = 7;
    return worst;
  }
};

TEST_F(ReportOfTest, WhereNothingIsBrokenTheNearestToTheFirstLimitIsTold) {
  const SearchSpace searched = space();
  SearchResult result;
  result.simulations = 12;
  result.stoodStill = 1;
  result.unjudged = 2;
  result.complete = true;
  result.worst = {at(searched, {1, 0.5}), at(searched, {0, 0.25})};
  const SearchReport report = reportOf(searched, result);
  EXPECT_EQ(report.within, searched.described());
  EXPECT_EQ(report.simulations, 12U);
  EXPECT_EQ(report.stoodStill, 1U);
  EXPECT_EQ(report.unjudged, 2U);
  EXPECT_TRUE(report.complete);
  ASSERT_EQ(report.worst.size(), 2U);
  EXPECT_EQ(report.worst[1].point, (std::vector<double>{0, 0.25}));
  EXPECT_FALSE(report.told.broken);
  EXPECT_EQ(report.told.duration, 60'000);
  EXPECT_EQ(report.told.workload, "[[at]]\ntime = 0\nambient = 25\nload = { a = 1, b = 0.5 }\n");
  EXPECT_EQ(report.told.unit, "");
}

TEST_F(ReportOfTest, WhatIsBrokenButNotYetMadeSmallIsToldAsItWasFound) {
  const SearchSpace searched = space();
  SearchResult result;
  result.worst = {at(searched, {1, 0.5}), at(searched, {0, 1})};
  result.worst[1].broken = 7;
  const SearchReport report = reportOf(searched, result);
  EXPECT_FALSE(report.complete);
  EXPECT_FALSE(report.told.broken);
  EXPECT_EQ(report.told.workload, "[[at]]\ntime = 0\nambient = 25\nload = { a = 0, b = 1 }\n");
}

TEST_F(ReportOfTest, TheSmallestIsToldWithWhatItTook) {
  const SearchSpace searched = space();
  SearchResult result;
  result.worst = {at(searched, {1, 0.5}), at(searched, {0, 1})};
  result.worst[1].broken = 7;
  SearchResult::Smallest smallest;
  smallest.budget = 1;
  smallest.attempt = searched.at({0, 0.9});
  smallest.attempt.duration = 2000;
  smallest.outcome = searched.outcomeOf(smallest.attempt);
  smallest.simulations = 33;
  result.smallest = smallest;
  const SearchReport report = reportOf(searched, result);
  EXPECT_EQ(report.told.broken, 1U);
  EXPECT_EQ(report.told.measured, 25'000 + 27'000);
  EXPECT_EQ(report.told.simulations, 33U);
  EXPECT_EQ(report.told.duration, 2000);
  EXPECT_EQ(report.told.workload, "[[at]]\ntime = 0\nambient = 25\nload = { a = 0, b = 0.9 }\n");
}

} // namespace
