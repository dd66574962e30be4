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

TEST_F(PlantRulesTest, EachSentenceTellsThePlantsNumberAndWhatToWrite) {
  const std::string item = inScenario("Default", {monitor()});
  plant["cpu"].fullLoad = 64260;
  EXPECT_EQ(said(kPlantRules, {item}),
            Places{"at full load 'cpu' settles at 64.3 °C and never comes to 70.0 °C (write a "
                   "temperature that the plant reaches)"});
  plant["cpu"].fullLoad = 95000;
  plant["cpu"].timeConstant = 1.26;
  EXPECT_EQ(said(kPlantRules, {item}),
            Places{"the node of 'cpu' follows the heat within 1.3 s, and is read every 1.0 s "
                   "(write at most 252)"});
  plant["cpu"].timeConstant = 20;
  plant["cpu"].noise = 1236;
  EXPECT_EQ(said(kPlantRules, {item}),
            Places{"the band is 3.00 degrees wide, and the noise of 'cpu' has a standard deviation "
                   "of 1.24 (leave 3.71 degrees or more)"});
  plant["cpu"].noise = 0;
  plant["cpu"].fall["clock"] = {0, 4000, 0, 0};
  EXPECT_EQ(said(kPlantRules, {item}),
            Places{"within 1000 ms the level cools 'cpu' by 4.0 degrees, and the band is 3.0: it "
                   "swings 0.50 times a second (a wider band, a weaker level or a shorter "
                   "period)"});
}

TEST_F(PlantRulesTest, TheFirstThresholdAboveFullLoadIsMarked) {
  plant["cpu"].fullLoad = 65000;
  const std::vector<Finding> all = findings(kPlantRules, {inScenario("Default", {monitor()})});
  ASSERT_EQ(all.size(), 1U);
  EXPECT_EQ(all[0].at.column, 18);
}

TEST_F(PlantRulesTest, WhatIsWrongWithANumberIsNotToldByThePlant) {
  plant["cpu"].fullLoad = 59999;
  EXPECT_EQ(of(with(monitor(), "thresholds", "60000C 70000C")), Places());
  EXPECT_EQ(of(with(monitor(), "thresholds", "250000 300000")), Places());
  plant["cpu"] = {95000, 20, 1001, {}};
  EXPECT_EQ(of(with(monitor(), "thresholds_clr", "57000C 67000C")), Places());
  plant["cpu"] = {95000, 1, 0, {}};
  environment = with(environment, "sampling", "1000ms");
  EXPECT_EQ(of(monitor()), Places());
}

TEST_F(PlantRulesTest, TheTemperaturesOfASensorInTenthsAreDegreesToThePlant) {
  settings.units = {{"cpu", 100}};
  const std::string item =
      with(with(monitor(), "thresholds", "600 700"), "thresholds_clr", "570 670");
  plant["cpu"].fullLoad = 70000;
  EXPECT_EQ(of(item), Places());
  plant["cpu"].fullLoad = 69999;
  EXPECT_EQ(of(item), Places{"threshold-above-full-load a:6"});
  plant["cpu"] = {95000, 20, 1000, {}};
  EXPECT_EQ(of(item), Places());
  plant["cpu"] = {95000, 20, 1001, {}};
  EXPECT_EQ(of(item), Places{"hysteresis-within-noise a:7"});
}

TEST_F(PlantRulesTest, EachLevelIsHeldAgainstItsOwnBand) {
  const std::string item = with(monitor(), "thresholds_clr", "57000 69000");
  plant["cpu"].noise = 400;
  const std::vector<Finding> noisy = findings(kPlantRules, {inScenario("Default", {item})});
  ASSERT_EQ(noisy.size(), 1U);
  EXPECT_EQ(noisy[0].at.column, 22);
  plant["cpu"].noise = 0;
  // What the second level asks for, level 3, falls through the second band and not the first.
  plant["cpu"].fall["clock"] = {0, 2000, 0, 2000};
  const std::vector<Finding> swinging = findings(kPlantRules, {inScenario("Default", {item})});
  ASSERT_EQ(swinging.size(), 1U);
  EXPECT_EQ(swinging[0].at.column, 22);
}

TEST_F(PlantRulesTest, ALevelThatCoolsNothingOrIsPastTheTableDoesNotSwing) {
  plant["cpu"].fall["clock"] = {9000, 0, 0, 9000};
  EXPECT_EQ(of(with(monitor(), "action_info", "0 2")), Places());
  EXPECT_EQ(of(with(monitor(), "action_info", "2 4")), Places());
  EXPECT_EQ(of(with(monitor(), "action_info", "2 3")), Places{"hysteresis-within-one-step a:7"});
  // A device that the plant does not know takes no heat away.
  EXPECT_EQ(of(with(monitor(), "actions", "charger charger")), Places());
}

TEST_F(PlantRulesTest, AnItemAgainstColdDoesNotSwingByCooling) {
  plant["battery"] = {95000, 20, 0, {{"charger", {0, 9000, 9000}}}};
  EXPECT_EQ(of(cold()), Places());
}

} // namespace
