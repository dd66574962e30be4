#include "diff/Changes.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "thermalctl/coverage/CoverageBoard.h"

namespace {

using Lines = std::vector<std::string>;

// As "file/scenario/about: text".
Lines linesOf(const std::vector<MeaningChange>& changes) {
  Lines lines;
  for (const MeaningChange& change : changes)
    lines.push_back(change.file + "/" + change.scenario + "/" + change.about + ": " + change.text);
  return lines;
}

Lines changed(const Meaning& before, const Meaning& after) {
  return linesOf(changesOf(before, after));
}

const BlockPlace kItem = {"day", "Default", "a"};

TEST(ChangesTest, WhatMeansTheSameIsNoChange) {
  const Meaning meaning = {{kItem, {{"level 1", "42.0 C"}}}};
  EXPECT_EQ(changed(meaning, meaning), Lines());
  EXPECT_EQ(changed({}, {}), Lines());
}

TEST(ChangesTest, AFactGoesAppearsOrBecomesAnother) {
  EXPECT_EQ(changed({{kItem, {{"floor", "2"}, {"level 1 fan", "1"}, {"sensor", "cpu"}}}},
                    {{kItem, {{"floor", "3"}, {"level 2 fan", "4"}, {"sensor", "cpu"}}}}),
            (Lines{"day/Default/a: floor from 2 to 3", "day/Default/a: level 1 fan goes (1)",
                   "day/Default/a: level 2 fan appears (4)"}));
}

TEST(ChangesTest, AUnitOfBothIsToldOnce) {
  EXPECT_EQ(changed({{kItem, {{"a", "42.0 C"}, {"b", "1000 ms"}, {"c", "42.0 C"}}}},
                    {{kItem, {{"a", "-0.5 C"}, {"b", "500 ms"}, {"c", "none"}}}}),
            (Lines{"day/Default/a: a from 42.0 to -0.5 C", "day/Default/a: b from 1000 to 500 ms",
                   "day/Default/a: c from 42.0 C to none"}));
}

TEST(ChangesTest, AnItemIsDescribedByWhereItStarts) {
  const Facts monitor = {{"kind", "monitor"}, {"sensor", "cpu"}, {"level 1", "42.0 C"}};
  const Facts step = {{"kind", "ss"}, {"sensor", "skin"}, {"set point", "40.0 C"}};
  EXPECT_EQ(changed({{kItem, monitor}}, {{{"day", "Default", "b"}, step}}),
            (Lines{"day/Default/a: goes (monitor on cpu from 42.0 C)",
                   "day/Default/b: appears (ss on skin from 40.0 C)"}));
}

TEST(ChangesTest, ADeviceIsDescribedByItsKindAlone) {
  EXPECT_EQ(changed({}, {{{"", "", "device fan"}, {{"kind", "charger"}, {"level 1", "7"}}}}),
            Lines{"//device fan: appears (charger)"});
}

TEST(ChangesTest, AScenarioThatGoesIsOne) {
  EXPECT_EQ(changed({{{"day", "night", ""}, {{"scenario", "declared"}}}}, {}),
            Lines{"day/night/: the scenario goes"});
}

TEST(ChangesTest, TheDaemonsEndIsNoScenario) {
  EXPECT_EQ(changed({{{"day", "", ""}, {{"the daemon ends", "x"}}}}, {}), Lines{"day//: goes"});
}

TEST(ChangesTest, StandInTheOrderOfThePlaces) {
  const Facts facts = {{"kind", "ss"}};
  EXPECT_EQ(
      changed({{{"b", "y", "1"}, facts}, {{"a", "z", "2"}, facts}},
              {{{"b", "x", "3"}, facts}, {{"", "", "sensor s"}, facts}, {{"a", "z", "1"}, facts}}),
      (Lines{"//sensor s: appears (ss)", "a/z/1: appears (ss)", "a/z/2: goes (ss)",
             "b/x/3: appears (ss)", "b/y/1: goes (ss)"}));
}

TEST(ChangesTest, AnItemOfNothingIsNotDescribed) {
  EXPECT_EQ(changed({{kItem, {{"sampling", "1000 ms"}}}}, {}), Lines{"day/Default/a: goes"});
  EXPECT_EQ(changed({}, {{kItem, {{"kind", "monitor"}, {"sensor", "cpu"}}}}),
            Lines{"day/Default/a: appears (monitor on cpu)"});
}

TEST(ChangesTest, AScenarioIsSaidToBeOneAndItsItemsAreNot) {
  EXPECT_EQ(changed({}, {{{"day", "night", ""}, {{"scenario", "declared"}}},
                         {{"day", "night", "a"}, {{"kind", "ss"}}}}),
            (Lines{"day/night/: the scenario appears", "day/night/a: appears (ss)"}));
}

TEST(ChangesTest, AUnitThatOnlyOneHasIsToldOfEach) {
  EXPECT_EQ(
      changed({{kItem, {{"a", "7"}, {"b", "5 C"}}}}, {{kItem, {{"a", "8 ms"}, {"b", "6 ms"}}}}),
      (Lines{"day/Default/a: a from 7 to 8 ms", "day/Default/a: b from 5 C to 6 ms"}));
}

// Of one board before and after an edit of its configuration.
class CoverageChangesTest : public testing::Test {
protected:
  Lines changed(const std::string& textBefore, const std::string& textAfter) {
    before.configurations.clear();
    after.configurations.clear();
    before.add(textBefore);
    after.add(textAfter, "other.conf");
    return linesOf(coverageChanges(before.coverage(), {{&before.configurations[0], "day"}},
                                   after.coverage(), {{&after.configurations[0], "day"}}));
  }

