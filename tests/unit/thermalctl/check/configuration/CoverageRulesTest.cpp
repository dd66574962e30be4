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

TEST_F(CoverageRulesTest, EachSentenceNamesWhatLacksAndWhatToWrite) {
  const std::string usual = inScenario("Default", {monitor(), battery(40000)});
  const std::string repeat = " (scenarios share nothing: repeat 'pack' here under another name)";
  const auto game = [&](const std::vector<std::string>& items) {
    return usual + "\n" + inScenario("game", items);
  };
  const struct {
    std::vector<std::string> files;
    std::string said;
  } cases[] = {
      {{inScenario("Default", {reporting()})},
       "nothing cools in 'Default', which is in force from the start: however hot a sensor is, no "
       "item acts on it (scenarios share nothing: repeat the items that cool in 'Default')"},
      {{game({monitor("m"), cold()})},
       "at 42 °C nothing of 'game' acts on 'battery': the scenario acts against cold alone, and "
       "'Default' cools from 40 °C on" +
           repeat},
      {{scenarios({monitor()}, {monitor("m"), battery(40000)})},
       "at 42 °C nothing of 'Default' acts on 'battery': 'game' cools from 40 °C on" + repeat},
      {{game({monitor("m"), battery(51000)})},
       "at 50 °C nothing of 'game' acts on 'battery': it begins at 51 °C, 11 degrees later than "
       "'Default' (write a temperature nearer to 40 °C)"},
      {{usual, inScenario("Default", {monitor(), battery(51500)})},
       "at 50.5 °C nothing of 'Default' acts on 'battery': it begins at 51.5 °C, 11.5 degrees "
       "later than 'Default' of a (write a temperature nearer to 40 °C)"},
      {{game({monitor("m"), battery(40000)}) + "\n" +
        inScenario("Game", {monitor("n"), battery(40000, "other")})},
       "the daemon knows 'Game' and 'game' as two scenarios: a request for the other does not put "
       "this one in force (write 'game' in both places)"},
      {{game({monitor("m"), battery(40000)}),
        usual + "\n" + inScenario("play", {monitor("m"), battery(40000, "other")})},
       "the daemon knows 'play' and 'game' as two scenarios: a request for the other of a does not "
       "put this one in force (write 'game' in both places)"},
      {{game({monitor("m"), battery(40000)}), usual},
       "b has no scenario 'game': when it is loaded while this one is in force the daemon falls "
       "back to 'Default', and puts requests for it aside (declare 'game' there, too)"},
      {{inScenario("Default", {monitor(), battery(151000)})},
       "the item sleeps for ever: 'battery' never comes to 151 °C, and at 150 °C nothing of it "
       "acts (write a temperature that the sensor reaches)"},
      {{inScenario("Default", {monitor(), with(with(cold(), "thresholds", "-50001 -60000"),
                                               "thresholds_clr", "-40000 -55000")})},
       "the item sleeps for ever: 'battery' never comes to -50.001 °C, and at -50 °C nothing of it "
       "acts (write a temperature that the sensor reaches)"},
  };
  for (const auto& c : cases)
    EXPECT_EQ(said(kCoverageRules, c.files), Places{c.said});
}

TEST_F(CoverageRulesTest, SeveralSensorsThatAScenarioLeavesUncooledAreOneFinding) {
  environment += "\n[case]\ntype real\nsampling 1000\nnode_path /sys/case\n";
  const std::string other = with(monitor("other"), "sensor", "case");
  const std::string all = inScenario("Default", {monitor(), battery(40000), other});
  EXPECT_EQ(of({all, inScenario("Default", {other})}), Places{"sensor-uncooled b:1"});
  EXPECT_EQ(messageOf({all, inScenario("Default", {other})}),
            "at 70 °C nothing of 'Default' acts on 'cpu' and 'battery': 'Default' of a cools from "
            "60 °C on");
}

TEST_F(CoverageRulesTest, TheHottestThatAnySensorWaitsForIsOneThatItReaches) {
  settings.ranges["battery"].hottest = 41000;
  EXPECT_EQ(messageOf({scenarios({monitor()}, {monitor("m"), battery(40000)})}),
            "at 41 °C nothing of 'Default' acts on 'battery': 'game' cools from 40 °C on");
  // An ss item has one onset.
  const std::string packSteps =
      with(with(with(with(steps("pack"), "sensor", "battery"), "device", "charger"), "set_point",
                "40500"),
           "set_point_clr", "38000");
  EXPECT_EQ(messageOf({scenarios({monitor()}, {monitor("m"), packSteps})}),
            "at 40.5 °C nothing of 'Default' acts on 'battery': 'game' cools from 40.5 °C on");
}

