#include "report/RunFigures.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "report/Judgement.h"
#include "report/Results.h"
#include "text/Json.h"

namespace {

class RunFiguresTest : public testing::Test {
protected:
  RunFiguresTest() {
    run.name = "day";
    run.sensors.push_back({"skin", SensorTrack::Kind::kReal, 1000, {}});
    run.devices.push_back({"cpu", "cpufreq", {"2000", "1000"}});
  }

  Verdict limited(const std::string& text) { return judged(*readLimit(text).budget); }
  Verdict required(const std::string& text) { return judged(*readRequirement(text).budget); }

  // Ten minutes: 40 degrees for eight, 42 for one and a half, 44 for half of one. Two changes.
  Verdict judged(const Budget& budget) {
    run.budgets = {budget};
    RunFigures figures;
    figures.begin(run);
    if (hasSamples) {
      figures.temperature(0, 0, 40000);
      figures.level(0, 0, 0, "2000");
      figures.temperature(480'000, 0, 42000);
      figures.level(480'000, 0, 1, "1000");
      figures.temperature(570'000, 0, 44000);
      figures.level(570'000, 0, 0, "2000");
    }
    if (standsStill) figures.standstill(590'000);
    figures.end(600'000, {{"gpu", 200, 150}, {"npu", 0, 0}});
    passed = resultOf(figures).passedABudget();
    unjudged = figures.unjudged();
    return figures.verdicts.front();
  }

  static std::string cell(const Verdict& verdict) { return cellOf(verdict); }

  TraceDescription run;
  bool hasSamples = true;
  bool standsStill = false;
  bool passed = false;
  std::vector<std::string> unjudged;
};

TEST_F(RunFiguresTest, APeakOnItsLimitIsKeptAndOneAboveIsNot) {
  EXPECT_EQ(limited("skin=44C").is, Verdict::Is::kKept);
  EXPECT_FALSE(passed);
  const Verdict verdict = limited("skin=41.5C");
  EXPECT_EQ(verdict.is, Verdict::Is::kPassed);
  EXPECT_TRUE(passed);
  EXPECT_EQ(verdict.measured, 44000);
  EXPECT_EQ(verdict.beyond(), 2500);
  EXPECT_EQ(verdict.above, 120'000);
  EXPECT_EQ(verdict.firstAbove, 480'000);
  EXPECT_EQ(cell(verdict), "passed for 0:02:00");
}

TEST_F(RunFiguresTest, ATimeAboveALimitIsCountedInAll) {
  const Verdict kept = limited("skin=43C:30s");
  EXPECT_EQ(cell(kept), "kept: 0:00:30");
  EXPECT_EQ(kept.firstAbove, 570'000);
  EXPECT_EQ(cell(limited("skin=43C:29s")), "passed: 0:00:30");
}

TEST_F(RunFiguresTest, APercentileIsOneOfTime) {
  EXPECT_EQ(cell(limited("p80:skin=40C")), "kept: 40");
  EXPECT_EQ(cell(limited("p81:skin=40C")), "passed: 42");
  EXPECT_EQ(cell(limited("p95:skin=42C")), "kept: 42");
  EXPECT_EQ(cell(limited("p95.1:skin=42C")), "passed: 44");
}

TEST_F(RunFiguresTest, WorkMustBeDone) {
  EXPECT_EQ(cell(required("work:gpu=75%")), "kept: 75.00 %");
  EXPECT_EQ(cell(required("work:gpu=76%")), "missed: 75.00 %");
  // Of what nobody asked for, nothing is left undone.
  EXPECT_EQ(cell(required("work:npu=100%")), "kept: 100.00 %");
}

TEST_F(RunFiguresTest, ADeviceMayChangeOnlySoOften) {
  EXPECT_EQ(cell(required("changes:cpu<=0.2/min")), "kept: 0.20");
  EXPECT_EQ(cell(required("changes:cpu<=0.1/min")), "missed: 0.20");
}

TEST_F(RunFiguresTest, WhatWasNeverSeenIsNotJudged) {
  hasSamples = false;
  for (const char* text : {"skin=43C", "skin=43C:60s", "p95:skin=42C"}) {
    EXPECT_EQ(cell(limited(text)), "no sample") << text;
    EXPECT_EQ(unjudged, std::vector<std::string>{"day: skin never had a sample: nobody knows "
                                                 "whether its limit was kept"});
  }
  EXPECT_EQ(cell(required("changes:cpu<=6/min")), "not judged");
  EXPECT_EQ(unjudged, std::vector<std::string>{"day: nobody knows whether changes:cpu<=6/min was "
                                               "kept: the run tells nothing of it"});
}

TEST_F(RunFiguresTest, NothingIsKeptByADaemonThatStandsStill) {
  standsStill = true;
  for (const char* text : {"skin=44C", "skin=43C:60s", "p95:skin=42C"})
    EXPECT_EQ(cell(limited(text)), "not judged") << text;
  EXPECT_EQ(cell(required("work:gpu=75%")), "not judged");
  EXPECT_EQ(cell(required("changes:cpu<=6/min")), "not judged");
  EXPECT_EQ(unjudged.size(), 1U);
  EXPECT_EQ(cell(limited("skin=43C")), "passed for 0:00:30");
}

TEST_F(RunFiguresTest, AVerdictForMachinesHasUnitsOfItsOwn) {
  EXPECT_EQ(jsonText(asJson(limited("skin=43C:60s"))),
            R"({"verdict":"kept","bound":43.0,"measured":44.0,"beyond":1.0,"allowed_s":60.0,)"
            R"("above_s":30.0,"first_above_s":570.0})");
  EXPECT_EQ(jsonText(asJson(required("work:gpu=80%"))),
            R"({"verdict":"missed","bound":80.0,"measured":75.0,"beyond":5.0})");
  hasSamples = false;
  EXPECT_EQ(jsonText(asJson(limited("skin=43C"))),
            R"({"verdict":"unjudged","bound":43.0,"measured":null,"beyond":null,"above_s":null,)"
            R"("first_above_s":null})");
}

TEST_F(RunFiguresTest, ANodeAndASensorOfOneNameHaveLimitsOfTheirOwn) {
  run.sensors.push_back({"skin", SensorTrack::Kind::kPlantNode, 1000, {}});
  run.budgets = {*readLimit("skin=43C").budget, *readLimit("node:skin=43C").budget};
  RunFigures figures;
  figures.begin(run);
  figures.temperature(0, 0, 40000);
  figures.temperature(5000, 1, 45000);
  figures.end(10'000, {});
  EXPECT_EQ(figures.verdictOn(run.budgets[0])->is, Verdict::Is::kKept);
  EXPECT_EQ(figures.verdictOn(run.budgets[1])->is, Verdict::Is::kPassed);
  EXPECT_EQ(figures.verdictOn(run.budgets[1])->firstAbove, 5000);
  EXPECT_EQ(figures.verdictOn(*readLimit("skin=44C").budget), nullptr);
}

TEST_F(RunFiguresTest, TheFirstTimeAboveIsBehindTheLimitAndStays) {
  run.budgets = {*readLimit("skin=43C").budget};
  RunFigures figures;
  figures.begin(run);
  figures.temperature(0, 0, 43000);
  figures.temperature(2000, 0, 43001);
  figures.temperature(3000, 0, 40000);
  figures.temperature(4000, 0, 44000);
  figures.end(5000, {});
  EXPECT_EQ(figures.verdicts[0].firstAbove, 2000);
  EXPECT_EQ(figures.verdicts[0].above, 2000);
}

TEST_F(RunFiguresTest, AGapCountsForNothing) {
  run.budgets = {*readLimit("skin=43C").budget, *readRequirement("changes:cpu<=1/min").budget};
  RunFigures figures;
  figures.begin(run);
  figures.temperature(0, 0, 44000);
  figures.level(0, 0, 0, "2000");
  figures.level(50'000, 0, 1, "1000");
  figures.gap(100'000, 540'000, {});
  figures.end(600'000, {});
  EXPECT_EQ(figures.known(), 160'000);
  EXPECT_EQ(figures.verdicts[0].above, 160'000);
  EXPECT_DOUBLE_EQ(figures.verdicts[1].measured.value(), 60.0 / 160);
  EXPECT_EQ(figures.levels[0].total(), 160'000);
}

TEST_F(RunFiguresTest, AGapOfOneSensorIsNotTheOthers) {
  run.sensors.push_back({"cpu", SensorTrack::Kind::kReal, 1000, {}});
  RunFigures figures;
  figures.begin(run);
  figures.temperature(0, 0, 44000);
  figures.temperature(0, 1, 44000);
  figures.gap(100'000, 540'000, 0);
  figures.end(600'000, {});
  EXPECT_EQ(figures.temperatures[0].total(), 160'000);
  EXPECT_EQ(figures.temperatures[1].total(), 600'000);
  EXPECT_EQ(figures.known(), 600'000);
}

TEST_F(RunFiguresTest, ChangesOfNoTimeAreNotCounted) {
  RunFigures figures;
  figures.begin(run);
  figures.gap(0, 10'000, {});
  figures.end(10'000, {});
  EXPECT_FALSE(figures.changesAMinute(TimeAtValue()));
}

TEST_F(RunFiguresTest, OfPowersAloneTheHeatIsKnownAndTheWorkIsNot) {
  run.sources = {"gpu", "npu"};
  run.budgets = {*readRequirement("work:gpu=1%").budget};
  RunFigures figures;
  figures.begin(run);
  figures.power(0, 0, 2'000'000);
  figures.power(10'000, 0, 500'000);
  figures.power(20'000, 1, 1'000'000);
  figures.end(30'000, {});
  ASSERT_NE(figures.performanceOf("gpu"), nullptr);
  EXPECT_DOUBLE_EQ(figures.performanceOf("gpu")->joules, 2 * 10 + 0.5 * 20);
  EXPECT_DOUBLE_EQ(figures.performanceOf("npu")->joules, 10);
  EXPECT_EQ(figures.workOf("gpu"), nullptr);
  EXPECT_EQ(figures.performanceOf("cpu"), nullptr);
  EXPECT_EQ(figures.verdicts[0].is, Verdict::Is::kUnjudged);
}

TEST_F(RunFiguresTest, AStandstillIsToldWithItsBeginning) {
  standsStill = true;
  limited("skin=44C");
  EXPECT_EQ(unjudged, std::vector<std::string>{"day: the daemon stood still from 0:09:50 on: no "
                                               "limit is kept by what samples and decides "
                                               "nothing"});
}

TEST_F(RunFiguresTest, OfTwoLimitsOfOneSensorWithoutASampleIsToldOnce) {
  run.budgets = {*readLimit("skin=43C").budget, *readLimit("p95:skin=42C").budget};
  RunFigures figures;
  figures.begin(run);
  figures.end(1000, {});
  EXPECT_EQ(figures.unjudged().size(), 1U);
}

} // namespace
