#include "margin/Measures.h"

#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "report/Results.h"
#include "report/RunFigures.h"
#include "simulate/Engine.h"
#include "support/LogSwitchedOff.h"
#include "thermalctl/simulate/RunFiles.h"
#include "thermalctl/support/JsonText.h"
#include "thermalctl/support/MarginExample.h"

namespace {

class MeasuresTest : public testing::Test {
protected:
  MeasuresTest() {
    files.plant +=
        "noise = 0.5\n"
        "[source.gpu]\nnode = \"die\"\ndevice = \"gpu\"\nwatts = [6, 4, 3, 1]\nwork = true\n"
        "[source.idle]\nnode = \"die\"\nwatts = 1\nwork = true\n";
    files.workload = "time,ambient,gpu,idle\n0,25,1,0\n40,10,0.2,0\n80,30,1,0\n";
    files.request.duration = 120'000;
  }

  void hold(const std::string& text) {
    BudgetText read = readLimit(text);
    if (!read.budget) read = readRequirement(text);
    files.request.budgets.push_back({*read.budget, text});
  }

  // What is kept of the run, and what all of its figures are, by their names.
  void expectTheFiguresOfTheRun() {
    const std::vector<RunInput> runs = files.read();
    ASSERT_TRUE(files.problems.none()) << files.wrongInFull();
    const std::vector<std::string> working = {"gpu", "idle"};
    UnitFigures unit(working);
    RunFigures all;
    run(runs.front(), unit);
    run(runs.front(), all);
    const RunMeasures kept = measuresOf(runs.front().description, working);
    ASSERT_EQ(kept.measures.size(), unit.values().size());
    std::map<std::string, RunResult::Json> figures;
    for (const auto& [name, value] : flattened(resultOf(all).row()))
      figures[name] = value;
    for (size_t i = 0; i < kept.measures.size(); ++i) {
      const Measure& measure = kept.measures[i];
      const int32_t value = unit.values()[i];
      ASSERT_EQ(figures.count(measure.name), 1U) << measure.name;
      const RunResult::Json& figure = figures[measure.name];
      if (measure.of == Measure::Of::kVerdict)
        EXPECT_EQ(figure.get<std::string>(), words[static_cast<size_t>(value)]) << measure.name;
      else if (value == kUnseen)
        EXPECT_TRUE(figure.is_null()) << measure.name;
      else
        EXPECT_EQ(figure.get<double>(), measure.inUnits(value, 120'000)) << measure.name;
    }
  }

  static void run(const RunInput& input, TraceSink& sink) {
    Engine(input, sink, {[](int64_t) {}, [](int64_t, const std::string&) {}}).run();
  }

  const LogSwitchedOff quiet;
  RunFiles files;
  std::vector<std::string> words = {"kept", "passed", "unjudged"};
};

TEST_F(MeasuresTest, AUnitsFiguresAreThoseOfItsRun) {
  expectTheFiguresOfTheRun();
}

TEST_F(MeasuresTest, EveryKindOfLimitIsJudgedAsElsewhere) {
  for (const char* limit : {"cpu=55C", "cpu=90C", "cpu=55C:10s", "cpu=55C:100s", "p90:cpu=50C",
                            "p20:cpu=50C", "node:die=60C", "changes:gpu<=9/min"})
    hold(limit);
  expectTheFiguresOfTheRun();
}

TEST_F(MeasuresTest, WorkThatIsMissedIsMissed) {
  words[1] = "missed";
  for (const char* requirement :
       {"work:gpu=99%", "work:gpu=10%", "work:idle=90%", "changes:gpu<=0.1/min"})
    hold(requirement);
  expectTheFiguresOfTheRun();
}

TEST(BeyondTest, ABudgetsBoundIsInTheUnitOfItsMeasure) {
  using Of = Measure::Of;
  const auto limit = [](const char* text, Of of, int32_t value) {
    return beyond(*readLimit(text).budget, {"", of}, value, 120'000);
  };
  const auto requirement = [](const char* text, Of of, int32_t value) {
    return beyond(*readRequirement(text).budget, {"", of}, value, 120'000);
  };
  EXPECT_DOUBLE_EQ(limit("skin=43C", Of::kTemperature, 44'500), 1.5);
  EXPECT_DOUBLE_EQ(limit("p95:skin=43C", Of::kTemperature, 42'000), -1);
  EXPECT_DOUBLE_EQ(limit("skin=43C:60s", Of::kTime, 90'000), 30);
  EXPECT_DOUBLE_EQ(requirement("work:gpu=75%", Of::kWork, 70'000'000), 5);
  EXPECT_DOUBLE_EQ(requirement("changes:cpu<=6/min", Of::kChanges, 16), 2);
}

TEST(MeasureTest, AFigureIsToldInTheUnitOfItsKind) {
  using Of = Measure::Of;
  const struct {
    Of of;
    int32_t value;
    double told;
    const char* unit;
  } cases[] = {{Of::kTemperature, -500, -0.5, "C"},
               {Of::kTime, 1500, 1.5, "s"},
               {Of::kWork, 99'500'000, 99.5, "%"},
               {Of::kChanges, 3, 1.5, "/min"},
               {Of::kVerdict, 2, 2, ""}};
  for (const auto& [of, value, told, unit] : cases) {
    EXPECT_DOUBLE_EQ((Measure{"", of}.inUnits(value, 120'000)), told) << unit;
    EXPECT_STREQ((Measure{"", of}.unit()), unit);
  }
}

// A percentile needs a figure of its own; what a peak or a time above is held against is there.
TEST(MeasureTest, ABudgetIsHeldAgainstItsOwnMeasure) {
  const MarginStudy::Run run = marginRun(
      "run", {"cpu=43C", "cpu=43C:60s", "p95:cpu=42C", "work:gpu=75%", "changes:gpu<=6/min"});
  const char* const measured[] = {"temperatures.cpu.peak", "budgets.cpu=43C:60s.above_s",
                                  "budgets.p95:cpu=42C.measured", "sources.gpu.work_percent",
                                  "devices.gpu.changes_per_minute"};
  for (size_t i = 0; i < run.budgets.size(); ++i) {
    const BudgetMeasures& budget = run.figures.budgets[i];
    EXPECT_EQ(run.figures.measures[budget.measured].name, measured[i]);
    EXPECT_EQ(run.figures.measures[budget.verdict].name,
              "budgets." + textOf(run.budgets[i]) + ".verdict");
  }
}

} // namespace
