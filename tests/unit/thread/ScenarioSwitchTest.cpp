#include <algorithm>
#include <string>

#include <gtest/gtest.h>

#include "support/AnHour.h"
#include "support/Gate.h"
#include "support/LiveBoard.h"
#include "support/LogSwitchedOff.h"
#include "support/RecordedLog.h"
#include "thread/Scenario.h"

// The change of scenario between the scenario thread and running sensor threads.

namespace {

using Lines = std::vector<std::string>;
using Periods = std::vector<int>;

std::string nameOf(int period) {
  return "s" + std::to_string(period);
}

// A sensor of its own period each, and one device.
std::string environmentOf(const Periods& periods) {
  std::string text = "[gpu]\ntype gpufreq\nlevel_table 0 1 2 3 4\n";
  for (const int period : periods)
    text += "\n[" + nameOf(period) + "]\ntype real\nsampling " + std::to_string(period) +
            "\nnode_path @" + nameOf(period) + "\n";
  return text;
}

std::string monitor(const std::string& name, const std::string& sensor, int level,
                    int sampling = 5) {
  return "[" + name + "]\nalgo_type monitor\nsensor " + sensor + "\nsampling " +
         std::to_string(sampling) +
         "\nthresholds 50000\nthresholds_clr 45000\nactions gpu\naction_info " +
         std::to_string(level) + "\n]\n";
}

std::string twoScenarios(const std::string& sensor) {
  return "SCEN Default\n" + monitor("calm", sensor, 1) + "SCEN game\n" + monitor("wild", sensor, 2);
}

void expectInForce(LiveBoard& board, const std::string& scenario) {
  for (const auto& [name, sensor] : board.main().sensors) {
    EXPECT_EQ(sensor->scenario, scenario) << name;
    EXPECT_EQ(sensor->oldScenario, scenario) << name;
  }
  for (const auto& [name, known] : board.main().scenarios)
    EXPECT_EQ(known->active, name == scenario) << name;
  for (const auto& [period, worker] : board.main().sensorThreads)
    EXPECT_FALSE(worker->scenChangeRequested) << period;
  EXPECT_EQ(board.scenarioThread().pendingCount, 0);
  EXPECT_EQ(board.scenarioThread().currentScenName, scenario);
}

// Waits until the threads of long periods sleep through them, where a notification cuts them short.
void settle(LiveBoard& board) {
  for (const auto& [period, worker] : board.main().sensorThreads) {
    if (period < 100) continue;
    ASSERT_TRUE(eventually([&, sleeping = worker] { return sleepsThroughPeriod(*sleeping); }));
  }
}

class ScenarioSwitchTest : public ::testing::TestWithParam<Periods> {
protected:
  ScenarioSwitchTest() { board.start(); }

  LiveBoard board{environmentOf(GetParam()), twoScenarios(nameOf(GetParam()[0]))};
};

TEST_P(ScenarioSwitchTest, PutsTheScenarioInForceForEverySensorOfEveryThread) {
  settle(board);
  board.switchTo("game");
  expectInForce(board, "game");
}

TEST_P(ScenarioSwitchTest, LogsItsStartEachThreadAndItsEnd) {
  settle(board);
  const RecordedLog log;
  board.switchTo("game");
  Lines lines = log.lines();
  const auto isSample = [](const std::string& line) {
    return line.find("Scen [") != std::string::npos;
  };
  lines.erase(std::remove_if(lines.begin(), lines.end(), isSample), lines.end());
  Lines expected{"[TalmorThermal] Changing Scenario Start (Default->game)\n"};
  expected.insert(expected.end(), GetParam().size(),
                  "[TalmorThermal] ScenChange for sensor Thread is done [game]\n");
  expected.push_back("[TalmorThermal] All scenChangeDone to game\n");
  EXPECT_EQ(lines, expected);
}

TEST_P(ScenarioSwitchTest, GoesToAndFroManyTimesInARow) {
  for (int round = 0; round < 20; ++round) {
    for (const char* scenario : {"game", "Default"}) {
      settle(board);
      board.switchTo(scenario);
      expectInForce(board, scenario);
    }
  }
}

TEST_P(ScenarioSwitchTest, MovesTheDeviceFromOneScenariosLevelToTheOthers) {
  const std::string sensor = nameOf(GetParam()[0]);
  Device& gpu = *board.main().devices.at("gpu");
  settle(board);
  board.setTemperature(sensor, 60000);
  for (const int round : {1, 2, 3}) {
    board.switchTo("game");
    EXPECT_TRUE(eventually([&] { return gpu.currentLevel == 2; })) << round;
    settle(board);
    board.switchTo("Default");
    EXPECT_TRUE(eventually([&] { return gpu.currentLevel == 1; })) << round;
    settle(board);
  }
}

std::string periodsName(const ::testing::TestParamInfo<Periods>& info) {
  std::string name = "Periods";
  for (const int period : info.param)
    name += "_" + std::to_string(period);
  return name;
}

INSTANTIATE_TEST_SUITE_P(Threads, ScenarioSwitchTest,
                         ::testing::Values(Periods{5}, Periods{2000}, Periods{5, 6},
                                           Periods{5, 2000}, Periods{5, 6, 7, 8},
                                           Periods{5, 50, 500, 2000}),
                         periodsName);

// A switched-on sensor whose sample stops at a gate.
class GatedSensor : public Sensor {
public:
  GatedSensor(SensorThread& worker, Gate& gate_) : Sensor("gated", 5, &worker), gate(gate_) {
    activate();
  }
  void updateTemp() override {
    ++samples;
    scenarioOfSample = scenario;
    gate.pass();
  }

