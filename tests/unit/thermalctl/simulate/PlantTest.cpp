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

// A node of 30 s to the ambient, and what its equation gives by hand.
class PlantRampTest : public PlantTest {
protected:
  static constexpr double kTau = 30;
  static constexpr double kOhm = 6; // K/W

  PlantRampTest() {
    description.nodes = {{"die", kTau / kOhm, 40}};
    description.resistances = {{0, {}, kOhm}};
    PlantDescription::Source& source = addSource();
    source.device = 0;
    source.watts = {4, 3};
    source.speed = {1, 0.4};
    source.work = true;
    source.idle = 0.25;
  }

  // The temperature behind a stretch in which power and ambient go along straight lines.
  static double after(double celsius, double seconds, double watts, double wattsSlope,
                      double ambient = 25, double ambientSlope = 0) {
    const double decay = std::exp(-seconds / kTau);
    const double level = ambient + kOhm * watts;
    const double slope = ambientSlope + kOhm * wattsSlope;
    return level + slope * (seconds - kTau) + (celsius - level + slope * kTau) * decay;
  }

  static void expectNear(double value, double wanted) {
    EXPECT_NEAR(value, wanted, 1e-9 * std::abs(wanted));
  }
};

TEST_F(PlantRampTest, ALoadThatRisesFillsTheSourceBetweenTwoMilliseconds) {
  Plant plant(description, 1);
  plant.setLevel(0, 1);
  const double slope = 1 / 77.001;
  plant.setLoad(0, 0, slope);
  const double bend = 0.4 / slope; // where it is as busy as it can be, at 30.8004 s
  const double there = after(40, bend, 0.25, 3 * slope / 0.4);
  plant.advanceTo(30'800);
  expectNear(plant.temperature(0), after(40, 30.8, 0.25, 3 * slope / 0.4));
  EXPECT_NEAR(plant.watts(0), 0.25 + 3 * slope / 0.4 * 30.8, 1e-12);
  plant.advanceTo(30'801);
  expectNear(plant.temperature(0), after(there, 30.801 - bend, 3.25, 0));
  EXPECT_EQ(plant.watts(0), 3.25);
  plant.advanceTo(77'001);
  expectNear(plant.temperature(0), after(there, 77.001 - bend, 3.25, 0));
  const Performance done = plant.performance()[0];
  expectNear(done.demanded, 77.001 / 2);
  expectNear(done.delivered, 0.4 * bend / 2 + 0.4 * (77.001 - bend));
  expectNear(done.joules, 0.25 * 77.001 + 3 * bend / 2 + 3 * (77.001 - bend));
}

TEST_F(PlantRampTest, ALoadThatFallsLeavesTheSourceIdleBetweenTwoMilliseconds) {
  Plant plant(description, 1);
  plant.setLevel(0, 1);
  const double slope = -0.9 / 50.003;
  plant.setLoad(0, 0.9, slope);
  plant.advanceTo(50'003);
  const double bend = (0.4 - 0.9) / slope;
  const double there = after(40, bend, 3.25, 0);
  expectNear(plant.temperature(0), after(there, 50.003 - bend, 3.25, 3 * slope / 0.4));
  EXPECT_NEAR(plant.watts(0), 0.25, 1e-12);
}

TEST_F(PlantRampTest, ALevelChangesTheSlopeOfThePower) {
  Plant plant(description, 1);
  plant.setLoad(0, 0.1, 0.002);
  plant.advanceTo(40'000);
  plant.setLevel(0, 1);
  plant.advanceTo(60'000);
  const double there = after(40, 40, 0.25 + 0.4, 0.008);
  expectNear(plant.temperature(0), after(there, 20, 0.25 + 3 * 0.18 / 0.4, 3 * 0.002 / 0.4));
}

TEST_F(PlantRampTest, SeveralSourcesBendEachAtItsTime) {
  description.sources.push_back(description.sources[0]);
  description.sources[1].device = 1;
  description.sources[1].speed = {1, 0.6};
  description.nodes.push_back({"room", 1, 25});
  description.resistances.push_back({1, {}, 1});
  Plant plant(description, 1);
  plant.setLevel(0, 1);
  plant.setLevel(1, 1);
  plant.setLoad(0, 0, 1 / 77.001);
  plant.setLoad(1, 1, -1 / 77.001);
  plant.advanceTo(77'001);
  const double first = 0.4 * 77.001; // both bend there but for that, the other one later on
  const double rising = 3 / 0.4 / 77.001;
  const double falling = -3 / 0.6 / 77.001;
  double wanted = after(40, first, 0.25 + 3.25, rising);
  wanted = after(wanted, 77.001 - first, 3.25 + 3.25, falling);
  expectNear(plant.temperature(0), wanted);
}

TEST_F(PlantRampTest, AStepMayBeCutAnywhere) {
  description.probes[0].lag = 12;
  Plant whole(description, 1);
  Plant cut(description, 1);
  for (Plant* plant : {&whole, &cut}) {
    plant->setLevel(0, 1);
    plant->setAmbient(25, -0.05);
    plant->setLoad(0, 0, 1 / 77.001);
  }
  whole.advanceTo(77'001);
  for (int64_t time = 1; time <= 77'001; ++time)
    cut.advanceTo(time);
  expectNear(cut.temperature(0), whole.temperature(0));
  EXPECT_EQ(cut.reading(0), whole.reading(0));
  expectNear(cut.performance()[0].joules, whole.performance()[0].joules);
}

TEST_F(PlantRampTest, TheAmbientMayRise) {
  Plant plant(description, 1);
  plant.setAmbient(20, 0.01);
  plant.advanceTo(400'000);
  expectNear(plant.temperature(0), after(40, 400, 0.25, 0, 20, 0.01));
  plant.setAmbient(24);
  plant.advanceTo(430'000);
  expectNear(plant.temperature(0), after(after(40, 400, 0.25, 0, 20, 0.01), 30, 0.25, 0, 24));
}

TEST_F(PlantRampTest, MeasuredWattsAreAllThatASourceGivesOff) {
  description.sources[0].load = 1;
  Plant plant(description, 1);
  plant.setWatts(0, 2, -0.01);
  plant.advanceTo(50'000);
  plant.setLevel(0, 1);
  plant.advanceTo(100'000);
  expectNear(plant.temperature(0), after(40, 100, 2, -0.01));
  plant.setWatts(0, 5);
  plant.advanceTo(130'000);
  expectNear(plant.temperature(0), after(after(40, 100, 2, -0.01), 30, 5, 0));
  const Performance done = plant.performance()[0];
  EXPECT_EQ(done.demanded, 0) << "nobody asked for work";
  expectNear(done.joules, 150 + 150);
}

TEST_F(PlantRampTest, NodesHaveATemperatureAtAnyTimeBetweenTwoSamples) {
  Plant plant(description, 1);
  plant.setLoad(0, 0.1, 0.0005);
  for (const int64_t time : {1, 17, 333, 999, 60'001, 3'600'000}) {
    plant.advanceTo(time);
    const double seconds = static_cast<double>(time) / 1000;
    const double bend = 1800; // 0.9 / 0.0005
    if (seconds <= bend)
      expectNear(plant.temperature(0), after(40, seconds, 0.65, 0.002));
    else
      expectNear(plant.temperature(0),
                 after(after(40, bend, 0.65, 0.002), seconds - bend, 4.25, 0));
  }
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
