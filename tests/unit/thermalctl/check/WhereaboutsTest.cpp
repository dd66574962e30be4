#include "check/Whereabouts.h"

#include <gtest/gtest.h>

namespace {

constexpr char kSections[] = "[cpu]\ntype real\n\n[gpu]\ntype gpufreq\nnode_path /g\n";
// Two items that the daemon merges, and one in a scenario.
constexpr char kItems[] = "[a]\nalgo_type ss\nsensor cpu\n[b]\nalgo_type ss\nsensor cpu\n"
                          "\n"
                          "SCEN game\n[c]\nalgo_type ss\nsensor cpu\n\n"
                          "SCEN idle\n[d]\nalgo_type ss\n";

class WhereaboutsTest : public testing::Test {
protected:
  WhereaboutsTest() {
    configurations.push_back(readConfiguration("day.conf", kItems, environment));
  }

  // "SCENARIO/BLOCK".
  std::string at(const char* file, int line) const {
    Finding finding;
    finding.file = file;
    finding.at.line = line;
    const Whereabouts where = whereaboutsOf(finding, environment, configurations);
    return where.scenario + "/" + where.block;
  }

  Environment environment = readEnvironment("board.env", kSections);
  std::vector<Configuration> configurations;
};

TEST_F(WhereaboutsTest, AreASectionOfTheEnvironment) {
  EXPECT_EQ(at("board.env", 1), "/cpu");
  EXPECT_EQ(at("board.env", 2), "/cpu");
  EXPECT_EQ(at("board.env", 4), "/gpu");
  EXPECT_EQ(at("board.env", 6), "/gpu");
}

TEST_F(WhereaboutsTest, AreAnItemAsItWasMeant) {
  EXPECT_EQ(at("day.conf", 1), "Default/a");
  EXPECT_EQ(at("day.conf", 3), "Default/a");
  EXPECT_EQ(at("day.conf", 4), "Default/b");
  EXPECT_EQ(at("day.conf", 6), "Default/b");
  EXPECT_EQ(at("day.conf", 9), "game/c");
  EXPECT_EQ(at("day.conf", 11), "game/c");
  EXPECT_EQ(at("day.conf", 15), "idle/d");
}

TEST_F(WhereaboutsTest, AreAScenarioAloneOnItsOwnLine) {
  EXPECT_EQ(at("day.conf", 8), "game/");
  EXPECT_EQ(at("day.conf", 13), "idle/");
}

TEST_F(WhereaboutsTest, AreUnknownElsewhere) {
  EXPECT_EQ(at("night.conf", 3), "/");
}

} // namespace
