#include "fit/Powers.h"

#include <string>

#include <gtest/gtest.h>

#include "simulate/Plant.h"

namespace {

using Kind = RecordedChange::Kind;

TraceDescription board() {
  TraceDescription board;
  board.devices.push_back({"clock", "cpufreq", {"100", "50", "10"}});
  board.devices.push_back({"hotplug", "hotplug", {"0", "1"}});
  return board;
}

PlantDescription plantOf(const std::string& source) {
  Problems problems;
  PlantDescription plant =
      readPlant("ambient = 21\n[node.n]\njoules_per_kelvin = 1\n[[resistance]]\n"
                "between = [\"n\", \"ambient\"]\nkelvin_per_watt = 1\n"
                "[source.s]\nnode = \"n\"\ndevice = \"clock\"\n"
                "watts = [4, 2, 1]\nidle_watts = 0.5\n" +
                    source,
                "plant.toml", board(), problems);
  EXPECT_TRUE(problems.none());
  return plant;
}

class PowersTest : public testing::Test {
protected:
  static RecordedChange level(double value) { return {0, Kind::kLevel, 0, value}; }
  static RecordedChange load(double value) { return {0, Kind::kLoad, 0, value}; }
  static RecordedChange watts(double value) { return {0, Kind::kWatts, 0, value}; }

  const PlantDescription working = plantOf("work = true\n");
  const PlantDescription lit = plantOf("load = 0.75\n");
};

TEST_F(PowersTest, OfWhatIsNotToldThePlantDoes) {
  const Powers powers(lit);
  EXPECT_EQ(powers.ambient(), 21);
  EXPECT_DOUBLE_EQ(powers.total(0), 0.5 + 0.75 * 4);
}

TEST_F(PowersTest, WorkAtAnotherSpeedKeepsItsSourceBusyForLonger) {
  Powers powers(working);
  powers.take(load(0.4));
  EXPECT_DOUBLE_EQ(powers.ofLoad(0), 0.4 * 4);
  powers.take(level(1));
  EXPECT_DOUBLE_EQ(powers.ofLoad(0), 0.8 * 2);
  // More than it can do: busy all the time.
  powers.take(level(2));
  EXPECT_DOUBLE_EQ(powers.ofLoad(0), 1);
}

TEST_F(PowersTest, WhatIsNoWorkHasItsShareOfEachLevel) {
  Powers powers(lit);
  powers.take(level(1));
  EXPECT_DOUBLE_EQ(powers.ofLoad(0), 0.75 * 2);
}

TEST_F(PowersTest, ALevelBehindTheLastIsTheLast) {
  Powers powers(lit);
  powers.take(level(7));
  EXPECT_DOUBLE_EQ(powers.ofLoad(0), 0.75 * 1);
}

TEST_F(PowersTest, MeasuredWattsHaveNeitherLoadNorIdlePower) {
  Powers powers(working);
  powers.take(load(1));
  powers.take(watts(1.5));
  EXPECT_EQ(powers.total(0), 1.5);
  EXPECT_EQ(powers.ofLoad(0), 0);
  EXPECT_EQ(powers.ofIdle(0), 0);
}

TEST_F(PowersTest, OfMeasuredWattsTheLoadIsWhatWouldMakeThem) {
  Powers powers(working);
  powers.take(level(1));
  // Half of the time at half of the speed.
  powers.take(watts(1.5));
  EXPECT_DOUBLE_EQ(powers.load(0), 0.25);
  powers.take(watts(9));
  EXPECT_DOUBLE_EQ(powers.load(0), 0.5);
  powers.take(watts(0.1));
  EXPECT_DOUBLE_EQ(powers.load(0), 0);
}

TEST_F(PowersTest, ASourceGivesOffWhatItDoesInASimulation) {
  const PlantDescription plant =
      plantOf("work = true\ncores = { device = \"hotplug\", share = [1, 0.5] }\n");
  Powers powers(plant);
  Plant simulated(plant, 1);
  for (const int32_t clock : {0, 1, 2})
    for (const int32_t cores : {0, 1})
      for (const double asked : {0.0, 0.03, 0.25, 0.5, 0.7, 1.0}) {
        powers.take(level(clock));
        powers.take({0, Kind::kLevel, 1, static_cast<double>(cores)});
        powers.take(load(asked));
        simulated.setLevel(0, clock);
        simulated.setLevel(1, cores);
        simulated.setLoad(0, asked);
        EXPECT_DOUBLE_EQ(powers.total(0), simulated.watts(0)) << clock << cores << asked;
      }
}

} // namespace
