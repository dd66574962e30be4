#include "fit/Fitting.h"

#include <cmath>
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "fit/RecordingFiles.h"
#include "simulate/Random.h"
#include "thermalctl/fit/FitExamples.h"

namespace {

using Eigen::Index;
using Eigen::VectorXd;

constexpr char kChipAndCase[] = "\"node.*\"";

class FittingTest : public testing::Test {
protected:
  fit_examples::Measured measured{kChipAndCase, fit_examples::kPlant, 120};
  Misfit& misfit = measured.misfit;
  const std::vector<bool> none{false, false};

  RecordedFile& sensors() { return measured.recordings[0].files[1]; }
  // The clock, the chip, the case and the lagged sensor, behind the two capacities.
  static constexpr Index kClock = 2;
  static constexpr Index kStarts = 3;

  Going stagesInto(std::map<std::string, int>& stages) const {
    return [&stages](const std::string& stage, double) { return ++stages[stage] > 0; };
  }
  // The truth, but for capacities so many times as large.
  VectorXd times(double factor) const {
    VectorXd values = measured.values;
    values.head(2).array() += std::log(factor);
    return values;
  }
  void addNoise(double deviation) {
    Random random(7);
    for (size_t row = 0; row < sensors().rows.size(); ++row)
      measured.addToChip(row, row + 1, deviation * random.normal());
  }
};

TEST_F(FittingTest, BeginsAtTheGuessesAndWithClocksThatAgree) {
  const fit_examples::Measured all("\"node.chip.*\", \"sensor.*.offset\", \"ambient\"");
  const VectorXd guesses = guessesOf(all.misfit);
  ASSERT_EQ(guesses.size(), 8);
  EXPECT_EQ(guesses[0], std::log(2.5));
  EXPECT_EQ(guesses[1], 0);
  EXPECT_EQ(guesses[2], 0);
  EXPECT_EQ(guesses[3], 20);
  EXPECT_EQ(guesses[4], 0);
}

TEST_F(FittingTest, ANodeBeginsAtItsFirstReadingAndASensorWithALagToo) {
  sensors().readings[0].celsius = 31;
  sensors().readings[1].celsius = 26;
  EXPECT_EQ(guessesOf(misfit).tail(3), Eigen::Vector3d(31, 26, 26));
}

TEST_F(FittingTest, AReadingOfANodeItselfIsItsBegin) {
  // Behind two probes the case is the last.
  sensors().readings[0] = {3, 29};
  sensors().readings[1] = {0, 35};
  EXPECT_EQ(guessesOf(misfit).tail(3), Eigen::Vector3d(35, 29, 29));
}

TEST_F(FittingTest, WhatNothingReadsWithinFiftyRowsBeginsAtTheMeanOfTheOthers) {
  for (Reading& reading : sensors().readings)
    reading = {0, 33};
  sensors().readings[sensors().rows[49].first] = {1, 27};
  EXPECT_EQ(guessesOf(misfit).tail(3), Eigen::Vector3d(33, 27, 27));
  sensors().readings[sensors().rows[49].first] = {0, 33};
  sensors().readings[sensors().rows[50].first] = {1, 27};
  EXPECT_EQ(guessesOf(misfit).tail(3), Eigen::Vector3d(33, 33, 33));
}

TEST_F(FittingTest, WithoutAnyReadingTheBeginIsTheAmbient) {
  for (ReadingRow& row : sensors().rows)
    row.end = row.first;
  EXPECT_EQ(guessesOf(misfit).tail(3), Eigen::Vector3d(20, 20, 20));
}

TEST_F(FittingTest, EachStretchBeginsAnew) {
  measured.recordings[0].files[0].gaps = {{50, 80}};
  const Misfit cut(measured.plant, measured.quantities, measured.recordings,
                   stretchesOf(measured.recordings[0], 0, {0, 0}));
  ASSERT_EQ(cut.stretches.size(), 2U);
  const size_t second = cut.stretches[1].rows[1].first;
  const double chip = sensors().readings[sensors().rows[second].first].celsius;
  const VectorXd guesses = guessesOf(cut);
  ASSERT_EQ(guesses.size(), kStarts + 6);
  EXPECT_EQ(guesses[kStarts], 24);
  EXPECT_EQ(guesses[kStarts + 3], chip);
  EXPECT_NE(chip, 24);
}

TEST_F(FittingTest, RefinedTheValuesAreThoseThatGoBest) {
  const Fit fit = refine(misfit, times(1.5), none, fit_examples::goOn);
  EXPECT_NEAR(std::exp(fit.values[0]), 2.5, 0.01);
  EXPECT_NEAR(std::exp(fit.values[1]), 40, 0.1);
  EXPECT_NEAR(fit.values[kClock], 0, 0.05);
  EXPECT_NEAR(fit.values[kStarts], 24, 0.05);
  EXPECT_FALSE(fit.interrupted);
}

TEST_F(FittingTest, ItsMisfitAndItsInformationAreThoseOfItsValues) {
  addNoise(0.2);
  const Fit fit = refine(misfit, times(1.1), none, fit_examples::goOn);
  EXPECT_EQ(misfit.stride, 1U);
  const MisfitEvidence evidence = misfit.evidence(fit.values);
  EXPECT_EQ(fit.misfit, evidence.misfit);
  EXPECT_EQ(fit.information, evidence.information);
}

TEST_F(FittingTest, WhatIsFrozenStays) {
  const VectorXd from = times(1.5);
  const Fit fit = refine(misfit, from, {true, false}, fit_examples::goOn);
  EXPECT_EQ(fit.values[0], from[0]);
  EXPECT_GT(std::abs(fit.values[1] - from[1]), 0.1);
}

TEST_F(FittingTest, NoValueLeavesItsBounds) {
  std::vector<Quantity> bounded = measured.quantities;
  bounded[0].guess = 6;
  bounded[0].least = 5;
  bounded[0].most = 7;
  Misfit within(measured.plant, bounded, measured.recordings, misfit.stretches);
  within.likelihoods = misfit.likelihoods;
  VectorXd from = measured.values;
  from[0] = std::log(6);
  const Fit fit = refine(within, from, none, fit_examples::goOn);
  EXPECT_GE(std::exp(fit.values[0]), 5 - 1e-9);
  EXPECT_LT(std::exp(fit.values[0]), 5.05);
}

TEST_F(FittingTest, FindsTheNoiseOfEachSensorByItself) {
  addNoise(0.4);
  refine(misfit, measured.values, none, fit_examples::goOn);
  EXPECT_NEAR(misfit.likelihoods[0].noise, 0.4, 0.08);
  EXPECT_LT(misfit.likelihoods[1].noise, 0.05);
  // Of what is not read it is what it was.
  EXPECT_EQ(misfit.likelihoods[2].noise, 0.3);
}

TEST_F(FittingTest, StrayReadingsAreNoNoise) {
  addNoise(0.4);
  for (size_t row = 20; row < 110; row += 20)
    measured.addToChip(row, row + 1, 30);
  const Fit fit = refine(misfit, measured.values, none, fit_examples::goOn);
  EXPECT_NEAR(misfit.likelihoods[0].noise, 0.4, 0.08);
  EXPECT_NEAR(std::exp(fit.values[0]), 2.5, 0.15);
}

TEST_F(FittingTest, RoundingIsNoNoise) {
  for (Reading& reading : sensors().readings)
    reading.celsius = std::round(reading.celsius);
  for (Likelihood& likelihood : misfit.likelihoods)
    likelihood.step = 1;
  const Fit fit = refine(misfit, measured.values, none, fit_examples::goOn);
  // As good as none: a twentieth of the step is the least that is told.
  EXPECT_LT(misfit.likelihoods[0].noise, 0.15);
  EXPECT_NEAR(std::exp(fit.values[0]), 2.5, 0.1);
}

TEST_F(FittingTest, ToldToStopAtOnceItGivesWhatItBeganWith) {
  const VectorXd from = times(1.5);
  const Fit fit = refine(misfit, from, none, [](const std::string&, double) { return false; });
  EXPECT_TRUE(fit.interrupted);
  EXPECT_LT((fit.values - from).cwiseAbs().maxCoeff(), 1e-9);
}

TEST_F(FittingTest, ToldToStopItGivesTheBestOfWhatItTried) {
  std::vector<double> told;
  const Fit fit = refine(misfit, times(3), none, [&told](const std::string&, double cost) {
    told.push_back(cost);
    return told.size() < 3;
  });
  EXPECT_TRUE(fit.interrupted);
  ASSERT_EQ(told.size(), 3U);
  EXPECT_LT(told[2], told[0]);
  EXPECT_LT(std::abs(fit.values[0] - std::log(2.5)), std::log(3));
}

TEST_F(FittingTest, TellsItsStages) {
  fit_examples::Measured minute(kChipAndCase, fit_examples::kPlant, 60);
  std::map<std::string, int> stages;
  fitTo(minute.misfit, none, stagesInto(stages));
  std::vector<std::string> names;
  names.reserve(stages.size());
  for (const auto& [stage, count] : stages)
    names.push_back(stage);
  EXPECT_EQ(names,
            (std::vector<std::string>{"refining", "start 1 of 3", "start 2 of 3", "start 3 of 3"}));
}

TEST_F(FittingTest, ASearchThatIsStoppedTriesNoOtherStart) {
  std::map<std::string, int> stages;
  const Fit fit = fitTo(misfit, none, [&stages](const std::string& stage, double) {
    ++stages[stage];
    return false;
  });
  EXPECT_TRUE(fit.interrupted);
  EXPECT_EQ(stages, (std::map<std::string, int>{{"start 1 of 3", 1}}));
}

TEST_F(FittingTest, PlacedOnlyClocksAndStartsAreFound) {
  VectorXd from = measured.values;
  shift(sensors(), -7.5);
  from.tail(3).array() += 2;
  std::map<std::string, int> stages;
  const Fit fit = place(misfit, from, stagesInto(stages));
  EXPECT_EQ(fit.values.head(2), from.head(2));
  EXPECT_NEAR(fit.values[kClock], 7.5, 0.05);
  EXPECT_NEAR(fit.values[kStarts], 24, 0.1);
  EXPECT_EQ(stages.count("clocks"), 1U);
  EXPECT_EQ(stages.count("refining"), 1U);
}

TEST_F(FittingTest, ASingleFileHasNoClockToLookFor) {
  RecordedFile both = sensors();
  both.changes = measured.recordings[0].files[0].changes;
  both.first = 0;
  const std::vector<Recorded> one = {{"one", {both}}};
  Misfit single(measured.plant, measured.quantities, one, stretchesOf(one[0], 0, {0}));
  single.likelihoods = misfit.likelihoods;
  std::map<std::string, int> stages;
  const Fit fit = place(single, guessesOf(single), stagesInto(stages));
  EXPECT_EQ(stages.count("clocks"), 0U);
  EXPECT_NEAR(fit.values[2], 24, 0.1);
}

} // namespace
