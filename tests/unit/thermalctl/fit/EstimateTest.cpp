#include "fit/Estimate.h"

#include <cmath>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "fit/Words.h"
#include "thermalctl/fit/FitExamples.h"

namespace {

std::string replaced(std::string text, const std::string& what, const std::string& by) {
  return text.replace(text.find(what), what.size(), by);
}

class EstimateTest : public testing::Test {
protected:
  // Readings of the true plant, and a misfit whose plant has other guesses.
  Estimation estimateFrom(const std::string& sketch, const std::string& free,
                          const Going& going = fit_examples::goOn) {
    fit_examples::measure(recordings, fit_examples::plantOf(), {0, 3.4});
    guess = fit_examples::plantOf(sketch);
    quantities = fit_examples::quantitiesOf(free, sketch);
    misfit.emplace(guess, quantities, recordings, stretchesOf(recordings[0], 0, {0, 0}));
    misfit->likelihoods.assign(misfit->outputs(), {1, 0});
    return estimate(*misfit, going);
  }

  std::vector<Recorded> recordings{fit_examples::recorded(1200)};
  PlantDescription guess;
  std::vector<Quantity> quantities;
  std::optional<Misfit> misfit;
};

TEST_F(EstimateTest, FindsTheTruthFromWrongGuessesAndAWrongClock) {
  std::string sketch = replaced(fit_examples::kPlant, "= 2.5", "= 7");
  sketch = replaced(sketch, "= 40.0", "= 15");
  sketch = replaced(sketch, "= 8", "= 3");
  sketch = replaced(sketch, "= 5", "= 12");
  const Estimation found = estimateFrom(sketch, fit_examples::kThermal);
  ASSERT_EQ(found.estimates.size(), 4U);
  const double truths[] = {2.5, 40, 8, 5};
  for (size_t i = 0; i < 4; ++i)
    EXPECT_NEAR(found.estimates[i].value, truths[i], 0.002 * truths[i]) << quantities[i].name;
  EXPECT_NEAR(misfit->unknowns.offsetsOf(0, found.fit.values)[1], 3.4, 0.05);
  EXPECT_TRUE(found.undetermined.empty());
  EXPECT_LT(found.agreement.front().rmse, 0.01);
}

TEST_F(EstimateTest, ACommonScaleOfAllPowersIsNamed) {
  const Estimation found =
      estimateFrom(fit_examples::kPlant, std::string(fit_examples::kThermal) +
                                             ", \"source.*.watts\", \"source.*.idle_watts\"");
  ASSERT_EQ(found.undetermined.size(), 1U);
  EXPECT_NE(inWords(*misfit, found).front().find("common scale"), std::string::npos);
}

TEST_F(EstimateTest, ASourceThatWasNeverOnKeepsItsGuess) {
  for (RecordedChange& change : recordings[0].files[0].changes)
    if (change.kind == RecordedChange::Kind::kLoad && change.index == 1) change.value = 0;
  const Estimation found = estimateFrom(fit_examples::kPlant, std::string(fit_examples::kThermal) +
                                                                  ", \"source.panel.watts\"");
  ASSERT_EQ(found.undetermined.size(), 1U);
  EXPECT_TRUE(found.estimates[4].frozen);
  EXPECT_EQ(found.estimates[4].value, 1);
  EXPECT_NE(inWords(*misfit, found).front().find("panel was never on"), std::string::npos);
}

TEST_F(EstimateTest, ToldToStopItGivesTheBestSoFar) {
  int asked = 0;
  const Estimation found =
      estimateFrom(fit_examples::kPlant, fit_examples::kThermal,
                   [&asked](const std::string&, double) { return ++asked < 5; });
  EXPECT_TRUE(found.fit.interrupted);
  EXPECT_EQ(found.estimates.size(), 4U);
}

TEST_F(EstimateTest, ANumberAtABoundIsTold) {
  const fit_examples::Measured measured("\"node.*\", \"ambient\"");
  // From 0.25 to 25 and from 4 to 400 J/K; from 15 to 25 degrees.
  Estimation estimation = fit_examples::estimationOf(measured);
  EXPECT_TRUE(atBounds(measured.misfit, estimation).empty());
  // The last half of a hundredth of a range.
  const double nearly = std::pow(100, 0.0049);
  const double hardly = std::pow(100, 0.0051);
  estimation.estimates[0].value = 0.25 * nearly;
  estimation.estimates[1].value = 400 / nearly;
  estimation.estimates[2].value = 24.951;
  EXPECT_EQ(atBounds(measured.misfit, estimation), (std::vector<size_t>{0, 1, 2}));
  estimation.estimates[0].value = 0.25 * hardly;
  estimation.estimates[1].value = 400 / hardly;
  estimation.estimates[2].value = 24.949;
  EXPECT_TRUE(atBounds(measured.misfit, estimation).empty());
  estimation.estimates[2].value = 15;
  EXPECT_EQ(atBounds(measured.misfit, estimation), std::vector<size_t>{2});
  estimation.frozen[2] = true;
  EXPECT_TRUE(atBounds(measured.misfit, estimation).empty());
}

TEST_F(EstimateTest, AgreementHasTheReadingsTheRootOfTheMeanSquareAndTheLargestError) {
  fit_examples::Measured measured("", fit_examples::kPlant, 105);
  // Of a hundred readings.
  measured.addToChip(10, 11, -3);
  measured.addToChip(20, 21, 4);
  const std::vector<Agreeing> agreement = agreementOf(measured.misfit, measured.values);
  ASSERT_EQ(agreement.size(), 2U);
  EXPECT_EQ(agreement[0].output, 0U);
  EXPECT_EQ(agreement[0].readings, 100U);
  EXPECT_NEAR(agreement[0].rmse, 0.5, 1e-6);
  EXPECT_NEAR(agreement[0].largest, 4, 1e-6);
  EXPECT_EQ(agreement[1].output, 1U);
  EXPECT_NEAR(agreement[1].rmse, 0, 1e-6);
}

TEST_F(EstimateTest, AgreementIsOfEachRecordingByItself) {
  const PlantDescription plant = fit_examples::plantOf();
  recordings = {fit_examples::recorded(105), fit_examples::recorded(205)};
  const Misfit both = misfitOf(plant, quantities, recordings);
  const std::vector<Agreeing> agreement = agreementOf(both, guessesOf(both));
  ASSERT_EQ(agreement.size(), 4U);
  EXPECT_EQ(agreement[1].recording, 0U);
  EXPECT_EQ(agreement[2].recording, 1U);
  EXPECT_EQ(agreement[2].output, 0U);
  EXPECT_EQ(agreement[2].readings, 200U);
}

TEST_F(EstimateTest, HeldAgainstOtherRecordingsTheValuesStay) {
  fit_examples::Measured measured("\"node.*\", \"sensor.chip_t.offset\"", fit_examples::kPlant,
                                  120);
  const Estimation held = validate(measured.misfit, {2.5, 40, 0.5}, fit_examples::goOn);
  EXPECT_NEAR(held.fit.values[0], std::log(2.5), 1e-12);
  EXPECT_NEAR(held.fit.values[1], std::log(40), 1e-12);
  EXPECT_EQ(held.fit.values[2], 0.5);
  EXPECT_EQ(held.frozen, std::vector<bool>(3, true));
  // The offset is none, and the chip's start alone can go with it.
  EXPECT_GT(held.agreement[0].rmse, 0.3);
}

} // namespace
