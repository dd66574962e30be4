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

} // namespace
