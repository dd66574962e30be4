#include "diff/DiffOutput.h"

#include <sstream>
#include <string>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "thermalctl/support/JsonText.h"

namespace {

class DiffOutputTest : public testing::Test {
protected:
  std::string printed(void (*print)(std::ostream&, const Difference&)) const {
    std::ostringstream out;
    print(out, difference);
    return out.str();
  }

  void fill() {
    difference.changes = {{"", "", "sensor cpu", "goes (real)"},
                          {"day.conf", "", "", "the daemon ends appears (x)"},
                          {"day.conf", "Default", "a", "floor from 2 to 3"},
                          {"day.conf", "Default", "b", "goes (ss)"},
                          {"day.conf", "night", "", "the scenario goes"}};
    difference.coverage = {{"day.conf", "Default", "cpu", "no longer cooled"}};
  }

  Difference difference;
};

TEST_F(DiffOutputTest, WithoutADifferenceThereIsNoChange) {
  EXPECT_TRUE(difference.none());
  EXPECT_EQ(printed(printDifference), "no change\n");
  EXPECT_EQ(printed(printDifferenceAsMarkdown), "no change\n");
  EXPECT_EQ(jsonOf(printed(printDifferenceAsJson)),
            jsonOf(R"({"version": 1, "changed": false, "changes": [], "coverage": []})"));
}

TEST_F(DiffOutputTest, EachPlaceStandsOnceAboveItsChanges) {
  fill();
  EXPECT_EQ(printed(printDifference), "the board\n"
                                      "  sensor cpu: goes (real)\n"
                                      "day.conf\n"
                                      "  the daemon ends appears (x)\n"
                                      "day.conf, Default\n"
                                      "  a: floor from 2 to 3\n"
                                      "  b: goes (ss)\n"
                                      "day.conf, night\n"
                                      "  the scenario goes\n"
                                      "\n"
                                      "coverage\n"
                                      "  day.conf, Default\n"
                                      "    cpu: no longer cooled\n");
}

TEST_F(DiffOutputTest, CoverageThatAloneDiffersIsToldAtOnce) {
  fill();
  difference.changes.clear();
  EXPECT_FALSE(difference.none());
  EXPECT_EQ(printed(printDifference), "coverage\n"
                                      "  day.conf, Default\n"
                                      "    cpu: no longer cooled\n");
}

TEST_F(DiffOutputTest, WithoutCoverageItIsNotSpokenOf) {
  difference.changes = {{"day.conf", "Default", "a", "floor from 2 to 3"}};
  EXPECT_EQ(printed(printDifference), "day.conf, Default\n  a: floor from 2 to 3\n");
  EXPECT_EQ(printed(printDifferenceAsMarkdown), "### What the edit changes\n"
                                                "\n**day.conf, Default**\n\n"
                                                "- a: floor from 2 to 3\n");
}

TEST_F(DiffOutputTest, MarkdownIsForAReview) {
  fill();
  difference.changes.resize(1);
  EXPECT_EQ(printed(printDifferenceAsMarkdown), "### What the edit changes\n"
                                                "\n**the board**\n\n"
                                                "- sensor cpu: goes (real)\n"
                                                "\n### What is cooled otherwise\n"
                                                "\n**day.conf, Default**\n\n"
                                                "- cpu: no longer cooled\n");
}

TEST_F(DiffOutputTest, JsonHasEachChange) {
  fill();
  difference.changes = {difference.changes[0], difference.changes[2]};
  const auto expected = jsonOf(R"json({
    "version": 1, "changed": true,
    "changes": [
      {"file": "", "scenario": "", "about": "sensor cpu", "change": "goes (real)"},
      {"file": "day.conf", "scenario": "Default", "about": "a", "change": "floor from 2 to 3"}],
    "coverage": [{"file": "day.conf", "scenario": "Default", "sensor": "cpu",
                  "change": "no longer cooled"}]})json");
  EXPECT_EQ(jsonOf(printed(printDifferenceAsJson)), expected);
}

TEST_F(DiffOutputTest, ANameThatIsNoTextIsShownAsFarAsItIs) {
  difference.changes = {{"d\x1B", "n\xFF", "a\t", "goes"}};
  EXPECT_EQ(printed(printDifference), "d\u241B, n\uFFFD\n  a\u2409: goes\n");
  EXPECT_EQ(jsonOf(printed(printDifferenceAsJson))["changes"][0]["scenario"], "n\uFFFD");
}

