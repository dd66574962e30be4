#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "check/configuration/ConfigurationRules.h"
#include "thermalctl/check/RuleBoard.h"

namespace {

class CoverageRulesTest : public testing::Test, protected RuleBoard {
protected:
  // With a table that the usual items ask for to its end.
  CoverageRulesTest() { environment.replace(environment.find(kFour), kFour.size(), "800 600 400"); }

  const std::string kFour = "800 600 400 200";

  static std::string monitor(const std::string& name = "less") {
    return with(RuleBoard::monitor(name), "action_info", "1 2");
  }
  Places of(const std::vector<std::string>& configurations) const {
    return told(kCoverageRules, configurations);
  }
  // A monitor of the battery from that temperature on, in thousandths.
  static std::string battery(int from, const std::string& name = "pack") {
    const std::string first = std::to_string(from);
    const std::string second = std::to_string(from + 2000);
    return "[" + name + "]\nalgo_type monitor\nsensor battery\nsampling 1000\nthresholds " + first +
           " " + second + "\nthresholds_clr " + std::to_string(from - 1000) + " " +
           std::to_string(from + 1000) + "\nactions charger charger\naction_info 1 2\n";
  }
  static std::string reporting(const std::string& name = "report") {
    return with(with(battery(40000, name), "actions", "alarm alarm"), "action_info", "1 1");
  }
  // The text of both scenarios of one file.
  static std::string scenarios(const std::vector<std::string>& usual,
                               const std::vector<std::string>& game) {
    return inScenario("Default", usual) + "\n" + inScenario("game", game);
  }
  std::string messageOf(const std::vector<std::string>& configurations) const {
    const std::vector<Finding> all = findings(kCoverageRules, configurations);
    return all.size() == 1 ? all.front().message : std::to_string(all.size()) + " findings";
  }
};

TEST_F(CoverageRulesTest, FindNothingWhereEachScenarioCoolsAll) {
  const std::string all = scenarios({monitor(), battery(40000)}, {monitor("m"), battery(39000)});
  EXPECT_EQ(of({all}), Places());
  EXPECT_EQ(of({all, all}), Places());
}

TEST_F(CoverageRulesTest, ADefaultThatOnlyReportsCoolsNothing) {
  EXPECT_EQ(of({inScenario("Default", {reporting()})}), Places{"default-cools-nothing a:1"});
  EXPECT_EQ(of({inScenario("Default", {reporting(), monitor()})}), Places());
}

TEST_F(CoverageRulesTest, ABoardThatOnlyKeepsItsBatteryFromColdHasNothingToCool) {
  EXPECT_EQ(of({inScenario("Default", {cold()})}), Places());
  EXPECT_EQ(of({inScenario("Default", {cold()}) + "\n" + inScenario("game", {monitor()})}),
            (Places{"default-cools-nothing a:1"}));
}

TEST_F(CoverageRulesTest, AScenarioThatOnlyReportsASensorsHeatLeavesItUncooled) {
  EXPECT_EQ(of({scenarios({monitor(), battery(40000)}, {monitor("m"), reporting()})}),
            Places{"sensor-uncooled a:36"});
  EXPECT_EQ(messageOf({scenarios({monitor(), battery(40000)}, {monitor("m"), reporting()})}),
            "at 42 °C nothing of 'game' acts on 'battery': the scenario only reports the heat, and "
            "'Default' cools from 40 °C on");
}

TEST_F(CoverageRulesTest, AScenarioThatOnlyHeatsASensorLeavesItUncooled) {
  EXPECT_EQ(of({scenarios({monitor(), battery(40000)}, {monitor("m"), cold()})}),
            Places{"sensor-uncooled a:34"});
}

TEST_F(CoverageRulesTest, WhatDefaultOfTheFileWatchesIsAnotherRulesToTell) {
  EXPECT_EQ(of({scenarios({monitor(), battery(40000)}, {monitor("m")})}), Places());
  // The other way round it is this one's.
  EXPECT_EQ(of({scenarios({monitor()}, {monitor("m"), battery(40000)})}),
            Places{"sensor-uncooled a:1"});
}

TEST_F(CoverageRulesTest, AFileThatNowhereCoolsASensorIsToldOnce) {
  const std::string day = scenarios({monitor(), battery(40000)}, {monitor("m"), battery(40000)});
  EXPECT_EQ(of({day, scenarios({monitor()}, {monitor("m")})}), Places{"sensor-uncooled b:1"});
  EXPECT_EQ(messageOf({day, scenarios({monitor()}, {monitor("m")})}),
            "at 42 °C nothing of 'Default' acts on 'battery': 'Default' of a cools from 40 °C on");
}

TEST_F(CoverageRulesTest, AnItemThatDrivesNothingIsNotAlsoToldToLeaveItsSensorUncooled) {
  const std::string idle = with(battery(40000), "action_info", "0 0");
  EXPECT_EQ(of({scenarios({monitor(), battery(40000)}, {monitor("m"), idle})}), Places());
}

TEST_F(CoverageRulesTest, TenDegreesLaterIsNotMuch) {
  const auto late = [&](int from) {
    return of({scenarios({monitor(), battery(40000)}, {monitor("m"), battery(from)})});
  };
  EXPECT_EQ(late(50000), Places());
  EXPECT_EQ(late(50001), Places{"sensor-cooled-late a:34"});
}

TEST_F(CoverageRulesTest, ScenariosOfOneNameAreComparedAcrossFiles) {
  const auto both = [&](int from) {
    return of({inScenario("Default", {monitor(), battery(40000)}),
               inScenario("Default", {monitor(), battery(from)})});
  };
  EXPECT_EQ(both(50000), Places());
  EXPECT_EQ(both(50001), Places{"sensor-cooled-late b:15"});
}

TEST_F(CoverageRulesTest, WhatTheSettingsHaveCooledMustBeginInTime) {
  const auto places = [&](int from, int32_t atMost) {
    settings.mustCool = {{{"battery", {1, 1}}, atMost}};
    return of({inScenario("Default", {monitor(), battery(from)})});
  };
  EXPECT_EQ(places(40000, 40000), Places());
  EXPECT_EQ(places(40001, 40000), Places{"must-cool a:15"});
}

TEST_F(CoverageRulesTest, WhatTheSettingsHaveCooledIsToldOfEveryScenarioThatLacksIt) {
  settings.mustCool = {{{"battery", {1, 1}}, std::nullopt}};
  EXPECT_EQ(of({scenarios({monitor()}, {monitor("m"), reporting()})}),
            (Places{"must-cool a:1", "must-cool a:11"}));
  // In its stead nothing is told of the sensor's coverage.
  EXPECT_EQ(of({scenarios({monitor(), battery(40000)}, {monitor("m")})}), Places{"must-cool a:20"});
}

TEST_F(CoverageRulesTest, AScenarioThatTheOtherFileLacksIsToldWhereItIs) {
  const std::string has = scenarios({monitor()}, {monitor("m")});
  const std::string lacks = inScenario("Default", {monitor()});
  EXPECT_EQ(of({has, lacks}), Places{"scenario-not-everywhere a:11"});
  EXPECT_EQ(of({lacks, has}), Places{"scenario-not-everywhere b:11"});
  EXPECT_EQ(messageOf({has, lacks}),
            "b has no scenario 'game': when it is loaded while this one is in force the daemon "
            "falls back to 'Default', and puts requests for it aside");
}

TEST_F(CoverageRulesTest, CapitalsMakeTwoScenariosInOneFileAndAcrossTwo) {
  const std::string usual = inScenario("Default", {monitor()});
  const std::string game = usual + "\n" + inScenario("game", {monitor("m")});
  const std::string capital = usual + "\n" + inScenario("Game", {monitor("m")});
  EXPECT_EQ(of({game, capital}), Places{"scenario-not-everywhere b:11"});
  EXPECT_EQ(of({game + "\n" + inScenario("Game", {monitor("n")})}),
            Places{"scenario-not-everywhere a:21"});
}

TEST_F(CoverageRulesTest, OfTwoSlipsAndALackEachIsToldOnce) {
  const auto file = [](const std::vector<std::string>& names) {
    std::string text = inScenario("Default", {monitor()});
    for (const std::string& name : names)
      text += "\n" + inScenario(name, {monitor("m")});
    return text;
  };
  EXPECT_EQ(of({file({"game", "camera", "video"}), file({"gmae", "camrea"})}),
            (Places{"scenario-not-everywhere a:31", "scenario-not-everywhere b:11",
                    "scenario-not-everywhere b:21"}));
}

TEST_F(CoverageRulesTest, EveryFileIsHeldAgainstTheFirst) {
  const std::string has = scenarios({monitor()}, {monitor("m")});
  const std::string lacks = inScenario("Default", {monitor()});
  EXPECT_EQ(of({has, lacks, lacks}), (Places{"scenario-not-everywhere a:11"}));
  EXPECT_EQ(of({lacks, lacks, has}), (Places{"scenario-not-everywhere c:11"}));
}

TEST_F(CoverageRulesTest, NoSensorIsHotterThanAHundredAndFiftyDegrees) {
  const auto from = [&](const std::string& reached, const std::string& cleared) {
    return of({inScenario(
        "Default", {with(with(monitor(), "thresholds", reached), "thresholds_clr", cleared)})});
  };
  EXPECT_EQ(from("150000 160000", "140000 150000"), Places());
  EXPECT_EQ(from("150001 160000", "140000 150000"), Places{"item-asleep a:6"});
}

TEST_F(CoverageRulesTest, ASensorsRangeEndsWhereTheSettingsSay) {
  settings.ranges["cpu"].hottest = 60000;
  EXPECT_EQ(of({inScenario("Default", {monitor()})}), Places());
  settings.ranges["cpu"].hottest = 59999;
  EXPECT_EQ(of({inScenario("Default", {monitor()})}), Places{"item-asleep a:6"});
  settings.ranges["battery"].coldest = 5000;
  EXPECT_EQ(of({inScenario("Default", {cold()})}), Places());
  settings.ranges["battery"].coldest = 5001;
  EXPECT_EQ(of({inScenario("Default", {cold()})}), Places{"item-asleep a:7"});
}

TEST_F(CoverageRulesTest, ALevelIsAskedForOneByOneOrByStepsThroughIt) {
  environment = RuleBoard().environment;
  const auto asked = [&](const std::string& levels) {
    return of({inScenario("Default", {with(monitor(), "action_info", levels)})});
  };
  EXPECT_EQ(asked("1 3"), Places{"level-unasked env:14"});
  EXPECT_EQ(asked("2 3"), Places{"level-unasked env:14"});
  // Of four entries two are left over in a table that was taken whole from the driver.
  EXPECT_EQ(asked("3 3"), Places());
  EXPECT_EQ(of({inScenario("Default", {RuleBoard::monitor(), steps()})}), Places());
  EXPECT_EQ(of({inScenario("Default", {monitor()}) + "\n" +
                inScenario("game", {with(monitor("m"), "action_info", "2 3")})}),
            Places());
}

TEST_F(CoverageRulesTest, OfABrokenFileNobodyKnowsWhichLevelsItAsksFor) {
  environment = RuleBoard().environment;
  const std::string sound = inScenario("Default", {monitor()});
  EXPECT_EQ(of({sound}), Places{"level-unasked env:14"});
  EXPECT_EQ(of({sound, inScenario("Default", {with(monitor(), "algo_type", "Monitor")})}),
            Places());
}

} // namespace
