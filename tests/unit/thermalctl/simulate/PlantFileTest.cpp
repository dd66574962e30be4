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
      "plant.toml: error: the board's sensor 'cpu' has no node to read: give it a section "
      "[sensor.NAME] with its 'node'\n"
      "plant.toml:1:11: error: 'ambient' must be a number from -273.15 to 1000 degrees Celsius\n"
      "plant.toml:4:21: error: 'joules_per_kelvin' must be a number from 1e-06 to 1000000000 J/K\n"
      "plant.toml:6:1: error: 'joules_per_kelvin' is missing: how much heat warms the node by one "
      "degree\n"
      "plant.toml:11:19: error: 'kelvin_per_watt' must be a number from 1e-09 to 1000000000 K/W\n"
      "plant.toml:14:19: error: no node is called 'battery'\n"
      "plant.toml:20:9: error: 'watts' has 2 numbers, and device 'gpu' has 4 levels\n"
      "plant.toml:23:1: error: source 'panel' has no power law: give it 'watts', one for each "
      "level of its device, or a 'law'\n"
      "plant.toml:24:8: error: no node is called 'screen'\n"
      "plant.toml:25:10: error: the board has no device 'backlight'\n"
      "plant.toml:26:8: error: 'load' must be a number from 0 to 1\n"
      "plant.toml:27:1: error: 'brightness' is no key that is known here\n"
      "plant.toml:29:1: error: the board has no real sensor 'skin'\n"
      "plant.toml:31:7: error: 'lag' must be 0 or a number from 1e-06 to 1000000 seconds\n"
      "workload.csv: error: no load at time 0 for the source 'panel', and the plant gives none\n");
}

TEST_F(PlantFileTest, ANodeWithoutAWayToTheAmbientCannotCool) {
  EXPECT_EQ((files.plant += "[node.pack]\njoules_per_kelvin = 1\n", files.wrong()),
            "plant.toml:10:1: error: node 'pack' cannot cool: no [[resistance]] leads from it to "
            "the ambient, not even by way of other nodes\n");
}

TEST_F(PlantFileTest, ThatNoNodeCanCoolIsToldOnce) {
  const size_t header = files.plant.find("[[resistance]]");
  RunFiles slip;
  slip.plant.replace(header, 14, "[[resitsance]]");
  EXPECT_EQ(slip.wrong(), "plant.toml:4:3: error: 'resitsance' is no key that is known here\n");
  files.plant.erase(header, files.plant.find("[sensor.cpu]") - header);
  EXPECT_EQ(files.wrong(), "plant.toml:1:1: error: 'resistance' is missing: a node and "
                           "\"ambient\", or two nodes: no node can cool\n");
}

TEST_F(PlantFileTest, ASlipInTheNotationIsTheOnlyThingThatIsTold) {
  files.plant = "ambient = 25\n[node.die\njoules_per_kelvin = 1\n";
  const std::string wrong = files.wrong();
  EXPECT_EQ(wrong.find("plant.toml:2:10: error: "), 0U) << wrong;
  EXPECT_EQ(wrong.find('\n'), wrong.size() - 1) << wrong;
}

TEST_F(PlantFileTest, TakesWhatASourceAndASensorMayHave) {
  const PlantDescription plant =
      plantWith("lag = 2\nnoise = 0.1\nstep = 0.5\noffset = -1\n"
                "[node.case]\njoules_per_kelvin = 70\n"
                "[[resistance]]\nbetween = [\"case\", \"die\"]\n"
                "kelvin_per_watt = 3\n"
                "[source.gpu]\n"
                "nodes = { die = 0.7, case = 0.3 }\n"
                "idle_watts = 0.2\n"
                "watts = 4\n"
                "load = 0.5\n"
                "cores = { device = \"gpu\", share = [1, 1, 0.5, 0.5] }\n");
  ASSERT_TRUE(files.problems.none());
  EXPECT_EQ(plant.probes[0].lag, 2);
  EXPECT_EQ(plant.probes[0].noise, 0.1);
  EXPECT_EQ(plant.probes[0].step, 0.5);
  EXPECT_EQ(plant.probes[0].offset, -1);
  EXPECT_EQ(plant.resistances[0].to, std::nullopt);
  EXPECT_EQ(plant.resistances[1].from, 1U);
  EXPECT_EQ(plant.resistances[1].to, 0U);
  EXPECT_EQ(plant.resistances[1].value, 3);
  const PlantDescription::Source& source = plant.sources.at(0);
  EXPECT_EQ(source.heats, (std::vector<std::pair<size_t, double>>{{1, 0.3}, {0, 0.7}}));
  EXPECT_EQ(source.idle, 0.2);
  EXPECT_EQ(source.watts, std::vector<double>{4});
  EXPECT_EQ(source.load, 0.5);
  EXPECT_FALSE(source.work);
  EXPECT_EQ(source.cores.value().device, 0U);
  EXPECT_EQ(source.cores->values, (std::vector<double>{1, 1, 0.5, 0.5}));
}

