#include "algo/Monitor.h"

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

constexpr bool kLowactive = true;

// A monitor with three levels; level i drives `big` to i, level 2 also `gpu` to 5.
class MonitorTest : public ::testing::Test {
protected:
  Monitor monitorOf(const Monitor::DeviceRows& actions, const Monitor::LevelRows& actionInfo,
                    const Levels& thresholds = {50000, 60000, 70000},
                    const Levels& thresholdsClr = {45000, 55000, 65000}, bool lowactive = false) {
    return {"item",  1000,    thresholds[0], thresholdsClr[0], "Default",  lowactive,
            &sensor, &thread, actions,       actionInfo,       thresholds, thresholdsClr};
  }
  Monitor plainMonitor() { return monitorOf({{&big}, {&big, &gpu}, {&big}}, {{1}, {2, 5}, {3}}); }

  // One decision at a temperature; the level after it.
  uint32_t decideAt(Monitor& monitor, int32_t temperature) {
    sensor.temperature = temperature;
    EXPECT_EQ(monitor.decision(), 0);
    return monitor.status;
  }

  CountingThread thread;
  FixedSensor sensor{"cpu"};
  JournalDevice big{"big"};
  JournalDevice gpu{"gpu"};
};

TEST_F(MonitorTest, TakesItsPropertiesAndRegistersWithItsSensor) {
  Monitor monitor("item", 500, 50000, 45000, "game", false, &sensor, &thread, {{&big}, {nullptr}},
                  {{1}, {2, 3}}, {50000, 60000}, {45000, 55000});
  EXPECT_EQ(monitor.name, "item");
  EXPECT_EQ(monitor.sampling, 500u);
  EXPECT_EQ(monitor.startTemp, 50000);
  EXPECT_EQ(monitor.clearTemp, 45000);
  EXPECT_EQ(monitor.status, 0u);
  EXPECT_FALSE(monitor.active);
  EXPECT_FALSE(monitor.old);
  EXPECT_FALSE(monitor.lowactive);
  EXPECT_EQ(monitor.sensor, &sensor);
  EXPECT_EQ(monitor.thread, &thread);
  EXPECT_EQ(monitor.thresholds, (Levels{50000, 60000}));
  EXPECT_EQ(monitor.thresholdsClr, (Levels{45000, 55000}));
  EXPECT_EQ(monitor.actions, (Monitor::DeviceRows{{&big}, {nullptr}}));
  EXPECT_EQ(monitor.actionInfo, (Monitor::LevelRows{{1}, {2, 3}}));
  EXPECT_EQ(sensor.algorithms["game"], std::vector<Algo*>{&monitor});
  EXPECT_EQ(thread.activations, 0);
}

TEST_F(MonitorTest, StoresAllItsTemperaturesNegatedWhenLowactive) {
  const Monitor monitor = monitorOf({}, {}, {5000, 0, INT32_MIN}, {8000, -3000}, kLowactive);
  EXPECT_TRUE(monitor.lowactive);
  EXPECT_EQ(monitor.startTemp, -5000);
  EXPECT_EQ(monitor.clearTemp, -8000);
  EXPECT_EQ(monitor.thresholds, (Levels{-5000, 0, INT32_MIN}));
  EXPECT_EQ(monitor.thresholdsClr, (Levels{-8000, 3000}));
}

