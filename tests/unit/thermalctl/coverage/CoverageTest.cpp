#include "coverage/Coverage.h"

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "thermalctl/coverage/CoverageBoard.h"

namespace {

using Levels = std::map<std::string, int32_t>;
using Onsets = std::vector<int64_t>;
using Texts = std::vector<std::string>;

class CoverageTest : public testing::Test, protected CoverageBoard {
protected:
  const Item& item(const std::string& text) {
    configurations.clear();
    add(text);
    return configurations[0].items.front();
  }

  // Where a monitor or an ss item begins to act, or the lowest number where it never does.
  int64_t onset(const std::string& text) {
    const std::optional<Action> action = actionOf(item(text));
    return action ? action->at : INT64_MIN;
  }
  Levels levels(const std::string& text) {
    const std::optional<Action> action = actionOf(item(text));
    return action ? action->upTo : Levels();
  }

  // The columns as "file scenario items", an "!" behind those that are not sound.
  Texts columns() {
    Texts texts;
    for (const CoverageColumn& column : coverage().columns)
      texts.push_back(column.configuration->file + " " + column.scenario + " " +
                      std::to_string(column.items) + (column.sound ? "" : "!"));
    return texts;
  }

  static constexpr char kLow[] = "lowactive true\n";
};

TEST_F(CoverageTest, AMonitorCoolsFromItsFirstLevelThatAsksForAny) {
  EXPECT_EQ(onset(monitor("40000 50000", "38000 48000", "clock clock", "1 2")), 40000);
  EXPECT_EQ(onset(monitor("40000 50000", "38000 48000", "clock clock", "0 2")), 50000);
  EXPECT_EQ(onset(monitor("40000 50000", "38000 48000", "clock clock", "0 0")), INT64_MIN);
}

TEST_F(CoverageTest, AMonitorsOnsetNamesItsThreshold) {
  const auto action = actionOf(item(monitor("40000 50000", "38000 48000", "clock clock", "0 2")));
  ASSERT_TRUE(action);
  EXPECT_EQ(action->item, &configurations[0].items.front());
  EXPECT_EQ(action->word.text, "50000");
  EXPECT_EQ(action->word.at.line, 4);
}

TEST_F(CoverageTest, KeepsTheStrongestLevelOfEachDeviceWhereverItStands) {
  EXPECT_EQ(levels(monitor("40000 50000 60000", "1 2 3", "clock+charger charger clock", "2+1 4 1")),
            (Levels{{"clock", 2}, {"charger", 4}}));
}

TEST_F(CoverageTest, ALevelBehindATableIsItsLastAndOneBelowItIsNone) {
  EXPECT_EQ(levels(monitor("40000", "38000", "clock", "2")), (Levels{{"clock", 2}}));
  EXPECT_EQ(levels(monitor("40000", "38000", "clock", "3")), (Levels{{"clock", 2}}));
  EXPECT_EQ(levels(monitor("40000", "38000", "clock", "-1")), Levels());
}

TEST_F(CoverageTest, ADeviceWithoutLevelsCoolsNothing) {
  EXPECT_EQ(onset(monitor("40000", "38000", "bare", "1")), INT64_MIN);
  EXPECT_EQ(onset(step("40000", "38000", "", "bare")), INT64_MIN);
}

TEST_F(CoverageTest, ADeviceOrALevelWithoutItsCounterpartIsLeftOut) {
  EXPECT_EQ(levels(monitor("40000", "38000", "clock+charger", "1")), (Levels{{"clock", 1}}));
  EXPECT_EQ(levels(monitor("40000", "38000", "clock", "1+2")), (Levels{{"clock", 1}}));
  EXPECT_EQ(levels(monitor("40000 50000", "38000 48000", "clock", "1 2")), (Levels{{"clock", 1}}));
  EXPECT_EQ(levels(monitor("40000", "38000", "clock clock", "1 2")), (Levels{{"clock", 1}}));
  EXPECT_EQ(levels(monitor("40000", "38000", "colck+charger", "1+2")), (Levels{{"charger", 2}}));
}

TEST_F(CoverageTest, AThresholdThatIsOutOfOrderWaitsForTheOneBeforeIt) {
  EXPECT_EQ(onsetsOf(item(monitor("40000 60000 50000", "1 2 3", "clock", "1"))),
            (Onsets{40000, 60000, 60000}));
  EXPECT_EQ(onsetsOf(item(monitor("10000 0 5000", "11000 1000 6000", "clock", "1", kLow))),
            (Onsets{10000, 0, 0}));
  EXPECT_EQ(onset(monitor("60000 50000", "58000 48000", "clock clock", "0 1")), 60000);
}

TEST_F(CoverageTest, AnSSItemCoolsFromItsSetPointOn) {
  EXPECT_EQ(onset(step("40000", "38000", "start_level 1\n")), 40000);
  // It begins with the strongest level there is.
  EXPECT_EQ(onset(step("40000", "38000", "start_level -1\n")), 40000);
  EXPECT_EQ(onset(step("-5000", "-4000", "start_level 1\nlowactive true\n")), -5000);
}

TEST_F(CoverageTest, WithoutAStartLevelAnSSItemCoolsFromItsSecondDegreeOn) {
  EXPECT_EQ(onset(step("40000", "38000")), 41000);
  EXPECT_EQ(onset(step("40000", "38000", "start_level 0\n")), 41000);
  // Degrees are those of the scale, not of the set point.
  EXPECT_EQ(onset(step("40500", "38000")), 41000);
  EXPECT_EQ(onset(step("40999", "38000")), 41000);
  EXPECT_EQ(onset(step("-500", "-2000")), 1000);
  EXPECT_EQ(onset(step("-1500", "-3000")), -999);
  EXPECT_EQ(onset(step("-2000", "-3000")), -1999);
}

TEST_F(CoverageTest, TheSecondDegreeOfTheColdEndsTowardsZero) {
  EXPECT_EQ(onset(step("10000", "12000", kLow)), 9999);
  EXPECT_EQ(onset(step("10500", "12000", kLow)), 9999);
  EXPECT_EQ(onset(step("-5000", "-3000", kLow)), -6000);
}

TEST_F(CoverageTest, AnSSItemGoesUpToItsFloorOrTheTablesEnd) {
  EXPECT_EQ(levels(step("40000", "38000")), (Levels{{"charger", 4}}));
  EXPECT_EQ(levels(step("40000", "38000", "device_perf_floor 2\n")), (Levels{{"charger", 2}}));
  EXPECT_EQ(levels(step("40000", "38000", "device_perf_floor 4\n")), (Levels{{"charger", 4}}));
  EXPECT_EQ(levels(step("40000", "38000", "device_perf_floor 5\n")), (Levels{{"charger", 4}}));
  EXPECT_EQ(onset(step("40000", "38000", "device_perf_floor 0\n")), INT64_MIN);
  EXPECT_EQ(onset(step("40000", "38000", "device_perf_floor -1\n")), INT64_MIN);
}

TEST_F(CoverageTest, AnSSItemWithoutADeviceOrASetPointDoesNothing) {
  EXPECT_EQ(onset(step("40000", "38000", "", "nothing")), INT64_MIN);
  EXPECT_EQ(onset(step("40000", "38000", "", "alarm")), INT64_MIN);
  EXPECT_EQ(onset(step("0", "-2000")), INT64_MIN);
}

TEST_F(CoverageTest, TemperaturesAreOfWhatTheSensorsNodeCountsIn) {
  countIn(100);
  EXPECT_EQ(onset(monitor("450", "430", "clock", "1")), 45000);
  EXPECT_EQ(onset(step("450", "430", "start_level 1\n")), 45000);
  // The daemon makes degrees of thousands, whatever is counted.
  EXPECT_EQ(onset(step("450", "430")), 100000);
  countIn(1000);
  EXPECT_EQ(onset(monitor("2147483", "45", "clock", "1")), 2147483000);
}

TEST_F(CoverageTest, ATemperatureIsOfThousandthsWhereTheSensorIsNotKnown) {
  const Item& lost = item("[a]\nalgo_type monitor\nsensor cqu\nthresholds 45\nthresholds_clr 43\n"
                          "actions clock\naction_info 1\n");
  EXPECT_EQ(millidegreesOf(lost.thresholds[0], lost), 45);
}

TEST_F(CoverageTest, AReportIsNoCooling) {
  add(monitor("40000 50000", "38000 48000", "alarm alarm", "0 1"));
  EXPECT_FALSE(cell().heat);
  ASSERT_TRUE(cell().report);
  EXPECT_EQ(cell().report->at, 50000);
  EXPECT_FALSE(cell().doubtful);
}

TEST_F(CoverageTest, AReportBesideADeviceBeginsWithItsOwnLevel) {
  add(monitor("40000 50000", "38000 48000", "alarm clock+alarm", "1 1+2"));
  EXPECT_EQ(cell().heat->at, 50000);
  EXPECT_EQ(cell().heat->upTo, (Levels{{"clock", 1}}));
  EXPECT_EQ(cell().report->at, 40000);
}

TEST_F(CoverageTest, OfSeveralItemsTheFirstOnsetAndTheStrongestLevelsCount) {
  add(monitor("50000", "48000", "clock", "2") + monitor("40000", "38000", "clock+charger", "1+3") +
      monitor("60000", "58000", "alarm", "1") + monitor("55000", "53000", "alarm", "1"));
  const CoverageCell all = cell();
  EXPECT_EQ(all.items.size(), 4U);
  EXPECT_EQ(all.heat->at, 40000);
  EXPECT_EQ(all.heat->item, &configurations[0].items[1]);
  EXPECT_EQ(all.heat->upTo, (Levels{{"clock", 2}, {"charger", 3}}));
  EXPECT_EQ(all.report->at, 55000);
  EXPECT_FALSE(all.cold);
}

TEST_F(CoverageTest, TheFirstOfTwoItemsWithOneOnsetHasIt) {
  add(monitor("40000", "38000", "clock", "1") + monitor("40000", "38000", "clock", "2"));
  EXPECT_EQ(cell().heat->item, &configurations[0].items[0]);
}

TEST_F(CoverageTest, ColdIsMetFromItsWarmestOnsetDownwards) {
  add(monitor("0", "2000", "charger", "1", kLow) + monitor("10000", "12000", "charger", "4", kLow) +
      monitor("45000", "43000", "clock", "1"));
  EXPECT_EQ(cell().cold->at, 10000);
  EXPECT_EQ(cell().cold->item, &configurations[0].items[1]);
  EXPECT_EQ(cell().cold->upTo, (Levels{{"charger", 4}}));
  EXPECT_EQ(cell().heat->at, 45000);
  EXPECT_FALSE(cell().doubtful);
}

TEST_F(CoverageTest, AnItemThatDrivesNothingIsDoubtful) {
  add(monitor("40000", "38000", "clock", "0"));
  EXPECT_TRUE(cell().doubtful);
  EXPECT_FALSE(cell().heat);
}

TEST_F(CoverageTest, ColdThatIsThereInEveryRoomIsDoubtful) {
  for (const auto& [threshold, doubtful] :
       {std::pair{"29999", false}, std::pair{"30000", true}, std::pair{"30001", true}}) {
    configurations.clear();
    add(monitor(threshold, "31000", "clock", "1", kLow));
    EXPECT_EQ(cell().doubtful, doubtful) << threshold;
  }
}

TEST_F(CoverageTest, ColdThatRunsLikeHeatIsDoubtful) {
  add(monitor("5000", "3000", "clock", "1", kLow));
  EXPECT_TRUE(cell().doubtful);
  configurations.clear();
  add(monitor("5000", "3000", "clock", "1"));
  EXPECT_FALSE(cell().doubtful);
}

TEST_F(CoverageTest, AnItemRunsLikeHeatThatRisesAndClearsBelow) {
  EXPECT_TRUE(runsLikeHeat(item(monitor("40000 50000", "38000 48000", "clock", "1"))));
  EXPECT_TRUE(runsLikeHeat(item(monitor("40000 40000", "38000 38000", "clock", "1"))));
  EXPECT_FALSE(runsLikeHeat(item(monitor("40000", "40000", "clock", "1"))));
  EXPECT_FALSE(runsLikeHeat(item(monitor("50000 40000", "38000 38000", "clock", "1"))));
  EXPECT_FALSE(runsLikeHeat(item(monitor("40000 50000", "38000 50000", "clock", "1"))));
  EXPECT_TRUE(runsLikeHeat(item(step("40000", "39999"))));
  EXPECT_FALSE(runsLikeHeat(item(step("40000", "40000"))));
}

TEST_F(CoverageTest, AnItemLacksLowactiveThatActsInEveryRoomAndLetsGoAboveThat) {
  EXPECT_TRUE(lacksLowactive(item(monitor("14999", "15001", "clock", "1"))));
  EXPECT_FALSE(lacksLowactive(item(monitor("15000", "15001", "clock", "1"))));
  EXPECT_FALSE(lacksLowactive(item(monitor("10000", "10000", "clock", "1"))));
  EXPECT_FALSE(lacksLowactive(item(monitor("10000 11000", "12000 13000", "clock", "1"))));
  EXPECT_TRUE(lacksLowactive(item(step("14999", "15001"))));
  EXPECT_FALSE(lacksLowactive(item(step("15000", "15001"))));
  EXPECT_FALSE(lacksLowactive(item(step("10000", "10000"))));
  EXPECT_FALSE(lacksLowactive(item(step("0", "5000"))));
}

TEST_F(CoverageTest, AnItemThatHasALowactiveLineLacksNone) {
  EXPECT_FALSE(lacksLowactive(item(monitor("10000", "12000", "clock", "1", kLow))));
  EXPECT_FALSE(lacksLowactive(item(monitor("10000", "12000", "clock", "1", "lowactive yes\n"))));
  EXPECT_FALSE(lacksLowactive(item(step("10000", "12000", "lowactive false\n"))));
}

TEST_F(CoverageTest, LowactiveIsMissedInTheUnitOfTheSensor) {
  countIn(100);
  EXPECT_TRUE(lacksLowactive(item(monitor("149", "160", "clock", "1"))));
  EXPECT_FALSE(lacksLowactive(item(monitor("150", "160", "clock", "1"))));
}

TEST_F(CoverageTest, DefaultStandsFirstWhereverItsItemsDo) {
  add("SCEN night\n" + monitor("1", "0", "clock", "1") + "SCEN Default\n" +
      monitor("1", "0", "clock", "1") + "SCEN game\n" + monitor("1", "0", "clock", "1") +
      "SCEN night\n" + monitor("1", "0", "clock", "1"));
  EXPECT_EQ(columns(), (Texts{"day.conf Default 1", "day.conf night 2", "day.conf game 1"}));
}

TEST_F(CoverageTest, WithoutAnItemOfItsOwnDefaultIsNoColumn) {
  add("SCEN night\n" + monitor("1", "0", "clock", "1"));
  EXPECT_EQ(columns(), Texts{"day.conf night 1"});
}

TEST_F(CoverageTest, EachConfigurationHasColumnsOfItsOwn) {
  add(monitor("1", "0", "clock", "1"), "b.conf");
  add(monitor("2", "0", "clock", "1"), "a.conf");
  EXPECT_EQ(columns(), (Texts{"b.conf Default 1", "a.conf Default 1"}));
  const Coverage both = coverage();
  EXPECT_EQ(both.cell(environment.sensor("cpu"), 0).heat->at, 1);
  EXPECT_EQ(both.cell(environment.sensor("cpu"), 1).heat->at, 2);
}

TEST_F(CoverageTest, AScenarioIsNotSoundOfWhichAnItemWatchesNothing) {
  add("[a]\nalgo_type ss\nsensor cqu\ndevice clock\nset_point 1\nset_point_clr 0\n\n"
      "SCEN night\n" +
      monitor("1", "0", "clock", "1"));
  EXPECT_EQ(columns(), (Texts{"day.conf Default 1!", "day.conf night 1"}));
}

TEST_F(CoverageTest, ASensorIsWatchedByAnItemThatDoesNothing) {
  add(monitor("40000", "38000", "clock", "0"));
  const Coverage matrix = coverage();
  EXPECT_TRUE(matrix.isWatched(environment.sensor("cpu"), 0));
  EXPECT_FALSE(matrix.isWatched(environment.sensor("skin"), 0));
  EXPECT_TRUE(matrix.cell(environment.sensor("skin"), 0).items.empty());
  EXPECT_FALSE(matrix.isWatched(environment.sensor("cpu"), 1));
}

TEST_F(CoverageTest, HasTheSensorsInTheOrderOfTheBoardEachOnce) {
  const Environment twice = readEnvironment(
      "board.env", "[b]\ntype real\n\n[a]\ntype real\n\n[fan]\ntype charger\n\n[b]\ntype real\n");
  const Coverage matrix(twice, configurations);
  EXPECT_EQ(matrix.sensors, (std::vector<const Section*>{&twice.sections[1], &twice.sections[3]}));
}

} // namespace