TEST_F(PlantFileTest, TellsWhatDoesNotGoTogether) {
  struct Case {
    std::string text; // from line 10 on
    std::string wrong;
  };
  const std::string source = "[source.a]\nload = 0\nnode = \"die\"\n";
  const std::string choice =
      "10:1: error: a source heats either one 'node' or several 'nodes', and "
      "one of the two must be there\n";
  const Case cases[] = {
      {"[source.a]\nload = 0\nwatts = 1\n", choice},
      {source + "watts = 1\nnodes = { die = 1 }\n", choice},
      {"[source.a]\nload = 0\nwatts = 1\nnodes = { die = -1 }\n",
       "13:17: error: 'die' must be a number from 0 to 1\n"},
      {source + "watts = 1\nlaw = { b = 1, unit = 1 }\n",
       "14:7: error: either 'watts' or 'law', not both\n"},
      {source + "law = { b = 1, unit = 1 }\n",
       "13:7: error: a law needs a 'device', over whose levels it goes\n"},
      {source + "device = \"gpu\"\nlaw = { a = 1 }\n",
       "14:7: error: 'b' is missing: P = a + b f^3\n"
       "14:7: error: 'unit' is missing: of the level's entry, 1e6 for kHz as GHz\n"},
      {source + "watts = -1\n", "13:9: error: 'watts' must be a number from 0 to 1000000 W\n"},
      {source + "watts = [1, 2]\n",
       "13:9: error: 'watts' must be a single number where there is no 'device'\n"},
      {source + "watts = 1\ndevice = \"log\"\n", "14:10: error: device 'log' has no level table\n"},
      {source + "watts = 1\ncores = { device = \"gpu\", share = [1, 1] }\n",
       "14:35: error: 'share' has 2 numbers, and device 'gpu' has 4 levels\n"},
      {source + "watts = 1\ncores = {}\n",
       "14:9: error: 'device' is missing: whose level switches a part of the source off\n"
       "14:9: error: 'share' is missing: of the source that is on, one for each level\n"},
      {"[node.ambient]\njoules_per_kelvin = 1\n",
       "10:1: error: a node cannot be called 'ambient'\n"},
      {"[[resistance]]\nbetween = [\"die\", \"die\"]\nkelvin_per_watt = 1\n",
       "11:11: error: 'between' must name two different ends\n"},
      {"[[resistance]]\n",
       "10:1: error: 'between' is missing: the two nodes, or a node and \"ambient\"\n"
       "10:1: error: 'kelvin_per_watt' is missing: how many degrees drive one watt through it\n"}};
  for (const Case& each : cases) {
    RunFiles run;
    run.environment += "\n[log]\ntype report\nnode_path /nowhere/log\n";
    run.plant += each.text;
    std::string wrong = run.wrong();
    const std::string prefix = "plant.toml:";
    for (size_t at = 0; (at = wrong.find(prefix, at)) != std::string::npos;)
      wrong.erase(at, prefix.size());
    EXPECT_EQ(wrong, each.wrong) << each.text;
  }
}