TEST_F(MonitorTest, MovesBetweenItsLevelsByTheThresholds) {
  const struct {
    int32_t reachedAt; // the temperature of the decision that gives the first level
    uint32_t from;
    int32_t temperature;
    uint32_t to;
    const char* why;
  } cases[] = {
      {0, 0, 49999, 0, "one below the first threshold"},
      {0, 0, 50000, 1, "on the first threshold"},
      {0, 0, 50001, 1, "one above the first threshold"},
      {0, 0, 59999, 1, "one below the second threshold"},
      {0, 0, 60000, 2, "jumps over level 1; equality counts as reached"},
      {0, 0, 70000, 3, "jumps over two levels"},
      {0, 0, INT32_MAX, 3, "the highest temperature"},
      {0, 0, INT32_MIN, 0, "the lowest temperature"},
      {50000, 1, 59999, 1, "one below the next level"},
      {50000, 1, 60000, 2, "on the next level"},
      {50000, 1, 69999, 2, "one below the level after the next"},
      {50000, 1, 70000, 3, "rises by two levels at once"},
      {50000, 1, 45001, 1, "one above the clearing threshold"},
      {50000, 1, 45000, 1, "on the clearing threshold"},
      {50000, 1, 44999, 0, "one below the clearing threshold"},
      {60000, 2, 56000, 2, "held: above its clearing threshold, below the next level"},
      {60000, 2, 55000, 2, "on the clearing threshold"},
      {60000, 2, 54999, 1, "one below the clearing threshold"},
      {60000, 2, 45000, 1, "on the clearing threshold of the level below"},
      {60000, 2, 44999, 0, "below all clearing thresholds"},
      {60000, 2, 40000, 0, "falls by two levels at once"},
      {70000, 3, 65000, 3, "on the top level's clearing threshold"},
      {70000, 3, 64999, 2, "one below the top level's clearing threshold"},
      {70000, 3, 54999, 1, "falls by two levels at once"},
      {70000, 3, 0, 0, "falls by three levels at once"},
      {70000, 3, 71000, 3, "a further rise at the top level changes nothing"},
      {70000, 3, INT32_MAX, 3, "nor does the highest temperature"},
  };
  for (const auto& c : cases) {
    Monitor monitor = plainMonitor();
    ASSERT_EQ(decideAt(monitor, c.reachedAt), c.from) << c.why;
    EXPECT_EQ(decideAt(monitor, c.temperature), c.to) << c.why;
  }
}

TEST_F(MonitorTest, StopsItsScanAtTheFirstThresholdThatIsNotReached) {
  const struct {
    Levels thresholds, thresholdsClr;
    int32_t first, second;
    uint32_t from, to;
    const char* why;
  } cases[] = {
      {{50000, 80000, 60000}, {45000, 55000, 58000}, 0, 70000, 0, 1, "a dip behind is not seen"},
      {{50000, 60000, 70000},
       {45000, 20000, 65000},
       70000,
       40000,
       3,
       0,
       "a dip in the clearing thresholds is not seen either"},
      {{50000, 60000},
       {45000, 65000},
       62000,
       62000,
       2,
       1,
       "a clearing threshold above its threshold lowers the level at once"},
      {{50000, 50000, 50000}, {45000, 45000, 45000}, 0, 50000, 0, 3, "equal thresholds"},
  };
  for (const auto& c : cases) {
    Monitor monitor = monitorOf({}, {}, c.thresholds, c.thresholdsClr);
    ASSERT_EQ(decideAt(monitor, c.first), c.from) << c.why;
    EXPECT_EQ(decideAt(monitor, c.second), c.to) << c.why;
  }
}

TEST_F(MonitorTest, ActsOnFallingTemperatureWhenLowactive) {
  const struct {
    int32_t first, second;
    uint32_t from, to;
    const char* why;
  } cases[] = {
      {20000, 5001, 0, 0, "one above the threshold"},
      {20000, 5000, 0, 1, "on the threshold"},
      {20000, 4999, 0, 1, "one below the threshold"},
      {20000, -10000, 0, 2, "on the second, frosty threshold"},
      {5000, 8000, 1, 1, "on the clearing threshold"},
      {5000, 8001, 1, 0, "one above the clearing threshold"},
      {-10000, -7000, 2, 2, "held at the second level"},
      {-10000, -6999, 2, 1, "one above its clearing threshold"},
      {20000, INT32_MIN, 0, 0, "the lowest temperature wraps around to itself"},
      {-10000, INT32_MAX, 2, 0, "the highest temperature"},
  };
  for (const auto& c : cases) {
    Monitor monitor = monitorOf({}, {}, {5000, -10000}, {8000, -7000}, kLowactive);
    ASSERT_EQ(decideAt(monitor, c.first), c.from) << c.why;
    EXPECT_EQ(decideAt(monitor, c.second), c.to) << c.why;
  }
}

