#include "margin/Sampling.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "margin/MarginResult.h"
#include "margin/Special.h"
#include "margin/ToleranceFile.h"
#include "support/LogSwitchedOff.h"
#include "support/SysfsDir.h"
#include "thermalctl/simulate/RunFiles.h"

namespace {

// One node that takes up hardly any heat: at 2 W it settles at the ambient and twice its
// resistance.
class SamplingTest : public testing::Test {
protected:
  static constexpr double kMedian = 10;      // K/W
  static constexpr double kDeviation = 0.15; // of the logarithm

  SamplingTest() {
    files.plant = "ambient = 25\n"
                  "[node.die]\njoules_per_kelvin = 0.001\n"
                  "[[resistance]]\nbetween = [\"die\", \"ambient\"]\nkelvin_per_watt = 10\n"
                  "[source.die]\nnode = \"die\"\nwatts = 2\nload = 1\n"
                  "[sensor.cpu]\nnode = \"die\"\n";
    files.workload = "time,ambient\n0,25\n";
    files.configuration = "[hot]\nalgo_type monitor\nsensor cpu\nsampling 1000\nthresholds 500000\n"
                          "thresholds_clr 490000\nactions gpu\naction_info 1\n";
    files.request.duration = 1000;
  }

  // With a limit that this share of all units breaks.
  void read(double broken, const std::string& tolerances) {
    const double limit = 25 + 2 * kMedian * std::exp(kDeviation * normalQuantile(1 - broken));
    const std::string text = "node:die=" + std::to_string(limit) + "C";
    BudgetText budget = readLimit(text);
    if (!budget.budget) budget.budget = Budget{Budget::Of::kPeak, "die", true, 0};
    budget.budget->bound = 1000 * limit;
    files.request.budgets = {{*budget.budget, text}};
    Problems problems;
    study.inputs = files.read();
    ASSERT_TRUE(files.problems.none()) << files.wrongInFull();
    study.cells = {{0, "run", "first.conf", "workload", 1}};
    problems.read(files.path("plant.toml"), files.plant);
    population = readTolerances(folder.write("tolerances.toml", tolerances), study.inputs,
                                files.path("plant.toml"), problems)
                     .population;
    ASSERT_TRUE(problems.none());
    asked = askedOf(study, population);
  }

  std::string lognormal() const {
    return "[[vary]]\nof = [\"resistance.die-ambient\"]\nlognormal = { median = 10, deviation = "
           "0.15 }\n";
  }

  MarginResult resultOfUnits(const Range& range, size_t threads = 1) {
    UnitSpool rows(folder.node(""), asked.columns());
    UnitSpool samples(folder.node(""), asked.columns());
    Sampling sampling(study, population, asked, threads);
    const auto always = [] { return true; };
    sampling.units(range, {[](const std::vector<int32_t>&) { return true; }, always}, rows);
    return resultOf(asked, range.first, rows.rows(), samples.rows(), std::nullopt);
  }

