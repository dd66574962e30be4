#include "fit/ThermalModel.h"

#include <cmath>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "thermalctl/fit/FitExamples.h"

namespace {

using Eigen::VectorXd;
using QuantityKind = Quantity::Kind;
using Role = ThermalModel::Role;

// Where all goes in the end with these powers.
VectorXd settledOf(const ThermalModel& model, const VectorXd& watts) {
  return model.outputs.transpose() * (model.powers * watts).cwiseQuotient(model.rates) +
         model.offsets;
}

class ThermalModelTest : public testing::Test {
protected:
  // With a quantity of each kind.
  ThermalModel modelOf(const std::string& free = "\"*\"",
                       const std::string& text = fit_examples::kPlant) const {
    return {fit_examples::plantOf(text), fit_examples::quantitiesOf(free, text)};
  }

  // Two probes, and behind them two nodes.
  static constexpr Eigen::Index kChipT = 0;
  static constexpr Eigen::Index kCaseT = 1;
  static constexpr Eigen::Index kChip = 2;
  static constexpr Eigen::Index kCase = 3;
};

TEST_F(ThermalModelTest, HasAStateForEachNodeAndForEachSensorWithALag) {
  const ThermalModel model = modelOf();
  EXPECT_EQ(model.states(), 3U);
  EXPECT_EQ(model.outputs.cols(), 4);
  EXPECT_NEAR(model.rates[2], 1 / 12.0, 1e-12);
}

TEST_F(ThermalModelTest, ItsRatesAreThoseOfItsNodes) {
  const ThermalModel model = modelOf();
  // Of the matrix C^-1 G with 2.5 and 40 J/K, an eighth and a fifth of a watt per kelvin.
  const double trace = 0.125 / 2.5 + (0.125 + 0.2) / 40;
  const double determinant = 0.125 * 0.2 / (2.5 * 40);
  EXPECT_NEAR(model.rates[0] + model.rates[1], trace, 1e-12);
  EXPECT_NEAR(model.rates[0] * model.rates[1], determinant, 1e-14);
}

TEST_F(ThermalModelTest, StepsOfHeatSettleWhereTheResistancesHaveThem) {
  // Two watts through 8 and 5 K/W, and one of the panel through 5 alone.
  const VectorXd settled = settledOf(modelOf(), Eigen::Vector2d(2, 1));
  EXPECT_NEAR(settled[kChip], 2 * 8 + 3 * 5, 1e-9);
  EXPECT_NEAR(settled[kCase], 3 * 5, 1e-9);
  EXPECT_NEAR(settled[kChipT], settled[kChip], 1e-9);
  EXPECT_NEAR(settled[kCaseT], settled[kCase], 1e-9);
}

TEST_F(ThermalModelTest, ResistancesSideBySideLetThroughWhatBothDo) {
  const std::string text = std::string(fit_examples::kPlant) +
                           "[[resistance]]\nbetween = [\"case\", \"chip\"]\nkelvin_per_watt = 8\n"
                           "[[resistance]]\nbetween = [\"case\", \"ambient\"]\n"
                           "kelvin_per_watt = 20\n";
  const VectorXd settled = settledOf(modelOf("\"node.*\"", text), Eigen::Vector2d(1, 0));
  EXPECT_NEAR(settled[kChip], 4 + 4, 1e-9);
  EXPECT_NEAR(settled[kCase], 4, 1e-9);
}

TEST_F(ThermalModelTest, ASourceHeatsEachOfItsNodesByItsShare) {
  std::string text = fit_examples::kPlant;
  text.replace(text.find("node = \"case\"\nwatts"), 13, "nodes = { chip = 0.25, case = 0.75 }");
  const VectorXd settled = settledOf(modelOf("\"node.*\"", text), Eigen::Vector2d(0, 1));
  EXPECT_NEAR(settled[kChip], 0.25 * 8 + 5, 1e-9);
  EXPECT_NEAR(settled[kCase], 5, 1e-9);
}

TEST_F(ThermalModelTest, AnOffsetIsThatOfItsSensorAlone) {
  std::string text = fit_examples::kPlant;
  text.insert(text.find("lag = 12"), "offset = -0.75\n");
  EXPECT_EQ(modelOf("\"node.*\"", text).offsets, Eigen::Vector4d(0, -0.75, 0, 0));
}

TEST_F(ThermalModelTest, TheStatesOfAKelvinEverywhereAreAKelvinEverywhere) {
  const ThermalModel model = modelOf();
  const VectorXd everywhere = model.outputs.transpose() * model.evenly;
  for (Eigen::Index i = 0; i < everywhere.size(); ++i)
    EXPECT_NEAR(everywhere[i], 1, 1e-12) << i;
}

TEST_F(ThermalModelTest, AKelvinAtAStartIsAtItsNodeOrItsSensorAlone) {
  const ThermalModel model = modelOf();
  const Eigen::MatrixXd shown = model.outputs.transpose() * model.starts;
  // By output; of the chip, of the case and of the sensor with the lag.
  Eigen::MatrixXd expected(4, 3);
  expected << 1, 0, 0, /**/ 0, 0, 1, /**/ 1, 0, 0, /**/ 0, 1, 0;
  EXPECT_LT((shown - expected).cwiseAbs().maxCoeff(), 1e-12) << shown;
}

TEST_F(ThermalModelTest, EachQuantityHasItsRole) {
  const ThermalModel model = modelOf();
  const std::vector<Quantity> quantities = fit_examples::quantitiesOf("\"*\"");
  ASSERT_EQ(model.effects.size(), quantities.size());
  for (size_t i = 0; i < quantities.size(); ++i) {
    const QuantityKind kind = quantities[i].kind;
    const Role expected = kind == QuantityKind::kCapacity  ? Role::kBySpeed
                          : kind == QuantityKind::kWatts   ? Role::kByPower
                          : kind == QuantityKind::kIdle    ? Role::kByIdle
                          : kind == QuantityKind::kOffset  ? Role::kOffset
                          : kind == QuantityKind::kAmbient ? Role::kAmbient
                                                           : Role::kByState;
    EXPECT_EQ(model.effects[i].role, expected) << quantities[i].name;
    EXPECT_EQ(model.effects[i].index, quantities[i].index) << quantities[i].name;
    const auto column = static_cast<Eigen::Index>(i);
    EXPECT_EQ(model.bySpeed[column], kind == QuantityKind::kCapacity ? 1 : 0) << quantities[i].name;
  }
  // Two offsets and the ambient have no course.
  EXPECT_EQ(model.still.size(), 3U);
}

TEST_F(ThermalModelTest, AStepIsAnExponentialAndItsIntegral) {
  const ThermalModel model = modelOf();
  const ThermalModel::Step& step = model.step(2'500'000, true);
  for (Eigen::Index i = 0; i < 3; ++i) {
    const double r = model.rates[i];
    EXPECT_NEAR(step.decay[i], std::exp(-2.5 * r), 1e-12);
    EXPECT_NEAR(step.driven[i], (1 - std::exp(-2.5 * r)) / r, 1e-12);
    // What a state has of itself: t exp(-r t).
    EXPECT_NEAR(step.pairs(i, i), 2.5 * std::exp(-2.5 * r), 1e-12);
    for (Eigen::Index j = 0; j < i; ++j) {
      const double s = model.rates[j];
      EXPECT_NEAR(step.pairs(i, j), (std::exp(-2.5 * s) - std::exp(-2.5 * r)) / (r - s), 1e-10);
      EXPECT_EQ(step.pairs(i, j), step.pairs(j, i));
      EXPECT_EQ(step.drivenPairs(i, j), step.drivenPairs(j, i));
      // The integral of the driven one's course, which decays by the other's rate.
      const double driven = ((1 - std::exp(-2.5 * r)) / r - step.pairs(i, j)) / s;
      EXPECT_NEAR(step.drivenPairs(i, j), driven, 1e-9);
    }
  }
}

TEST_F(ThermalModelTest, TwoStepsAreOneOfBothLengths) {
  const ThermalModel model = modelOf();
  const ThermalModel::Step& first = model.step(1'000'000, false);
  const ThermalModel::Step& second = model.step(300'000, false);
  const ThermalModel::Step& both = model.step(1'300'000, false);
  for (Eigen::Index i = 0; i < 3; ++i) {
    EXPECT_NEAR(first.decay[i] * second.decay[i], both.decay[i], 1e-14);
    EXPECT_NEAR(first.driven[i] * second.decay[i] + second.driven[i], both.driven[i], 1e-12);
  }
}

TEST_F(ThermalModelTest, AStepIsKeptAndCompletedWhenItsEffectsAreAskedFor) {
  const ThermalModel model = modelOf();
  const ThermalModel::Step& plain = model.step(1'000'000, false);
  EXPECT_EQ(plain.pairs.size(), 0);
  EXPECT_EQ(&model.step(1'000'000, false), &plain);
  EXPECT_EQ(model.step(1'000'000, true).pairs.size(), 9);
  // Without them it keeps what it has.
  EXPECT_EQ(model.step(1'000'000, false).pairs.size(), 9);
}

TEST_F(ThermalModelTest, ALagAsSlowAsAModeIsMovedByWhatNoReadingTells) {
  std::string text = "ambient = 20\n[node.chip]\njoules_per_kelvin = 10\n"
                     "[[resistance]]\nbetween = [\"chip\", \"ambient\"]\nkelvin_per_watt = 2\n"
                     "[sensor.chip_t]\nnode = \"chip\"\nlag = 20\n"
                     "[sensor.case_t]\nnode = \"chip\"\nlag = 21\n";
  const ThermalModel model = modelOf("\"node.*\"", text);
  EXPECT_TRUE(model.outputs.allFinite());
  ASSERT_EQ(model.states(), 3U);
  EXPECT_NEAR(model.rates[0], 0.05, 1e-12);
  EXPECT_NEAR(model.rates[1], 0.05 * (1 + 1e-5), 1e-12);
  EXPECT_DOUBLE_EQ(model.rates[2], 1 / 21.0);
}

} // namespace