TEST_F(MonitorTest, LogsEveryDecisionAlsoWithoutAChange) {
  Monitor monitor = plainMonitor();
  RecordedLog log;
  for (const int32_t temperature : {0, 60000, 60001, 54999, -1000})
    decideAt(monitor, temperature);
  EXPECT_EQ(log.lines(),
            (Lines{"[TalmorThermal] [TalmorThermal] Monitor [item] temp(0) status(0 -> 0)\n",
                   "[TalmorThermal] [TalmorThermal] Monitor [item] temp(60000) status(0 -> 2)\n",
                   "[TalmorThermal] [TalmorThermal] Monitor [item] temp(60001) status(2 -> 2)\n",
                   "[TalmorThermal] [TalmorThermal] Monitor [item] temp(54999) status(2 -> 1)\n",
                   "[TalmorThermal] [TalmorThermal] Monitor [item] temp(-1000) status(1 -> 0)\n"}));
}

TEST_F(MonitorTest, LogsTheNegatedTemperatureWhenLowactive) {
  Monitor monitor = monitorOf({{&big}}, {{1}}, {5000}, {8000}, kLowactive);
  RecordedLog log;
  decideAt(monitor, 5000);
  EXPECT_EQ(log.lines(),
            Lines{"[TalmorThermal] [TalmorThermal] Monitor [item] temp(-5000) status(0 -> 1)\n"});
}

TEST_F(MonitorTest, WritesNoLineWithLoggingOff) {
  Monitor monitor = plainMonitor();
  const LogSwitchedOff off;
  RecordedLog log;
  EXPECT_EQ(decideAt(monitor, 60000), 2u);
  EXPECT_EQ(decideAt(monitor, 0), 0u);
  EXPECT_EQ(log.lines(), Lines{});
}

TEST_F(MonitorTest, AsksEachDeviceOfALevelForItsOwnLevelUnderTheItemsName) {
  Monitor monitor = plainMonitor();
  decideAt(monitor, 60000);
  EXPECT_EQ(big.requests, (std::map<std::string, int32_t>{{"item", 2}}));
  EXPECT_EQ(gpu.requests, (std::map<std::string, int32_t>{{"item", 5}}));
  EXPECT_EQ(big.levelsSet(), Levels{2});
  EXPECT_EQ(gpu.levelsSet(), Levels{5});
}

TEST_F(MonitorTest, MovesADeviceOfBothLevelsStraightFromOneToTheOther) {
  Monitor monitor = plainMonitor();
  decideAt(monitor, 50000);
  decideAt(monitor, 60000);
  decideAt(monitor, 70000);
  decideAt(monitor, 54999);
  EXPECT_EQ(big.levelsSet(), (Levels{1, 2, 3, 1}));
}

TEST_F(MonitorTest, ReleasesADeviceThatTheNewLevelDoesNotDrive) {
  Monitor monitor = plainMonitor();
  decideAt(monitor, 60000);
  decideAt(monitor, 70000);
  EXPECT_EQ(gpu.requests["item"], 0);
  EXPECT_EQ(gpu.levelsSet(), (Levels{5, 0}));
}

TEST_F(MonitorTest, AppliesTheOldLevelsDevicesAndThenTheNewOnesOnceAllIsPosted) {
  Monitor monitor =
      monitorOf({{&gpu, &big}, {&big}}, {{1, 1}, {2}}, {50000, 60000}, {45000, 55000});
  decideAt(monitor, 50000);
  Lines applied;
  const auto note = [&](JournalDevice& device) {
    applied.push_back(device.name + ", asked: gpu " + std::to_string(gpu.requests["item"]) +
                      ", big " + std::to_string(big.requests["item"]));
  };
  big.onApply = [&] { note(big); };
  gpu.onApply = [&] { note(gpu); };
  decideAt(monitor, 60000);
  EXPECT_EQ(applied, (Lines{"gpu, asked: gpu 0, big 2", "big, asked: gpu 0, big 2",
                            "big, asked: gpu 0, big 2"}));
}

