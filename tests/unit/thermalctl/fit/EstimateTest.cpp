#include "fit/Estimate.h"

#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "fit/Words.h"
#include "thermalctl/fit/FitExamples.h"

namespace {

const Going kGoOn = [](const std::string&, double) { return true; };

std::string replaced(std::string text, const std::string& what, const std::string& by) {
  return text.replace(text.find(what), what.size(), by);
}

class EstimateTest : public testing::Test {
protected:
  // Readings of the true plant, and a misfit whose plant has other guesses.
  Estimation estimateFrom(const std::string& sketch, const std::string& free,
                          const Going& going = kGoOn) {
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

} // namespace
