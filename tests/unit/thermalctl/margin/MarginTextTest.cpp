#include "margin/MarginText.h"

#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "thermalctl/support/MarginExample.h"

namespace {

constexpr char kCpuPeak[] = "temperatures.cpu.peak";
constexpr char kCpuVerdict[] = "budgets.cpu=43C.verdict";

std::string printed(const MarginStudy& study, const MarginResult& result) {
  std::ostringstream out;
  printMargin(study, result, out);
  return out.str();
}

bool says(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

// Four units of which the second one is too hot.
std::vector<MarginFigures> oneOfFour() {
  return {{{kCpuPeak, 41'000}},
          {{kCpuPeak, 44'560}, {kCpuVerdict, 1}},
          {{kCpuPeak, 42'000}},
          {{kCpuPeak, 40'000}}};
}

TEST(MarginTextTest, APercentageHasTheDigitsThatTellItFromNoneAndFromAll) {
  const std::pair<double, const char*> cases[] = {
      {0, "0"},           {1, "100"},       {0.5, "50"},
      {0.1, "10"},        {0.0999, "10.0"}, {0.05, "5.0"},
      {0.01, "1.0"},      {0.001, "0.10"},  {2.995e-4, "0.030"},
      {0.9, "90"},        {0.951, "95.1"},  {0.999, "99.90"},
      {0.9997, "99.970"}, {0.994, "99.40"}, {1e-16, "0.000000000000"}};
  for (const auto& [share, text] : cases)
    EXPECT_EQ(percentOf(share), text) << share;
}

TEST(MarginTextTest, TheShareThatDoesNotKeepALimitHasOneEndWhereNoneOrAllDo) {
  const auto textOfCounts = [](uint64_t kept, uint64_t broken) {
    MarginResult::Budgeted budget;
    budget.kept = kept;
    budget.broken = broken;
    budget.keeping = shareOf(kept, kept + broken, 0.95);
    return brokenText(budget);
  };
  // 0.05 to the power of a quarter is 0.4729, and 0.975 to it 0.9937.
  EXPECT_EQ(textOfCounts(4, 0), "at most 53 %");
  EXPECT_EQ(textOfCounts(0, 4), "at least 47 %");
  EXPECT_EQ(textOfCounts(3, 1), "0.63 to 81 %");
}

TEST(MarginTextTest, AFigureHasItsUnit) {
  const MarginStudy study = marginStudy({});
  using Of = Measure::Of;
  const auto textOf = [&](Of of, int32_t value) { return figureText(study, {"", of}, value); };
  EXPECT_EQ(textOf(Of::kTemperature, 44'561), "44.56 C");
  EXPECT_EQ(textOf(Of::kTemperature, -500), "-0.50 C");
  EXPECT_EQ(textOf(Of::kTime, 90'400), "90 s");
  EXPECT_EQ(textOf(Of::kWork, 60'000'000), "60.00 %");
  // In two minutes.
  EXPECT_EQ(textOf(Of::kChanges, 7), "3.50 /min");
}

MarginStudy withDrivers(const std::vector<std::string>& names) {
  MarginStudy study = marginStudy({marginRun("run", {"cpu=43C"})});
  study.drivers.clear();
  study.independent.clear();
  for (const std::string& name : names) {
    study.independent.push_back({study.drivers.size()});
    study.drivers.push_back({name, "", {}});
  }
  return study;
}

TEST(MarginTextTest, WhatTheBrokenHaveInCommonIsWhatChanceHardlyMakes) {
  const MarginStudy study = withDrivers({"a", "b", "c", "d"});
  const auto common = [&](uint64_t broken, const std::vector<double>& means) {
    MarginResult::Budgeted budget;
    budget.broken = broken;
    budget.common = means;
    return commonText(study, budget);
  };
  EXPECT_EQ(common(0, {}), "");
  EXPECT_EQ(common(9, {0.99, 1, -0.99, 0}),
            "the 9 that do not keep it, in standard deviations from all units: b +1.0");
  EXPECT_EQ(common(1, {2.9, -2.9, 1, 1}),
            "the one that does not keep it: no driver of them stands out");
  // The three that stand out most, whatever their sign.
  EXPECT_EQ(common(100, {0.5, -1.25, 0.75, 2}), "the 100 that do not keep it, in standard "
                                                "deviations from all units: d +2.0, b -1.2 and "
                                                "c +0.8");
}

TEST(MarginTextTest, WhatDrivesAFigureIsToldByItsVarianceOrByRanks) {
  MarginStudy study = withDrivers({"a", "b", "c", "d"});
  MarginResult::Figure figure;
  EXPECT_EQ(driversText(study, figure), "");
  for (const double value : {0.1, -0.456, 0.3, 0.2})
    figure.correlations.push_back({value, {}});
  EXPECT_EQ(driversText(study, figure),
            "what drives it, by rank correlation: b -0.46, c +0.30 and d +0.20");
  study.independent = {{0, 1}, {2}, {3}};
  for (const double value : {0.25, 0.7, -0.01})
    figure.sobol.push_back({{value, {}}, {0.9, {}}});
  EXPECT_EQ(driversText(study, figure),
            "what drives it, in per cent of its variance: c 70 %, a and b 25 % and d 0 %");
}

TEST(MarginTextTest, HowAQuestionStands) {
  MarginResult result;
  MarginResult::Budgeted budget;
  budget.kept = 12;
  EXPECT_EQ(answerText(result, budget), "");
  result.question = Question{0.001, 0.95};
  EXPECT_EQ(answerText(result, budget),
            "12 units do not settle whether no more than 0.1 % break it; take more");
  budget.answeredAt = 4711;
  EXPECT_EQ(answerText(result, budget),
            "more than 0.1 % break it, at 95 %, settled behind unit 4711");
  budget.isAtMost = true;
  EXPECT_EQ(answerText(result, budget),
            "no more than 0.1 % break it, at 95 %, settled behind unit 4711");
}

TEST(MarginTextTest, ALimitsFigureIsTheOneThatItIsHeldAgainst) {
  const MarginStudy study =
      marginStudy({marginRun("run", {"node:die=60C", "cpu=43C:5s", "work:gpu=75%"})});
  const MarginResult result = marginResult(study, {{}});
  const MarginStudy::Run& run = study.runs[0];
  const auto nameOf = [&](size_t budget) {
    return run.figures.measures[figureOf(run, result.runs[0], budget).measure].name;
  };
  EXPECT_EQ(nameOf(0), "temperatures.node:die.peak");
  EXPECT_EQ(nameOf(1), "budgets.cpu=43C:5s.above_s");
  EXPECT_EQ(nameOf(2), "sources.gpu.work_percent");
}

TEST(MarginTextTest, ALimitIsARowAndWhatBreaksItIsToldBelow) {
  const MarginStudy study = marginStudy({marginRun("game.conf", {"cpu=43C", "cpu=50C"})});
  EXPECT_EQ(
      printed(study, marginResult(study, oneOfFour())),
      "board: 4 units from 1 on, 0:02:00 each, seed 3\n"
      "\n"
      "run        limit    keep it  share that does not, 95 %      p50      p95      p99    worst  "
      "unit\n"
      "game.conf  cpu=43C   3 of 4               0.63 to 81 %  41.00 C  44.56 C  44.56 C  44.56 C  "
      "   2\n"
      "game.conf  cpu=50C   4 of 4               at most 53 %  41.00 C  44.56 C  44.56 C  44.56 C  "
      "   2\n"
      "\n"
      "the one that does not keep it: no driver of them stands out\n"
      "what drives it, by rank correlation: sensor.cpu.offset +0.88 and resistance.die-ambient "
      "-0.20\n"
      "worst units of cpu=43C in game.conf: 2 (44.56 C), 3 (42.00 C), 1 (41.00 C) and 4 (40.00 C)\n"
      "one unit by itself: thermalctl margin board --unit NUMBER\n");
}

TEST(MarginTextTest, WhatIsKeptByAllIsTheRowAlone) {
  const MarginStudy study = marginStudy({marginRun("run", {"cpu=43C"})});
  const std::string text = printed(study, marginResult(study, {{}, {}}));
  EXPECT_TRUE(says(text, "2 of 2")) << text;
  EXPECT_FALSE(says(text, "worst units")) << text;
  EXPECT_FALSE(says(text, "what drives it")) << text;
}

TEST(MarginTextTest, WhatWasNeverSeenIsNoFigure) {
  const MarginStudy study = marginStudy({marginRun("run", {"cpu=43C"})});
  EXPECT_EQ(
      printed(study, marginResult(study, {{{kCpuPeak, kUnseen}, {kCpuVerdict, 2}}})),
      "board: 1 unit from 1 on, 0:02:00 each, seed 3\n"
      "\n"
      "run  limit    keep it  share that does not, 95 %  p50  p95  p99  worst  unit\n"
      "run  cpu=43C   0 of 1             at least 5.0 %    -    -    -      -     -\n"
      "\n"
      "cpu=43C in run: nobody knows of 1 unit, in which it was never seen or the daemon stood "
      "still\n"
      "one unit by itself: thermalctl margin board --unit NUMBER\n");
}

TEST(MarginTextTest, WhereTheDaemonStoodStillNoLimitIsSaidToBeKept) {
  const MarginStudy study = marginStudy({marginRun("run", {})});
  const std::string text =
      printed(study, marginResult(study, {{{"stood_still_s", 7000}}, {}, {{"stood_still_s", 0}}}));
  EXPECT_TRUE(says(text, "run: in 2 units the daemon stood still: no limit is kept by what samples "
                         "and decides nothing\n"))
      << text;
}

TEST(MarginTextTest, WithoutALimitTheFiguresAreATable) {
  const MarginStudy study = marginStudy({marginRun("run", {})});
  EXPECT_EQ(printed(study, marginResult(study, {{{kCpuPeak, 41'000},
                                                 {"devices.gpu.changes_per_minute", 3},
                                                 {"temperatures.node:die.peak", kUnseen}},
                                                {{kCpuPeak, 44'000},
                                                 {"sources.gpu.work_percent", 50'000'000},
                                                 {"temperatures.node:die.peak", kUnseen}}})),
            "board: 2 units from 1 on, 0:02:00 each, seed 3\n"
            "\n"
            "run                                    mean     p5    p50     p95     p99  highest\n"
            "temperatures.cpu.peak, C              42.50  41.00  41.00   44.00   44.00    44.00\n"
            "devices.gpu.changes_per_minute, /min   0.75   0.00   0.00    1.50    1.50     1.50\n"
            "sources.gpu.work_percent, %           75.00  50.00  50.00  100.00  100.00   100.00\n"
            "\n"
            "worst units of temperatures.cpu.peak in run: 2 (44.00 C) and 1 (41.00 C)\n"
            "one unit by itself: thermalctl margin board --unit NUMBER\n");
}

TEST(MarginTextTest, AQuestionIsAnsweredForEachLimitOfEachRun) {
  const MarginStudy study = marginStudy({marginRun("one", {"cpu=43C"}), marginRun("two", {})});
  const std::string text = printed(study, marginResult(study, {{}, {}}, Question{0.1, 0.9}));
  EXPECT_TRUE(says(text,
                   "cpu=43C in one: 2 units do not settle whether no more than 10 % break it; "
                   "take more\n"))
      << text;
}

TEST(MarginTextTest, NamesThatWouldMoveTheCursorAreShownAsSigns) {
  MarginStudy study = marginStudy({marginRun("a\x1b[2Jb", {"cpu=43C"})});
  study.title = "t\ttitle";
  study.replay = "thermalctl 'x\x1b'";
  const std::string text = printed(study, marginResult(study, oneOfFour()));
  EXPECT_EQ(text.find('\x1b'), std::string::npos) << text;
  EXPECT_EQ(text.find('\t'), std::string::npos) << text;
}

TEST(MarginTextTest, ACiGetsASuiteForEachRunAndACaseForEachLimit) {
  const MarginStudy study =
      marginStudy({marginRun("one", {"cpu=43C", "cpu=50C"}), marginRun("two", {})});
  MarginRows rows(study);
  MarginRows none(study);
  for (const MarginFigures& figures : oneOfFour())
    rows.add({figures, {}});
  const auto suites =
      marginSuites(study, resultOf(study, 1, rows.rows(), none.rows(), std::nullopt));
  ASSERT_EQ(suites.size(), 2U);
  EXPECT_EQ(suites[0].name, "one");
  ASSERT_EQ(suites[0].cases.size(), 2U);
  EXPECT_EQ(suites[0].cases[0].name, "cpu=43C");
  EXPECT_STREQ(suites[0].cases[0].element, "failure");
  EXPECT_EQ(suites[0].cases[0].message, "3 of 4 units keep it, share that does not: 0.63 to 81 %, "
                                        "worst 44.56 C in unit 2");
  EXPECT_EQ(suites[0].cases[1].name, "cpu=50C");
  EXPECT_EQ(suites[0].cases[1].element, nullptr);
  ASSERT_EQ(suites[1].cases.size(), 1U);
  EXPECT_EQ(suites[1].cases[0].name, "run");
  EXPECT_EQ(suites[1].cases[0].element, nullptr);
}

TEST(MarginTextTest, WhatIsOpenIsAnErrorToACi) {
  const MarginStudy study = marginStudy({marginRun("run", {"cpu=43C"})});
  const auto caseOf = [](const MarginStudy& of, const MarginResult& result) {
    return marginSuites(of, result).at(0).cases.at(0);
  };
  const JunitCase unseen =
      caseOf(study, marginResult(study, {{{kCpuPeak, kUnseen}, {kCpuVerdict, 2}}}));
  EXPECT_STREQ(unseen.element, "error");
  EXPECT_EQ(unseen.message, "0 of 1 units keep it, share that does not: at least 5.0 %");
  const JunitCase open = caseOf(study, marginResult(study, {{}}, Question{0.5, 0.9}));
  EXPECT_STREQ(open.element, "error");
  EXPECT_EQ(open.message, "1 of 1 units keep it, share that does not: at most 95.0 %, worst 40.00 "
                          "C in unit 1; 1 units do not settle whether no more than 50 % break it; "
                          "take more");
  const MarginStudy free = marginStudy({marginRun("run", {})});
  const JunitCase still = caseOf(free, marginResult(free, {{{"stood_still_s", 7000}}}));
  EXPECT_STREQ(still.element, "error");
  EXPECT_EQ(still.message, "in 1 unit the daemon stood still");
}

} // namespace
