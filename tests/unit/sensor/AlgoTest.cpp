#include "sensor/Algo.h"

#include <cstdint>

#include <gtest/gtest.h>

#include "support/CountingThread.h"
#include "support/FixedSensor.h"
#include "support/PlainAlgo.h"

namespace {

class AlgoTest : public ::testing::Test {
protected:
  CountingThread thread;
  FixedSensor sensor;
  PlainAlgo algo{"item", "game", 40000, sensor, thread};
};

TEST_F(AlgoTest, StartsIdleAsleepAndCurrent) {
  EXPECT_EQ(algo.name, "item");
  EXPECT_EQ(algo.sampling, 1000u);
  EXPECT_EQ(algo.status, 0u);
  EXPECT_FALSE(algo.active);
  EXPECT_FALSE(algo.old);
  EXPECT_FALSE(algo.lowactive);
  EXPECT_EQ(algo.sensor, &sensor);
  EXPECT_EQ(algo.thread, &thread);
}

TEST_F(AlgoTest, RegistersWithItsSensorUnderItsScenario) {
  ASSERT_EQ(sensor.algorithms.size(), 1u);
  EXPECT_EQ(sensor.algorithms["game"], std::vector<Algo*>{&algo});
}

TEST_F(AlgoTest, StoresItsTemperaturesAsTheyAreOrNegatedWhenLowactive) {
  const struct {
    int32_t configured;
    bool lowactive;
    int32_t stored;
    const char* why;
  } cases[] = {
      {40000, false, 40000, "as it is"},
      {-40000, false, -40000, "as it is"},
      {5000, true, -5000, "negated"},
      {-5000, true, 5000, "negated"},
      {0, true, 0, "zero has no sign"},
      {INT32_MAX, true, -INT32_MAX, "the highest"},
      {INT32_MIN, true, INT32_MIN, "the lowest wraps around to itself"},
  };
  for (const auto& c : cases) {
    const PlainAlgo item("item", "Default", c.configured, sensor, thread, c.lowactive);
    EXPECT_EQ(item.startTemp, c.stored) << c.why;
    EXPECT_EQ(item.clearTemp, c.stored) << c.why;
  }
}

TEST_F(AlgoTest, WakesItsThreadByItsActivation) {
  algo.status = 3;
  algo.activate();
  EXPECT_TRUE(algo.active);
  EXPECT_EQ(thread.activations, 1);
  EXPECT_EQ(algo.status, 3u);
}

TEST_F(AlgoTest, CountsAnActivationWhetherItIsAwakeOrNot) {
  algo.activate();
  algo.activate();
  EXPECT_TRUE(algo.active);
  EXPECT_EQ(thread.activations, 2);
}

TEST_F(AlgoTest, FallsAsleepAndLowersItsThreadsCountOnce) {
  algo.activate();
  algo.deactivate();
  EXPECT_FALSE(algo.active);
  EXPECT_EQ(thread.deactivations, 1);
  algo.deactivate();
  EXPECT_EQ(thread.deactivations, 1)
      << "two threads that both put it to sleep lower the count once";
}

} // namespace