TEST_F(MonitorTest, AppliesOnlyTheNewLevelsDevicesWhenItLeavesLevelZero) {
  Monitor monitor = plainMonitor();
  int applications = 0;
  big.onApply = [&] { ++applications; };
  decideAt(monitor, 50000);
  EXPECT_EQ(applications, 1);
}

TEST_F(MonitorTest, PostsAndAppliesNothingWhileItsLevelStays) {
  Monitor monitor = plainMonitor();
  decideAt(monitor, 60000);
  int applications = 0;
  big.onApply = gpu.onApply = [&] { ++applications; };
  big.deviceControl("item", 9);
  decideAt(monitor, 61000);
  EXPECT_EQ(big.requests["item"], 9);
  EXPECT_EQ(applications, 0);
}

TEST_F(MonitorTest, ReleasesItsDevicesAndSleepsAtLevelZero) {
  Monitor monitor = plainMonitor();
  monitor.activate();
  decideAt(monitor, 60000);
  decideAt(monitor, 40000);
  EXPECT_EQ(big.requests["item"], 0);
  EXPECT_EQ(gpu.requests["item"], 0);
  EXPECT_EQ(big.levelsSet(), (Levels{2, 0}));
  EXPECT_EQ(gpu.levelsSet(), (Levels{5, 0}));
  EXPECT_EQ(monitor.status, 0u);
  EXPECT_FALSE(monitor.active);
  EXPECT_EQ(thread.deactivations, 1);
}

TEST_F(MonitorTest, StaysAwakeWhileItHoldsALevel) {
  Monitor monitor = plainMonitor();
  monitor.activate();
  for (const int32_t temperature : {50000, 70000, 54999, 45000})
    decideAt(monitor, temperature);
  EXPECT_TRUE(monitor.active);
  EXPECT_EQ(thread.activations, 1);
  EXPECT_EQ(thread.deactivations, 0);
}

TEST_F(MonitorTest, StaysMarkedActiveWhenItIsDeactivatedAtLevelZero) {
  Monitor monitor = plainMonitor();
  monitor.activate();
  decideAt(monitor, 40000);
  monitor.deactivate();
  EXPECT_TRUE(monitor.active);
  EXPECT_EQ(thread.deactivations, 0);
  EXPECT_TRUE(big.requests.empty());
}

TEST_F(MonitorTest, IsAsleepByTheTimeItReleasesItsDevices) {
  Monitor monitor = plainMonitor();
  monitor.activate();
  decideAt(monitor, 50000);
  big.onApply = [&] { EXPECT_FALSE(monitor.active); };
  monitor.deactivate();
  EXPECT_EQ(big.currentLevel, 0);
}

TEST_F(MonitorTest, ReleasesItsLevelWhenItIsDeactivatedFromOutside) {
  Monitor monitor = plainMonitor();
  monitor.activate();
  decideAt(monitor, 60000);
  monitor.deactivate();
  EXPECT_EQ(monitor.status, 0u);
  EXPECT_FALSE(monitor.active);
  EXPECT_EQ(thread.deactivations, 1);
  EXPECT_EQ(big.levelsSet(), (Levels{2, 0}));
  EXPECT_EQ(gpu.levelsSet(), (Levels{5, 0}));
}

TEST_F(MonitorTest, WithdrawsFromAllItsDevicesBeforeItAppliesAny) {
  Monitor monitor = plainMonitor();
  monitor.activate();
  decideAt(monitor, 60000);
  Levels gpuRequests;
  big.onApply = [&] { gpuRequests.push_back(gpu.requests["item"]); };
  monitor.deactivate();
  EXPECT_EQ(gpuRequests, Levels{0});
}

TEST_F(MonitorTest, IsWokenAgainAfterItSlept) {
  Monitor monitor = plainMonitor();
  sensor.temperature = 50000;
  sensor.traversItems();
  decideAt(monitor, 50000);
  decideAt(monitor, 0);
  sensor.temperature = 60000;
  sensor.traversItems();
  EXPECT_TRUE(monitor.active);
  EXPECT_EQ(decideAt(monitor, 60000), 2u);
  EXPECT_EQ(thread.activations, 2);
}

