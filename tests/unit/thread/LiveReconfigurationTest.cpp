#include <algorithm>
#include <string>

#include <gtest/gtest.h>

#include "algo/Monitor.h"
#include "support/LiveBoard.h"
#include "support/LogSwitchedOff.h"
#include "support/RecordedLog.h"
#include "thread/Scenario.h"

// The swap of a whole configuration under running sensors, algorithms and devices.

namespace {

using Lines = std::vector<std::string>;
using Names = std::vector<std::string>;
using Levels = std::vector<int32_t>;

constexpr int32_t kHot = 60000;
constexpr int32_t kCold = 20000;
constexpr char kBoard[] = "[cpu]\ntype real\nsampling 5\nnode_path @cpu\n\n"
                          "[skin]\ntype real\nsampling 6\nnode_path @skin\n\n"
                          "[gpu]\ntype gpufreq\nlevel_table 0 1 2 3 4 5 6 7 8 9\n";

std::string monitor(const std::string& name, int level, int sampling = 5,
                    const std::string& sensor = "cpu") {
  return "[" + name + "]\nalgo_type monitor\nsensor " + sensor + "\nsampling " +
         std::to_string(sampling) +
         "\nthresholds 50000\nthresholds_clr 45000\nactions gpu\naction_info " +
         std::to_string(level) + "\n]\n";
}

// At `kHot` it is eleven steps up, and so at its floor.
std::string ss(const std::string& name, int startLevel, int floor, int sampling = 5) {
  return "[" + name + "]\nalgo_type ss\nsensor cpu\ndevice gpu\nsampling " +
         std::to_string(sampling) + "\nset_point 50000\nset_point_clr 45000\nstart_level " +
         std::to_string(startLevel) + "\ndevice_perf_floor " + std::to_string(floor) + "\n]\n";
}

std::string scenario(const std::string& name, const std::string& items) {
  return "SCEN " + name + "\n" + items;
}

template <typename Map> Names keysOf(const Map& map) {
  Names keys;
  for (const auto& [key, value] : map)
    keys.push_back(key);
  return keys;
}

template <typename Worker> Names itemsOf(const Worker& worker) {
  Names names;
  for (const auto* item : worker.items)
    names.push_back(item->name);
  return names;
}

class LiveReconfigurationTest : public ::testing::Test {
protected:
  // Without items, so that the device can still be one that keeps its history.
  LiveReconfigurationTest() : gpu(board.journalDevice("gpu")) { board.start(); }

  ThermalMain& main() { return board.main(); }
  void swapTo(const std::string& configuration) {
    const std::string name = "swap" + std::to_string(swaps++) + ".conf";
    board.files.write("config/" + name, configuration);
    board.swapTo(name);
  }
  void awaitLevel(int32_t level) {
    ASSERT_TRUE(eventually([=] { return gpu.currentLevel == level; })) << level;
  }
  // The threads that the daemon started; those of the sensors are the board's own.
  Names algoThreads() {
    Names names;
    for (const auto& [name, thread] : main().threads)
      if (thread) names.push_back(name);
    return names;
  }
  Names registeredFor(const std::string& sensor, const std::string& scenarioName) {
    Names names;
    for (const Algo* algo : board.sensor(sensor).algorithms.at(scenarioName))
      names.push_back(algo->name);
    return names;
  }