  const LogSwitchedOff quiet;
  RunFiles files;
  SysfsDir folder;
  Study study;
  Population population;
  MarginStudy asked;
};

TEST_F(SamplingTest, AFigureIsSpreadAsTheClosedFormHasIt) {
  read(0.1, lognormal());
  const MarginResult result = resultOfUnits({1, 1'201}, 2);
  const MarginResult::Figure& node = result.runs[0].figures[1];
  ASSERT_EQ(asked.runs[0].figures.measures[node.measure].name, "temperatures.node:die.peak");
  for (size_t i = 0; i < kPercentiles.size(); ++i) {
    const int percent = kPercentiles[i];
    const double standard = normalQuantile(percent / 100.0);
    const double exact = 25 + 2 * kMedian * std::exp(kDeviation * standard);
    EXPECT_NEAR(node.percentiles[i] / 1000.0, exact, percent == 1 || percent == 99 ? 1.2 : 0.5)
        << percent;
  }
  EXPECT_NEAR(node.correlations[0].value, 1, 5e-3);
  EXPECT_NEAR(static_cast<double>(result.runs[0].budgets[0].kept) / 1200, 0.9, 0.03);
  // Those that break it are the upper tenth: 1.755 deviations out, in the mean.
  EXPECT_NEAR(result.runs[0].budgets[0].common[0], 1.755, 0.15);
}

TEST_F(SamplingTest, TheWorstUnitsAreThoseWithTheMostResistance) {
  read(0.1, lognormal());
  const MarginResult result = resultOfUnits({1, 101});
  const auto& worst = result.runs[0].budgets[0].worst;
  ASSERT_EQ(worst.size(), 10U);
  std::vector<double> numbers;
  for (uint64_t unit = 1; unit <= 100; ++unit)
    numbers.push_back(standardNumbers(1, unit, Stream::kUnit, 1)[0]);
  std::sort(numbers.rbegin(), numbers.rend());
  for (size_t i = 0; i < 10; ++i) {
    EXPECT_EQ(worst[i].numbers[0], numbers[i]);
    EXPECT_EQ(standardNumbers(1, worst[i].unit, Stream::kUnit, 1)[0], numbers[i]);
  }
}

TEST_F(SamplingTest, AUnitByItselfIsTheOneOfThePopulation) {
  read(0.1, lognormal());
  const Study one = ofUnit(study, population, 17);
  const double standard = standardNumbers(1, 17, Stream::kUnit, 1)[0];
  const RunInput input = one.inputOf(one.cells.front());
  EXPECT_DOUBLE_EQ(input.plant.resistances[0].value, kMedian * std::exp(kDeviation * standard));
  EXPECT_EQ(input.seed, noiseSeed(1, 17));
}

TEST_F(SamplingTest, ShardsAreAllUnitsOnce) {
  for (const uint64_t count : {1U, 3U, 7U, 50U}) {
    uint64_t next = 11;
    for (uint64_t index = 1; index <= count; ++index) {
      const Range shard = Range{11, 41}.shard(index, count);
      EXPECT_EQ(shard.first, next);
      EXPECT_LE(shard.size(), 30 / count + 1);
      next = shard.end;
    }
    EXPECT_EQ(next, 41U);
  }
  const Range huge = Range{1, 1'000'000'001}.shard(999'999, 1'000'000);
  EXPECT_EQ(huge.size(), 1000U);
}

// Of the node, which is the second sensor.
std::vector<int32_t> nodePeaks(UnitSpool& spool) {
  std::vector<int32_t> peaks;
  spool.rows().eachBlock({1}, [&](size_t, size_t, const std::vector<std::vector<int32_t>>& values) {
    peaks.insert(peaks.end(), values[0].begin(), values[0].end());
  });
  return peaks;
}

TEST_F(SamplingTest, WhoeverHasSeenEnoughGetsNoMoreUnits) {
  read(0.1, lognormal());
  UnitSpool rows(folder.node(""), asked.columns());
  std::vector<std::vector<int32_t>> told;
  const auto untilThree = [&](const std::vector<int32_t>& row) {
    told.push_back(row);
    return told.size() < 3;
  };
  EXPECT_EQ(
      Sampling(study, population, asked, 1).units({5, 20}, {untilThree, [] { return true; }}, rows),
      3U);
  EXPECT_EQ(rows.rows().rows(), 3U);
  ASSERT_EQ(told.size(), 3U);
  EXPECT_EQ(told[0].size(), asked.columns());
  // Those from the fifth on.
  const std::vector<int32_t> peaks = nodePeaks(rows);
  for (uint64_t unit = 5; unit < 8; ++unit) {
    const double standard = standardNumbers(1, unit, Stream::kUnit, 1)[0];
    EXPECT_NEAR(peaks[unit - 5] / 1000.0, 25 + 2 * kMedian * std::exp(kDeviation * standard), 0.01);
    EXPECT_EQ(told[unit - 5][1], peaks[unit - 5]);
  }
}

TEST_F(SamplingTest, WhoeverIsInterruptedHasTheFirstUnits) {
  read(0.1, lognormal());
  UnitSpool rows(folder.node(""), asked.columns());
  size_t left = 4;
  const auto always = [](const std::vector<int32_t>&) { return true; };
  const auto goesOn = [&] { return left-- > 0; };
  EXPECT_EQ(Sampling(study, population, asked, 1).units({1, 20}, {always, goesOn}, rows), 4U);
  EXPECT_EQ(rows.rows().rows(), 4U);
  UnitSpool none(folder.node(""), asked.columns());
  const auto never = [] { return false; };
  EXPECT_EQ(Sampling(study, population, asked, 1).units({1, 20}, {always, never}, none), 0U);
  EXPECT_EQ(Sampling(study, population, asked, 1).units({7, 7}, {always, goesOn}, none), 0U);
}

TEST_F(SamplingTest, UnitsComeInOrderOnAnyNumberOfThreads) {
  read(0.1, lognormal());
  const auto peaksOn = [&](size_t threads) {
    UnitSpool rows(folder.node(""), asked.columns());
    const auto always = [](const std::vector<int32_t>&) { return true; };
    Sampling(study, population, asked, threads).units({1, 60}, {always, [] { return true; }}, rows);
    return nodePeaks(rows);
  };
  const std::vector<int32_t> alone = peaksOn(1);
  EXPECT_EQ(alone.size(), 59U);
  EXPECT_EQ(peaksOn(3), alone);
}

TEST_F(SamplingTest, ASampleIsAUnitAnotherOneAndTheUnitWithEachPartOfThat) {
  const std::string sources =
      "[[vary]]\nof = [\"source.die.watts\"]\nuniform = { from = 1, to = 3 }\n"
      "[[vary]]\nof = [\"ambient\"]\nuniform = { from = 20, to = 30 }\n";
  files.workload = "time,die\n0,1\n";
  read(0.1, lognormal() + sources +
                "[[correlation]]\nbetween = [\"resistance.die-ambient\", \"ambient\"]\nis = 0.5\n");
  ASSERT_EQ(asked.independent, (std::vector<std::vector<size_t>>{{0, 2}, {1}}));
  UnitSpool rows(folder.node(""), asked.columns());
  const auto always = [](const std::vector<int32_t>&) { return true; };
  EXPECT_EQ(
      Sampling(study, population, asked, 2).samples({3, 5}, {always, [] { return true; }}, rows),
      2U);
  std::vector<int32_t> expected;
  for (const uint64_t sample : {3U, 4U}) {
    const std::vector<double> unit = standardNumbers(1, sample, Stream::kUnit, 3);
    const std::vector<double> other = standardNumbers(1, sample, Stream::kOther, 3);
    for (const auto& standard :
         {unit, other, {other[0], unit[1], other[2]}, {unit[0], other[1], unit[2]}}) {
      const RunInput run = population.unit(study.inputs[0], standard);
      const double rise = run.plant.sources[0].watts[0] * run.plant.resistances[0].value;
      expected.push_back(static_cast<int32_t>(std::lround(1000 * (run.plant.ambient + rise))));
    }
  }
  const std::vector<int32_t> peaks = nodePeaks(rows);
  ASSERT_EQ(peaks.size(), 8U);
  for (size_t i = 0; i < 8; ++i)
    EXPECT_NEAR(peaks[i], expected[i], 2) << i;
}

TEST_F(SamplingTest, WhatIsAskedIsThatOfTheStudy) {
  read(0.1, lognormal());
  ASSERT_EQ(asked.runs.size(), 1U);
  EXPECT_EQ(asked.runs[0].name, "run");
  EXPECT_EQ(asked.runs[0].configuration, "first.conf");
  EXPECT_EQ(asked.runs[0].workload, "workload");
  EXPECT_EQ(asked.runs[0].budgets, study.inputs[0].description.budgets);
  EXPECT_EQ(asked.seed, 1U);
  EXPECT_EQ(asked.duration, 1000);
  ASSERT_EQ(asked.drivers.size(), 1U);
  EXPECT_EQ(asked.drivers[0].name, "resistance.die-ambient");
  EXPECT_TRUE(asked.drivers[0].steps.empty());
  // What does no work is no figure.
  EXPECT_TRUE(workingSources(study.inputs[0].plant).empty());
  study.inputs[0].plant.sources[0].work = true;
  EXPECT_EQ(workingSources(study.inputs[0].plant), std::vector<std::string>{"die"});
}

TEST_F(SamplingTest, OneOfOneIsAllAndOfNothingThereIsNothing) {
  const Range whole = Range{11, 41}.shard(1, 1);
  EXPECT_EQ(whole.first, 11U);
  EXPECT_EQ(whole.end, 41U);
  for (const uint64_t index : {1U, 2U, 3U})
    EXPECT_EQ((Range{5, 5}.shard(index, 3).size()), 0U);
  constexpr uint64_t kAll = ~uint64_t{0};
  EXPECT_EQ((Range{0, kAll}.shard(kAll, kAll).end), kAll);
}

} // namespace
