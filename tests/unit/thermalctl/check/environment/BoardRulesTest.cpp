#include <string>

#include <gtest/gtest.h>

#include "check/environment/EnvironmentRules.h"
#include "thermalctl/check/RuleBoard.h"

namespace {

class BoardRulesTest : public testing::Test, protected RuleBoard {
protected:
  // With the sections behind those of the board, of which the last is line 28.
  Places of(const std::string& sections) {
    environment = RuleBoard().environment + "\n" + sections;
    return told(kBoardRules, {inScenario("Default", items)});
  }

  static std::string real(const std::string& name, const std::string& node) {
    return "[" + name + "]\ntype real\nsampling 1000\nnode_path " + node + "\n";
  }
  static std::string device(const std::string& kind, const std::string& table,
                            const std::string& node = "/sys/other") {
    return "[other]\ntype " + kind + "\nnode_path " + node + "\nlevel_table " + table + "\n";
  }
  static std::string skin(const std::string& changed = "", const std::string& values = "") {
    const std::string text = "[skin]\ntype virtual\nsampling 1000\ntrip_sensor battery\n"
                             "set_point 25000\nset_point_clr 23000\nsensors battery cpu\n"
                             "weights 70 30\n";
    return changed.empty() ? text : with(text, changed, values);
  }

