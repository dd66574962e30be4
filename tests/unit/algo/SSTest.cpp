#include "algo/SS.h"

#include <cstdint>

#include <gtest/gtest.h>

#include "support/CountingThread.h"
#include "support/FixedSensor.h"
#include "support/JournalDevice.h"
#include "support/LogSwitchedOff.h"
#include "support/RecordedLog.h"

namespace {

using Lines = std::vector<std::string>;
using Levels = std::vector<int32_t>;

struct Properties {
  int32_t setPoint = 40000;
  int32_t setPointClr = 35000;
  int32_t startLevel = 1;
  bool lowactive = false;
  int32_t devicePerfFloor = INT32_MAX;
  uint32_t timeTickTrigger = 0;
};

// An item that drives a device of ten levels.
class SSTest : public ::testing::Test {
protected:
  SS itemWith(const Properties& p = {}) { return itemDriving(device, p); }
  SS itemDriving(Device& driven, const Properties& p = {}) {
    return {"item",      1000,    p.setPoint, p.setPointClr, p.startLevel,      "Default",
            p.lowactive, &sensor, &thread,    &driven,       p.devicePerfFloor, p.timeTickTrigger};
  }

  // One decision at a temperature; the step count after it.
  uint32_t decideAt(SS& item, int32_t temperature) {
    sensor.temperature = temperature;
    EXPECT_EQ(item.decision(), 0);
    return item.status;
  }