  LiveBoard board{kBoard};
  JournalDevice& gpu;
  int swaps = 0;
};

TEST_F(LiveReconfigurationTest, PutsTheFirstItemsOfAnEmptyBoardToWork) {
  swapTo(scenario("Default", monitor("item", 3)));
  EXPECT_EQ(keysOf(main().monitorThreads), Names{"5DefaultMONITOR"});
  EXPECT_EQ(algoThreads(), Names{"5DefaultMONITOR"});
  board.bringTo("cpu", kHot);
  awaitLevel(3);
  board.bringTo("cpu", kCold);
  awaitLevel(0);
}

TEST_F(LiveReconfigurationTest, KeepsAWorkerWhoseKeyIsDeclaredAgainWithTheNewItemsAlone) {
  swapTo(scenario("Default", monitor("a", 1) + monitor("b", 2) + ss("c", 1, 1)));
  const MonitorThread* monitors = main().monitorThreads.at("5DefaultMONITOR");
  const SSThread* sss = main().ssThreads.at("5DefaultSS");
  const std::thread* thread = main().threads.at("5DefaultMONITOR");
  swapTo(scenario("Default", monitor("x", 3) + ss("y", 1, 1) + monitor("z", 4)));
  EXPECT_EQ(main().monitorThreads.at("5DefaultMONITOR"), monitors);
  EXPECT_EQ(main().ssThreads.at("5DefaultSS"), sss);
  EXPECT_EQ(main().threads.at("5DefaultMONITOR"), thread);
  EXPECT_EQ(itemsOf(*monitors), (Names{"x", "z"}));
  EXPECT_EQ(itemsOf(*sss), Names{"y"});
  EXPECT_EQ(registeredFor("cpu", "Default"), (Names{"x", "y", "z"}));
  EXPECT_FALSE(monitors->stopRequested);
  board.bringTo("cpu", kHot);
  awaitLevel(4);
}

TEST_F(LiveReconfigurationTest, StopsAWorkerWhoseEveryItemIsOldAndForgetsIt) {
  swapTo(scenario("Default", monitor("old", 1, 5) + ss("older", 1, 1, 7)));
  ASSERT_EQ(algoThreads(), (Names{"5DefaultMONITOR", "7DefaultSS"}));
  swapTo(scenario("Default", monitor("new", 2, 8) + ss("newer", 1, 1, 9)));
  EXPECT_EQ(keysOf(main().monitorThreads), Names{"8DefaultMONITOR"});
  EXPECT_EQ(keysOf(main().ssThreads), Names{"9DefaultSS"});
  EXPECT_EQ(algoThreads(), (Names{"8DefaultMONITOR", "9DefaultSS"}));
  EXPECT_TRUE(board.monitorThread("8DefaultMONITOR").started);
}

TEST_F(LiveReconfigurationTest, StopsAWorkerAtOnceInTheMiddleOfItsPeriod) {
  constexpr int kAnHour = 3'600'000;
  swapTo(scenario("Default", monitor("old", 1, kAnHour)));
  board.bringTo("cpu", kHot);
  MonitorThread& worker = board.monitorThread("3600000DefaultMONITOR");
  ASSERT_TRUE(eventually([&] { return gpu.currentLevel == 1 && sleepsThroughPeriod(worker); }));
  swapTo("");
  EXPECT_TRUE(main().monitorThreads.empty());
  EXPECT_EQ(gpu.levelsSet(), (Levels{1, 0}));
}

TEST_F(LiveReconfigurationTest, HasTheNewItemsAtWorkBeforeTheOldOnesAreRetired) {
  swapTo(scenario("Default", monitor("old", 1, 5)));
  board.bringTo("cpu", kHot);
  awaitLevel(1);
  const RecordedLog log;
  swapTo(scenario("Default", monitor("new", 2, 7)));
  const Lines lines = log.lines();
  const auto started =
      std::find(lines.begin(), lines.end(),
                "[TalmorThermal] [TalmorThermal] Monitor [new] temp(60000) status(0 -> 1)\n");
  const auto retired =
      std::find(lines.begin(), lines.end(),
                "[TalmorThermal] Sensor [cpu] deactivate Algo [old], scen [OLDSCEN_Default]\n");
  ASSERT_NE(retired, lines.end());
  EXPECT_LT(started, retired);
  EXPECT_EQ(gpu.levelsSet(), (Levels{1, 2}));
}

TEST_F(LiveReconfigurationTest, LogsASwapWithThePlainScenarioNamesBothTimes) {
  swapTo(scenario("Default", monitor("item", 1)));
  const RecordedLog log;
  swapTo(scenario("Default", monitor("item", 2)));
  const auto isSample = [](const std::string& line) {
    return line.find("Scen [") != std::string::npos;
  };
  Lines lines = log.lines();
  lines.erase(std::remove_if(lines.begin(), lines.end(), isSample), lines.end());
  const std::string retiredDone =
      "[TalmorThermal] ScenChange for sensor Thread is done [OLDSCEN_Default]\n";
  const std::string done = "[TalmorThermal] ScenChange for sensor Thread is done [Default]\n";
  EXPECT_EQ(lines,
            (Lines{"[TalmorThermal] Start to apply new CONF file\n",
                   "[TalmorThermal] Changing Scenario Start (Default->Default)\n", retiredDone,
                   retiredDone, "[TalmorThermal] All scenChangeDone to Default\n",
                   "[TalmorThermal] Changing Scenario Start (Default->Default)\n", done, done,
                   "[TalmorThermal] All scenChangeDone to Default\n",
                   "[TalmorThermal] Appling new CONF file is completed\n"}));
}

TEST_F(LiveReconfigurationTest, MovesTheRunningItemsUnderTheirRetiredNamesFirst) {
  swapTo(scenario("Default", monitor("calm", 1)) + scenario("game", monitor("wild", 2)));
  board.bringTo("cpu", kHot);
  awaitLevel(1);
  const RecordedLog log;
  board.scenarioThread().scenUpdateWithSensorThread(true);
  EXPECT_EQ(keysOf(board.sensor("cpu").algorithms),
            (Names{"Default", "OLDSCEN_Default", "OLDSCEN_game"}));
  EXPECT_TRUE(registeredFor("cpu", "Default").empty());
  EXPECT_EQ(registeredFor("cpu", "OLDSCEN_Default"), Names{"calm"});
  EXPECT_EQ(registeredFor("cpu", "OLDSCEN_game"), Names{"wild"});
  EXPECT_EQ(board.sensor("cpu").scenario, "OLDSCEN_Default");
  EXPECT_EQ(board.sensor("cpu").oldScenario, "OLDSCEN_Default");
  EXPECT_EQ(board.scenarioThread().currentScenName, "Default");
  const std::string done =
      "[TalmorThermal] ScenChange for sensor Thread is done [OLDSCEN_Default]\n";
  const Lines lines = log.lines();
  EXPECT_EQ(std::count(lines.begin(), lines.end(), done), 2);
  board.bringTo("cpu", kCold);
  awaitLevel(0);
  board.bringTo("cpu", kHot);
  awaitLevel(1);
}

TEST_F(LiveReconfigurationTest, LosesTheItemsOfAScenarioWhoseOwnNameHoldsTheRetiredMark) {
  swapTo(scenario("Default", monitor("plain", 1)) +
         scenario("my_OLDSCEN_game", monitor("doomed", 2)) +
         scenario("OLDSCEN_night", monitor("doomed too", 3)));
  EXPECT_EQ(keysOf(main().monitorThreads), Names{"5DefaultMONITOR"});
  EXPECT_EQ(algoThreads(), Names{"5DefaultMONITOR"});
  EXPECT_EQ(keysOf(board.sensor("cpu").algorithms), Names{"Default"});
  EXPECT_EQ(keysOf(main().scenarios), (Names{"Default", "OLDSCEN_night", "my_OLDSCEN_game"}))
      << "the scenario itself is still known";
}

TEST_F(LiveReconfigurationTest, ControlsNothingInAScenarioInForceWhoseNameHoldsTheRetiredMark) {
  const std::string configuration =
      scenario("Default", monitor("plain", 1)) + scenario("my_OLDSCEN_game", monitor("doomed", 2));
  swapTo(configuration);
  board.bringTo("cpu", kHot);
  awaitLevel(1);
  board.switchTo("my_OLDSCEN_game");
  awaitLevel(0);
  swapTo(configuration);
  EXPECT_EQ(board.sensor("cpu").scenario, "my_OLDSCEN_game");
  EXPECT_EQ(keysOf(main().monitorThreads), Names{"5DefaultMONITOR"});
  awaitLevel(0);
  board.switchTo("Default");
  awaitLevel(1);
}

TEST_F(LiveReconfigurationTest, KeepsAMonitorAwakeAtLevelZeroUntilItIsDeleted) {
  swapTo(scenario("Default", monitor("old", 1)));
  MonitorThread& worker = board.monitorThread("5DefaultMONITOR");
  (*worker.items.begin())->activate();
  EXPECT_EQ(worker.activeCount, 1);
  const RecordedLog log;
  swapTo(scenario("Default", monitor("new", 2)));
  EXPECT_EQ(itemsOf(worker), Names{"new"});
  EXPECT_FALSE((*worker.items.begin())->active);
  EXPECT_EQ(worker.activeCount, 1) << "it is not lowered for the one that was awake";
  const Lines lines = log.lines();
  EXPECT_EQ(std::count(lines.begin(), lines.end(),
                       "[TalmorThermal] Sensor [cpu] deactivate Algo [old], scen "
                       "[OLDSCEN_Default]\n"),
            1);
  EXPECT_TRUE(gpu.levelsSet().empty());
}

TEST_F(LiveReconfigurationTest, LeavesEverySensorAnEntryForTheScenarioInForce) {
  swapTo(scenario("Default", monitor("a", 1, 5, "cpu") + monitor("b", 2, 5, "skin")) +
         scenario("game", monitor("c", 1, 5, "skin")));
  swapTo(scenario("Default", monitor("d", 1, 5, "cpu")));
  EXPECT_EQ(keysOf(board.sensor("skin").algorithms), Names{"Default"});
  EXPECT_TRUE(registeredFor("skin", "Default").empty());
  EXPECT_EQ(registeredFor("cpu", "Default"), Names{"d"});
}

TEST_F(LiveReconfigurationTest, SwapsInAScenarioOtherThanDefault) {
  const std::string both = scenario("Default", monitor("calm", 1));
  swapTo(both + scenario("game", monitor("wild", 2)));
  board.switchTo("game");
  board.bringTo("cpu", kHot);
  awaitLevel(2);
  swapTo(both + scenario("game", monitor("wilder", 3)));
  awaitLevel(3);
  EXPECT_EQ(board.sensor("cpu").scenario, "game");
  EXPECT_EQ(board.sensor("cpu").oldScenario, "game");
  EXPECT_EQ(gpu.levelsSet(), (Levels{2, 3}));
  EXPECT_TRUE(main().scenarios.at("game")->active);
  // Set by the reading of the file; a switch from a scenario to itself looks at no other.
  EXPECT_TRUE(main().scenarios.at("Default")->active);
}

TEST_F(LiveReconfigurationTest, FallsBackToDefaultWhereTheScenarioInForceIsGone) {
  swapTo(scenario("Default", monitor("calm", 1)) + scenario("game", monitor("wild", 2)));
  board.switchTo("game");
  board.bringTo("cpu", kHot);
  awaitLevel(2);
  swapTo(scenario("Default", monitor("calm", 3)));
  EXPECT_EQ(board.scenarioThread().currentScenName, "Default");
  EXPECT_EQ(board.files.read("wanted.scen"), "Default");
  EXPECT_EQ(board.sensor("cpu").scenario, "Default");
  EXPECT_EQ(gpu.levelsSet(), (Levels{2, 3}));
}

TEST_F(LiveReconfigurationTest, ReloadsTheFileInForceForAnEmptyRequest) {
  swapTo(scenario("Default", monitor("item", 1)));
  const std::string inForce = main().confFileName;
  board.bringTo("cpu", kHot);
  awaitLevel(1);
  board.files.write("config/" + inForce, scenario("Default", monitor("item", 2)));
  board.swapTo("");
  EXPECT_EQ(main().confFileName, inForce);
  awaitLevel(2);
  EXPECT_EQ(gpu.levelsSet(), (Levels{1, 2}));
}

TEST_F(LiveReconfigurationTest, KeepsSensorsDevicesAndTheirThreads) {
  const auto sensors = main().sensors;
  const auto devices = main().devices;
  const auto sensorThreads = main().sensorThreads;
  const ScenarioThread* scenarioThread = main().scenarioThread;
  swapTo(scenario("Default", monitor("a", 1)));
  swapTo(scenario("Default", monitor("b", 1)));
  EXPECT_EQ(main().sensors, sensors);
  EXPECT_EQ(main().devices, devices);
  EXPECT_EQ(main().sensorThreads, sensorThreads);
  EXPECT_EQ(main().scenarioThread, scenarioThread);
}

TEST_F(LiveReconfigurationTest, ReplacesTheScenariosButFreesNone) {
  swapTo(scenario("Default", monitor("a", 1)) + scenario("game", monitor("b", 1)));
  const Scenario* dropped = main().scenarios.at("game");
  const Scenario* replaced = main().scenarios.at("Default");
  swapTo(scenario("Default", monitor("c", 1)));
  EXPECT_EQ(keysOf(main().scenarios), Names{"Default"});
  EXPECT_NE(main().scenarios.at("Default"), replaced);
  EXPECT_EQ(dropped->name, "game");
  EXPECT_EQ(replaced->name, "Default");
}

TEST_F(LiveReconfigurationTest, DropsTheItemsOfScenariosNotInForce) {
  swapTo(scenario("Default", monitor("a", 1)) + scenario("game", monitor("b", 1) + ss("c", 1, 1)));
  ASSERT_EQ(algoThreads(), (Names{"5DefaultMONITOR", "5gameMONITOR", "5gameSS"}));
  swapTo(scenario("Default", monitor("d", 1)));
  EXPECT_EQ(algoThreads(), Names{"5DefaultMONITOR"});
  EXPECT_TRUE(main().ssThreads.empty());
  EXPECT_EQ(keysOf(main().monitorThreads), Names{"5DefaultMONITOR"});
}

TEST_F(LiveReconfigurationTest, TakesTheRequestBackOfAnItemThatASwitchInTheSameCycleLeftAwake) {
  const std::string configuration =
      scenario("Default", monitor("calm", 1)) + scenario("game", monitor("wild", 2, 5, "skin"));
  swapTo(configuration);
  board.bringTo("cpu", kHot);
  awaitLevel(1);
  // One cycle takes the request over, the next reads the scenario and applies the configuration.
  board.files.write("config/next.conf", configuration);
  board.files.write("request.dconf", "next.conf");
  board.cycle();
  board.files.write("wanted.scen", "game");
  board.cycle();
  ASSERT_EQ(board.scenarioThread().currentScenName, "game");
  awaitLevel(0);
  EXPECT_EQ(gpu.requests.at("calm"), 0);
}

TEST_F(LiveReconfigurationTest, NeverLetsADeviceGoThatBothConfigurationsWant) {
  const struct {
    std::string first, second;
    Levels levels;
    const char* why;
  } cases[] = {
      {monitor("a", 1), monitor("b", 2), {1, 2}, "other items on the same worker"},
      {monitor("a", 1), monitor("a", 2), {1, 2}, "items of one name on the same worker"},
      {monitor("a", 1, 5), monitor("b", 2, 7), {1, 2}, "other items on another worker"},
      {monitor("a", 1, 5), monitor("a", 2, 7), {1, 2}, "items of one name on another worker"},
      {monitor("a", 1, 2000), monitor("b", 2, 2000), {1, 2}, "a worker of a long period"},
      {monitor("a", 3), monitor("a", 3), {3}, "the same level throughout"},
      {monitor("a", 1), ss("b", 1, 2), {1, 2}, "items of another kind"},
      {monitor("a", 1), ss("a", 1, 2), {1, 2}, "items of another kind and of one name"},
      {ss("a", 1, 1), ss("a", 1, 2), {1, 2}, "steps instead of levels"},
  };
  for (const auto& c : cases) {
    LiveBoard own(kBoard);
    JournalDevice& device = own.journalDevice("gpu");
    own.files.write("config/first.conf", scenario("Default", c.first));
    own.files.write("config/second.conf", scenario("Default", c.second));
    own.start();
    own.swapTo("first.conf");
    own.bringTo("cpu", kHot);
    ASSERT_TRUE(eventually([&] { return device.currentLevel == c.levels.front(); })) << c.why;
    Levels expected = c.levels;
    for (int round = 0; round < 5; ++round) {
      own.swapTo("second.conf");
      EXPECT_EQ(device.currentLevel, c.levels.back()) << c.why;
      own.swapTo("first.conf");
      EXPECT_EQ(device.currentLevel, c.levels.front()) << c.why;
      if (c.levels.size() == 1) continue;
      if (round > 0) expected.insert(expected.end(), c.levels.begin() + 1, c.levels.end());
      expected.push_back(c.levels.front());
    }
    EXPECT_EQ(device.levelsSet(), expected) << c.why;
  }
}

TEST_F(LiveReconfigurationTest, HasARetiringItemMakeNoExtraStep) {
  constexpr int kAnHour = 3'600'000;
  // At 50 degrees a step up from its start level, at 53 it would ask for three more.
  swapTo(scenario("Default", ss("old", 3, 9, kAnHour)));
  board.bringTo("cpu", 50000);
  awaitLevel(3);
  ASSERT_TRUE(
      eventually([&] { return sleepsThroughPeriod(*main().ssThreads.at("3600000DefaultSS")); }));
  board.bringTo("cpu", 53000);
  swapTo(scenario("Default", ss("new", 1, 9, kAnHour)));
  EXPECT_EQ(gpu.levelsSet(), (Levels{3, 4})) << "the new one's, four steps up";
}

TEST_F(LiveReconfigurationTest, HasNobodyDecideAheadInTheFirstChangeOfASwap) {
  constexpr int kAnHour = 3'600'000;
  const std::string hourly = "[slow]\ntype real\nsampling 3600000\nnode_path @slow\n\n";
  LiveBoard own(hourly + kBoard, scenario("Default", monitor("awake", 1, kAnHour) +
                                                         monitor("late", 2, kAnHour, "slow")));
  own.start();
  // A change that asks it before its wait would have to wait for it through its hour.
  ASSERT_TRUE(eventually([&] { return sleepsThroughPeriod(own.sensorThread(kAnHour)); }));
  own.bringTo("cpu", kHot);
  MonitorThread& worker = own.monitorThread("3600000DefaultMONITOR");
  ASSERT_TRUE(eventually([&] { return worker.activeCount == 1 && sleepsThroughPeriod(worker); }));
  own.setTemperature("slow", kHot);
  // Nor one that an earlier change woke and did not wait for any longer.
  (**worker.items.begin()).undecided = true;
  const RecordedLog log;
  own.scenarioThread().scenUpdateWithSensorThread(true);
  ASSERT_EQ(worker.activeCount, 2) << "the change itself has woken the other";
  EXPECT_TRUE(sleepsThroughPeriod(worker));
  const Lines lines = log.lines();
  EXPECT_TRUE(std::none_of(lines.begin(), lines.end(), [](const std::string& line) {
    return line.find("Monitor [") != std::string::npos;
  }));
}

TEST_F(LiveReconfigurationTest, LeavesTheNewItemOfAnOldNameItsRequest) {
  swapTo(scenario("Default", monitor("item", 5)));
  board.bringTo("cpu", kHot);
  awaitLevel(5);
  swapTo(scenario("Default", monitor("item", 2)));
  EXPECT_EQ(gpu.requests.at("item"), 2);
  EXPECT_EQ(gpu.levelsSet(), (Levels{5, 2}));
  board.bringTo("cpu", kCold);
  awaitLevel(0);
  EXPECT_EQ(gpu.requests.at("item"), 0);
}

TEST_F(LiveReconfigurationTest, LetsADeviceGoThatTheNewConfigurationDoesNotWant) {
  swapTo(scenario("Default", monitor("old", 1)));
  board.bringTo("cpu", kHot);
  awaitLevel(1);
  swapTo(scenario("Default", monitor("new", 2, 5, "skin")));
  EXPECT_EQ(gpu.levelsSet(), (Levels{1, 0}));
}

TEST_F(LiveReconfigurationTest, SurvivesManySwapsWhileTheTemperaturesCrossTheThresholds) {
  const std::string configurations[] = {
      scenario("Default", monitor("a", 1) + monitor("b", 2, 6, "skin") + ss("c", 1, 3)) +
          scenario("game", monitor("a", 4)),
      scenario("Default", monitor("a", 5, 7) + monitor("b", 1) + ss("d", 1, 2, 7)) +
          scenario("game", monitor("e", 4, 6, "skin")),
      scenario("Default", ss("a", 1, 9)),
  };
  for (int round = 0; round < 30; ++round) {
    board.setTemperature("cpu", round % 2 == 0 ? kHot : kCold);
    board.setTemperature("skin", round % 3 == 0 ? kHot : kCold);
    swapTo(configurations[round % 3]);
  }
  board.bringTo("cpu", kCold);
  board.bringTo("skin", kCold);
  awaitLevel(0);
  board.bringTo("cpu", kHot);
  awaitLevel(9);
  EXPECT_EQ(algoThreads(), Names{"5DefaultSS"});
}

TEST_F(LiveReconfigurationTest, SwapsWithoutALineWithLoggingOff) {
  const LogSwitchedOff off;
  const RecordedLog log;
  swapTo(scenario("Default", monitor("a", 1)));
  board.bringTo("cpu", kHot);
  awaitLevel(1);
  swapTo(scenario("Default", monitor("b", 2)));
  awaitLevel(2);
  EXPECT_EQ(log.lines(), Lines{});
}

// The clean-up without threads.
TEST(LiveReconfigurationCleanUpTest, FreesWorkersThatNeverHadAThread) {
  LiveBoard board(kBoard, scenario("Default", monitor("a", 1) + ss("b", 1, 1)) +
                              scenario("game", monitor("c", 1)));
  ThermalMain& main = board.main();
  Sensor& cpu = board.sensor("cpu");
  cpu.addPrefixScenName("OLDSCEN_");
  board.rememberScenarios();
  main.confParse();
  main.destroyOldUnusings();
  EXPECT_EQ(keysOf(main.monitorThreads), (Names{"5DefaultMONITOR", "5gameMONITOR"}));
  EXPECT_EQ(keysOf(cpu.algorithms), (Names{"Default", "game"}));
  cpu.addPrefixScenName("OLDSCEN_");
  main.destroyOldUnusings();
  EXPECT_TRUE(main.monitorThreads.empty());
  EXPECT_TRUE(main.ssThreads.empty());
  EXPECT_TRUE(main.threads.empty());
  EXPECT_TRUE(cpu.algorithms.empty());
}

TEST(LiveReconfigurationCleanUpTest, FreesAWorkerWithoutAnyItem) {
  LiveBoard board(kBoard);
  board.main().monitorThreads["5DefaultMONITOR"] = new MonitorThread(5);
  board.main().destroyOldUnusings();
  EXPECT_TRUE(board.main().monitorThreads.empty());
}

} // namespace