// Of four runs two that part, beside what only one of the studies has.
StudyDifference partedRuns() {
  StudyDifference study;
  study.runs = {{"day", Parting{3'723'499, "level of gpu", "1", "3"}},
                {"dusk", std::nullopt},
                {"night\t", Parting{500, "scenario", "Default", "game"}},
                {"dawn", std::nullopt}};
  study.figures.changes = {{"day", "budgets.skin|44.verdict", "kept", "broken", "", true},
                           {"day", "temperatures.skin.peak", "42", "42.5", "+0.5", false}};
  study.figures.added = 1;
  study.figures.gone = 2;
  return study;
}

TEST_F(DiffOutputTest, RunsAreToldByWhereTheyPart) {
  difference.runs = partedRuns();
  EXPECT_FALSE(difference.none());
  EXPECT_TRUE(difference.meansNothing());
  EXPECT_EQ(printed(printDifference), "no change\n"
                                      "\n"
                                      "where the runs part\n"
                                      "  day: 1:02:03 level of gpu 3, before 1\n"
                                      "  night\u2409: 0:00:01 scenario game, before Default\n"
                                      "  the same to the end: 2 runs\n"
                                      "  not there before: 1 run\n"
                                      "  not there any more: 2 runs\n"
                                      "\n"
                                      "verdicts and figures\n"
                                      "run  figure                   before     now  difference\n"
                                      "day  budgets.skin|44.verdict    kept  broken\n"
                                      "     temperatures.skin.peak       42    42.5        +0.5\n");
}

TEST_F(DiffOutputTest, RunsThatAreTheSameAreCountedAndNothingElse) {
  difference.runs = StudyDifference();
  difference.runs->runs = {{"day", std::nullopt}};
  EXPECT_TRUE(difference.none());
  EXPECT_EQ(printed(printDifference), "no change\n"
                                      "\n"
                                      "where the runs part\n"
                                      "  the same to the end: 1 run\n"
                                      "\n"
                                      "no change of verdicts and figures\n");
  EXPECT_EQ(printed(printDifferenceAsMarkdown), "no change\n"
                                                "\n"
                                                "### Where the runs part\n"
                                                "\n"
                                                "- the same to the end: 1 run\n"
                                                "\n"
                                                "no change of verdicts and figures\n");
}

TEST_F(DiffOutputTest, FiguresAreATableOfAReview) {
  difference.runs = partedRuns();
  EXPECT_EQ(printed(printDifferenceAsMarkdown),
            "no change\n"
            "\n"
            "### Where the runs part\n"
            "\n"
            "- day: 1:02:03 level of gpu 3, before 1\n"
            "- night\u2409: 0:00:01 scenario game, before Default\n"
            "- the same to the end: 2 runs\n"
            "- not there before: 1 run\n"
            "- not there any more: 2 runs\n"
            "\n"
            "### Verdicts and figures\n"
            "\n"
            "| run | figure | before | now | difference |\n"
            "|---|---|---|---|---|\n"
            "| day | budgets.skin\\|44.verdict | kept | broken |  |\n"
            "| day | temperatures.skin.peak | 42 | 42.5 | +0.5 |\n");
}

TEST_F(DiffOutputTest, JsonHasEachRunAndEachFigure) {
  difference.runs = partedRuns();
  difference.runs->runs.resize(2);
  const nlohmann::json json = jsonOf(printed(printDifferenceAsJson));
  EXPECT_EQ(json["changed"], true);
  EXPECT_EQ(json["simulation"], jsonOf(R"json({
    "runs": [
      {"run": "day", "parting": {"seconds": 3723.499, "what": "level of gpu", "before": "1",
                                 "now": "3"}},
      {"run": "dusk", "parting": null}],
    "figures": [
      {"run": "day", "figure": "budgets.skin|44.verdict", "before": "kept", "now": "broken",
       "difference": "", "worse": true},
      {"run": "day", "figure": "temperatures.skin.peak", "before": "42", "now": "42.5",
       "difference": "+0.5", "worse": false}],
    "worse": true, "added": 1, "gone": 2})json"));
}

} // namespace
