#include "fit/Sketch.h"

#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "fit/FreeQuantities.h"
#include "simulate/PlantFile.h"

namespace {

TraceDescription boardOf(const std::vector<std::string>& sensors) {
  TraceDescription board;
  for (const std::string& name : sensors)
    board.sensors.push_back({name, SensorTrack::Kind::kReal, 1000, {}});
  return board;
}

// What is wrong with the sketch of a board, as whoever reads it as a plant tells it.
std::string faultsOf(const TraceDescription& board) {
  Problems problems;
  const std::string text = sketchOf(board, "mine");
  const PlantDescription plant = readPlant(text, "plant.toml", board, problems);
  if (problems.none()) readFreeQuantities(text, "plant.toml", plant, board, problems);
  std::ostringstream out;
  problems.print(out);
  return out.str();
}

PlantDescription plantOf(const TraceDescription& board) {
  Problems problems;
  return readPlant(sketchOf(board, "mine"), "plant.toml", board, problems);
}

TEST(SketchTest, IsAPlantForWhateverBoard) {
  TraceDescription board = boardOf({"cpu0", "battery", "case", "ambient", "front skin"});
  board.sensors.push_back({"hottest", SensorTrack::Kind::kVirtual, 1000, {}});
  board.devices = {{"cpu0", "cpufreq", {"2000000", "1000000"}},
                   {"gpu", "gpufreq", {"high", "low"}},
                   {"charger", "charger", {"3000", "1500", "0"}},
                   {"light", "backlight", {"255", "10"}},
                   {"stop", "shutdown", {"0", "1"}},
                   {"empty", "camera", {}}};
  EXPECT_EQ(faultsOf(board), "");
  EXPECT_EQ(faultsOf(boardOf({})), "");
  EXPECT_EQ(faultsOf(boardOf({"case"})), "");
}

TEST(SketchTest, HasANodeForEachRealSensorAndACase) {
  TraceDescription board = boardOf({"cpu0", "battery"});
  board.sensors.push_back({"hottest", SensorTrack::Kind::kVirtual, 1000, {}});
  const PlantDescription plant = plantOf(board);
  ASSERT_EQ(plant.nodes.size(), 3U);
  EXPECT_EQ(plant.nodes[2].name, "case");
  EXPECT_EQ(plant.resistances.size(), 3U);
  EXPECT_EQ(plant.probes.size(), 2U);
}

TEST(SketchTest, ASensorOfTheAmbientIsInANodeOfAnotherName) {
  const PlantDescription plant = plantOf(boardOf({"ambient"}));
  ASSERT_EQ(plant.probes.size(), 1U);
  EXPECT_EQ(plant.nodes[plant.probes[0].node].name, "outside");
}

TEST(SketchTest, AProcessorsPowerGoesByTheCubeOfItsClock) {
  TraceDescription board = boardOf({"cpu0"});
  board.devices = {{"cpu0", "cpufreq", {"2000", "1000"}}};
  const PlantDescription plant = plantOf(board);
  ASSERT_EQ(plant.sources.size(), 1U);
  EXPECT_TRUE(plant.sources[0].work);
  EXPECT_DOUBLE_EQ(plant.sources[0].watts[1], plant.sources[0].watts[0] / 8);
  EXPECT_EQ(plant.nodes[plant.sources[0].heats[0].first].name, "cpu0");
}

std::string afterHead(const TraceDescription& board) {
  const std::string text = sketchOf(board, "mine");
  return text.substr(text.find("\n\n") + 2);
}

TEST(SketchTest, SaysThatItsNumbersAreGuesses) {
  EXPECT_EQ(sketchOf(boardOf({}), "mine"),
            "# A first sketch of mine: the structure is usual, every number a guess. Mend the "
            "structure, measure, and let\n"
            "# thermalctl fit find the numbers.\n"
            "\n"
            "ambient = 25.0\n"
            "\n"
            "[node.case]\n"
            "joules_per_kelvin = 70\n"
            "\n"
            "[[resistance]]\n"
            "between = [\"case\", \"ambient\"]\n"
            "kelvin_per_watt = 5\n"
            "\n"
            "[fit]\n"
            "free = [\"node.*.joules_per_kelvin\", \"resistance.*\"]\n");
}

TEST(SketchTest, HasAPartForEachSensorAndEachDevice) {
  TraceDescription board = boardOf({"cpu0"});
  board.devices = {{"cpu0", "cpufreq", {"2", "1"}}};
  EXPECT_EQ(afterHead(board), "ambient = 25.0\n"
                              "\n"
                              "[node.\"cpu0\"]\n"
                              "joules_per_kelvin = 3\n"
                              "\n"
                              "[node.case]\n"
                              "joules_per_kelvin = 70\n"
                              "\n"
                              "[[resistance]]\n"
                              "between = [\"cpu0\", \"case\"]\n"
                              "kelvin_per_watt = 8\n"
                              "\n"
                              "[[resistance]]\n"
                              "between = [\"case\", \"ambient\"]\n"
                              "kelvin_per_watt = 5\n"
                              "\n"
                              "[source.\"cpu0\"]\n"
                              "node = \"cpu0\"\n"
                              "device = \"cpu0\"\n"
                              "watts = [3, 0.375]\n"
                              "work = true\n"
                              "\n"
                              "[sensor.\"cpu0\"]\n"
                              "node = \"cpu0\"\n"
                              "\n"
                              "[fit]\n"
                              "free = [\"node.*.joules_per_kelvin\", \"resistance.*\"]\n");
}

TEST(SketchTest, ASensorsNameSaysWhatPartItIsIn) {
  struct {
    const char* name;
    double joulesPerKelvin;
    double kelvinPerWatt;
  } const cases[] = {{"battery", 45, 1.5},  {"BATT_0", 45, 1.5}, {"pack", 45, 1.5},
                     {"front_skin", 30, 2}, {"board1", 20, 2},   {"pcb", 20, 2},
                     {"modem", 5, 5},       {"anything", 3, 8}};
  for (const auto& each : cases) {
    const PlantDescription plant = plantOf(boardOf({each.name}));
    EXPECT_EQ(plant.nodes[0].capacity, each.joulesPerKelvin) << each.name;
    EXPECT_EQ(plant.resistances[0].value, each.kelvinPerWatt) << each.name;
  }
}

TEST(SketchTest, ASensorOfTheCaseIsInTheCaseThatThereIs) {
  const PlantDescription plant = plantOf(boardOf({"case"}));
  ASSERT_EQ(plant.nodes.size(), 1U);
  EXPECT_EQ(plant.resistances.size(), 1U);
  EXPECT_EQ(plant.probes.at(0).node, 0U);
}

// The sources of one device beside these sensors.
std::vector<PlantDescription::Source> sourcesOf(const DeviceTrack& device,
                                                const std::vector<std::string>& sensors = {}) {
  TraceDescription board = boardOf(sensors);
  board.devices = {device};
  return plantOf(board).sources;
}

TEST(SketchTest, OnlyADeviceThatGivesOffHeatIsASource) {
  for (const char* kind : {"cpufreq", "gpufreq", "charger", "backlight", "camera"})
    EXPECT_EQ(sourcesOf({"a", kind, {"2", "1"}}).size(), 1U) << kind;
  for (const char* kind : {"shutdown", "report", "hotplug", ""})
    EXPECT_TRUE(sourcesOf({"a", kind, {"2", "1"}}).empty()) << kind;
  EXPECT_TRUE(sourcesOf({"a", "cpufreq", {}}).empty());
}

TEST(SketchTest, WattsGoByTheNumbersOfTheLevels) {
  struct {
    const char* kind;
    std::vector<std::string> levels;
    std::vector<double> watts;
  } const cases[] = {
      {"gpufreq", {"1000", "500", "0"}, {3, 0.375, 0}},
      {"backlight", {"200", "50"}, {1, 0.25}},
      // Without numbers, with one above the first, below 0 or with none above it: evenly apart.
      {"charger", {"fast", "slow"}, {1, 0.5}},
      {"charger", {"0", "1500"}, {1, 0.5}},
      {"charger", {"10", "-5"}, {1, 0.5}},
      {"charger", {"0", "0"}, {1, 0.5}},
      {"cpufreq", {"a", "b", "c"}, {3, 0.889, 0.111}},
  };
  for (const auto& each : cases) {
    const auto sources = sourcesOf({"a", each.kind, each.levels});
    ASSERT_EQ(sources.size(), 1U);
    EXPECT_EQ(sources[0].watts, each.watts) << each.kind << each.levels[0];
  }
}

TEST(SketchTest, OnlyAProcessorWithClocksDelaysItsWork) {
  EXPECT_TRUE(sourcesOf({"a", "gpufreq", {"2", "1"}}).at(0).work);
  EXPECT_FALSE(sourcesOf({"a", "gpufreq", {"high", "low"}}).at(0).work);
  EXPECT_FALSE(sourcesOf({"a", "charger", {"2", "1"}}).at(0).work);
}

TEST(SketchTest, ADeviceHeatsTheSensorThatItSharesItsNameWith) {
  const std::vector<std::string> sensors = {"skin", "battery", "cpu"};
  const auto nodeOf = [&](const std::string& device, const std::string& kind) {
    return sourcesOf({device, kind, {"2", "1"}}, sensors).at(0).heats.at(0).first;
  };
  EXPECT_EQ(nodeOf("cpu_big", "cpufreq"), 2U);
  EXPECT_EQ(nodeOf("sk", "backlight"), 0U);
  EXPECT_EQ(nodeOf("input", "charger"), 1U);
  // The case, behind those of the sensors.
  EXPECT_EQ(nodeOf("light", "backlight"), 3U);
}

TEST(SketchTest, AVirtualSensorHasNoPartAndIsHeatedByNothing) {
  TraceDescription board = boardOf({});
  board.sensors.push_back({"cpu", SensorTrack::Kind::kVirtual, 1000, {}});
  board.devices = {{"cpu", "cpufreq", {"2", "1"}}};
  const PlantDescription plant = plantOf(board);
  ASSERT_EQ(plant.nodes.size(), 1U);
  EXPECT_EQ(plant.sources.at(0).heats.at(0).first, 0U);
}

} // namespace