TEST_F(CoverageRulesTest, AnItemWithoutItsSensorMayBeTheOneThatLacks) {
  const std::string slip = with(battery(40000), "sensor", "batery");
  EXPECT_EQ(of({scenarios({monitor(), slip}, {monitor("m"), battery(40000)})}), Places());
  settings.mustCool = {{{"battery", {1, 1}}, std::nullopt}};
  EXPECT_EQ(of({inScenario("Default", {monitor(), slip})}), Places());
}

TEST_F(CoverageRulesTest, WhatABrokenFileLeavesOutNobodyKnows) {
  const std::string whole = scenarios({monitor(), battery(40000)}, {monitor("m"), battery(40000)});
  const std::string broken = inScenario("Default", {with(monitor(), "algo_type", "Monitor")});
  EXPECT_EQ(of({whole, broken}), Places());
  EXPECT_EQ(of({broken, whole}), Places());
  settings.mustCool = {{{"battery", {1, 1}}, std::nullopt}};
  EXPECT_EQ(of({broken}), Places());
}

TEST_F(CoverageRulesTest, AFileWithoutItemsLacksNoScenario) {
  EXPECT_EQ(of({scenarios({monitor()}, {monitor("m")}), ""}), Places());
  EXPECT_EQ(of({"", scenarios({monitor()}, {monitor("m")})}), Places());
}

TEST_F(CoverageRulesTest, OfManyScenariosTheLatestIsToldAndTheEarliestNamed) {
  const auto named = [](const std::string& name, int from) {
    return inScenario(name, {monitor(name), battery(from, name + "_pack")}) + "\n";
  };
  EXPECT_EQ(messageOf({named("Default", 45000) + named("game", 60000) + named("video", 40000) +
                       named("music", 55000)}),
            "at 59 °C nothing of 'game' acts on 'battery': it begins at 60 °C, 20 degrees later "
            "than 'video'");
}

TEST_F(CoverageRulesTest, FilesAreHeldAgainstEachOtherOnlyWhereNoneIsOddByItself) {
  const std::string odd = scenarios({monitor(), battery(40000)}, {monitor("m"), battery(51000)});
  const std::string later = scenarios({monitor(), battery(60000)}, {monitor("m"), battery(60000)});
  EXPECT_EQ(of({odd, later}), Places{"sensor-cooled-late a:34"});
  const std::string even = scenarios({monitor(), battery(40000)}, {monitor("m"), battery(41000)});
  EXPECT_EQ(of({even, later}), Places{"sensor-cooled-late b:15"});
}

TEST_F(CoverageRulesTest, AnItemThatIsAlwaysOnOrNeverIsNoMeasureOfTheOthers) {
  const auto both = [&](const std::string& first) {
    const std::string odd = with(battery(40000), "thresholds", first + " 52000");
    return of({scenarios({monitor(), battery(51000)}, {monitor("m"), odd})});
  };
  EXPECT_EQ(both("40999"), Places{"sensor-cooled-late a:15"});
  EXPECT_EQ(both("41000"), Places());
  EXPECT_EQ(both("15000"), Places{"sensor-cooled-late a:15"});
  EXPECT_EQ(both("14999"), Places());
  EXPECT_EQ(both("40000C"), Places());
  settings.ranges["battery"].hottest = 51000;
  EXPECT_EQ(both("40999"), Places{"sensor-cooled-late a:15"});
}

TEST_F(CoverageRulesTest, WhatMustBeCooledInTimeIsToldInTheUnitOfTheSensor) {
  settings.mustCool = {{{"battery", {1, 1}}, 40000}};
  settings.units = {{"battery", 100}};
  const std::string late =
      with(with(battery(41000), "thresholds", "401 430"), "thresholds_clr", "390 420");
  EXPECT_EQ(said(kCoverageRules, {inScenario("Default", {monitor(), late})}),
            Places{"'Default' begins to cool 'battery' at 40.1 °C, and must at 40 °C (write at "
                   "most 400)"});
  EXPECT_EQ(said(kCoverageRules, {inScenario("Default", {monitor()})}),
            Places{"nothing of 'Default' cools 'battery', which every scenario must cool "
                   "(scenarios share nothing: each needs an item for it)"});
}

TEST_F(CoverageRulesTest, NobodyMustCoolASensorThatTheBoardDoesNotHave) {
  settings.mustCool = {{{"gpu", {1, 1}}, std::nullopt}};
  EXPECT_EQ(of({inScenario("Default", {monitor()})}), Places());
}