TEST_F(MonitorTest, DrivesNothingAtALevelWithoutARow) {
  const struct {
    Monitor::DeviceRows actions;
    Monitor::LevelRows actionInfo;
    const char* why;
  } cases[] = {
      {{{&big}}, {{1}, {2}, {3}}, "no devices for level 3"},
      {{{&big}, {&big}, {&big}}, {{1}}, "no device levels for level 3"},
      {{}, {}, "no rows at all"},
      {{{&big}, {&big}, {}}, {{1}, {2}, {}}, "an empty row"},
  };
  for (const auto& c : cases) {
    Monitor monitor = monitorOf(c.actions, c.actionInfo);
    EXPECT_EQ(decideAt(monitor, 70000), 3u) << c.why;
    EXPECT_TRUE(big.levelsSet().empty()) << c.why;
    EXPECT_EQ(decideAt(monitor, 0), 0u) << c.why;
  }
}

TEST_F(MonitorTest, ReleasesTheOldLevelWhereTheNewOneHasNoRow) {
  Monitor monitor = monitorOf({{&big}}, {{1}});
  decideAt(monitor, 50000);
  EXPECT_EQ(decideAt(monitor, 70000), 3u);
  EXPECT_EQ(big.levelsSet(), (Levels{1, 0}));
  EXPECT_EQ(decideAt(monitor, 45000), 1u);
  EXPECT_EQ(big.levelsSet(), (Levels{1, 0, 1}));
}

TEST_F(MonitorTest, AsksNothingOfADeviceWithoutAnEntry) {
  Monitor monitor = monitorOf({{&big, &gpu}}, {{4}}, {50000}, {45000});
  decideAt(monitor, 50000);
  EXPECT_EQ(big.levelsSet(), Levels{4});
  EXPECT_TRUE(gpu.requests.empty());
  decideAt(monitor, 0);
  EXPECT_EQ(big.levelsSet(), (Levels{4, 0}));
}

TEST_F(MonitorTest, IgnoresAnEntryWithoutADevice) {
  Monitor monitor = monitorOf({{&big}}, {{4, 9, 9}}, {50000}, {45000});
  decideAt(monitor, 50000);
  EXPECT_EQ(big.levelsSet(), Levels{4});
}

TEST_F(MonitorTest, SkipsANullDeviceButKeepsTheOthersAtTheirEntries) {
  Monitor monitor = monitorOf({{nullptr, &big, nullptr, &gpu}}, {{1, 2, 3, 4}}, {50000}, {45000});
  decideAt(monitor, 50000);
  decideAt(monitor, 0);
  EXPECT_EQ(big.levelsSet(), (Levels{2, 0}));
  EXPECT_EQ(gpu.levelsSet(), (Levels{4, 0}));
}

TEST_F(MonitorTest, LetsTheLastEntryOfADeviceNamedTwiceCount) {
  Monitor monitor = monitorOf({{&big, &big}}, {{4, 2}}, {50000}, {45000});
  decideAt(monitor, 50000);
  EXPECT_EQ(big.levelsSet(), Levels{2});
}

TEST_F(MonitorTest, TakesTheThresholdForAMissingClearingThreshold) {
  const struct {
    int32_t first, second;
    uint32_t from, to;
    const char* why;
  } cases[] = {
      {70000, 70000, 3, 3, "on the threshold"},
      {70000, 69999, 3, 2, "one below it, and on or above that of level 2"},
      {70000, 59999, 3, 1, "below that of level 2"},
      {60000, 59999, 2, 1, "one below the missing one of level 2"},
      {50000, 44999, 1, 0, "the one that is there counts for level 1"},
      {70000, 44999, 3, 0, "and ends the scan from above, too"},
  };
  for (const auto& c : cases) {
    Monitor monitor = monitorOf({}, {}, {50000, 60000, 70000}, {45000});
    ASSERT_EQ(decideAt(monitor, c.first), c.from) << c.why;
    EXPECT_EQ(decideAt(monitor, c.second), c.to) << c.why;
  }
}