// The plant's file ends with line 9; a source needs a load.
TEST_F(PlantFileTest, TellsWhatANumberCannotBe) {
  struct Case {
    std::string text;
    std::string wrong;
  };
  const std::string source = "[source.a]\nnode = \"die\"\nload = 0\n";
  const std::string node = "[node.b]\ncelsius = 20\n";
  const std::string between = "[[resistance]]\nbetween = [\"die\", \"ambient\"]\n";
  const Case cases[] = {
      {"offset = 25000\n", "10:10: error: 'offset' must be a number from -1000 to 1000 degrees\n"},
      {"lag = 9e-7\n", "10:7: error: 'lag' must be 0 or a number from 1e-06 to 1000000 seconds\n"},
      {"lag = 1e-6\n", ""},
      {"lag = 0\n", ""},
#ifdef __cpp_lib_to_chars // without it toml++ itself refuses those
      {"lag = 1e-310\n", "10:7: error: 'lag' is too small to be calculated with: write 0\n"},
      {"step = 1e-320\n", "10:8: error: 'step' is too small to be calculated with: write 0\n"},
#endif
      {"noise = -0.1\n", "10:9: error: 'noise' must be a number from 0 to 1000 degrees\n"},
      {"step = 0.0009\n", "10:8: error: 'step' must be 0 or a number from 0.001 to 1000 degrees\n"},
      {"step = 0.001\n", ""},
      {between + "kelvin_per_watt = 9e-10\n",
       "12:19: error: 'kelvin_per_watt' must be a number from 1e-09 to 1000000000 K/W\n"},
      {between + "kelvin_per_watt = 1e-9\n", ""},
      {between + "kelvin_per_watt = 1e9\n", ""},
      {between + "kelvin_per_watt = 1.1e9\n",
       "12:19: error: 'kelvin_per_watt' must be a number from 1e-09 to 1000000000 K/W\n"},
      {source + "watts = 1000001\n", "13:9: error: 'watts' must be a number from 0 to 1000000 W\n"},
      {source + "watts = 1\nidle_watts = -1\n",
       "14:14: error: 'idle_watts' must be a number from 0 to 1000000 W\n"},
      {source + "watts = [1, 1, 1, 1]\ndevice = \"gpu\"\nspeed = [1, 2, 1, 1]\nwork = true\n",
       "15:13: error: 'speed' must be a number from 0 to 1\n"},
      {source + "watts = 1\nspeed = 1\n",
       "14:1: error: 'speed' means nothing without 'work = true'\n"},
      {source + "watts = 1\ncores = { device = \"gpu\", share = [1, 5, 0, 1] }\n",
       "14:39: error: 'share' must be a number from 0 to 1\n"},
      {source + "device = \"gpu\"\nlaw = { b = 1 }\n",
       "14:7: error: 'unit' is missing: of the level's entry, 1e6 for kHz as GHz\n"},
      {source + "device = \"gpu\"\nlaw = { b = 2, unit = 1 }\n",
       "14:23: error: the law gives 2e+06 W at level 0: no source has more than 1e+06 W, and "
       "'unit' "
       "may be a slip\n"},
      {source + "device = \"gpu\"\nlaw = { b = 1, unit = 1 }\n", ""},
  };
  for (const Case& each : cases) {
    RunFiles run;
    run.plant += each.text;
    std::string wrong = run.wrong();
    const std::string prefix = "plant.toml:";
    for (size_t at = 0; (at = wrong.find(prefix, at)) != std::string::npos;)
      wrong.erase(at, prefix.size());
    EXPECT_EQ(wrong, each.wrong) << each.text;
  }
}

TEST_F(PlantFileTest, TemperaturesMustBeSuchAsThereCanBe) {
  files.plant = "ambient = 25000\n[node.die]\njoules_per_kelvin = 1e-7\ncelsius = -400\n" +
                files.plant.substr(files.plant.find("[[resistance]]"));
  EXPECT_EQ(
      files.wrong(),
      "plant.toml:1:11: error: 'ambient' must be a number from -273.15 to 1000 degrees Celsius\n"
      "plant.toml:3:21: error: 'joules_per_kelvin' must be a number from 1e-06 to 1000000000 J/K\n"
      "plant.toml:4:11: error: 'celsius' must be a number from -273.15 to 1000 degrees Celsius\n");
}