  static std::string heat(const std::string& threshold, const std::string& level) {
    return CoverageBoard::monitor(threshold, "1", "clock", level);
  }
  static std::string cold(const std::string& threshold, const std::string& level) {
    return CoverageBoard::monitor(threshold, "20000", "charger", level, "lowactive true\n");
  }

  CoverageBoard before;
  CoverageBoard after;
};

TEST_F(CoverageChangesTest, WhatCoolsTheSameIsNoChange) {
  EXPECT_EQ(changed(heat("40000", "1"), heat("40000", "1")), Lines());
  // A stronger item beside it hides it.
  EXPECT_EQ(changed(heat("40000", "2"), heat("40000", "2") + heat("50000", "1")), Lines());
}

TEST_F(CoverageChangesTest, CoolingMovesGoesAndAppears) {
  EXPECT_EQ(changed(heat("40000", "1"), heat("42500", "1")),
            Lines{"day/Default/cpu: cooled from 40.0 to 42.5 C"});
  EXPECT_EQ(changed(heat("40000", "1"), heat("40000", "0")),
            Lines{"day/Default/cpu: no longer cooled"});
  EXPECT_EQ(changed(heat("40000", "0"), heat("40000", "2")),
            Lines{"day/Default/cpu: cooled from 40.0 C on (clock 2)"});
}

TEST_F(CoverageChangesTest, CoolingGoesFurther) {
  EXPECT_EQ(changed(heat("40000", "1"), heat("40000", "2")),
            Lines{"day/Default/cpu: cooled up to clock 2 instead of clock 1"});
  EXPECT_EQ(changed(heat("40000", "1"), heat("41000", "2")),
            Lines{"day/Default/cpu: cooled from 40.0 to 41.0 C, up to clock 2 instead of clock 1"});
  EXPECT_EQ(
      changed(heat("40000", "1"), CoverageBoard::monitor("40000", "1", "clock+charger", "1+3")),
      Lines{"day/Default/cpu: cooled up to charger 3, clock 1 instead of clock 1"});
}

TEST_F(CoverageChangesTest, ColdAndReportsAreToldApart) {
  EXPECT_EQ(changed(cold("5000", "1") + heat("40000", "1"), cold("0", "1") + heat("41000", "1")),
            (Lines{"day/Default/cpu: cooled from 40.0 to 41.0 C",
                   "day/Default/cpu: held in the cold from 5.0 to 0.0 C"}));
  const std::string early = CoverageBoard::monitor("40000", "1", "alarm", "1");
  const std::string late = CoverageBoard::monitor("45000", "1", "alarm", "1");
  EXPECT_EQ(changed(early, late), Lines{"day/Default/cpu: reported from 40.0 to 45.0 C"});
  EXPECT_EQ(changed(early, cold("5000", "1")),
            (Lines{"day/Default/cpu: held in the cold from 5.0 C on (charger 1)",
                   "day/Default/cpu: no longer reported"}));
  EXPECT_EQ(changed(cold("5000", "1"), early), (Lines{"day/Default/cpu: no longer held in the cold",
                                                      "day/Default/cpu: reported from 40.0 C on"}));
}

TEST_F(CoverageChangesTest, AScenarioThatGoesTakesItsCooling) {
  EXPECT_EQ(changed(heat("40000", "1") + "SCEN night\n" + heat("45000", "1"), heat("40000", "1")),
            Lines{"day/night/cpu: no longer cooled"});
}

TEST_F(CoverageChangesTest, AConfigurationOfAnotherNameIsAnother) {
  before.add(heat("40000", "1"));
  after.add(heat("40000", "1"));
  EXPECT_EQ(
      linesOf(coverageChanges(before.coverage(), {{&before.configurations[0], "a"}},
                              after.coverage(), {{&after.configurations[0], "b"}})),
      (Lines{"a/Default/cpu: no longer cooled", "b/Default/cpu: cooled from 40.0 C on (clock 1)"}));
}

} // namespace
