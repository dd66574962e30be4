#include "board/LostNames.h"

#include <gtest/gtest.h>

namespace {

const std::string kCpu = "[cpu]\ntype real\nsampling 500\nnode_path /cpu\n\n";
const std::string kFan = "[fan]\ntype charger\nnode_path /fan\nlevel_table 2 1\n\n";
const std::string kSkin = "[skin]\ntype virtual\ntrip_sensor cpu\nsensors cpu\nweights 100\n\n";

std::string item(const std::string& name, const std::string& sensor, const std::string& device) {
  return "[" + name + "]\nalgo_type monitor\nsensor " + sensor +
         "\nthresholds 1\nthresholds_clr 1\nactions " + device + "\naction_info 1\n\n";
}

// What counts on the names that a board loses by a mistake in that line.
class LostNamesTest : public testing::Test {
protected:
  void read(const std::string& content) {
    environment = readEnvironment("board.env", content);
    configurations.clear();
    configurations.push_back(readConfiguration("day.conf", day, environment));
  }
  std::string dependents(int line) const {
    return LostNames(environment, configurations).dependents(line);
  }

  std::string day = "SCEN Default\n" + item("a", "cpu", "fan") + item("b", "cpu", "fan") +
                    item("c", "skin", "fan+fan");
  Environment environment;
  std::vector<Configuration> configurations;
};

TEST_F(LostNamesTest, AreNoneOfABoardWithoutMistakes) {
  read(kCpu + kSkin + kFan);
  const LostNames lost(environment, configurations);
  EXPECT_FALSE(lost.hasSensor("cpu"));
  EXPECT_FALSE(lost.hasSensor("gpu"));
  EXPECT_FALSE(lost.hasPeriod(500));
  for (int line = 0; line < 20; ++line)
    EXPECT_EQ(lost.dependents(line), "");
}

TEST_F(LostNamesTest, CountTheItemsThatNameASectionOfNoKind) {
  read(kCpu + kSkin + "[fan]\ntype Charger\nlevel_table 2 1\n");
  EXPECT_EQ(dependents(13), "; 3 items depend on it");
  EXPECT_TRUE(LostNames(environment, configurations).hasDevice("fan"));
  EXPECT_FALSE(LostNames(environment, configurations).hasSensor("fan"));
}

TEST_F(LostNamesTest, SayThatTheDaemonEndsForWantOfASensor) {
  read("[cpu]\ntype rael\nsampling 500\n\n" + kFan + "[skin]\ntype virtual\n");
  EXPECT_EQ(dependents(2), "; 2 items depend on it, and the daemon ends");
  EXPECT_TRUE(LostNames(environment, configurations).hasPeriod(500));
}

TEST_F(LostNamesTest, CountAnItemThatWatchesAVirtualSensorOfTheSection) {
  day = "SCEN Default\n" + item("c", "skin", "fan");
  read("[cpu\ntype real\nsampling 500\n\n" + kSkin + kFan);
  EXPECT_EQ(dependents(1), "; 1 item depends on it");
  day = "SCEN Default\n" + item("c", "cp", "fan");
  read("[cpu\ntype real\nsampling 500\n\n" + kSkin + kFan);
  EXPECT_EQ(dependents(1), "; 1 virtual sensor depends on it");
}

TEST_F(LostNamesTest, BlameAllBehindTheFirstStopOnThat) {
  read("junk\n\n" + kCpu + "more junk\n\n" + kSkin + kFan);
  EXPECT_EQ(dependents(1), "; 3 items depend on it, and the daemon ends");
  EXPECT_EQ(dependents(8), "");
}

TEST_F(LostNamesTest, TakeWhatStandsWithoutABracketForAName) {
  read(kSkin + kFan + "cpu]\ntype real\n");
  EXPECT_TRUE(LostNames(environment, configurations).hasSensor("cpu"));
  EXPECT_FALSE(LostNames(environment, configurations).hasSensor("gpu"));
}

TEST_F(LostNamesTest, TakeEveryNameForThatOfASectionWithoutHeader) {
  read(kFan + "type real\nnode_path /cpu\n");
  EXPECT_EQ(dependents(6), "; 3 items depend on it, and the daemon ends");
  EXPECT_TRUE(LostNames(environment, configurations).hasSensor("gpu"));
}

TEST_F(LostNamesTest, KnowAMergedSectionByItsHeader) {
  read("[cpu]\ntype real\n[fan]\ntype charger\n\n" + kSkin);
  EXPECT_EQ(dependents(3), "; 3 items depend on it");
}

TEST_F(LostNamesTest, AreAllWhereTheFileIsNone) {
  read("");
  EXPECT_EQ(dependents(1), "; 3 items depend on it, and the daemon ends");
  EXPECT_TRUE(LostNames(environment, configurations).hasSensor("gpu"));
}

} // namespace