TEST_F(MonitorTest, IgnoresClearingThresholdsWithoutALevel) {
  Monitor monitor = monitorOf({{&big}}, {{1}}, {50000}, {45000, 1000, 2000});
  EXPECT_EQ(decideAt(monitor, 50000), 1u);
  EXPECT_EQ(decideAt(monitor, 44999), 0u);
}

TEST_F(MonitorTest, HandsANegativeEntryToTheDeviceAsItIs) {
  Monitor monitor = monitorOf({{&big}}, {{-3}}, {50000}, {45000});
  decideAt(monitor, 50000);
  EXPECT_EQ(big.requests["item"], -3);
  EXPECT_TRUE(big.levelsSet().empty());
}

TEST_F(MonitorTest, WithdrawsWhatItPostedWhileItWasPutToSleep) {
  Monitor monitor = plainMonitor();
  monitor.activate();
  decideAt(monitor, 50000);
  // As the sensor's thread may do in a scenario change, in the middle of the decision.
  big.onApply = [&] {
    big.onApply = [] {};
    monitor.deactivate();
  };
  decideAt(monitor, 60000);
  monitor.withdrawIfAsleep();
  EXPECT_EQ(monitor.status, 0u);
  EXPECT_FALSE(monitor.active);
  EXPECT_EQ(thread.deactivations, 1);
  EXPECT_EQ(big.requests["item"], 0);
  EXPECT_EQ(gpu.requests["item"], 0);
  EXPECT_EQ(big.currentLevel, 0);
  EXPECT_EQ(gpu.currentLevel, 0);
}

TEST_F(MonitorTest, LowersTheCountOnceWhenItIsPutToSleepWhileItFallsToLevelZero) {
  Monitor monitor = plainMonitor();
  monitor.activate();
  decideAt(monitor, 60000);
  big.onApply = [&] {
    big.onApply = [] {};
    monitor.deactivate();
  };
  EXPECT_EQ(decideAt(monitor, 0), 0u);
  EXPECT_EQ(thread.deactivations, 1);
  EXPECT_EQ(big.currentLevel, 0);
}

TEST_F(MonitorTest, LeavesTheRequestToANamesakeOfTheScenarioThatHasComeInForce) {
  Monitor earlier = monitorOf({{&big}}, {{1}}, {50000}, {45000});
  Monitor later("item", 1000, 50000, 45000, "game", false, &sensor, &thread, {{&big}}, {{3}},
                {50000}, {45000});
  earlier.activate();
  decideAt(earlier, 50000);
  sensor.changeScenario("game");
  later.activate();
  decideAt(later, 50000);
  earlier.deactivate();
  EXPECT_EQ(big.levelsSet(), (Levels{1, 3}));
  later.deactivate();
  EXPECT_EQ(big.levelsSet(), (Levels{1, 3, 0}));
}

// A monitor that its scenario left awake at level 0, and a namesake of the scenario in force since.
class LeftAwakeMonitorTest : public MonitorTest {
protected:
  LeftAwakeMonitorTest() {
    sensor.temperature = 50000;
    sensor.traversItems();
    decideAt(waiting, 40000);
    enter("game");
    EXPECT_TRUE(waiting.active);
  }

  // As the sensor's thread does, but for the algorithms that are to be put to sleep.
  void enter(const std::string& scenario) {
    sensor.temperature = 50000;
    sensor.changeScenario(scenario);
    sensor.traversItems();
    sensor.oldScenario = scenario;
  }
  int applied() {
    int count = 0;
    std::swap(count, applications);
    return count;
  }

  Monitor waiting = monitorOf({{&big, &gpu}}, {{1, 4}}, {50000}, {45000});
  Monitor namesake{"item",  1000,    50000,    45000, "game",  false,
                   &sensor, &thread, {{&big}}, {{3}}, {50000}, {45000}};
  int applications = 0;
};