  Gate& gate;
  std::atomic<int> samples{0};
  std::string scenarioOfSample;
};

class SwitchMomentTest : public ::testing::Test {
protected:
  std::future<void> beginSwitchTo(const std::string& scenario) {
    board->files.write("wanted.scen", scenario);
    board->cycle();
    return board->beginCycle();
  }
  void make(const Periods& periods) {
    board = std::make_unique<LiveBoard>(environmentOf(periods), twoScenarios(nameOf(periods[0])));
  }
  void startWithAThreadInItsPass(int period) {
    SensorThread& worker = board->sensorThread(period);
    gated = new GatedSensor(worker, gate); // freed with the worker's other sensors
    worker.insert(gated);
    gate.close();
    board->start();
    ASSERT_TRUE(eventually([this] { return gate.holdsAThread(); }));
  }
  bool isParked(SensorThread& worker) {
    return worker.scenChangeRequested && isHeld(worker.loopMutex) && isHeld(worker.sleepMutex) &&
           worker.holdForScenThread;
  }

  Gate gate;
  GatedSensor* gated = nullptr;
  std::unique_ptr<LiveBoard> board;
};

TEST_F(SwitchMomentTest, CutsThePeriodOfAThreadShort) {
  make({kAnHour});
  board->start();
  settle(*board);
  board->switchTo("game");
  expectInForce(*board, "game");
}

TEST_F(SwitchMomentTest, SamplesOnceInTheChangeAndOnceMoreInTheSameCycle) {
  make({kAnHour});
  SensorThread& worker = board->sensorThread(kAnHour);
  gated = new GatedSensor(worker, gate);
  worker.insert(gated);
  board->start();
  ASSERT_TRUE(eventually([&] { return gated->samples == 1 && sleepsThroughPeriod(worker); }));
  board->switchTo("game");
  ASSERT_TRUE(eventually([&] { return gated->samples == 3 && sleepsThroughPeriod(worker); }));
}

TEST_F(SwitchMomentTest, WaitsForAThreadThatIsInItsPass) {
  make({5, 6});
  startWithAThreadInItsPass(5);
  const std::future<void> change = beginSwitchTo("game");
  // The other thread has checked in, this one goes on with the scenario it sampled for.
  EXPECT_TRUE(eventually([&] { return board->scenarioThread().pendingCount == 1; }));
  EXPECT_EQ(gated->scenarioOfSample, "Default");
  EXPECT_FALSE(isOver(change));
  gate.open();
  ASSERT_TRUE(eventually([&] { return isOver(change); }));
  expectInForce(*board, "game");
}

TEST_F(SwitchMomentTest, TakesAWordThatComesWhileAThreadIsParkedAfterTheChangeUnderWay) {
  make({kAnHour, 5});
  startWithAThreadInItsPass(5);
  settle(*board);
  const std::future<void> change = beginSwitchTo("game");
  ASSERT_TRUE(eventually([&] { return isParked(board->sensorThread(kAnHour)); }));
  board->files.write("wanted.scen", "Default");
  EXPECT_FALSE(isOver(change));
  gate.open();
  ASSERT_TRUE(eventually([&] { return isOver(change); }));
  expectInForce(*board, "game");
  settle(*board);
  board->cycle();
  board->cycle();
  expectInForce(*board, "Default");
}

TEST_F(SwitchMomentTest, WaitsForAParkedThreadsNeighbourAtTheSecondBarrierToo) {
  make({5, 6});
  SensorThread& worker = board->sensorThread(5);
  gated = new GatedSensor(worker, gate);
  worker.insert(gated);
  board->start();
  board->files.write("wanted.scen", "game");
  board->cycle();
  // From here on each sample stops: the first of the ordinary pass, or that of the change itself.
  gate.close();
  ASSERT_TRUE(eventually([this] { return gate.holdsAThread(); }));
  const std::future<void> change = board->beginCycle();
  ASSERT_TRUE(eventually([&] { return board->scenarioThread().pendingCount == 1; }));
  gate.open();
  ASSERT_TRUE(eventually([&] { return isOver(change); }));
  expectInForce(*board, "game");
}

TEST_F(SwitchMomentTest, IsHeldUpByAThreadWithoutAnActiveSensorUntilOneIsSwitchedOn) {
  board = std::make_unique<LiveBoard>(environmentOf({5}) + "\n[skin]\ntype virtual\nsampling 7\n",
                                      twoScenarios("s5"));
  board->start();
  ASSERT_TRUE(eventually([&] { return sleepsUntilActive(board->sensorThread(7)); }));
  const std::future<void> change = beginSwitchTo("game");
  ASSERT_TRUE(eventually([&] { return board->scenarioThread().pendingCount == 1; }));
  EXPECT_TRUE(staysUnderWay(change));
  EXPECT_TRUE(sleepsUntilActive(board->sensorThread(7)));
  board->sensor("skin").activate();
  ASSERT_TRUE(eventually([&] { return isOver(change); }));
  expectInForce(*board, "game");
}

TEST_F(SwitchMomentTest, GivesASwitchedOffSensorTheScenarioWithoutASample) {
  board = std::make_unique<LiveBoard>(environmentOf({5}) + "\n[skin]\ntype virtual\nsampling 5\n" +
                                          "sensors s5\nweights 1\noffsets 1\n",
                                      twoScenarios("s5"));
  board->start();
  board->switchTo("game");
  expectInForce(*board, "game");
  EXPECT_EQ(board->sensor("skin").temperature, 0);
}

TEST_F(SwitchMomentTest, LetsADeviceThatBothScenariosWantStraightFromOneLevelToTheOther) {
  const struct {
    const char* calm;
    const char* wild;
    const char* why;
  } cases[] = {
      {"calm", "wild", "items of different names"},
      {"item", "item", "items of one name, which share their request"},
  };
  for (const auto& c : cases) {
    board = std::make_unique<LiveBoard>(environmentOf({5}));
    JournalDevice& gpu = board->journalDevice("gpu");
    board->files.write("config/hot.conf", "SCEN Default\n" + monitor(c.calm, "s5", 2, 2000) +
                                              "SCEN game\n" + monitor(c.wild, "s5", 1, 1000));
    board->start();
    board->swapTo("hot.conf");
    board->setTemperature("s5", 60000);
    ASSERT_TRUE(eventually([&] { return gpu.currentLevel == 2; })) << c.why;
    std::vector<int32_t> expected{2};
    for (int round = 0; round < 5; ++round) {
      board->switchTo("game");
      board->switchTo("Default");
      expected.insert(expected.end(), {1, 2});
    }
    EXPECT_EQ(gpu.levelsSet(), expected) << c.why;
    board.reset();
  }
}

TEST_F(SwitchMomentTest, HasNobodyDecideAheadButTheItemsThatItWakes) {
  board = std::make_unique<LiveBoard>(environmentOf({5, 6}));
  board->journalDevice("gpu");
  // Left awake at level 0 when the scenario went, and deciding once an hour.
  board->files.write("config/hour.conf", "SCEN Default\n" + monitor("calm", "s5", 1) +
                                             "SCEN game\n" + monitor("left", "s6", 1, kAnHour) +
                                             monitor("woken", "s5", 2, kAnHour));
  board->start();
  board->swapTo("hour.conf");
  MonitorThread& worker = board->monitorThread("3600000gameMONITOR");
  Monitor& left = **worker.items.begin();
  left.activate();
  ASSERT_TRUE(eventually([&] { return sleepsThroughPeriod(worker); }));
  board->bringTo("s5", 60000);
  board->bringTo("s6", 60000);
  const RecordedLog log;
  board->switchTo("game");
  const Lines lines = log.lines();
  EXPECT_EQ(std::count(lines.begin(), lines.end(),
                       "[TalmorThermal] [TalmorThermal] Monitor [woken] temp(60000) "
                       "status(0 -> 1)\n"),
            1);
  EXPECT_EQ(left.status, 0u);
  EXPECT_TRUE(sleepsThroughPeriod(worker));
}

TEST_F(SwitchMomentTest, AwaitsNoWorkerThatIsStillInThePassItWasInBefore) {
  make({5});
  MonitorThread& worker = board->monitorThread("5gameMONITOR");
  worker.started = true; // its passes are the test's
  gate.close();
  const std::future<void> pass = std::async(std::launch::async, [this, &worker] {
    worker.items.walk([this](Monitor&) { gate.pass(); });
  });
  eventuallyOrAbort([this] { return gate.holdsAThread(); }, "a pass at the gate");
  board->start();
  board->bringTo("s5", 60000);
  board->switchTo("game");
  EXPECT_TRUE(worker.hasWoken());
  EXPECT_FALSE(worker.isAwaited());
  gate.open();
  pass.wait();
  EXPECT_TRUE(worker.isAwaited());
}

TEST_F(SwitchMomentTest, SwitchesWithoutALineWithLoggingOff) {
  make({5, 6});
  const LogSwitchedOff off;
  const RecordedLog log;
  board->start();
  board->switchTo("game");
  expectInForce(*board, "game");
  board.reset();
  EXPECT_EQ(log.lines(), Lines{});
}

// The test stands in for the one sensor thread of a change.
class HandshakeTest : public SwitchMomentTest {
protected:
  HandshakeTest() {
    make({kAnHour});
    change = beginSwitchTo("game");
    eventuallyOrAbort([this] { return worker().scenChangeRequested.load(); }, "a change");
  }

