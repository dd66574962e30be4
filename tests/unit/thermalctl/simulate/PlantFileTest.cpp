#include "simulate/PlantFile.h"

#include <cmath>
#include <string>

#include <gtest/gtest.h>

#include "thermalctl/simulate/RunFiles.h"

namespace {

class PlantFileTest : public testing::Test {
protected:
  PlantDescription plantWith(const std::string& more) {
    files.plant += more;
    const std::vector<RunInput> runs = files.read();
    return runs.empty() ? PlantDescription() : runs[0].plant;
  }

  RunFiles files;
};

TEST_F(PlantFileTest, ALawGoesOverTheNumbersOfTheLevelTable) {
  const PlantDescription plant = plantWith("[source.gpu]\n"
                                           "node = \"die\"\n"
                                           "device = \"gpu\"\n"
                                           "law = { a = 0.5, b = 2, unit = 100 }\n"
                                           "load = 1\n"
                                           "work = true\n");
  ASSERT_TRUE(files.problems.none());
  ASSERT_EQ(plant.sources.size(), 1U);
  const std::vector<double>& watts = plant.sources[0].watts;
  ASSERT_EQ(watts.size(), 4U);
  EXPECT_NEAR(watts[0], 2.5, 1e-12);
  EXPECT_NEAR(watts[1], 0.5 + 2 * std::pow(0.8, 3), 1e-12);
  EXPECT_NEAR(watts[3], 0.5 + 2 * std::pow(0.4, 3), 1e-12);
  EXPECT_EQ(plant.sources[0].speed, (std::vector<double>{1, 0.8, 0.6, 0.4}));
}

TEST_F(PlantFileTest, ANodeStartsAtTheAmbientUnlessItSaysOtherwise) {
  files.plant = "ambient = 31\n" + files.plant +
                "[node.case]\njoules_per_kelvin = 70\ncelsius = 22\n"
                "[[resistance]]\nbetween = [\"case\", \"die\"]\nkelvin_per_watt = 2\n";
  const PlantDescription plant = plantWith("");
  ASSERT_TRUE(files.problems.none());
  EXPECT_EQ(plant.nodes[0].initial, 31);
  EXPECT_EQ(plant.nodes[1].initial, 22);
}

TEST_F(PlantFileTest, TellsEverythingThatIsWrongAtOnceWithItsLine) {
  files.plant = "ambient = \"warm\"\n"               // 1
                "\n"                                 // 2
                "[node.die]\n"                       // 3
                "joules_per_kelvin = -2\n"           // 4
                "\n"                                 // 5
                "[node.pack]\n"                      // 6
                "celsius = 20\n"                     // 7
                "\n"                                 // 8
                "[[resistance]]\n"                   // 9
                "between = [\"die\", \"ambient\"]\n" // 10
                "kelvin_per_watt = 0\n"              // 11
                "\n"                                 // 12
                "[[resistance]]\n"                   // 13
                "between = [\"die\", \"battery\"]\n" // 14
                "kelvin_per_watt = 1\n"              // 15
                "\n"                                 // 16
                "[source.gpu]\n"                     // 17
                "node = \"die\"\n"                   // 18
                "device = \"gpu\"\n"                 // 19
                "watts = [1, 2]\n"                   // 20
                "load = 1\n"                         // 21
                "\n"                                 // 22
                "[source.panel]\n"                   // 23
                "node = \"screen\"\n"                // 24
                "device = \"backlight\"\n"           // 25
                "load = 3\n"                         // 26
                "brightness = 1\n"                   // 27
                "\n"                                 // 28
                "[sensor.skin]\n"                    // 29
                "node = \"die\"\n"                   // 30
                "lag = -1\n";                        // 31
  EXPECT_EQ(
      files.wrong(),
      "plant.toml: error: no [sensor.cpu]: the board's sensor 'cpu' has no node to read\n"
      "plant.toml:1: error: 'ambient' must be a number\n"
      "plant.toml:4: error: 'joules_per_kelvin' must be a number above 0\n"
      "plant.toml:6: error: 'joules_per_kelvin' is missing: how much heat warms the node by one "
      "degree\n"
      "plant.toml:6: error: node 'pack' cannot cool: no [[resistance]] leads from it to the "
      "ambient, not even by way of other nodes\n"
      "plant.toml:11: error: 'kelvin_per_watt' must be a number above 0\n"
      "plant.toml:14: error: no node is called 'battery'\n"
      "plant.toml:20: error: 'watts' has 2 numbers, and device 'gpu' has 4 levels\n"
      "plant.toml:23: error: source 'panel' has no power law: give it 'watts', one for each level "
      "of its device, or a 'law'\n"
      "plant.toml:24: error: no node is called 'screen'\n"
      "plant.toml:25: error: the board has no device 'backlight'\n"
      "plant.toml:26: error: 'load' must be a number from 0 to 1\n"
      "plant.toml:27: error: 'brightness' is no key that is known here\n"
      "plant.toml:29: error: the board has no real sensor 'skin'\n"
      "plant.toml:31: error: 'lag' must be a number of at least 0\n"
      "workload.csv: error: no load for source 'panel' at time 0, and the plant gives it none of "
      "its own\n");
}

TEST_F(PlantFileTest, ASlipInTheNotationIsTheOnlyThingThatIsTold) {
  files.plant = "ambient = 25\n[node.die\njoules_per_kelvin = 1\n";
  const std::string wrong = files.wrong();
  EXPECT_EQ(wrong.find("plant.toml:2: error: "), 0U) << wrong;
  EXPECT_EQ(wrong.find('\n'), wrong.size() - 1) << wrong;
}

TEST_F(PlantFileTest, SharesOfHeatMustAddUp) {
  files.plant += "[source.sun]\nnodes = { die = 0.5 }\nwatts = 1\nload = 0\n";
  EXPECT_EQ(files.wrong(), "plant.toml:11: error: the shares of 'nodes' must add up to 1\n");
}

TEST_F(PlantFileTest, ATextualLevelTableNeedsItsPowersAndSpeeds) {
  files.environment += "\n[camera]\ntype camera\nnode_path /nowhere/fps\nlevel_table \"full\" "
                       "\"half\"\n";
  files.plant += "[source.camera]\n"
                 "node = \"die\"\n"
                 "device = \"camera\"\n"
                 "law = { b = 1 }\n"
                 "work = true\n"
                 "load = 0\n";
  EXPECT_EQ(files.wrong(),
            "plant.toml:13: error: a law needs numbers, and device 'camera' has the level 'full': "
            "give the source 'watts'\n"
            "plant.toml:14: error: the level table of 'camera' does not tell the speed: give the "
            "source 'speed', one for each level\n");
}

} // namespace
