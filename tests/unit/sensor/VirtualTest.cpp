#include "sensor/Virtual.h"

#include <cstdint>

#include <gtest/gtest.h>

#include "support/CountingThread.h"
#include "support/FixedSensor.h"
#include "support/LogSwitchedOff.h"
#include "support/RecordedLog.h"

namespace {

using Lines = std::vector<std::string>;
using Numbers = std::vector<int32_t>;

class VirtualTest : public ::testing::Test {
protected:
  Virtual combine(const std::vector<Sensor*>& sources, const Numbers& weights,
                  const Numbers& offsets = {}) {
    return {"skin", 1000, &thread, 0, 0, sources, 0, offsets, weights};
  }

  CountingThread thread;
  FixedSensor cpu{"cpu"};
  FixedSensor gpu{"gpu"};
};

TEST_F(VirtualTest, TakesItsPropertiesAndItsThreadButIsNotSwitchedOn) {
  const Virtual skin("skin", 500, &thread, 40000, 35000, {&cpu, nullptr}, 3, {1, 2}, {4, 5});
  EXPECT_EQ(skin.name, "skin");
  EXPECT_EQ(skin.sampling, 500u);
  EXPECT_EQ(skin.thread, &thread);
  EXPECT_EQ(skin.setPoint, 40000);
  EXPECT_EQ(skin.setPointClr, 35000);
  EXPECT_EQ(skin.sources, (std::vector<Sensor*>{&cpu, nullptr}));
  EXPECT_EQ(skin.math, 3);
  EXPECT_EQ(skin.offsets, (Numbers{1, 2}));
  EXPECT_EQ(skin.weights, (Numbers{4, 5}));
  EXPECT_FALSE(skin.active);
  EXPECT_EQ(skin.temperature, 0);
  EXPECT_EQ(skin.scenario, "Default");
  EXPECT_EQ(skin.oldScenario, "Default");
  EXPECT_EQ(thread.activations, 0);
}

TEST_F(VirtualTest, SumsItsWeightsAndAHundredTimesItsOffsets) {
  const struct {
    Numbers weights, offsets;
    int32_t weightSum, offsetTerm;
    const char* why;
  } cases[] = {
      {{}, {}, 0, 0, "empty lists"},
      {{3, 7}, {1, 2}, 10, 300, "plain sums"},
      {{3, -7}, {-5}, -4, -500, "negative ones"},
      {{INT32_MAX, 1}, {}, INT32_MIN, 0, "the weights wrap around"},
      {{}, {21474837}, 0, -2147483596, "a hundred times an offset wraps around"},
      {{}, {INT32_MAX, 1}, 0, 0, "the offsets wrap around"},
  };
  for (const auto& c : cases) {
    const Virtual skin = combine({}, c.weights, c.offsets);
    EXPECT_EQ(skin.weightSum, c.weightSum) << c.why;
    EXPECT_EQ(skin.offsetTerm, c.offsetTerm) << c.why;
  }
}

TEST_F(VirtualTest, AddsEveryNewResultToThePreviousOne) {
  Virtual skin = combine({&cpu}, {1});
  cpu.temperature = 30000;
  skin.updateTemp();
  EXPECT_EQ(skin.temperature, 30000);
  skin.updateTemp();
  EXPECT_EQ(skin.temperature, 60000);
  cpu.temperature = -5000;
  skin.updateTemp();
  EXPECT_EQ(skin.temperature, 55000);
}

TEST_F(VirtualTest, CombinesItsSourcesByTheirWeights) {
  const struct {
    int32_t previous, cpu, gpu;
    Numbers weights, offsets;
    int32_t expected;
    const char* why;
  } cases[] = {
      {0, 40000, 50000, {1, 3}, {}, 47500, "a weighted mean"},
      {100, 40000, 50000, {1, 3}, {}, 47525, "the previous result counts once"},
      {0, 40000, 50000, {1, 3}, {1, 2}, 47575, "offsets add 300 before the division"},
      {0, 40000, 50000, {1, 3}, {-3}, 47425, "negative offsets"},
      {0, 3, 4, {1, 1}, {}, 3, "rounded toward zero from above"},
      {0, -3, -4, {1, 1}, {}, -3, "rounded toward zero from below"},
      {0, 7, 0, {-2, 0}, {}, 7, "a negative sum of weights"},
      {0, 40000, 50000, {2, -2}, {5}, 0, "weights that sum to 0"},
      {0, 40000, 50000, {}, {5}, 0, "no weights at all"},
      {0, 40000, 50000, {2}, {}, 40000, "a missing weight counts as 0"},
      {0, 40000, 50000, {1, 1, 2}, {}, 22500, "a weight too many still divides"},
      {0, 1000000000, 0, {3, 0}, {}, -431655765, "the product wraps around"},
      {0, INT32_MAX, 1, {1, 1}, {}, -1073741824, "the sum wraps around"},
      {INT32_MAX, 1, 0, {1, 0}, {}, INT32_MIN, "the previous result wraps around"},
      {INT32_MAX, 0, 0, {1, 0}, {1}, -2147483549, "the offset wraps around"},
      {INT32_MIN, 0, 0, {-1, 0}, {}, INT32_MIN, "the lowest divided by -1 wraps around"},
      {INT32_MIN, 0, 0, {1, -2}, {}, INT32_MIN, "so does it with a sum of weights"},
  };
  for (const auto& c : cases) {
    Virtual skin = combine({&cpu, &gpu}, c.weights, c.offsets);
    skin.temperature = c.previous;
    cpu.temperature = c.cpu;
    gpu.temperature = c.gpu;
    skin.updateTemp();
    EXPECT_EQ(skin.temperature, c.expected) << c.why;
  }
}

TEST_F(VirtualTest, ForgetsThePreviousResultWhereItsWeightsSumToZero) {
  Virtual skin = combine({&cpu}, {0});
  skin.temperature = 40000;
  skin.updateTemp();
  EXPECT_EQ(skin.temperature, 0);
}

TEST_F(VirtualTest, DividesItsPreviousResultWithoutSources) {
  Virtual skin = combine({}, {2}, {1});
  skin.temperature = 1000;
  skin.updateTemp();
  EXPECT_EQ(skin.temperature, 550);
}

TEST_F(VirtualTest, SkipsANullSourceButKeepsTheOthersAtTheirWeights) {
  Virtual skin = combine({nullptr, &cpu, nullptr, &gpu}, {1, 2, 3, 4});
  cpu.temperature = 1000;
  gpu.temperature = 2000;
  skin.updateTemp();
  EXPECT_EQ(skin.temperature, 1000);
}

TEST_F(VirtualTest, CountsASourceAsOftenAsItIsNamed) {
  Virtual skin = combine({&cpu, &cpu}, {1, 4});
  cpu.temperature = 1000;
  skin.updateTemp();
  EXPECT_EQ(skin.temperature, 1000);
}

TEST_F(VirtualTest, ReadsAnotherVirtualSensorLikeAnySource) {
  Virtual inner = combine({&cpu}, {1});
  Virtual outer = combine({&inner}, {1});
  cpu.temperature = 1000;
  inner.updateTemp();
  outer.updateTemp();
  EXPECT_EQ(outer.temperature, 1000);
}

TEST_F(VirtualTest, TakesNoNewSamplesOfItsSources) {
  Virtual skin = combine({&cpu}, {1});
  skin.updateTemp();
  EXPECT_EQ(cpu.samples, 0);
}

TEST_F(VirtualTest, ComputesTheSameInEveryMode) {
  for (const int32_t math : {-1, 0, 1, 2, 100}) {
    Virtual skin("skin", 1000, &thread, 0, 0, {&cpu, &gpu}, math, {1, 2}, {1, 3});
    cpu.temperature = 40000;
    gpu.temperature = 50000;
    skin.updateTemp();
    EXPECT_EQ(skin.temperature, 47575) << math;
  }
}

TEST_F(VirtualTest, LogsEveryResult) {
  Virtual skin = combine({&cpu}, {1});
  cpu.temperature = -7000;
  RecordedLog log;
  skin.updateTemp();
  skin.updateTemp();
  EXPECT_EQ(log.lines(), (Lines{"[TalmorThermal] Sensor[skin] temp(-7000)\n",
                                "[TalmorThermal] Sensor[skin] temp(-14000)\n"}));
}

TEST_F(VirtualTest, WritesNoLineWithLoggingOff) {
  Virtual skin = combine({&cpu}, {1});
  const LogSwitchedOff off;
  RecordedLog log;
  skin.updateTemp();
  EXPECT_EQ(log.lines(), Lines{});
}

} // namespace