  SensorThread& worker() { return board->sensorThread(kAnHour); }

  // Checks in and is let go, but still holds the mutex that it does not leave before it waits.
  std::unique_lock<std::mutex> arriveAt(size_t barrier) {
    worker().holdForScenThread = true;
    std::unique_lock<std::mutex> lock(worker().handshakeMutex[barrier]);
    board->scenarioThread().checkIn();
    eventuallyOrAbort([this] { return !worker().holdForScenThread; }, "the end of a barrier");
    return lock;
  }
  bool isNotifiedAt(size_t barrier, std::unique_lock<std::mutex> lock) {
    return worker().handshakeCond[barrier].wait_for(lock, kGenerousLimit) ==
           std::cv_status::no_timeout;
  }
  void leave() { board->scenarioThread().checkIn(); }

  std::future<void> change;
};

TEST_F(HandshakeTest, NotifiesAThreadOnlyOnceItWaits) {
  for (const size_t barrier : {0u, 1u}) {
    std::unique_lock<std::mutex> lock = arriveAt(barrier);
    EXPECT_TRUE(staysUnderWay(change));
    EXPECT_TRUE(isNotifiedAt(barrier, std::move(lock))) << "barrier " << barrier;
  }
  leave();
  EXPECT_TRUE(eventually([this] { return isOver(change); }));
}

TEST_F(HandshakeTest, TakesItsRequestBackBeforeAThreadCanPassTheLastBarrier) {
  isNotifiedAt(0, arriveAt(0));
  EXPECT_TRUE(worker().scenChangeRequested);
  std::unique_lock<std::mutex> lock = arriveAt(1);
  EXPECT_FALSE(worker().scenChangeRequested);
  isNotifiedAt(1, std::move(lock));
  leave();
  EXPECT_TRUE(eventually([this] { return isOver(change); }));
}

} // namespace
