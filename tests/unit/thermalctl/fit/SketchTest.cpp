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

} // namespace
