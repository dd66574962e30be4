#include "margin/MarginStudy.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "text/Json.h"
#include "thermalctl/support/JsonText.h"
#include "thermalctl/support/MarginExample.h"

namespace {

MarginStudy everyKind() {
  MarginStudy study = marginStudy(
      {marginRun("first", {"cpu=43.5C", "node:die=60C:90s", "p95:cpu=42C", "cpu=50C:250ms"}),
       marginRun("second", {"work:gpu=75%", "changes:gpu<=6.5/min"})});
  study.title = "phone \"\u00e9\"";
  study.drivers[0].steps = {0.25, 1};
  study.factor = {1, 0, 1.0 / 3, 0.9428090415820634};
  study.independent = {{0, 1}};
  study.seed = 0xffff'ffff'ffff'fff7;
  study.sobolSamples = 64;
  return study;
}

TEST(MarginStudyTest, AsJsonItIsTheSameAgain) {
  const MarginStudy study = everyKind();
  const std::optional<MarginStudy> again = MarginStudy::fromJson(study.asJson());
  ASSERT_TRUE(again);
  EXPECT_EQ(again->asJson(), study.asJson());
  EXPECT_EQ(again->title, study.title);
  EXPECT_EQ(again->seed, study.seed);
  EXPECT_EQ(again->duration, study.duration);
  EXPECT_EQ(again->sobolSamples, 64U);
  EXPECT_EQ(again->replay, study.replay);
  EXPECT_EQ(again->factor, study.factor);
  EXPECT_EQ(again->independent, study.independent);
  ASSERT_EQ(again->drivers.size(), 2U);
  EXPECT_EQ(again->drivers[0].name, "resistance.die-ambient");
  EXPECT_EQ(again->drivers[0].reason, "glue");
  EXPECT_EQ(again->drivers[0].steps, study.drivers[0].steps);
  EXPECT_TRUE(again->drivers[1].steps.empty());
  ASSERT_EQ(again->inputs.size(), 2U);
  EXPECT_EQ(again->inputs[1].path, "plant.toml");
  EXPECT_EQ(again->inputs[1].sha256, "cd34");
}

TEST(MarginStudyTest, ItsRunsKeepTheirBudgetsAndMeasures) {
  const MarginStudy study = everyKind();
  const MarginStudy again = MarginStudy::fromJson(study.asJson()).value();
  ASSERT_EQ(again.runs.size(), 2U);
  for (size_t i = 0; i < 2; ++i) {
    const MarginStudy::Run& run = study.runs[i];
    EXPECT_EQ(again.runs[i].name, run.name);
    EXPECT_EQ(again.runs[i].configuration, run.configuration);
    EXPECT_EQ(again.runs[i].workload, "game");
    EXPECT_EQ(again.runs[i].budgets, run.budgets);
    ASSERT_EQ(again.runs[i].figures.budgets.size(), run.budgets.size());
    for (size_t budget = 0; budget < run.budgets.size(); ++budget) {
      EXPECT_EQ(again.runs[i].figures.budgets[budget].measured,
                run.figures.budgets[budget].measured);
      EXPECT_EQ(again.runs[i].figures.budgets[budget].verdict, run.figures.budgets[budget].verdict);
    }
    ASSERT_EQ(again.runs[i].figures.measures.size(), run.figures.measures.size());
    for (size_t measure = 0; measure < run.figures.measures.size(); ++measure) {
      EXPECT_EQ(again.runs[i].figures.measures[measure].name, run.figures.measures[measure].name);
      EXPECT_EQ(again.runs[i].figures.measures[measure].of, run.figures.measures[measure].of);
    }
  }
}

TEST(MarginStudyTest, ARunsColumnsBeginBehindThoseOfTheRunsBeforeIt) {
  const MarginStudy study = everyKind();
  // Two peaks, changes, work and the standstill; and three of each limit, or two of one that is
  // held against a peak or a time.
  EXPECT_EQ(study.firstColumn(0), 0U);
  EXPECT_EQ(study.firstColumn(1), 5U + 2 + 2 + 3 + 2);
  EXPECT_EQ(study.columns(), 14U + 5 + 1 + 1);
  EXPECT_EQ(MarginStudy().columns(), 0U);
}

TEST(MarginStudyTest, ASampleIsTwoUnitsAndOneForEachIndependentPart) {
  EXPECT_EQ(everyKind().sobolRuns(), 3U);
  EXPECT_EQ(marginStudy({}).sobolRuns(), 4U);
}

TEST(MarginStudyTest, ATextThatLacksAnythingIsNone) {
  const nlohmann::ordered_json whole = parsedJson(everyKind().asJson());
  for (const auto& [key, value] : whole.items()) {
    nlohmann::ordered_json lacking = whole;
    lacking.erase(key);
    EXPECT_FALSE(MarginStudy::fromJson(jsonText(lacking))) << key;
  }
  for (const char* key : {"name", "configuration", "workload", "budgets", "measures"}) {
    nlohmann::ordered_json lacking = whole;
    lacking["runs"][1].erase(key);
    EXPECT_FALSE(MarginStudy::fromJson(jsonText(lacking))) << key;
  }
  nlohmann::ordered_json other = whole;
  other["runs"][0]["budgets"][0]["budget"] = "as cool as can be";
  EXPECT_FALSE(MarginStudy::fromJson(jsonText(other)));
  for (const char* text : {"", "[]", "null", "7", "{\"title\": 1}", "{"})
    EXPECT_FALSE(MarginStudy::fromJson(text)) << text;
}

} // namespace