TEST_F(PlantFileTest, ANodeThatBearsTheNameOfASensorIsReadByIt) {
  const std::string between = "[[resistance]]\nbetween = [\"cpu\", \"die\"]\n"
                              "kelvin_per_watt = 1\n";
  files.plant += "[node.cpu]\njoules_per_kelvin = 1\n" + between;
  EXPECT_EQ(files.wrongInFull(), "plant.toml:10:1: error: node 'cpu' bears the name of the board's "
                                 "sensor 'cpu', which does not read it\n"
                                 "   10 | [node.cpu]\n"
                                 "      | ^~~~~~~~~~\n"
                                 "      hint: give the node another name, or let [sensor.cpu] read "
                                 "it\n");
  RunFiles other;
  other.plant = files.plant;
  other.plant.replace(other.plant.find("node = \"die\""), 12, "node = \"cpu\"");
  EXPECT_EQ(other.wrong(), "");
}

TEST_F(PlantFileTest, ANodeMustNotBearTheNameOfAVirtualSensor) {
  files.environment += "\n[skin]\ntype virtual\nsampling 100\ntrip_sensor cpu\nset_point 50000\n"
                       "set_point_clr 40000\nsensors cpu\nweights 2\n";
  files.plant += "[node.skin]\njoules_per_kelvin = 1\n[[resistance]]\n"
                 "between = [\"skin\", \"die\"]\nkelvin_per_watt = 1\n";
  EXPECT_EQ(files.wrong(), "plant.toml:10:1: error: node 'skin' bears the name of the board's "
                           "sensor 'skin', which does not read it\n");
}

TEST_F(PlantFileTest, ASourceMustNotBearTheNameOfAnotherColumn) {
  for (const std::string name : {"time", "ambient", "scenario", "configuration", "\"fault cpu\""}) {
    RunFiles run;
    run.plant += "[source." + name + "]\nnode = \"die\"\nwatts = 1\nload = 0\n";
    EXPECT_EQ(run.wrong().find("plant.toml:10:1: error: a source cannot be called '"), 0U) << name;
  }
}

TEST_F(PlantFileTest, ASlipInANameIsToldOnceWithWhatWasMeant) {
  files.plant = "[node.pack]\njoules_per_kelvin = 2\n\n[[resistance]]\n"
                "between = [\"pakc\", \"ambient\"]\nkelvin_per_watt = 1\n[sensor.cpuu]\n"
                "node = \"pack\"\n[source.sun]\nnode = \"pack\"\nwatts = [1, 1, 1, 1]\n"
                "device = \"gqu\"\nload = 0\n";
  EXPECT_EQ(files.wrongInFull(), "plant.toml:5:12: error: no node is called 'pakc'\n"
                                 "    5 | between = [\"pakc\", \"ambient\"]\n"
                                 "      |            ^~~~~~\n"
                                 "      hint: did you mean 'pack'?\n"
                                 "plant.toml:7:1: error: the board has no real sensor 'cpuu'\n"
                                 "    7 | [sensor.cpuu]\n"
                                 "      | ^~~~~~~~~~~~~\n"
                                 "      hint: did you mean 'cpu'?\n"
                                 "plant.toml:12:10: error: the board has no device 'gqu'\n"
                                 "   12 | device = \"gqu\"\n"
                                 "      |          ^~~~~\n"
                                 "      hint: did you mean 'gpu'?\n");
}

TEST_F(PlantFileTest, SharesOfHeatMustAddUp) {
  files.plant += "[source.sun]\nnodes = { die = 0.5 }\nwatts = 1\nload = 0\n";
  EXPECT_EQ(files.wrong(), "plant.toml:11:9: error: the shares of 'nodes' must add up to 1\n");
}

TEST_F(PlantFileTest, ATextualLevelTableNeedsItsPowersAndSpeeds) {
  files.environment += "\n[camera]\ntype camera\nnode_path /nowhere/fps\nlevel_table \"full\" "
                       "\"half\"\n";
  files.plant += "[source.camera]\n"
                 "node = \"die\"\n"
                 "device = \"camera\"\n"
                 "law = { b = 1, unit = 1 }\n"
                 "work = true\n"
                 "load = 0\n";
  EXPECT_EQ(
      files.wrong(),
      "plant.toml:13:7: error: a law needs numbers, and device 'camera' has the level 'full': "
      "give the source 'watts'\n"
      "plant.toml:14:8: error: the level table of 'camera' does not tell the speed: give the "
      "source 'speed', one for each level\n");
}

} // namespace
