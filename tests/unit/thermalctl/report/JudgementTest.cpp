#include "report/Judgement.h"

#include <string>

#include <gtest/gtest.h>

#include "text/Json.h"

namespace {

using Is = Verdict::Is;

Budget limitText(const std::string& text) {
  return readLimit(text).budget.value();
}
Budget requirementText(const std::string& text) {
  return readRequirement(text).budget.value();
}

// A hundred seconds: ninety at 40 degrees, ten at 42.
class JudgementTest : public testing::Test {
protected:
  JudgementTest() {
    temperatures.set(0, 40'000);
    temperatures.set(90'000, 42'000);
    temperatures.finish(100'000);
    evidence.temperatures = &temperatures;
  }

  Verdict limit(const std::string& text) const { return judge(limitText(text), evidence); }
  Verdict requirement(const std::string& text) const {
    return judge(requirementText(text), evidence);
  }

  TimeAtValue temperatures;
  Evidence evidence;
};

TEST_F(JudgementTest, ATemperatureOnItsLimitIsKept) {
  EXPECT_EQ(limit("skin=42C").is, Is::kKept);
  EXPECT_EQ(limit("skin=42C").above, 0);
  EXPECT_EQ(limit("skin=41.999C").is, Is::kPassed);
  EXPECT_EQ(limit("skin=41.999C").above, 10'000);
}

TEST_F(JudgementTest, ATimeAboveOnWhatIsAllowedIsKept) {
  EXPECT_EQ(limit("skin=41C:10s").is, Is::kKept);
  EXPECT_EQ(limit("skin=41C:9999ms").is, Is::kPassed);
  EXPECT_EQ(limit("skin=42C:0s").is, Is::kKept);
}

TEST_F(JudgementTest, APercentileOnItsLimitIsKept) {
  EXPECT_EQ(limit("p90:skin=40C").is, Is::kKept);
  EXPECT_EQ(limit("p90.1:skin=40C").is, Is::kPassed);
  EXPECT_EQ(limit("p90.1:skin=40C").measured, 42'000);
}

TEST_F(JudgementTest, WorkAndChangesOnTheirBoundAreKept) {
  const Performance work{"gpu", 8, 6};
  evidence.performance = &work;
  evidence.changesAMinute = 6;
  EXPECT_EQ(requirement("work:gpu=75%").is, Is::kKept);
  EXPECT_EQ(requirement("work:gpu=75.1%").is, Is::kPassed);
  EXPECT_EQ(requirement("changes:cpu<=6/min").is, Is::kKept);
  EXPECT_EQ(requirement("changes:cpu<=5.9/min").is, Is::kPassed);
}

TEST_F(JudgementTest, WhatWasNotSeenIsUnjudged) {
  const TimeAtValue none;
  for (const TimeAtValue* seen : {static_cast<const TimeAtValue*>(nullptr), &none}) {
    evidence.temperatures = seen;
    for (const char* text : {"skin=42C", "skin=41C:10s", "p90:skin=40C"}) {
      EXPECT_EQ(limit(text).is, Is::kUnjudged) << text;
      EXPECT_FALSE(limit(text).measured) << text;
      EXPECT_FALSE(limit(text).above) << text;
    }
  }
  EXPECT_EQ(requirement("work:gpu=0%").is, Is::kUnjudged);
  EXPECT_EQ(requirement("changes:cpu<=9/min").is, Is::kUnjudged);
}

TEST_F(JudgementTest, AStandstillTakesWhatIsKeptAndLeavesWhatIsPassed) {
  evidence.stoodStill = true;
  EXPECT_EQ(limit("skin=42C").is, Is::kUnjudged);
  EXPECT_EQ(limit("skin=42C").measured, 42'000);
  EXPECT_EQ(limit("skin=41C").is, Is::kPassed);
  EXPECT_EQ(limit("skin=41C:9s").is, Is::kPassed);
}

TEST_F(JudgementTest, TheFirstTimeAboveIsATemperaturesAlone) {
  const Performance work{"gpu", 8, 6};
  evidence.firstAbove = 90'000;
  evidence.performance = &work;
  EXPECT_EQ(limit("skin=41C").firstAbove, 90'000);
  EXPECT_FALSE(requirement("work:gpu=75%").firstAbove);
}

TEST_F(JudgementTest, ALabelTellsWhatIsLimited) {
  EXPECT_EQ(labelOf(limitText("skin=43.5C")), "limit 43.5");
  EXPECT_EQ(labelOf(limitText("skin=43C:90s")), "limit 43 for 0:01:30 in all");
  EXPECT_EQ(labelOf(limitText("p99.9:skin=-5C")), "limit p99.9 -5");
  EXPECT_EQ(labelOf(requirementText("work:gpu=75%")), "required work at least 75 %");
  EXPECT_EQ(labelOf(requirementText("changes:cpu<=0.5/min")),
            "required changes a minute at most 0.5");
}

TEST_F(JudgementTest, ACellTellsHowItWent) {
  const Performance work{"gpu", 3, 2};
  evidence.performance = &work;
  evidence.changesAMinute = 6.2;
  EXPECT_EQ(cellOf(limit("skin=42C")), "kept");
  EXPECT_EQ(cellOf(limit("skin=41C")), "passed for 0:00:10");
  EXPECT_EQ(cellOf(limit("skin=41C:10s")), "kept: 0:00:10");
  EXPECT_EQ(cellOf(limit("p95:skin=41C")), "passed: 42");
  EXPECT_EQ(cellOf(requirement("work:gpu=50%")), "kept: 66.67 %");
  EXPECT_EQ(cellOf(requirement("work:gpu=70%")), "missed: 66.67 %");
  EXPECT_EQ(cellOf(requirement("changes:cpu<=6/min")), "missed: 6.20");
}

TEST_F(JudgementTest, ACellTellsWhyNothingWasJudged) {
  EXPECT_EQ(cellOf(requirement("work:gpu=50%")), "not judged");
  evidence.stoodStill = true;
  EXPECT_EQ(cellOf(limit("skin=42C")), "not judged");
  evidence.temperatures = nullptr;
  EXPECT_EQ(cellOf(limit("skin=42C")), "no sample");
}

TEST_F(JudgementTest, AFigureHasNoDigitsOfTheCalculation) {
  EXPECT_EQ(figure(0.1 + 0.2), 0.3);
  EXPECT_EQ(figure(-1.0000001), -1);
  EXPECT_EQ(figure(4e-7), 0);
  EXPECT_EQ(figure(123456.654321), 123456.654321);
}

TEST_F(JudgementTest, JsonHasNullForWhatWasNotMeasured) {
  EXPECT_EQ(jsonText(asJson(requirement("changes:cpu<=6/min"))),
            R"({"verdict":"unjudged","bound":6.0,"measured":null,"beyond":null})");
  evidence.temperatures = nullptr;
  EXPECT_EQ(jsonText(asJson(limit("skin=43C:1m"))),
            R"({"verdict":"unjudged","bound":43.0,"measured":null,"beyond":null,)"
            R"("allowed_s":60.0,"above_s":null,"first_above_s":null})");
}

} // namespace