  CountingThread thread;
  FixedSensor sensor{"cpu"};
  JournalDevice device{"gpu"};
};

TEST_F(SSTest, TakesItsPropertiesAndRegistersWithItsSensor) {
  SS item("item", 500, 40000, 35000, 2, "game", false, &sensor, &thread, &device, 7, 3);
  EXPECT_EQ(item.name, "item");
  EXPECT_EQ(item.sampling, 500u);
  EXPECT_EQ(item.startTemp, 40000);
  EXPECT_EQ(item.clearTemp, 35000);
  EXPECT_EQ(item.status, 0u);
  EXPECT_FALSE(item.active);
  EXPECT_FALSE(item.old);
  EXPECT_FALSE(item.lowactive);
  EXPECT_EQ(item.sensor, &sensor);
  EXPECT_EQ(item.thread, &thread);
  EXPECT_EQ(item.device, &device);
  EXPECT_EQ(item.prevTemp, 0);
  EXPECT_EQ(item.devicePerfFloor, 7);
  EXPECT_EQ(item.tickCount, 0u);
  EXPECT_EQ(item.timeTickTrigger, 3u);
  EXPECT_EQ(item.startLevel, 2);
  EXPECT_EQ(sensor.algorithms["game"], std::vector<Algo*>{&item});
  EXPECT_EQ(thread.activations, 0);
}

TEST_F(SSTest, StoresItsSetPointsNegatedWhenLowactive) {
  Properties p;
  p.lowactive = true;
  p.setPoint = 5000;
  p.setPointClr = INT32_MIN;
  const SS item = itemWith(p);
  EXPECT_EQ(item.startTemp, -5000);
  EXPECT_EQ(item.clearTemp, INT32_MIN);
}

TEST_F(SSTest, LeavesEverythingButItsActivityAloneWhenItIsWoken) {
  SS item = itemWith();
  item.status = 4;
  item.prevTemp = 43000;
  item.tickCount = 2;
  item.activate();
  EXPECT_TRUE(item.active);
  EXPECT_EQ(thread.activations, 1);
  EXPECT_EQ(item.status, 4u);
  EXPECT_EQ(item.prevTemp, 43000);
  EXPECT_EQ(item.tickCount, 2u);
}

TEST_F(SSTest, CountsTheWholeDegreesAboveItsSetPointPlusOneAtFirst) {
  const struct {
    int32_t setPoint, temperature;
    uint32_t steps;
    const char* why;
  } cases[] = {
      {40000, 40000, 1, "on the set point"},
      {40000, 40999, 1, "within the degree of the set point"},
      {40000, 41000, 2, "a whole degree above"},
      {40000, 42500, 3, "two degrees and a half above"},
      {40900, 41000, 2, "both are cut to whole degrees"},
      {40000, 39999, 0, "one degree below gives no step"},
      {40000, 36000, 0, "and never a negative one"},
      {-2000, -500, 3, "cut toward zero: 0 - -2 + 1"},
      {-2999, -2001, 1, "cut toward zero: -2 - -2 + 1"},
      {-500, 500, 1, "all between -999 and 999 is one degree"},
      {40000, INT32_MAX, 2147444, "the highest temperature"},
  };
  for (const auto& c : cases) {
    Properties p;
    p.setPoint = c.setPoint;
    p.setPointClr = -100000;
    SS item = itemWith(p);
    EXPECT_EQ(decideAt(item, c.temperature), c.steps) << c.why;
  }
}

TEST_F(SSTest, StepsByTheWholeDegreesSinceThePreviousDecision) {
  const struct {
    int32_t previous, temperature;
    int32_t step;
    const char* why;
  } cases[] = {
      {42500, 42999, 0, "within the same degree"},
      {42500, 42000, 0, "within the same degree, falling"},
      {42999, 43000, 1, "into the next degree"},
      {42500, 43999, 1, "a degree up"},
      {43000, 42999, -1, "into the degree below"},
      {45000, 43000, -2, "two degrees down"},
      {40000, 49999, 9, "nine degrees up"},
      {-500, -1500, -1, "each is cut toward zero first: -1 - 0"},
      {-999, 999, 0, "all between -999 and 999 is one degree"},
      {-1000, 999, 1, "out of the frost"},
  };
  for (const auto& c : cases) {
    Properties p;
    p.setPoint = -20000;
    p.setPointClr = -100000;
    SS item = itemWith(p);
    const uint32_t before = decideAt(item, c.previous);
    EXPECT_EQ(static_cast<int32_t>(decideAt(item, c.temperature) - before), c.step) << c.why;
  }
}

TEST_F(SSTest, AsksForItsStartLevelAtTheFirstStepAndOneLevelMoreForEachFurther) {
  const struct {
    int32_t startLevel, temperature, request;
    const char* why;
  } cases[] = {
      {1, 40000, 1, "the start level"},
      {1, 42500, 3, "3 + 1 - 1"},
      {4, 40000, 4, "a higher start level"},
      {4, 42500, 6, "3 + 4 - 1"},
      {0, 40000, 0, "a start level of 0"},
      {0, 42500, 2, "3 + 0 - 1"},
      {7, 42500, 9, "the last entry"},
      {8, 42500, 9, "one past the table"},
      {1, 140000, 9, "far past the table"},
      {-1, 42500, 1, "a negative start level"},
      {-2, 42500, 0, "3 - 2 - 1"},
      {-3, 42500, 9, "a negative index is the last entry"},
      {INT32_MAX, 42500, 9, "the sum wraps around to a negative index"},
      {INT32_MIN, 42500, 9, "so far below"},
  };
  for (const auto& c : cases) {
    JournalDevice driven;
    Properties p;
    p.startLevel = c.startLevel;
    SS item = itemDriving(driven, p);
    decideAt(item, c.temperature);
    EXPECT_EQ(driven.requests["item"], c.request) << c.why;
    EXPECT_EQ(driven.currentLevel, c.request) << c.why;
  }
}

TEST_F(SSTest, FollowsTheTemperatureUpAndDown) {
  SS item = itemWith();
  EXPECT_EQ(decideAt(item, 42500), 3u);
  EXPECT_EQ(decideAt(item, 43999), 4u);
  EXPECT_EQ(decideAt(item, 45000), 6u);
  EXPECT_EQ(decideAt(item, 43000), 4u);
  EXPECT_EQ(device.levelsSet(), (Levels{3, 4, 6, 4}));
}

TEST_F(SSTest, NeverAsksForMoreThanItsFloorAllows) {
  const struct {
    int32_t floor, temperature, request;
    const char* why;
  } cases[] = {
      {4, 42000, 3, "one below the floor"},
      {4, 43000, 4, "on the floor"},
      {4, 44000, 4, "one above the floor"},
      {4, 140000, 4, "past the table: the last entry, and then the floor"},
      {9, 140000, 9, "the floor is the last entry"},
      {20, 140000, 9, "a floor past the table"},
      {0, 44000, 0, "a floor of 0"},
      {-2, 44000, -2, "a negative floor, as a signed number"},
  };
  for (const auto& c : cases) {
    JournalDevice driven;
    Properties p;
    p.devicePerfFloor = c.floor;
    SS item = itemDriving(driven, p);
    decideAt(item, c.temperature);
    EXPECT_EQ(driven.requests["item"], c.request) << c.why;
  }
}

TEST_F(SSTest, GoesOnCountingStepsPastItsFloorAndThePastEndOfTheTable) {
  Properties p;
  p.devicePerfFloor = 4;
  SS item = itemWith(p);
  EXPECT_EQ(decideAt(item, 60000), 21u);
  EXPECT_EQ(decideAt(item, 45000), 6u);
  EXPECT_EQ(decideAt(item, 42000), 3u);
  EXPECT_EQ(device.levelsSet(), (Levels{4, 3}));
}

TEST_F(SSTest, AsksForMinusOneWithAnEmptyLevelTable) {
  Device empty("empty", "/dev/null", "integer", {});
  SS item = itemDriving(empty);
  RecordedLog log;
  decideAt(item, 40000);
  EXPECT_EQ(empty.requests["item"], -1);
  EXPECT_EQ(log.lines(),
            (Lines{"[TalmorThermal] [TalmorThermal] SS [item] temp(0->40000) status(-1)\n",
                   "[TalmorThermal] [TalmorThermal] statusApply: Level Table is Empty\n"}));
}

TEST_F(SSTest, StaysAwakeWhenItStepsBackToZero) {
  SS item = itemWith();
  item.activate();
  decideAt(item, 42000);
  EXPECT_EQ(decideAt(item, 36000), 0u);
  EXPECT_TRUE(item.active);
  EXPECT_EQ(thread.deactivations, 0);
  EXPECT_EQ(device.levelsSet(), (Levels{3, 0}));
  EXPECT_EQ(decideAt(item, 41000), 2u) << "from step 0 it counts from the set point again";
}

TEST_F(SSTest, AsksForTheLastEntryWhenItStepsBackToZeroFromAStartLevelOfZero) {
  Properties p;
  p.startLevel = 0;
  SS item = itemWith(p);
  decideAt(item, 41000);
  decideAt(item, 39000);
  EXPECT_EQ(item.status, 0u);
  EXPECT_EQ(device.levelsSet(), (Levels{1, 9}));
}

TEST_F(SSTest, AsksNothingWhileItsStepCountStays) {
  SS item = itemWith();
  decideAt(item, 42000);
  device.deviceControl("item", 7);
  int applications = 0;
  device.onApply = [&] { ++applications; };
  RecordedLog log;
  decideAt(item, 42999);
  EXPECT_EQ(device.requests["item"], 7);
  EXPECT_EQ(applications, 0);
  EXPECT_EQ(log.lines(), Lines{});
}

TEST_F(SSTest, RemembersTheTemperatureOfADecisionThatChangedNothing) {
  SS item = itemWith();
  decideAt(item, 42000);
  decideAt(item, 42900);
  EXPECT_EQ(item.prevTemp, 42900);
}

TEST_F(SSTest, StopsOnlyBelowItsClearingSetPoint) {
  const struct {
    int32_t temperature;
    bool stops;
    const char* why;
  } cases[] = {
      {35001, false, "one above"},
      {35000, false, "equal does not stop it"},
      {34999, true, "one below"},
      {INT32_MIN, true, "far below"},
  };
  for (const auto& c : cases) {
    CountingThread worker;
    SS item("item", 1000, 40000, 35000, 1, "Default", false, &sensor, &worker, &device, INT32_MAX,
            0);
    item.activate();
    decideAt(item, 42000);
    decideAt(item, c.temperature);
    EXPECT_EQ(item.active, !c.stops) << c.why;
    EXPECT_EQ(worker.deactivations, c.stops ? 1 : 0) << c.why;
    EXPECT_EQ(item.prevTemp, c.stops ? 42000 : c.temperature) << c.why;
  }
}

TEST_F(SSTest, ReleasesItsDeviceWhenItStops) {
  SS item = itemWith();
  item.activate();
  decideAt(item, 42000);
  EXPECT_EQ(decideAt(item, 34999), 0u);
  EXPECT_EQ(device.requests["item"], 0);
  EXPECT_EQ(device.levelsSet(), (Levels{3, 0}));
}

TEST_F(SSTest, LogsEachChangeWithTheRequestAndEachStop) {
  SS item = itemWith();
  RecordedLog log;
  for (const int32_t temperature : {42500, 42600, 41000, 34999, 34998})
    decideAt(item, temperature);
  EXPECT_EQ(
      log.lines(),
      (Lines{"[TalmorThermal] [TalmorThermal] SS [item] temp(0->42500) status(3)\n",
             "[TalmorThermal] [TalmorThermal] SS [item] temp(42600->41000) status(2)\n",
             "[TalmorThermal] [TalmorThermal] SS [item] temp(41000->34999) status(2 -> 0)\n",
             "[TalmorThermal] [TalmorThermal] SS [item] temp(41000->34998) status(0 -> 0)\n"}));
}

TEST_F(SSTest, LogsTheCappedRequestAndNotItsStepCount) {
  Properties p;
  p.devicePerfFloor = 2;
  SS item = itemWith(p);
  RecordedLog log;
  decideAt(item, 45000);
  EXPECT_EQ(log.lines(),
            Lines{"[TalmorThermal] [TalmorThermal] SS [item] temp(0->45000) status(2)\n"});
}

TEST_F(SSTest, LogsBeforeItAsks) {
  SS item = itemWith();
  RecordedLog log;
  size_t linesBefore = 0;
  device.onApply = [&] { linesBefore = log.lines().size(); };
  decideAt(item, 42000);
  EXPECT_EQ(linesBefore, 1u);
  decideAt(item, 34999);
  EXPECT_EQ(linesBefore, 2u);
}

TEST_F(SSTest, WritesNoLineWithLoggingOff) {
  SS item = itemWith();
  const LogSwitchedOff off;
  RecordedLog log;
  decideAt(item, 42000);
  decideAt(item, 34999);
  EXPECT_EQ(log.lines(), Lines{});
  EXPECT_EQ(device.levelsSet(), (Levels{3, 0}));
}

TEST_F(SSTest, ActsOnFallingTemperatureWhenLowactive) {
  Properties p;
  p.lowactive = true;
  p.setPoint = 5000;
  p.setPointClr = 8000;
  SS item = itemWith(p);
  item.activate();
  RecordedLog log;
  EXPECT_EQ(decideAt(item, 5000), 1u);
  EXPECT_EQ(decideAt(item, 2500), 4u);
  EXPECT_EQ(item.prevTemp, -2500);
  EXPECT_EQ(decideAt(item, 8000), 0u);
  EXPECT_TRUE(item.active) << "equal does not stop it";
  decideAt(item, 8001);
  EXPECT_FALSE(item.active);
  EXPECT_EQ(
      log.lines(),
      (Lines{"[TalmorThermal] [TalmorThermal] SS [item] temp(0->-5000) status(1)\n",
             "[TalmorThermal] [TalmorThermal] SS [item] temp(-5000->-2500) status(4)\n",
             "[TalmorThermal] [TalmorThermal] SS [item] temp(-2500->-8000) status(0)\n",
             "[TalmorThermal] [TalmorThermal] SS [item] temp(-8000->-8001) status(0 -> 0)\n"}));
}

TEST_F(SSTest, AddsALevelForEveryRunOfEqualDegreesAsLongAsItsTrigger) {
  const struct {
    uint32_t trigger;
    std::vector<uint32_t> steps; // after each decision within one degree, the first at the start
    const char* why;
  } cases[] = {
      {0, {3, 3, 3, 3, 3, 3, 3}, "0 turns the rule off"},
      {1, {3, 4, 5, 6, 7, 8, 9}, "every decision"},
      {2, {3, 3, 4, 4, 5, 5, 6}, "every second decision"},
      {3, {3, 3, 3, 4, 4, 4, 5}, "the third in a row; the added level starts a new run"},
      {UINT32_MAX, {3, 3, 3, 3, 3, 3, 3}, "a trigger that is never reached"},
  };
  for (const auto& c : cases) {
    Properties p;
    p.timeTickTrigger = c.trigger;
    SS item = itemWith(p);
    std::vector<uint32_t> steps;
    for (size_t i = 0; i < c.steps.size(); ++i)
      steps.push_back(decideAt(item, 42000 + static_cast<int32_t>(i)));
    EXPECT_EQ(steps, c.steps) << c.why;
    device.deviceControl("item", 0);
    device.statusApply();
  }
}

TEST_F(SSTest, AsksForTheAddedLevel) {
  Properties p;
  p.timeTickTrigger = 3;
  SS item = itemWith(p);
  for (int i = 0; i < 7; ++i)
    decideAt(item, 42000);
  EXPECT_EQ(device.levelsSet(), (Levels{3, 4, 5}));
}

TEST_F(SSTest, StartsItsRunAnewWithEveryStep) {
  Properties p;
  p.timeTickTrigger = 3;
  SS item = itemWith(p);
  const int32_t temperatures[] = {42000, 42100, 42200, 43000, 43100, 43200, 43300};
  std::vector<uint32_t> steps;
  for (const int32_t temperature : temperatures)
    steps.push_back(decideAt(item, temperature));
  EXPECT_EQ(steps, (std::vector<uint32_t>{3, 3, 3, 4, 4, 4, 5}));
}

TEST_F(SSTest, CountsARunOnlyWhileTheDeviceIsNotPastItsFloor) {
  const struct {
    int32_t currentLevel;
    uint32_t ticks;
    const char* why;
  } cases[] = {
      {3, 1, "one below the floor"},
      {4, 1, "on the floor"},
      {5, 0, "another requester drives the device past the floor"},
  };
  for (const auto& c : cases) {
    Properties p;
    p.timeTickTrigger = 3;
    p.devicePerfFloor = 4;
    SS item = itemWith(p);
    decideAt(item, 40000);
    device.deviceControl("other", c.currentLevel);
    device.statusApply();
    decideAt(item, 40000);
    EXPECT_EQ(item.tickCount, c.ticks) << c.why;
  }
}

TEST_F(SSTest, ForgetsItsRunWhenTheDeviceIsDrivenPastItsFloor) {
  Properties p;
  p.timeTickTrigger = 3;
  p.devicePerfFloor = 4;
  SS item = itemWith(p);
  for (int i = 0; i < 3; ++i)
    decideAt(item, 40000);
  EXPECT_EQ(item.tickCount, 2u);
  device.deviceControl("other", 5);
  device.statusApply();
  EXPECT_EQ(decideAt(item, 40000), 1u);
  EXPECT_EQ(item.tickCount, 0u);
}

TEST_F(SSTest, WindsUpWhileItIsStuckAtItsFloor) {
  Properties p;
  p.timeTickTrigger = 1;
  p.devicePerfFloor = 3;
  SS item = itemWith(p);
  for (int i = 0; i < 5; ++i)
    decideAt(item, 42000);
  EXPECT_EQ(item.status, 7u);
  EXPECT_EQ(device.levelsSet(), Levels{3});
}

TEST_F(SSTest, NeverTouchesItsRunWhenTheRuleIsOff) {
  SS item = itemWith();
  decideAt(item, 42000);
  item.tickCount = 5;
  decideAt(item, 42000);
  EXPECT_EQ(item.tickCount, 5u);
}

TEST_F(SSTest, PassesItsTriggerWithoutASecondLevelInOneRun) {
  Properties p;
  p.timeTickTrigger = 3;
  SS item = itemWith(p);
  decideAt(item, 42000);
  item.tickCount = 3;
  EXPECT_EQ(decideAt(item, 42000), 3u);
  EXPECT_EQ(item.tickCount, 4u);
}

TEST_F(SSTest, ReleasesItsDeviceAlsoWhenItIsDeactivatedAtStepZero) {
  SS item = itemWith();
  item.activate();
  device.deviceControl("item", 7);
  int applications = 0;
  device.onApply = [&] { ++applications; };
  item.deactivate();
  EXPECT_EQ(device.requests["item"], 0);
  EXPECT_EQ(applications, 1);
  EXPECT_FALSE(item.active);
  EXPECT_EQ(thread.deactivations, 1);
}

TEST_F(SSTest, IsAsleepByTheTimeItReleasesItsDevice) {
  SS item = itemWith();
  item.activate();
  decideAt(item, 42000);
  device.onApply = [&] { EXPECT_FALSE(item.active); };
  item.deactivate();
  EXPECT_EQ(device.levelsSet(), (Levels{3, 0}));
}

TEST_F(SSTest, KeepsItsPreviousTemperatureButNotItsCountsWhenItIsDeactivated) {
  Properties p;
  p.timeTickTrigger = 5;
  SS item = itemWith(p);
  item.activate();
  decideAt(item, 42000);
  decideAt(item, 42500);
  ASSERT_EQ(item.tickCount, 1u);
  item.deactivate();
  EXPECT_EQ(item.status, 0u);
  EXPECT_EQ(item.tickCount, 0u);
  EXPECT_EQ(item.prevTemp, 42500);
}

TEST_F(SSTest, CountsFromItsSetPointAgainAfterItSlept) {
  SS item = itemWith();
  item.activate();
  decideAt(item, 45000);
  decideAt(item, 30000);
  item.activate();
  EXPECT_EQ(decideAt(item, 41000), 2u);
}

TEST_F(SSTest, WithdrawsWhatItPostedWhileItWasPutToSleep) {
  SS item = itemWith();
  item.activate();
  decideAt(item, 42000);
  // As the sensor's thread may do in a scenario change, in the middle of the decision.
  device.onApply = [&] {
    device.onApply = [] {};
    item.deactivate();
    device.deviceControl("item", 5);
  };
  decideAt(item, 44000);
  item.withdrawIfAsleep();
  EXPECT_EQ(item.status, 0u);
  EXPECT_FALSE(item.active);
  EXPECT_EQ(thread.deactivations, 1);
  EXPECT_EQ(device.requests["item"], 0);
  EXPECT_EQ(device.currentLevel, 0);
}

TEST_F(SSTest, WithdrawsNothingAfterADecisionThatPostedNothing) {
  SS item = itemWith();
  item.activate();
  decideAt(item, 42000);
  item.withdrawIfAsleep();
  // As the sensor's thread may do in a scenario change, in a decision at the same degree.
  item.deactivate();
  device.deviceControl("item", 7);
  item.withdrawIfAsleep();
  EXPECT_EQ(device.requests["item"], 7) << "a namesake's";
}

TEST_F(SSTest, LeavesTheRequestToANamesakeOfTheScenarioThatHasComeInForce) {
  SS earlier = itemWith();
  SS later("item", 1000, 40000, 38000, 1, "game", false, &sensor, &thread, &device, 9, 0);
  earlier.activate();
  decideAt(earlier, 42000);
  sensor.changeScenario("game");
  later.activate();
  decideAt(later, 44000);
  earlier.deactivate();
  EXPECT_EQ(device.levelsSet(), (Levels{3, 5}));
  later.deactivate();
  EXPECT_EQ(device.levelsSet(), (Levels{3, 5, 0}));
}

TEST_F(SSTest, IsUndecidedUntilItsFirstDecision) {
  SS item = itemWith();
  item.activate();
  EXPECT_FALSE(item.undecided) << "only who wakes it can tell";
  item.undecided = true;
  decideAt(item, 42000);
  EXPECT_FALSE(item.undecided);
  item.undecided = true;
  decideAt(item, 0);
  EXPECT_FALSE(item.undecided) << "a decision to stop is one, too";
}

} // namespace