TEST_F(LeftAwakeMonitorTest, SetsItsRequestThoughItsScenarioIsNotInForce) {
  decideAt(namesake, 50000);
  namesake.deactivate();
  decideAt(waiting, 50000);
  EXPECT_EQ(big.levelsSet(), (Levels{3, 0, 1}));
  waiting.deactivate();
  EXPECT_EQ(big.levelsSet(), (Levels{3, 0, 1, 0}));
}

TEST_F(LeftAwakeMonitorTest, AsksOnceMoreAtItsScenariosReturnForWhatItsNamesakeHasTakenAway) {
  decideAt(waiting, 50000);
  decideAt(namesake, 50000);
  namesake.deactivate();
  EXPECT_EQ(big.levelsSet(), (Levels{1, 3, 0}));
  decideAt(waiting, 50000);
  EXPECT_EQ(big.levelsSet(), (Levels{1, 3, 0})) << "not before the return";
  enter("Default");
  decideAt(waiting, 50000);
  EXPECT_EQ(big.levelsSet(), (Levels{1, 3, 0, 1}));
  waiting.deactivate();
  EXPECT_EQ(big.levelsSet(), (Levels{1, 3, 0, 1, 0}));
}

TEST_F(LeftAwakeMonitorTest, HoldsItsRequestAgainstTheNamesakeThatRetires) {
  decideAt(waiting, 50000);
  decideAt(namesake, 50000);
  sensor.changeScenario("Default");
  decideAt(waiting, 50000);
  namesake.deactivate();
  EXPECT_EQ(big.levelsSet(), (Levels{1, 3, 1}));
}

TEST_F(LeftAwakeMonitorTest, AppliesOnlyWhatIsTakenAwayAtItsScenariosReturn) {
  decideAt(waiting, 50000);
  decideAt(namesake, 50000);
  enter("Default");
  big.onApply = [this] { ++applications; };
  gpu.onApply = [] { ADD_FAILURE() << "this device still has its request"; };
  decideAt(waiting, 50000);
  EXPECT_EQ(applied(), 1);
  decideAt(waiting, 50000);
  EXPECT_EQ(applied(), 0) << "once";
}

TEST_F(LeftAwakeMonitorTest, DoesNothingAtItsScenariosReturnWhereItStillHasItsRequests) {
  decideAt(waiting, 50000);
  enter("Default");
  big.onApply = [] { ADD_FAILURE() << "applied"; };
  gpu.onApply = big.onApply;
  decideAt(waiting, 50000);
  EXPECT_EQ(waiting.status, 1u);
  big.onApply = gpu.onApply = [] {};
}

TEST_F(LeftAwakeMonitorTest, DoesNothingWhileItsLevelStaysWhateverItsNamesakeDoes) {
  enter("Default");
  decideAt(waiting, 50000);
  decideAt(namesake, 50000);
  namesake.inForce = true; // both of one scenario: the later post holds
  namesake.deactivate();
  decideAt(waiting, 50000);
  EXPECT_EQ(big.levelsSet(), (Levels{1, 3, 0}));
}

TEST_F(LeftAwakeMonitorTest, LeavesNothingBehindWhenItIsPutToSleepAsItAsksOnceMore) {
  decideAt(waiting, 50000);
  decideAt(namesake, 50000);
  namesake.deactivate();
  enter("Default");
  big.onApply = [this] {
    big.onApply = [] {};
    waiting.deactivate();
    // As if that had come before the post.
    big.deviceControl(waiting, 1);
  };
  decideAt(waiting, 50000);
  waiting.withdrawIfAsleep();
  EXPECT_EQ(big.requests["item"], 0);
  EXPECT_EQ(big.currentLevel, 0);
  EXPECT_EQ(waiting.status, 0u);
}

TEST_F(MonitorTest, IsUndecidedUntilItsFirstDecision) {
  Monitor monitor = plainMonitor();
  monitor.activate();
  EXPECT_FALSE(monitor.undecided) << "only who wakes it can tell";
  monitor.undecided = true;
  decideAt(monitor, 60000);
  EXPECT_FALSE(monitor.undecided);
}

} // namespace