TEST_F(CoverageRulesTest, AnItemSleepsOnlyWhereNoneOfItsLevelsIsReached) {
  const auto levels = [&](const std::string& info, const std::string& reached) {
    const std::string item = with(with(monitor(), "action_info", info), "thresholds", reached);
    return findings(kCoverageRules, {inScenario("Default", {item})});
  };
  EXPECT_TRUE(levels("1 2", "100000 160000").empty());
  // The first level asks for nothing, so that the second is the first that acts.
  const std::vector<Finding> asleep = levels("0 2", "100000 160000");
  ASSERT_EQ(asleep.size(), 1U);
  EXPECT_EQ(asleep[0].rule, "item-asleep");
  EXPECT_EQ(asleep[0].at.column, 19);
}

TEST_F(CoverageRulesTest, AnSSItemSleepsAboveItsSensorsRange) {
  settings.ranges["cpu"].hottest = 60000;
  const auto from = [&](const std::string& point) {
    return of({inScenario("Default", {monitor(), with(steps(), "set_point", point)})});
  };
  EXPECT_EQ(from("60000"), Places());
  EXPECT_EQ(from("60001"), Places{"item-asleep a:16"});
  // What is told of the number itself is not told again.
  EXPECT_EQ(from("60001C"), Places());
  EXPECT_EQ(from("200001"), Places());
}

TEST_F(CoverageRulesTest, StepsAskForEachLevelUpToTheirFloor) {
  environment = RuleBoard().environment;
  const auto asked = [&](const std::string& start, const std::string& floor) {
    return said(kCoverageRules, {inScenario("Default", {with(with(steps(), "start_level", start),
                                                             "device_perf_floor", floor)})});
  };
  const auto without = [](const std::string& level) {
    return Places{"no item of any configuration asks 'clock' for level " + level +
                  " (take the entry out, or have an item ask for it)"};
  };
  EXPECT_EQ(asked("1", "3"), Places());
  EXPECT_EQ(asked("1", "2"), without("3"));
  EXPECT_EQ(asked("2", "3"), without("1"));
  // A level below 1 counts as the last one of the table.
  EXPECT_EQ(asked("0", "2"), Places());
  EXPECT_EQ(asked("1", "9"), Places());
}

TEST_F(CoverageRulesTest, ALevelPastTheTableAsksForTheLast) {
  environment = RuleBoard().environment;
  const auto item = [](const std::string& levels) {
    return inScenario("Default", {with(monitor(), "action_info", levels),
                                  with(monitor("more"), "action_info", "2 2")});
  };
  EXPECT_EQ(of({item("1 9")}), Places());
  EXPECT_EQ(of({item("1 1")}), Places{"level-unasked env:14"});
}

TEST_F(CoverageRulesTest, OnlyATableThatIsMostlyAskedForHasALevelTooMany) {
  const auto unasked = [&](const std::string& table, const std::string& levels) {
    environment = with(RuleBoard().environment, "level_table", table);
    return said(kCoverageRules, {inScenario("Default", {with(monitor(), "action_info", levels)})});
  };
  EXPECT_EQ(unasked("9 8 7 6 5 4 3", "6 6").size(), 0U);
  environment = with(RuleBoard().environment, "level_table", "9 8 7 6 5 4 3");
  const std::vector<std::string> four = {with(monitor("a"), "action_info", "1 3"),
                                         with(monitor("b"), "action_info", "5 6")};
  EXPECT_EQ(said(kCoverageRules, {inScenario("Default", four)}),
            Places{"no item of any configuration asks 'clock' for level 2 and 4 (take the entry "
                   "out, or have an item ask for it)"});
  EXPECT_EQ(told(kCoverageRules, {inScenario("Default", four)}), Places{"level-unasked env:14"});
  // Numbers of states are what the driver makes of them.
  EXPECT_EQ(unasked("0 1 2 3", "1 3"), Places());
  EXPECT_EQ(unasked("1 2 3 4", "1 3"), Places());
  EXPECT_EQ(unasked("4 3 2 1", "1 3").size(), 1U);
}

TEST_F(CoverageRulesTest, AnItemThatABlankLineCutsOffMayAskForAnything) {
  environment = RuleBoard().environment;
  std::string cut = steps("cut");
  cut.insert(cut.find("start_level"), "\n");
  const std::string sound = inScenario("Default", {monitor()});
  EXPECT_EQ(of({sound}), Places{"level-unasked env:14"});
  EXPECT_EQ(of({sound + "\n" + cut}), Places());
}

} // namespace
