#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "check/configuration/ConfigurationRules.h"
#include "thermalctl/check/RuleBoard.h"

namespace {

class HeatRulesTest : public testing::Test, protected RuleBoard {
protected:
  Places ofItem(const std::string& item) const { return of({item}); }
  Places of(const std::vector<std::string>& items) const {
    return told(kHeatRules, {inScenario("Default", items)});
  }
  static std::string thresholds(const std::string& item, const std::string& reached,
                                const std::string& cleared) {
    return with(with(item, "thresholds", reached), "thresholds_clr", cleared);
  }
  static std::string points(const std::string& set, const std::string& cleared) {
    return with(with(steps(), "set_point", set), "set_point_clr", cleared);
  }
};

TEST_F(HeatRulesTest, FindNothingWrongWithASoundBoard) {
  EXPECT_EQ(of({monitor(), steps(), cold()}), Places());
}

TEST_F(HeatRulesTest, HalfADegreeIsWideEnough) {
  const Places narrow = {"hysteresis-too-narrow a:7"};
  EXPECT_EQ(ofItem(thresholds(monitor(), "60000 70000", "59501 67000")), narrow);
  EXPECT_EQ(ofItem(thresholds(monitor(), "60000 70000", "59500 67000")), Places());
  EXPECT_EQ(ofItem(thresholds(monitor(), "60000 70000", "57000 69501")), narrow);
  // One finding for the item, at its first narrow level.
  EXPECT_EQ(ofItem(thresholds(monitor(), "60000 70000", "59999 69999")), narrow);
}

TEST_F(HeatRulesTest, NoWidthAtAllIsToldOfAnSSItemAlone) {
  EXPECT_EQ(ofItem(points("60000", "60000")), Places{"hysteresis-too-narrow a:8"});
  EXPECT_EQ(ofItem(points("60000", "60001")), Places());
  // Of a monitor the rule of its thresholds tells.
  EXPECT_EQ(ofItem(thresholds(monitor(), "60000 70000", "60000 67000")), Places());
}

TEST_F(HeatRulesTest, TheBandAgainstColdLiesAbove) {
  const Places narrow = {"hysteresis-too-narrow a:8"};
  EXPECT_EQ(ofItem(thresholds(cold(), "5000 0", "5499 2000")), narrow);
  EXPECT_EQ(ofItem(thresholds(cold(), "5000 0", "5500 2000")), Places());
}

TEST_F(HeatRulesTest, ABandIsMeasuredInDegreesWhateverTheNodeCounts) {
  settings.units = {{"cpu", 100}};
  EXPECT_EQ(ofItem(thresholds(monitor(), "600 700", "595 670")), Places());
  EXPECT_EQ(ofItem(thresholds(monitor(), "600 700", "596 670")),
            Places{"hysteresis-too-narrow a:7"});
}

TEST_F(HeatRulesTest, NoRoomIsColderThanTenDegrees) {
  const Places below = {"clearing-below-every-room a:7"};
  EXPECT_EQ(ofItem(thresholds(monitor(), "60000 70000", "9999 67000")), below);
  EXPECT_EQ(ofItem(thresholds(monitor(), "60000 70000", "10000 67000")), Places());
  EXPECT_EQ(ofItem(thresholds(cold(), "5000 0", "7000 2000")), Places());
  // That is no temperature, which another rule tells.
  EXPECT_EQ(ofItem(thresholds(monitor(), "60000 70000", "0 67000")), Places());
}

TEST_F(HeatRulesTest, AStartIsTenTimesOffFromASixthToASixteenthOfTheOthers) {
  const auto places = [&](const std::string& reached, const std::string& cleared) {
    return of({monitor("a"), monitor("b"), thresholds(monitor("c"), reached, cleared)});
  };
  const Places tenfold = {"thresholds-tenfold a:24"};
  // Two begin at 60 degrees.
  EXPECT_EQ(places("6000 7000", "5700 6700"), tenfold);
  EXPECT_EQ(places("3750 7000", "3500 6700"), tenfold);
  EXPECT_EQ(places("3749 7000", "3500 6700"), Places{"lowactive-missing a:24"});
  EXPECT_EQ(places("10000 70000", "5700 67000"), tenfold);
  EXPECT_EQ(places("10001 70000", "5700 67000"), Places{"lowactive-missing a:24"});
}

TEST_F(HeatRulesTest, OfOneItemAloneNothingIsTenTimesOff) {
  EXPECT_EQ(ofItem(thresholds(monitor(), "6000 7000", "5700 6700")),
            Places{"lowactive-missing a:6"});
}

TEST_F(HeatRulesTest, WhatBeginsBelowFifteenDegreesIsMeantForCold) {
  const Places missing = {"lowactive-missing a:6"};
  EXPECT_EQ(ofItem(thresholds(monitor(), "14999 70000", "13000 67000")), missing);
  EXPECT_EQ(ofItem(thresholds(monitor(), "15000 70000", "13000 67000")), Places());
  EXPECT_EQ(ofItem(with(thresholds(monitor(), "14999 70000", "13000 67000"), "lowactive", "no")),
            Places());
}

TEST_F(HeatRulesTest, ColdBeginsBelowThirtyDegrees) {
  EXPECT_EQ(ofItem(thresholds(cold(), "29999 0", "31000 2000")), Places());
  EXPECT_EQ(ofItem(thresholds(cold(), "30000 0", "32000 2000")),
            Places{"lowactive-awake-in-a-room a:7"});
}

TEST_F(HeatRulesTest, TemperaturesOfHeatUnderLowactiveAreToldOnce) {
  EXPECT_EQ(ofItem(with(monitor(), "lowactive", "true")), Places{"lowactive-on-heat a:10"});
  EXPECT_EQ(ofItem(with(monitor(), "lowactive", "false")), Places());
}

TEST_F(HeatRulesTest, AFloorIsAboveTheStartLevelOrTheLast) {
  const auto floor = [&](const std::string& start, const std::string& most) {
    return ofItem(with(with(steps(), "start_level", start), "device_perf_floor", most));
  };
  const Places same = {"floor-at-start-level a:10"};
  EXPECT_EQ(floor("2", "1"), same);
  EXPECT_EQ(floor("2", "2"), same);
  EXPECT_EQ(floor("2", "3"), Places());
  // There is no more to step to.
  EXPECT_EQ(floor("3", "3"), Places());
  // What is no level is told by other rules.
  EXPECT_EQ(floor("0", "0"), Places());
  EXPECT_EQ(floor("4", "2"), Places());
  EXPECT_EQ(floor("2", "1x"), Places());
}

TEST_F(HeatRulesTest, OneLevelThatCoolsIsEnough) {
  const auto levels = [&](const std::string& texts) {
    return ofItem(with(monitor(), "action_info", texts));
  };
  EXPECT_EQ(levels("0 0"), Places{"action-info-all-zero a:9"});
  EXPECT_EQ(levels("0 1"), Places());
  EXPECT_EQ(levels("0 x"), Places());
}

TEST_F(HeatRulesTest, LevelNoughtOfAReportOrACameraIsToldOfThese) {
  for (const char* device : {"alarm", "camera"})
    EXPECT_EQ(ofItem(with(with(monitor(), "actions", std::string(device) + " " + device),
                          "action_info", "0 0")),
              Places())
        << device;
}

TEST_F(HeatRulesTest, StepsAreNotForACamera) {
  EXPECT_EQ(ofItem(with(steps(), "device", "camera")), Places{"ss-on-camera a:6"});
}

TEST_F(HeatRulesTest, ASteadyHeatIsGivenTenSecondsToFall) {
  const auto trigger = [&](const std::string& count, const std::string& start) {
    return ofItem(with(with(steps(), "start_level", start), "time_tick_trigger", count));
  };
  const Places soon = {"tick-winds-up a:10"};
  // From level 1 to 3, each second.
  EXPECT_EQ(trigger("5", "1"), soon);
  EXPECT_EQ(trigger("6", "1"), Places());
  EXPECT_EQ(trigger("0", "1"), Places());
  EXPECT_EQ(trigger("-1", "1"), Places());
  // One step is no winding up.
  EXPECT_EQ(trigger("1", "2"), Places());
  // From the first level on where the item begins with none.
  EXPECT_EQ(trigger("5", "0"), soon);
}

TEST_F(HeatRulesTest, AFloorShortensTheWayUp) {
  EXPECT_EQ(ofItem(with(with(steps(), "time_tick_trigger", "5"), "device_perf_floor", "2")),
            Places());
}

TEST_F(HeatRulesTest, AnItemDecidesTwiceAMinute) {
  EXPECT_EQ(ofItem(with(monitor(), "sampling", "30000")), Places());
  EXPECT_EQ(ofItem(with(monitor(), "sampling", "30001")), Places{"item-too-slow a:5"});
  EXPECT_EQ(ofItem(with(monitor(), "sampling", "30001ms")), Places());
}

TEST_F(HeatRulesTest, AScenarioByTheNameOfNoFileIsNeverInForce) {
  const auto places = [&](const std::string& name) {
    return told(kHeatRules,
                {inScenario("Default", {monitor()}) + "\n" + inScenario(name, {monitor()})});
  };
  EXPECT_EQ(places("ENOFILE"), Places{"scenario-never-in-force a:11"});
  EXPECT_EQ(places("enofile"), Places());
  EXPECT_EQ(places("PARSED"), Places());
}

TEST_F(HeatRulesTest, ARequestMustBeAbleToNameTheConfiguration) {
  const std::string sections = environment;
  const auto places = [&](const std::string& name) {
    environment = sections + "\n[conf]\ntype conf_file\nfile_name " + name + "\n";
    return ofItem(monitor());
  };
  const Places wrong = {"configuration-name env:32"};
  for (const char* name : {"day/thermal.conf", "ENOFILE", "PARSED"})
    EXPECT_EQ(places(name), wrong) << name;
  for (const char* name : {"day.conf", "parsed", "day-night_2.conf"})
    EXPECT_EQ(places(name), Places()) << name;
}

TEST_F(HeatRulesTest, FourPeriodsAreNotManyAndTheRarestOfFiveIsTold) {
  const auto sampled = [](const std::string& name, const std::string& period) {
    return with(monitor(name), "sampling", period);
  };
  const std::vector<std::string> four = {sampled("a", "1000"), sampled("b", "2000"),
                                         sampled("c", "4000"), sampled("d", "8000")};
  EXPECT_EQ(of(four), Places());
  std::vector<std::string> five = four;
  five.push_back(sampled("e", "2000"));
  five.push_back(sampled("f", "4000"));
  five.push_back(sampled("g", "8000"));
  five.push_back(sampled("h", "3000"));
  EXPECT_EQ(of(five), Places{"many-periods a:68"});
}

TEST_F(HeatRulesTest, EachSentenceNamesWhatTheItemDoesAndWhatToWrite) {
  const auto ss = [](const std::string& start, const std::string& key, const std::string& value) {
    return with(with(steps(), "start_level", start), key, value);
  };
  const struct {
    std::string item;
    const char* said;
  } cases[] = {
      {thresholds(monitor(), "60000 70000", "59501 67000"),
       "499 thousandths of a degree below 60000 the daemon lets go again: its device swings with "
       "the noise of the sensor (leave a degree or more between the two)"},
      {thresholds(cold(), "5000 0", "5000 499"),
       "499 thousandths of a degree below 0 the daemon lets go again: its device swings with the "
       "noise of the sensor (leave a degree or more between the two)"},
      {thresholds(monitor(), "60000 70000", "9500 67000"),
       "no room cools 'cpu' below 9.5 °C: what the item holds back it holds until another scenario "
       "comes in force (write a value a few degrees below the threshold)"},
      {with(monitor(), "lowactive", "true"),
       "the daemon acts below 60 °C and lets go above: the temperatures are those of an item that "
       "acts on heat (take the line out)"},
      {thresholds(cold(), "31000 0", "33000 2000"),
       "at 30 °C in a room the item is awake: it acts at 31 °C and below (write the cold at which "
       "it is to act)"},
      {thresholds(monitor(), "14000 70000", "13000 67000"),
       "the item is awake in every room: it acts from 14 °C on and not below it (write 'lowactive "
       "true' if the item is to act on cold)"},
      {ss("2", "device_perf_floor", "1"),
       "from the first degree on the item asks for level 1 and never for more, however hot 'cpu' "
       "is (write a level above 'start_level 2')"},
      {with(monitor(), "action_info", "0 0"),
       "the item asks for level 0 alone: however hot 'cpu' is, it cools nothing (write the level "
       "of each device)"},
      {with(steps(), "device", "camera"),
       "the camera's rate changes with each degree: the daemon steps it as it does a clock (give "
       "the camera a monitor with one or two levels)"},
      {ss("0", "time_tick_trigger", "5"),
       "at a steady temperature the daemon goes from level 1 to 3 within 10.0 s (write a larger "
       "number)"},
      {with(monitor(), "sampling", "31999"),
       "for 31 s after the heat 'cpu' may go unheeded: the item decides no sooner (write "
       "milliseconds, at most 30000)"},
  };
  for (const auto& c : cases)
    EXPECT_EQ(said(kHeatRules, {inScenario("Default", {c.item})}), Places{c.said}) << c.item;
}

TEST_F(HeatRulesTest, OfATenfoldTheOthersTemperatureIsNamed) {
  EXPECT_EQ(said(kHeatRules,
                 {inScenario("Default", {monitor("a"), monitor("b"),
                                         thresholds(monitor("c"), "6000 7000", "5700 6700")})}),
            Places{"the item begins at 6 °C, and the other items on 'cpu' at 60 °C (a digit too "
                   "many or too few)"});
}

TEST_F(HeatRulesTest, OfTwoItemsTheOneThatNoDeviceInUseHasIsTenTimesOff) {
  const auto both = [&](const std::string& first, const std::string& second) {
    return of({thresholds(monitor("a"), first + " 190000", "14000 180000"),
               thresholds(monitor("b"), second + " 190000", "14000 180000")});
  };
  EXPECT_EQ(both("18300", "110000"), Places());
  EXPECT_EQ(both("18300", "110001"), Places{"thresholds-tenfold a:15"});
  EXPECT_EQ(both("110001", "18300"), Places{"thresholds-tenfold a:6"});
  // That is hardly a digit.
  EXPECT_EQ(both("20000", "119999"), Places());
}

TEST_F(HeatRulesTest, OnlyItemsThatWaitForHeatOnTheSameSensorAreTheMeasure) {
  const std::string low = thresholds(monitor("low"), "6000 7000", "5700 6700");
  const std::string elsewhere = with(monitor("b"), "sensor", "battery");
  EXPECT_EQ(of({low, elsewhere}), Places{"lowactive-missing a:6"});
  EXPECT_EQ(of({cold(), with(low, "sensor", "battery")}), Places{"lowactive-missing a:16"});
  // Those of another scenario, or of another configuration, are.
  EXPECT_EQ(
      told(kHeatRules, {inScenario("Default", {low}) + "\n" + inScenario("game", {monitor()})}),
      Places{"thresholds-tenfold a:6"});
  EXPECT_EQ(told(kHeatRules, {inScenario("Default", {monitor()}), inScenario("Default", {low})}),
            Places{"thresholds-tenfold b:6"});
}

TEST_F(HeatRulesTest, AnSSItemIsHeldToTheSameTemperatures) {
  EXPECT_EQ(ofItem(points("60000", "9999")), Places{"clearing-below-every-room a:8"});
  EXPECT_EQ(ofItem(points("60000", "10000")), Places());
  EXPECT_EQ(ofItem(points("14999", "13000")), Places{"lowactive-missing a:7"});
  EXPECT_EQ(ofItem(points("15000", "13000")), Places());
  const auto onCold = [](const std::string& set, const std::string& cleared) {
    return with(points(set, cleared), "lowactive", "true");
  };
  EXPECT_EQ(ofItem(onCold("30000", "32000")), Places{"lowactive-awake-in-a-room a:7"});
  EXPECT_EQ(ofItem(onCold("29999", "32000")), Places());
  // A set point above its clearing value is told as that.
  EXPECT_EQ(ofItem(onCold("32000", "30000")), Places());
}

TEST_F(HeatRulesTest, WhatAnotherRuleTellsOfTheTemperaturesIsNotToldAgain) {
  const std::string low = thresholds(monitor(), "14000 70000", "13000 67000");
  const std::string deep = thresholds(monitor(), "60000 70000", "9000 67000");
  const std::vector<std::string> items = {
      // Lists that run down, and a slip for "lowactive" or a value of its that is none.
      thresholds(monitor(), "14000 13000", "12000 11000"),
      thresholds(monitor(), "60000 50000", "9000 8000"),
      with(low, "lowactiv", "true"),
      with(deep, "lowactiv", "true"),
      with(low, "lowactive", "yes"),
      with(deep, "lowactive", "yes"),
      // Numbers that are cut short, or that are none.
      thresholds(monitor(), "14000C 70000", "13000 67000"),
      thresholds(monitor(), "0 70000", "9000 67000"),
      thresholds(monitor(), "60000 70000", "9000C 67000"),
      thresholds(monitor(), "60000C 70000", "59900 67000"),
      with(monitor(), "sampling", "40000x"),
      with(with(steps(), "time_tick_trigger", "1"), "sampling", "0"),
      // What an item that is on in every room has for a band.
      with(thresholds(monitor(), "14000 70000", "13900 67000"), "lowactive", "false"),
  };
  for (const std::string& item : items)
    EXPECT_EQ(ofItem(item), Places()) << item;
}

TEST_F(HeatRulesTest, AnItemOnADeviceThatIsNotThereMayAskForLevels) {
  const std::string nothing = with(monitor(), "action_info", "0 0");
  EXPECT_EQ(ofItem(with(nothing, "actions", "clock clokc")), Places());
  EXPECT_EQ(ofItem(with(nothing, "actions", "clock+alarm clock")), Places());
  EXPECT_EQ(ofItem(with(nothing, "action_info", "0 0C")), Places());
  EXPECT_EQ(ofItem(with(nothing, "action_info", "0+0 0")), Places{"action-info-all-zero a:9"});
}

TEST_F(HeatRulesTest, WindingUpIsMeasuredInTimeAndNotInDecisions) {
  const auto trigger = [&](const std::string& count, const std::string& period) {
    return ofItem(with(with(steps(), "time_tick_trigger", count), "sampling", period));
  };
  const Places soon = {"tick-winds-up a:10"};
  EXPECT_EQ(trigger("10", "500"), soon);
  EXPECT_EQ(trigger("10", "501"), Places());
  EXPECT_EQ(trigger("2", "2500"), soon);
  EXPECT_EQ(trigger("2", "2501"), Places());
}

TEST_F(HeatRulesTest, AMergedDeviceHasNoLastLevel) {
  environment = with(environment, "level_table", "800 600 400 200\n[other]");
  EXPECT_EQ(ofItem(with(steps(), "time_tick_trigger", "1")), Places());
  EXPECT_EQ(ofItem(with(with(steps(), "start_level", "2"), "device_perf_floor", "2")), Places());
}

TEST_F(HeatRulesTest, EachOfAMonitorsBandsIsLookedAtAndTheFirstIsTold) {
  EXPECT_EQ(ofItem(thresholds(monitor(), "60000 70000", "57000 9000")),
            Places{"clearing-below-every-room a:7"});
  const auto column = [&](const std::string& cleared) {
    const std::vector<Finding> all = findings(
        kHeatRules, {inScenario("Default", {thresholds(monitor(), "60000 70000", cleared)})});
    return all.size() == 1 ? all.front().at.column : 0;
  };
  EXPECT_EQ(column("57000 69900"), 22);
  EXPECT_EQ(column("59900 69900"), 16);
  EXPECT_EQ(column("9000 8000"), 16);
}

TEST_F(HeatRulesTest, ThresholdsWithoutAClearingOneHaveNoBand) {
  EXPECT_EQ(ofItem(thresholds(monitor(), "60000 70000", "57000")), Places());
  EXPECT_EQ(ofItem(thresholds(monitor(), "60000", "57000 69900")), Places());
}

TEST_F(HeatRulesTest, AScenarioThatIsNeverInForceIsToldOnceAFile) {
  const std::string twice = inScenario("ENOFILE", {monitor()}) + "\n";
  EXPECT_EQ(told(kHeatRules, {twice + twice + inScenario("Default", {monitor()})}),
            Places{"scenario-never-in-force a:1"});
  EXPECT_EQ(said(kHeatRules, {twice}),
            Places{"the daemon takes this word for a control file that is not there: the scenario "
                   "never comes in force (give it another name)"});
}

TEST_F(HeatRulesTest, ANameThatNoRequestCanHaveIsToldWithTheReason) {
  const std::string sections = environment;
  const auto ofInstalled = [&](const std::string& name) {
    environment = sections + "\n[conf]\ntype conf_file\nfile_name " + name + "\n";
    return said(kHeatRules, {inScenario("Default", {monitor()})});
  };
  const std::string own = "the daemon takes the name for a word of its own";
  const std::string write = " (write a name of letters, digits, '_', '-' and '.')";
  EXPECT_EQ(ofInstalled("PARSED"),
            Places{"'PARSED' is no name for a configuration: " + own + write});
  EXPECT_EQ(ofInstalled("day/a.conf"),
            Places{"'day/a.conf' is no name for a configuration: the daemon looks for it in one "
                   "folder, and makes none below that" +
                   write});
}

TEST_F(HeatRulesTest, TheFilesOwnNameCountsAndNotThatOfItsFolder) {
  const Environment board = readEnvironment("env", environment);
  const auto ofFile = [&](const std::string& path) {
    std::vector<Configuration> read;
    read.push_back(readConfiguration(path, inScenario("Default", {monitor()}), board));
    Places sentences;
    for (const Finding& finding : check(kHeatRules, {board, read, std::nullopt}, {}))
      sentences.push_back(finding.message + " (" + finding.hint + ")");
    return sentences;
  };
  const std::string give = " (give the file a name of letters, digits, '_', '-' and '.')";
  const std::string word = "a request is one word, so that none can name it";
  EXPECT_EQ(ofFile("my boards/day.conf"), Places());
  EXPECT_EQ(ofFile("boards/my day.conf"),
            Places{"'my day.conf' is no name for a configuration: " + word + give});
  EXPECT_EQ(ofFile("my\tday.conf"),
            Places{"'my\tday.conf' is no name for a configuration: " + word + give});
  EXPECT_EQ(ofFile("boards/ENOFILE"),
            Places{"'ENOFILE' is no name for a configuration: the daemon takes the name for a word "
                   "of its own" +
                   give});
}

TEST_F(HeatRulesTest, APeriodOfASensorThatFewestShareIsToldThere) {
  const std::string lonely = "\n[case]\ntype real\nsampling 250\nnode_path /sys/case\n";
  environment += lonely;
  const auto sampled = [](const std::string& name, const std::string& period) {
    return with(monitor(name), "sampling", period);
  };
  const std::vector<std::string> items = {
      sampled("a", "1000"), sampled("b", "2000"), sampled("c", "4000"), sampled("d", "8000"),
      sampled("e", "2000"), sampled("f", "4000"), sampled("g", "8000")};
  EXPECT_EQ(of(items), Places{"many-periods env:32"});
  EXPECT_EQ(said(kHeatRules, {inScenario("Default", items)}),
            Places{"the board has 5 periods: 2 threads for sensors (every 250 and 1000 ms), up to "
                   "4 for the items of a scenario, at most 6.88 wake-ups a second (share "
                   "periods)"});
}

TEST_F(HeatRulesTest, OneThresholdRunsNowhere) {
  const auto single = [](const std::string& reached, const std::string& cleared) {
    return with(with(thresholds(monitor(), reached, cleared), "actions", "clock"), "action_info",
                "1");
  };
  EXPECT_EQ(ofItem(single("14000", "13000")), Places{"lowactive-missing a:6"});
  EXPECT_EQ(ofItem(single("60000", "9000")), Places{"clearing-below-every-room a:7"});
}

TEST_F(HeatRulesTest, ABandIsLookedAtFromWhereNoRoomReaches) {
  EXPECT_EQ(ofItem(thresholds(monitor(), "15000 70000", "14600 67000")),
            Places{"hysteresis-too-narrow a:7"});
  EXPECT_EQ(ofItem(thresholds(monitor(), "14999 70000", "14600 67000")),
            Places{"lowactive-missing a:6"});
}

} // namespace
