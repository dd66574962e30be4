#include "check/rule/PlantFacts.h"

#include <map>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace {

using Falls = std::vector<double>;

// A die that a clock heats, on a board that loses its heat to the ambient of 20 degrees.
class PlantFactsTest : public testing::Test {
protected:
  PlantFactsTest() {
    board.sensors = {{"die", SensorTrack::Kind::kReal, 1000, {}},
                     {"board", SensorTrack::Kind::kReal, 1000, {}}};
    board.devices = {{"fan", "charger", {}}, {"clock", "cpufreq", {"3", "2", "1"}}};
    plant.ambient = 20;
    plant.nodes = {{"die", 10, 20}, {"board", 50, 20}};
    plant.resistances = {{0, 1, 5}, {1, {}, 10}};
    plant.sources = {source({{0, 1.0}}, {4, 3, 1})};
    plant.probes = {probe(0, 0), probe(1, 1)};
  }

  static PlantDescription::Source source(std::vector<std::pair<size_t, double>> heats,
                                         std::vector<double> watts) {
    PlantDescription::Source source;
    source.heats = std::move(heats);
    source.device = 1;
    source.watts = std::move(watts);
    return source;
  }
  static PlantDescription::Probe probe(size_t sensor, size_t node) {
    PlantDescription::Probe probe;
    probe.sensor = sensor;
    probe.node = node;
    return probe;
  }

  PlantFacts facts() const { return plantFacts(plant, board, environment, settings); }
  double fullLoad(const std::string& sensor) const { return facts().at(sensor).fullLoad; }

  PlantDescription plant;
  TraceDescription board;
  Environment environment;
  Settings settings;
};

constexpr double kClose = 1e-3; // millidegrees

TEST_F(PlantFactsTest, ASensorSettlesWhereAllItsHeatFlowsOff) {
  EXPECT_NEAR(fullLoad("board"), 60000, kClose); // 4 W through 10 K/W
  EXPECT_NEAR(fullLoad("die"), 80000, kClose);   // and through 5 K/W
}

TEST_F(PlantFactsTest, WhereItBeginsMakesNoDifference) {
  plant.nodes[0].initial = 90;
  EXPECT_NEAR(fullLoad("die"), 80000, kClose);
}

TEST_F(PlantFactsTest, SourcesAddUpByTheirShares) {
  plant.sources.push_back(source({{0, 0.25}, {1, 0.75}}, {8}));
  EXPECT_NEAR(fullLoad("board"), 20000 + 10 * 12000, kClose);
  EXPECT_NEAR(fullLoad("die"), 140000 + 5 * 6000, kClose);
}

TEST_F(PlantFactsTest, ASourceWithoutALoadGivesOffItsIdlePower) {
  plant.sources[0].watts.clear();
  plant.sources[0].idle = 2;
  EXPECT_NEAR(fullLoad("board"), 40000, kClose);
}

TEST_F(PlantFactsTest, ASensorIsOffByItsOffset) {
  plant.probes[0].offset = -2.5;
  EXPECT_NEAR(fullLoad("die"), 77500, kClose);
}

TEST_F(PlantFactsTest, ANodeFollowsThroughAllItsResistances) {
  EXPECT_NEAR(facts().at("die").timeConstant, 10 * 5, 1e-9);
  // To the die and to the ambient beside each other.
  EXPECT_NEAR(facts().at("board").timeConstant, 50 / (1.0 / 5 + 1.0 / 10), 1e-9);
}

TEST_F(PlantFactsTest, TheNoiseOfTheSettingsGoesBeforeThatOfThePlant) {
  plant.probes[0].noise = 0.2;
  plant.probes[1].noise = 0.2;
  settings.noise = {{"board", 0}};
  EXPECT_DOUBLE_EQ(facts().at("die").noise, 200);
  EXPECT_EQ(facts().at("board").noise, 0);
}

TEST_F(PlantFactsTest, ALevelMakesTheNodeFallThatTheSourceHeats) {
  EXPECT_EQ(facts().at("die").fall, (std::map<std::string, Falls>{{"clock", {0, 100, 200}}}));
  EXPECT_TRUE(facts().at("board").fall.empty());
}

TEST_F(PlantFactsTest, ALevelsFallIsThatOfTheSharesOfAllSources) {
  plant.sources.push_back(source({{0, 0.5}, {1, 0.5}}, {6, 2}));
  // Two watts of four less, on top of the one of the first source.
  EXPECT_EQ(facts().at("die").fall.at("clock"), (Falls{0, 300, 200}));
  EXPECT_EQ(facts().at("board").fall.at("clock"), (Falls{0, 40}));
}

TEST_F(PlantFactsTest, ASourceWithoutADeviceFallsWithNone) {
  plant.sources[0].device.reset();
  EXPECT_TRUE(facts().at("die").fall.empty());
}

TEST_F(PlantFactsTest, AVirtualSensorSettlesWhereItsSumReturnsItself) {
  // T = (T + 2 * 80 + 60 - 10) / 3
  environment = readEnvironment("board.env", "[die]\ntype real\n\n[board]\ntype real\n\n"
                                             "[skin]\ntype virtual\nsensors die board\n"
                                             "weights 2 1\noffsets -70 -30\n");
  EXPECT_NEAR(fullLoad("skin"), (2 * 80000 + 60000 - 10000) / 2.0, kClose);
  EXPECT_TRUE(facts().at("skin").fall.empty());
}

TEST_F(PlantFactsTest, AVirtualSensorMayStandOnOthers) {
  environment = readEnvironment("board.env", "[die]\ntype real\n\n"
                                             "[a]\ntype virtual\nsensors die\nweights 2\n\n"
                                             "[b]\ntype virtual\nsensors a\nweights 3\n");
  EXPECT_NEAR(fullLoad("a"), 160000, kClose);
  EXPECT_NEAR(fullLoad("b"), 240000, kClose);
}

TEST_F(PlantFactsTest, AVirtualSensorCountsAsItsSourcesDo) {
  environment = readEnvironment("board.env", "[die]\ntype real\n\n[board]\ntype real\n\n"
                                             "[skin]\ntype virtual\nsensors die\nweights 3\n");
  environment.sections[0].unit = 100;
  EXPECT_NEAR(fullLoad("skin"), 3 * 800 / 2.0, kClose);
  environment.sections[2].unit = 100;
  EXPECT_NEAR(fullLoad("skin"), 3 * 80000 / 2.0, kClose);
}

TEST_F(PlantFactsTest, NothingIsSaidOfAVirtualSensorThatSettlesNowhere) {
  for (const char* lines :
       {"sensors die\nweights 1\n", "sensors die board\nweights 1 -1\n",
        "sensors die board\nweights 1 -2\n", "sensors die nothing\nweights 2 2\n"}) {
    environment = readEnvironment("board.env", "[die]\ntype real\n\n[board]\ntype real\n\n"
                                               "[skin]\ntype virtual\n" +
                                                   std::string(lines));
    EXPECT_EQ(facts().count("skin"), 0U) << lines;
  }
}

} // namespace
