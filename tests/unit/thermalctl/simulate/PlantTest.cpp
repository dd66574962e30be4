#include "simulate/Plant.h"

#include <cmath>
#include <set>
#include <vector>

#include <gtest/gtest.h>

namespace {

// One node that keeps whatever temperature it has, unless a test says otherwise.
class PlantTest : public testing::Test {
protected:
  static constexpr double kCapacity = 10;
  static constexpr double kKelvinPerWatt = 1e9;

  PlantTest() {
    description.ambient = 25;
    description.nodes = {{"die", kCapacity, 40.1234}};
    description.resistances = {{0, {}, kKelvinPerWatt}};
    description.probes.resize(1);
  }

  PlantDescription::Probe& probe() { return description.probes[0]; }

  PlantDescription::Source& addSource() {
    PlantDescription::Source source;
    source.name = "source";
    source.heats = {{0, 1.0}};
    source.watts = {1};
    source.load = 0;
    description.sources.push_back(source);
    return description.sources.back();
  }

  // The heat of a second, in watts.
  double watts(Plant& plant) {
    const double before = plant.temperature(0);
    now += 1000;
    plant.advanceTo(now);
    return (plant.temperature(0) - before) * kCapacity;
  }

  PlantDescription description;
  int64_t now = 0;
};

constexpr double kTolerance = 1e-6;

TEST_F(PlantTest, ASensorReadsItsNodeInMillidegrees) {
  EXPECT_EQ(Plant(description, 1).reading(0), 40123);
}

TEST_F(PlantTest, ASensorIsOffByItsOffset) {
  probe().offset = -2.5;
  EXPECT_EQ(Plant(description, 1).reading(0), 37623);
}

TEST_F(PlantTest, ASensorReadsInItsSteps) {
  probe().step = 0.5;
  EXPECT_EQ(Plant(description, 1).reading(0), 40000);
  probe().offset = 0.2;
  EXPECT_EQ(Plant(description, 1).reading(0), 40500);
}

TEST_F(PlantTest, ALaggingSensorStartsAtItsNodesTemperatureAndFollowsLater) {
  probe().lag = 5;
  addSource().load = 1;
  description.sources[0].watts = {20};
  Plant plant(description, 1);
  EXPECT_EQ(plant.reading(0), 40123);
  plant.advanceTo(60'000);
  // Behind a steady rise of 2 degrees a second by what that gives in the time of the lag.
  EXPECT_NEAR(plant.reading(0), 1000 * (plant.temperature(0) - 10), 1);
}

TEST_F(PlantTest, NoiseHasItsDeviationAndNoBias) {
  probe().noise = 0.5;
  Plant plant(description, 1);
  constexpr int kReadings = 20'000;
  double sum = 0;
  double squares = 0;
  for (int i = 0; i < kReadings; ++i) {
    const double error = (plant.reading(0) - 40123.4) / 1000;
    sum += error;
    squares += error * error;
  }
  // Five times the deviation that the mean and the deviation of so many readings have.
  EXPECT_NEAR(sum / kReadings, 0, 5 * 0.5 / std::sqrt(kReadings));
  EXPECT_NEAR(std::sqrt(squares / kReadings), 0.5, 5 * 0.5 / std::sqrt(2 * kReadings));
}

TEST_F(PlantTest, NoiseIsTheSameForTheSameSeedAlone) {
  probe().noise = 0.5;
  const auto readings = [this](uint64_t seed) {
    Plant plant(description, seed);
    std::vector<int32_t> all(20);
    for (int32_t& reading : all)
      reading = plant.reading(0);
    return all;
  };
  EXPECT_EQ(readings(7), readings(7));
  EXPECT_NE(readings(7), readings(8));
}

TEST_F(PlantTest, TheNoiseOfOneSensorDoesNotDependOnTheOthers) {
  probe().noise = 0.5;
  Plant alone(description, 3);
  description.probes.push_back(probe());
  Plant together(description, 3);
  for (int i = 0; i < 20; ++i) {
    EXPECT_NE(together.reading(1), together.reading(1)) << "two readings in a row";
    EXPECT_EQ(alone.reading(0), together.reading(0));
  }
}

TEST_F(PlantTest, ASourceGivesOffItsLoadsShareAndItsIdlePower) {
  addSource().watts = {4};
  description.sources[0].idle = 0.5;
  Plant plant(description, 1);
  EXPECT_NEAR(watts(plant), 0.5, kTolerance);
  plant.setLoad(0, 0.25);
  EXPECT_NEAR(watts(plant), 1.5, kTolerance);
}

TEST_F(PlantTest, TheDevicesLevelDecidesAboutThePower) {
  PlantDescription::Source& source = addSource();
  source.device = 2;
  source.watts = {4, 3, 1};
  source.load = 1;
  Plant plant(description, 1);
  EXPECT_NEAR(watts(plant), 4, kTolerance);
  plant.setLevel(2, 2);
  EXPECT_NEAR(watts(plant), 1, kTolerance);
  plant.setLevel(1, 1);
  EXPECT_NEAR(watts(plant), 1, kTolerance) << "that was another device";
}

TEST_F(PlantTest, WorkThatALowerSpeedDelaysKeepsTheSourceBusyForLonger) {
  PlantDescription::Source& source = addSource();
  source.device = 0;
  source.watts = {4, 1};
  source.speed = {1, 0.5};
  source.work = true;
  source.load = 0.4;
  Plant plant(description, 1);
  EXPECT_NEAR(watts(plant), 0.4 * 4, kTolerance);
  plant.setLevel(0, 1);
  EXPECT_NEAR(watts(plant), 0.8 * 1, kTolerance);
  plant.setLoad(0, 0.9);
  EXPECT_NEAR(watts(plant), 1, kTolerance) << "busy all the time";
}

TEST_F(PlantTest, CoresThatAreOffNeitherHeatNorWork) {
  PlantDescription::Source& source = addSource();
  source.watts = {4};
  source.speed = {1};
  source.work = true;
  source.cores = PlantDescription::ByLevel{0, {1, 0.5}};
  source.load = 0.25;
  Plant plant(description, 1);
  EXPECT_NEAR(watts(plant), 1, kTolerance);
  plant.setLevel(0, 1);
  EXPECT_NEAR(watts(plant), 1, kTolerance) << "the same work, by half of the cores";
  plant.setLoad(0, 1);
  EXPECT_NEAR(watts(plant), 2, kTolerance);
}

TEST_F(PlantTest, PerformanceIsTheWorkDoneOfThatAskedFor) {
  PlantDescription::Source& source = addSource();
  source.device = 0;
  source.watts = {4, 1};
  source.speed = {1, 0.5};
  source.work = true;
  source.load = 0.8;
  Plant plant(description, 1);
  plant.advanceTo(10'000);
  plant.setLevel(0, 1);
  plant.advanceTo(20'000);
  const std::vector<Performance> performance = plant.performance();
  ASSERT_EQ(performance.size(), 1U);
  EXPECT_EQ(performance[0].source, "source");
  EXPECT_NEAR(performance[0].demanded, 16, kTolerance);
  EXPECT_NEAR(performance[0].delivered, 13, kTolerance);
}

TEST_F(PlantTest, PerformanceIsTheHeatOfEverySource) {
  addSource().load = 0.5;
  description.sources[0].idle = 0.25;
  description.sources[0].device = 0;
  description.sources[0].watts = {4, 1};
  Plant plant(description, 1);
  plant.advanceTo(10'000);
  plant.setLevel(0, 1);
  plant.advanceTo(12'500);
  const std::vector<Performance> performance = plant.performance();
  ASSERT_EQ(performance.size(), 1U);
  EXPECT_EQ(performance[0].demanded, 0) << "it does no work";
  EXPECT_NEAR(performance[0].joules, 10 * 2.25 + 2.5 * 0.75, kTolerance);
  EXPECT_NEAR((plant.temperature(0) - 40.1234) * kCapacity, performance[0].joules, kTolerance);
}

TEST_F(PlantTest, HeatIsSharedAmongNodes) {
  description.nodes.push_back({"case", kCapacity, 30});
  description.resistances.push_back({1, {}, kKelvinPerWatt});
  addSource().heats = {{0, 0.25}, {1, 0.75}};
  description.sources[0].watts = {8};
  description.sources[0].load = 1;
  Plant plant(description, 1);
  plant.advanceTo(1000);
  EXPECT_NEAR((plant.temperature(0) - 40.1234) * kCapacity, 2, kTolerance);
  EXPECT_NEAR((plant.temperature(1) - 30) * kCapacity, 6, kTolerance);
}

TEST_F(PlantTest, TheAmbientMayChange) {
  description.resistances = {{0, {}, 1}};
  Plant plant(description, 1);
  plant.setAmbient(-10);
  plant.advanceTo(3'600'000);
  EXPECT_NEAR(plant.temperature(0), -10, kTolerance);
}

} // namespace