  std::vector<std::string> items = {with(monitor("skin_less"), "sensor", "skin")};
};

TEST_F(BoardRulesTest, FindNothingWrongWithASoundBoard) {
  EXPECT_EQ(of(skin()), Places());
}

TEST_F(BoardRulesTest, TwoOfAKindOnOneNodeAreToldWhereTheSecondIs) {
  EXPECT_EQ(of(real("gpu", "/sys/cpu/temp")), Places{"sensor-node-shared env:33"});
  EXPECT_EQ(of(device("charger", "2 1", "/sys/charger/max")), Places{"device-node-shared env:32"});
  // A sensor may read what a device writes.
  EXPECT_EQ(of(real("gpu", "/sys/charger/max")), Places());
  // Two sections of one name are another mistake.
  EXPECT_EQ(of(real("cpu", "/sys/cpu/temp")), Places());
}

TEST_F(BoardRulesTest, ATableOfAClockAChargerOrABacklightFalls) {
  const Places rises = {"level-table-rises env:33"};
  for (const char* kind : {"cpufreq", "gpufreq", "charger", "backlight"}) {
    EXPECT_EQ(of(device(kind, "100 200 300")), rises) << kind;
    EXPECT_EQ(of(device(kind, "100 100 300")), rises) << kind;
    EXPECT_EQ(of(device(kind, "300 200 100")), Places()) << kind;
    // A slip in the middle is told of the entry.
    EXPECT_EQ(of(device(kind, "100 300 200")), Places()) << kind;
    EXPECT_EQ(of(device(kind, "100")), Places()) << kind;
    EXPECT_EQ(of(device(kind, "100 100")), Places()) << kind;
  }
  EXPECT_EQ(of(device("cpuhotplug", "2 4 8")), Places());
}

TEST_F(BoardRulesTest, ANoughtInFrontMayStandForNoLimit) {
  EXPECT_EQ(of(device("charger", "0 300 200")), Places());
  EXPECT_EQ(of(device("charger", "0 200 300")), Places{"level-table-rises env:33"});
}

TEST_F(BoardRulesTest, StatesAndAFansDutyRise) {
  EXPECT_EQ(of(device("charger", "0 1 2 3")), Places());
  EXPECT_EQ(of(device("charger", "1 2 3")), Places());
  EXPECT_EQ(of(device("charger", "1 2 4")), Places{"level-table-rises env:33"});
  EXPECT_EQ(of(device("charger", "10 60 255", "/sys/class/hwmon/pwm1")), Places());
  EXPECT_EQ(of(device("charger", "2 5 9", "/sys/class/thermal/cooling_device3/cur_state")),
            Places());
  EXPECT_EQ(of(device("charger", "2 5 9", "/sys/class/thermal/cur_state/limit")),
            Places{"level-table-rises env:33"});
}

TEST_F(BoardRulesTest, TheSettingsSayWhatRises) {
  for (const char* unit : {"duty", "state"}) {
    settings.entries = {{"other", unit}};
    EXPECT_EQ(of(device("charger", "10 60 255")), Places()) << unit;
  }
  // And that a fan's node counts something else.
  settings.entries = {{"other", "mA"}};
  EXPECT_EQ(of(device("charger", "10 60 255", "/sys/class/hwmon/pwm1")),
            Places{"level-table-rises env:33"});
}

TEST_F(BoardRulesTest, NodesOfTheKernelTakeTextAndNoBytes) {
  for (const char* node : {"/sys/devices/system/cpu/cpu0/x", "/sys/x/scaling_max_freq",
                           "/sys/class/devfreq/max", "/x/cpufreq/policy0/max"}) {
    EXPECT_EQ(of(device("cpufreq", "2 1", node)), Places{"cpufreq-on-text-node env:32"}) << node;
    EXPECT_EQ(of(device("gpufreq", "2 1", node)), Places()) << node;
  }
  EXPECT_EQ(of(device("cpufreq", "2 1", "/sys/devices/platform/clock/max")), Places());
}

TEST_F(BoardRulesTest, EntriesFitTheirUnit) {
  const struct {
    const char* unit;
    const char* least;
    const char* less;
    const char* most;
    const char* more;
  } cases[] = {{"Hz", "10000000", "9999999", "2000000000", ""},
               {"kHz", "10000", "9999", "10000000", "10000001"},
               {"MHz", "10", "9", "10000", "10001"},
               {"mA", "10", "9", "20000", "20001"},
               {"uA", "10000", "9999", "20000000", "20000001"}};
  for (const auto& c : cases) {
    settings.entries = {{"other", c.unit}};
    EXPECT_EQ(of(device("gpufreq", std::string(c.most) + " " + c.least + " 0")), Places())
        << c.unit;
    EXPECT_EQ(of(device("gpufreq", std::string(c.most) + " " + c.less)),
              Places{"level-table-unit env:33"})
        << c.unit;
    if (*c.more) {
      EXPECT_EQ(of(device("gpufreq", std::string(c.more) + " " + c.least)),
                Places{"level-table-unit env:33"})
          << c.unit;
    }
  }
}

TEST_F(BoardRulesTest, FifteenDegreesOffIsNotFar) {
  const Places off = {"virtual-settles-far-off env:38"};
  // Its offsets count a hundred times, divided by 99.
  EXPECT_EQ(of(skin() + "offsets 14000\n"), Places());
  EXPECT_EQ(of(skin() + "offsets 15000\n"), off);
  EXPECT_EQ(of(skin() + "offsets -15500\n"), off);
}

TEST_F(BoardRulesTest, ASumMustFitIntoThirtyTwoBits) {
  EXPECT_EQ(of(skin("weights", "30000 5000")), Places());
  EXPECT_EQ(of(skin("weights", "30000 6000")), Places{"virtual-settles-far-off env:37"});
}

TEST_F(BoardRulesTest, ASensorInTenthsSumsUpTenths) {
  settings.units = {{"battery", 100}, {"cpu", 100}, {"skin", 100}};
  items = {with(with(items[0], "thresholds", "600 700"), "thresholds_clr", "570 670")};
  EXPECT_EQ(of(with(skin("set_point", "250"), "set_point_clr", "230")), Places());
  settings.units = {{"battery", 100}, {"cpu", 100}};
  items = {monitor()};
  EXPECT_EQ(of(with(skin("set_point", "250"), "set_point_clr", "230")),
            Places{"virtual-settles-far-off env:37"});
}

TEST_F(BoardRulesTest, WhatNeverTripsIsToldWithTheItemsThatSleepForIt) {
  settings.ranges["battery"].hottest = 25001;
  EXPECT_EQ(of(skin()), Places());
  // It has to come above.
  settings.ranges["battery"].hottest = 25000;
  EXPECT_EQ(of(skin()), Places{"virtual-never-on env:34"});
  const auto message = [&] {
    return findings(kBoardRules, {inScenario("Default", items)}).at(0).message;
  };
  EXPECT_EQ(message(), "'battery' never comes above 25 °C: its hottest is 25 °C, so that the "
                       "sensor is never switched on, and the item on it sleeps for ever");
  items.push_back(with(monitor("more"), "sensor", "skin"));
  EXPECT_EQ(message(), "'battery' never comes above 25 °C: its hottest is 25 °C, so that the "
                       "sensor is never switched on, and 2 items on it sleep for ever");
  items = {monitor()};
  EXPECT_EQ(message(), "'battery' never comes above 25 °C: its hottest is 25 °C, so that the "
                       "sensor is never switched on");
}

TEST_F(BoardRulesTest, ThePlantsFullLoadAndTheRangeBothEndTheHeat) {
  plant["battery"].fullLoad = 25000.5;
  EXPECT_EQ(of(skin()), Places());
  plant["battery"].fullLoad = 25000;
  EXPECT_EQ(of(skin()), Places{"virtual-never-on env:34"});
  plant["battery"].fullLoad = 90000;
  settings.ranges["battery"].hottest = 20000;
  EXPECT_EQ(of(skin()), Places{"virtual-never-on env:34"});
}

TEST_F(BoardRulesTest, WithoutARangeNoSensorComesAboveAHundredAndFiftyDegrees) {
  items = {with(with(items[0], "thresholds", "150000 160000"), "thresholds_clr", "140000 150000")};
  EXPECT_EQ(of(skin("set_point", "149999")), Places());
  EXPECT_EQ(of(skin("set_point", "150000")), Places{"virtual-never-on env:34"});
  // That is a number of another kind, which another rule tells.
  EXPECT_EQ(of(skin("set_point", "200001")), Places());
}

TEST_F(BoardRulesTest, ATripMayBeWhereTheFirstItemBegins) {
  EXPECT_EQ(of(skin("set_point", "60000")), Places());
  EXPECT_EQ(of(skin("set_point", "60001")), Places{"trip-above-thresholds env:34"});
  // Of what never trips that is told alone.
  settings.ranges["battery"].hottest = 60001;
  EXPECT_EQ(of(skin("set_point", "60001")), Places{"virtual-never-on env:34"});
}

TEST_F(BoardRulesTest, WhatIsWrongWithTheItemsNumberIsNotToldOfTheTrip) {
  const std::string sound = items.front();
  for (const char* first : {"24999C", "24", "14999"}) {
    items = {with(sound, "thresholds", std::string(first) + " 70000")};
    EXPECT_EQ(of(skin()), Places()) << first;
  }
  items = {with(sound, "thresholds", "24999 70000")};
  EXPECT_EQ(of(skin()), Places{"trip-above-thresholds env:34"});
}

TEST_F(BoardRulesTest, ATripSensorIsSampledAsOftenAsWhatItSwitches) {
  const std::string slow = "[case]\ntype real\nsampling 2000\nnode_path /sys/case\n\n";
  const Places slower = {"trip-sensor-slower env:38"};
  EXPECT_EQ(of(slow + skin("trip_sensor", "case")), slower);
  EXPECT_EQ(of(slow + with(skin("trip_sensor", "case"), "sampling", "2000")), Places());
  // Where no real sensor has the period of the virtual one, that is the mistake.
  EXPECT_EQ(of(slow + with(skin("trip_sensor", "case"), "sampling", "700")), Places());
}

TEST_F(BoardRulesTest, EachSentenceNamesBothSidesAndWhatToWrite) {
  settings.entries = {{"other", "kHz"}};
  const struct {
    std::string sections;
    const char* said;
  } cases[] = {
      {real("gpu", "/sys/battery/temp"),
       "'gpu' reads the node of 'battery' in line 6: the part that it was meant for is not "
       "watched"},
      {device("camera", "30000 24000", "/sys/charger/max"),
       "'other' writes the node of 'charger' in line 16: each writes over the other's limit"},
      {device("charger", "0 20000 20000 30000"),
       "the table rises: at level 3 'other' may have 30000, more than 20000 before it (write the "
       "largest entry first, the tightest limit last)"},
      {device("cpufreq", "30000 20000", "/sys/class/max"),
       "the node takes text, and the daemon writes four raw bytes to it (write 'type gpufreq': the "
       "same numbers, as text)"},
      {device("charger", "20000 3000"),
       "'other' counts kHz, of which 3000 is no likely number (write the table, or 'entries' of "
       "the settings, in the other's unit)"},
      {skin() + "offsets 30000\n",
       "with all sources at 25 °C the sensor settles at 55.6 °C (each offset counts a hundred "
       "thousandths of a degree, divided by the sum of the weights less 1)"},
      {skin("weights", "60000 60000"),
       "with all sources at 25 °C the daemon's sum is 3000025000, over 32 bits: the temperature is "
       "nonsense (divide all weights, and the offsets, by the same number)"},
      {skin("set_point", "61000"),
       "until 'battery' is above 61 °C the sensor stands still: the item that waits for 60 °C on "
       "it sees nothing (write a temperature that the trip sensor has long before)"},
      {skin("set_point", "150000"),
       "'battery' never comes above 150 °C: its hottest is 150 °C, so that the sensor is never "
       "switched on, and the item on it sleeps for ever (write a temperature that the trip sensor "
       "has long before its sources are hot)"},
      {"[case]\ntype real\nsampling 2000\nnode_path /sys/case\n\n" + skin("trip_sensor", "case"),
       "'case' is sampled every 2000 ms and switches a sensor of 1000 ms (give both one period)"},
  };
  for (const auto& c : cases) {
    environment = RuleBoard().environment + "\n" + c.sections;
    EXPECT_EQ(said(kBoardRules, {inScenario("Default", items)}), Places{c.said}) << c.sections;
  }
}

TEST_F(BoardRulesTest, OfThreeOnOneNodeEachIsHeldAgainstTheFirst) {
  EXPECT_EQ(of(real("gpu", "/sys/cpu/temp") + "\n" + real("npu", "/sys/cpu/temp")),
            (Places{"sensor-node-shared env:33", "sensor-node-shared env:38"}));
  EXPECT_EQ(findings(kBoardRules, {inScenario("Default", items)}).at(1).message,
            "'npu' reads the node of 'cpu' in line 1: the part that it was meant for is not "
            "watched");
}

TEST_F(BoardRulesTest, AMergedSectionsNodeAndTableAreNothingThatAnyoneWrote) {
  EXPECT_EQ(of("[gpu]\ntype real\nsampling 1000\nnode_path /sys/cpu/temp\n[npu]\n"), Places());
  EXPECT_EQ(of(device("charger", "100 200") + "[more]\n"), Places());
}

TEST_F(BoardRulesTest, ATableWithAWordThatIsNoNumberHasNoDirectionAndNoUnit) {
  settings.entries = {{"other", "mA"}};
  EXPECT_EQ(of(device("charger", "100 200mA 300")), Places());
  EXPECT_EQ(of(device("charger", "1 2mA 3")), Places());
  // Nor has one whose entries nobody says the unit of.
  settings.entries.clear();
  EXPECT_EQ(of(device("charger", "3 2")), Places());
}

TEST_F(BoardRulesTest, TheFirstEntryThatCanBeNoSuchNumberIsMarked) {
  settings.entries = {{"other", "mA"}};
  of(device("charger", "3000 2000 5 4"));
  const std::vector<Finding> all = findings(kBoardRules, {inScenario("Default", items)});
  ASSERT_EQ(all.size(), 1U);
  EXPECT_EQ(all[0].at.column, 23);
}

TEST_F(BoardRulesTest, TheCoolestSourcesThatShowItAreNamed) {
  const auto settles = [&](const std::string& offset) {
    // Of weights that sum to 21 the sensor settles at a twentieth more than its sources.
    of(skin("weights", "11 10") + "offsets " + offset + "\n");
    const std::vector<Finding> all = findings(kBoardRules, {inScenario("Default", items)});
    return all.empty() ? "" : all.front().message;
  };
  EXPECT_EQ(settles("2400"), "");
  EXPECT_EQ(settles("2440"), "with all sources at 60 °C the sensor settles at 75.2 °C");
  EXPECT_EQ(settles("2620"), "with all sources at 40 °C the sensor settles at 55.1 °C");
  EXPECT_EQ(settles("2790"), "with all sources at 25 °C the sensor settles at 40.2 °C");
  EXPECT_EQ(settles("-3270"), "with all sources at 25 °C the sensor settles at 9.9 °C");
}

TEST_F(BoardRulesTest, OfASensorWhoseSumIsNotWholeNothingIsSaid) {
  for (const char* weights : {"70", "70 30 1", "70x 30000000", "1 1", "0 0"})
    EXPECT_EQ(of(skin("weights", weights)), Places()) << weights;
  EXPECT_EQ(of(skin() + "offsets 30000C\n"), Places());
  EXPECT_EQ(of(with(skin("weights", "60000 60000"), "sensors", "battery gpu")), Places());
}

TEST_F(BoardRulesTest, ATripNeedsASetPointThatIsOne) {
  const std::string never = skin("set_point", "150000");
  EXPECT_EQ(of(never), Places{"virtual-never-on env:34"});
  EXPECT_EQ(of(with(never, "set_point", "150000C")), Places());
  EXPECT_EQ(of(with(never, "trip_sensor", "gpu")), Places());
  const std::string line = "set_point 150000\n";
  std::string lacking = never;
  lacking.erase(lacking.find(line), line.size());
  EXPECT_EQ(of(lacking), Places());
}

TEST_F(BoardRulesTest, APeriodThatIsNoneIsNotHeldAgainstTheTrips) {
  const std::string slow = "[case]\ntype real\nsampling 2000\nnode_path /sys/case\n\n";
  const auto places = [&](const std::string& trip, const std::string& own) {
    return of(with(slow, "sampling", trip) + with(skin("trip_sensor", "case"), "sampling", own));
  };
  EXPECT_EQ(places("2000", "1000"), Places{"trip-sensor-slower env:38"});
  EXPECT_EQ(places("1000", "1000"), Places());
  EXPECT_EQ(places("2000ms", "1000"), Places());
  EXPECT_EQ(places("2000", "1000ms"), Places());
}

} // namespace
