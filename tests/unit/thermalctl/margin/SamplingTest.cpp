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

} // namespace
