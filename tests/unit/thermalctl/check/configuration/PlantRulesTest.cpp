#include <string>

#include <gtest/gtest.h>

#include "check/configuration/ConfigurationRules.h"
#include "thermalctl/check/RuleBoard.h"

namespace {

class PlantRulesTest : public testing::Test, protected RuleBoard {
protected:
  PlantRulesTest() {
    plant["cpu"].fullLoad = 95000;
    plant["cpu"].timeConstant = 20;
  }

  Places of(const std::string& item) const {
    return told(kPlantRules, {inScenario("Default", {item})});
  }
};

TEST_F(PlantRulesTest, WithoutAPlantNothingIsTold) {
  plant.clear();
  EXPECT_EQ(of(monitor()), Places());
}

TEST_F(PlantRulesTest, ThresholdsUpToWhereFullLoadSettlesAreReached) {
  const Places above = {"threshold-above-full-load a:6"};
  plant["cpu"].fullLoad = 70000;
  EXPECT_EQ(of(monitor()), Places());
  plant["cpu"].fullLoad = 69999;
  EXPECT_EQ(of(monitor()), above);
  EXPECT_EQ(of(steps()), Places());
  plant["cpu"].fullLoad = 59999;
  EXPECT_EQ(of(monitor()), above);
  EXPECT_EQ(of(steps()), Places{"threshold-above-full-load a:7"});
}

TEST_F(PlantRulesTest, ColdIsNotReachedByLoad) {
  plant["battery"].fullLoad = -10000;
  EXPECT_EQ(of(cold()), Places());
}

TEST_F(PlantRulesTest, AFifthOfTheTimeConstantIsSoonEnough) {
  plant["cpu"].timeConstant = 5;
  EXPECT_EQ(of(monitor()), Places());
  plant["cpu"].timeConstant = 4.99;
  EXPECT_EQ(of(monitor()), Places{"sampled-too-slowly env:3"});
  // A node that nothing cools has none.
  plant["cpu"].timeConstant = 0;
  EXPECT_EQ(of(monitor()), Places());
}

TEST_F(PlantRulesTest, ThreeStandardDeviationsFitIntoABand) {
  const Places within = {"hysteresis-within-noise a:7"};
  plant["cpu"].noise = 1000;
  EXPECT_EQ(of(monitor()), Places());
  plant["cpu"].noise = 1001;
  EXPECT_EQ(of(monitor()), within);
  // What the settings say counts instead.
  settings.noise["cpu"] = 1000;
  EXPECT_EQ(of(monitor()), Places());
  plant.clear();
  settings.noise["cpu"] = 1001;
  EXPECT_EQ(of(monitor()), within);
  EXPECT_EQ(of(steps()), Places{"hysteresis-within-noise a:8"});
}

TEST_F(PlantRulesTest, TheNoiseOfAColdBandCountsToo) {
  settings.noise["battery"] = 667;
  EXPECT_EQ(of(cold()), Places{"hysteresis-within-noise a:8"});
  settings.noise["battery"] = 666;
  EXPECT_EQ(of(cold()), Places());
}

TEST_F(PlantRulesTest, ABandBelowHalfADegreeIsToldWithoutAPlant) {
  plant["cpu"].noise = 1001;
  EXPECT_EQ(of(with(monitor(), "thresholds_clr", "59501 69501")), Places());
}

TEST_F(PlantRulesTest, OneStepWithinOnePeriodIsNotAllOfTheBand) {
  const Places swings = {"hysteresis-within-one-step a:7"};
  plant["cpu"].fall["clock"] = {0, 3000, 0, 0};
  EXPECT_EQ(of(monitor()), Places());
  plant["cpu"].fall["clock"] = {0, 3001, 0, 0};
  EXPECT_EQ(of(monitor()), swings);
  // A shorter period sees less of it.
  EXPECT_EQ(of(with(monitor(), "sampling", "999")), Places());
  // Level 2 is one that the item never goes to.
  plant["cpu"].fall["clock"] = {0, 0, 9000, 0};
  EXPECT_EQ(of(monitor()), Places());
  plant["cpu"].fall["clock"] = {0, 0, 0, 3001};
  EXPECT_EQ(of(monitor()), swings);
}

TEST_F(PlantRulesTest, TheDevicesOfOneRowCoolTogether) {
  plant["cpu"].fall["clock"] = {0, 1600, 0, 0};
  plant["cpu"].fall["charger"] = {0, 1401, 0};
  const std::string both =
      with(with(monitor(), "actions", "clock+charger clock"), "action_info", "1+1 3");
  EXPECT_EQ(of(both), Places{"hysteresis-within-one-step a:7"});
  plant["cpu"].fall["charger"] = {0, 1400, 0};
  EXPECT_EQ(of(both), Places());
}

TEST_F(PlantRulesTest, TheRateOfTheSwingIsHalfThatOfTheDecisions) {
  plant["cpu"].fall["clock"] = {0, 9000, 0, 0};
  const std::string slow = inScenario("Default", {with(monitor(), "sampling", "2000")});
  const std::vector<Finding> all = findings(kPlantRules, {slow});
  ASSERT_EQ(all.size(), 1U);
  EXPECT_EQ(all.front().message, "within 2000 ms the level cools 'cpu' by 18.0 degrees, and the "
                                 "band is 3.0: it swings 0.25 times a second");
}

TEST_F(PlantRulesTest, AnSSItemGoesToItsStartLevel) {
  plant["cpu"].fall["clock"] = {0, 0, 3001, 0};
  EXPECT_EQ(of(steps()), Places());
  EXPECT_EQ(of(with(steps(), "start_level", "2")), Places{"hysteresis-within-one-step a:8"});
}

} // namespace
