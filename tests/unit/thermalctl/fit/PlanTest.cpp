#include "fit/Plan.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "thermalctl/fit/FitExamples.h"

namespace {

// A search of so many steps.
Going goOnTo(int steps) {
  return [steps](const std::string&, double) mutable { return --steps > 0; };
}

TEST(PlanTest, NoIntervalGetsWider) {
  const fit_examples::Measured measured(fit_examples::kThermal);
  const Plan plan =
      planFor(measured.misfit, fit_examples::estimationOf(measured), fit_examples::goOn);
  ASSERT_EQ(plan.after.size(), 4U);
  for (size_t i = 0; i < 4; ++i)
    EXPECT_LT(plan.after[i], plan.before[i]) << measured.quantities[i].name;
}

TEST(PlanTest, InARoomWarmerThanAnythingRecordedTheDeviceRests) {
  std::string text = fit_examples::kPlant;
  text.replace(text.find("ambient = 20"), 12, "ambient = 70");
  // The recording has its own ambient, of 23 degrees.
  const fit_examples::Measured measured(fit_examples::kThermal, text);
  const Plan plan =
      planFor(measured.misfit, fit_examples::estimationOf(measured), fit_examples::goOn);
  ASSERT_EQ(plan.loads.size(), static_cast<size_t>(Plan::kSteps));
  // It begins 2 degrees above it, and its idle power warms the chip by 1.6 beside the case.
  EXPECT_LT(plan.hottest, 73.6);
}

TEST(PlanTest, APlantWithoutSourcesCanBeWatchedAlone) {
  std::string text = fit_examples::kPlant;
  const size_t from = text.find("[source.cpu]");
  text.erase(from, text.find("[sensor.chip_t]") - from);
  const PlantDescription plant = fit_examples::plantOf(text);
  const auto quantities = fit_examples::quantitiesOf(fit_examples::kThermal, text);
  std::vector<Recorded> recordings{fit_examples::recorded()};
  recordings[0].files[0].changes.clear();
  Misfit misfit(plant, quantities, recordings, stretchesOf(recordings[0], 0, {0, 0}));
  misfit.likelihoods.assign(misfit.outputs(), {0.3, 0});
  Estimation estimation;
  estimation.fit.values = guessesOf(misfit);
  estimation.fit.information = misfit.evidence(estimation.fit.values).information;
  estimation.agreement = agreementOf(misfit, estimation.fit.values);
  EXPECT_EQ(planFor(misfit, estimation, fit_examples::goOn).loads.size(),
            static_cast<size_t>(Plan::kSteps));
}

TEST(PlanTest, ItsWorkloadHasAColumnForEachSource) {
  const fit_examples::Measured measured(fit_examples::kThermal);
  Plan plan;
  plan.loads = {{1, 0.5}, {0, 0.25}};
  EXPECT_EQ(
      workloadOf(plan, measured.misfit),
      "# The next experiment, by thermalctl fit --plan.\ntime,cpu,panel\n0s,1,0.5\n120s,0,0.25\n");
}

TEST(PlanTest, ItsStepsNameWhatChangesAlone) {
  const fit_examples::Measured measured("\"node.case.*\"");
  Plan plan;
  plan.loads = {{1, 0.5}, {1, 0}};
  plan.before = {0.1};
  plan.after = {0.01};
  const std::string steps = stepsOf(plan, measured.misfit);
  EXPECT_NE(steps.find("0:00:00  cpu 100 %  panel 50 %\n0:02:00  panel 0 %\n"), std::string::npos)
      << steps;
  // A logarithm of 0.1 is a share of 10.5 %.
  EXPECT_NE(steps.find("node.case.joules_per_kelvin: from 11 % to 1 % to either side"),
            std::string::npos)
      << steps;
}

TEST(PlanTest, ToldToStopItGivesTheBestSoFar) {
  const fit_examples::Measured measured(fit_examples::kThermal);
  int asked = 0;
  const Plan plan = planFor(measured.misfit, fit_examples::estimationOf(measured),
                            [&asked](const std::string&, double) { return ++asked < 4; });
  // Three more loads, and the answer to each of the two searches.
  EXPECT_EQ(asked, 5);
  EXPECT_EQ(plan.loads.size(), static_cast<size_t>(Plan::kSteps));
  EXPECT_EQ(plan.after.size(), 4U);
}

TEST(PlanTest, NothingGetsHotterThanItWasAndADegree) {
  const fit_examples::Measured measured(fit_examples::kThermal, fit_examples::kPlant, 300);
  const Plan plan = planFor(measured.misfit, fit_examples::estimationOf(measured), goOnTo(5));
  double most = 0;
  measured.misfit.eachResidual(measured.values, [&most](const Residual& residual) {
    if (residual.reading.output == 0) most = std::max(most, residual.fitted);
  });
  EXPECT_LE(plan.hottest, most + 1);
  EXPECT_GT(plan.hottest, 22);
}

TEST(PlanTest, ItsLoadsAreNoneSomeOrAll) {
  const fit_examples::Measured measured(fit_examples::kThermal, fit_examples::kPlant, 300);
  const Plan plan = planFor(measured.misfit, fit_examples::estimationOf(measured), goOnTo(5));
  double sum = 0;
  for (const auto& step : plan.loads) {
    ASSERT_EQ(step.size(), 2U);
    for (const double load : step) {
      EXPECT_TRUE(load >= 0 && load <= 1) << load;
      sum += load;
    }
  }
  EXPECT_GT(sum, 0);
}

TEST(PlanTest, AnIntervalBeforeIsThatOfTheRecordingsAndOfTheBounds) {
  const fit_examples::Measured measured("\"node.case.*\"", fit_examples::kPlant, 300);
  Estimation estimation = fit_examples::estimationOf(measured);
  // Nothing is known but that it is a tenth to ten times its guess: four standard deviations.
  estimation.fit.information.setZero();
  const Plan plan = planFor(measured.misfit, estimation, goOnTo(1));
  EXPECT_NEAR(plan.before.at(0), 1.96 * std::log(100) / 4, 1e-6);
}

TEST(PlanTest, ItsStepsSayHowHotItGetsAndHowMuchAnOffsetIsWorth) {
  const fit_examples::Measured measured("\"node.case.*\", \"sensor.chip_t.offset\"",
                                        fit_examples::kPlant, 60);
  Plan plan;
  plan.loads = {{0, 1}};
  plan.before = {100, 0.26};
  plan.after = {0.2, 0.024};
  plan.hottest = 61.4;
  // What is not known at all is as good as e^5.
  EXPECT_EQ(stepsOf(plan, measured.misfit),
            "The next experiment, half an hour from a device at rest. Nothing is expected above 61 "
            "C; end it if anything is.\n"
            "\n"
            "0:00:00  cpu 0 %  panel 100 %\n"
            "\n"
            "What it is expected to make of the intervals:\n"
            "node.case.joules_per_kelvin: from 1.5e+04 % to 22 % to either side\n"
            "sensor.chip_t.offset: from 0.26 C to 0.024 C to either side\n");
}

} // namespace
