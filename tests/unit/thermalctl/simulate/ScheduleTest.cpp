#include "simulate/Schedule.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "support/LogSwitchedOff.h"
#include "thermalctl/simulate/RunFiles.h"

namespace {

using TurnKind = Schedule::Turn::Kind;

// Two sensors of 100 ms, one of 500 ms, and a monitor that decides each 300 ms.
class ScheduleTest : public testing::Test {
protected:
  explicit ScheduleTest(const std::string& workload = "time,ambient\n0,25\n",
                        const std::string& workloadName = "workload.csv") {
    files.environment += "\n[skin]\ntype real\nsampling 500\nnode_path /nowhere/skin\n"
                         "\n[board]\ntype real\nsampling 100\nnode_path /nowhere/board\n";
    files.plant += "[sensor.skin]\nnode = \"die\"\n[sensor.board]\nnode = \"die\"\n";
    files.workload = workload;
    files.workloadName = workloadName;
    input = files.read().at(0);
    daemon = std::make_unique<VirtualDaemon>(input.environment);
    daemon->configurations = input.configurations;
    daemon->dynamicConfParse(daemon->confFileName);
    schedule.emplace(input, *daemon);
    schedule->gatherItemWorkers(0);
  }

  void letAllElseBeDueAt(int64_t time) {
    for (SensorWorker& worker : schedule->sensorWorkers)
      worker.due = time;
    schedule->scenarioDue = schedule->nodesDue = time;
  }
  MonitorThread& monitors() const { return *daemon->monitorThreads.begin()->second; }

  const LogSwitchedOff quiet;
  RunFiles files;
  RunInput input;
  std::unique_ptr<VirtualDaemon> daemon;
  std::optional<Schedule> schedule;
};

TEST_F(ScheduleTest, AWorkerHasTheSensorsOfItsPeriodAndTheirProbes) {
  ASSERT_EQ(schedule->sensorWorkers.size(), 2U);
  const SensorWorker& fast = schedule->sensorWorkers[0];
  EXPECT_EQ(fast.period, 100);
  ASSERT_EQ(fast.sensors.size(), 2U);
  for (const auto& [sensor, track] : fast.sensors)
    EXPECT_EQ(input.description.sensors.at(track).name, sensor->name);
  // Of the plant's three the one between them is the other's.
  EXPECT_EQ(fast.probes.size(), 2U);
  const SensorWorker& slow = schedule->sensorWorkers[1];
  EXPECT_EQ(slow.period, 500);
  EXPECT_EQ(slow.probes, std::vector<size_t>{1});
  EXPECT_EQ(&schedule->workerOf(*slow.thread), &slow);
}

TEST_F(ScheduleTest, AtOneTimeChangesComeFirstThenItemsSensorsTheScenarioAndTheNodes) {
  for (SensorWorker& worker : schedule->sensorWorkers)
    worker.due = 0;
  monitors().activate();
  schedule->wakeItems(0);
  EXPECT_EQ(schedule->next().kind, TurnKind::kChange);
  schedule->takeChange();
  Schedule::Turn turn = schedule->next();
  EXPECT_EQ(turn.kind, TurnKind::kItems);
  EXPECT_EQ(turn.items, &schedule->itemWorkers[0]);
  turn.items->due = 1;
  for (size_t i = 0; i < 2; ++i) {
    turn = schedule->next();
    EXPECT_EQ(turn.kind, TurnKind::kSensors);
    ASSERT_EQ(turn.sensors, &schedule->sensorWorkers[i]);
    turn.sensors->due = 1;
  }
  EXPECT_EQ(schedule->next().kind, TurnKind::kScenario);
  schedule->scenarioDue = 1;
  EXPECT_EQ(schedule->next().kind, TurnKind::kNodes);
  EXPECT_EQ(schedule->next().time, 0);
  schedule->nodesDue = 1;
  EXPECT_EQ(schedule->next().time, 1);
}

TEST_F(ScheduleTest, WhatIsDueFirstComesFirst) {
  schedule->takeChange();
  letAllElseBeDueAt(1000);
  schedule->nodesDue = 999;
  EXPECT_EQ(schedule->next().kind, TurnKind::kNodes);
  schedule->scenarioDue = 998;
  EXPECT_EQ(schedule->next().kind, TurnKind::kScenario);
  schedule->sensorWorkers[1].due = 997;
  EXPECT_EQ(schedule->next().sensors, &schedule->sensorWorkers[1]);
  monitors().activate();
  schedule->wakeItems(996);
  EXPECT_EQ(schedule->next().kind, TurnKind::kItems);
  EXPECT_EQ(schedule->next().time, 996);
}

TEST_F(ScheduleTest, WhoeverSleepsIsNeverDueUntilItIsWoken) {
  ASSERT_EQ(schedule->itemWorkers.size(), 1U);
  EXPECT_EQ(schedule->itemWorkers[0].due, Schedule::kNever);
  EXPECT_EQ(schedule->awakeItems(), 0);
  schedule->wakeItems(700);
  EXPECT_EQ(schedule->itemWorkers[0].due, Schedule::kNever);
  monitors().activate();
  monitors().activate();
  EXPECT_EQ(schedule->awakeItems(), 2);
  schedule->wakeItems(700);
  EXPECT_EQ(schedule->itemWorkers[0].due, 700);
  // One that is awake keeps its cycle.
  schedule->wakeItems(800);
  EXPECT_EQ(schedule->itemWorkers[0].due, 700);
}

TEST_F(ScheduleTest, ASensorsWorkerThatWasWokenHasAPassAtOnce) {
  SensorWorker& slow = schedule->sensorWorkers[1];
  slow.due = Schedule::kNever;
  slow.thread->activeCount = 0;
  schedule->wakeSensors(700);
  EXPECT_EQ(slow.due, Schedule::kNever);
  slow.thread->activate();
  schedule->wakeSensors(700);
  EXPECT_EQ(slow.due, 700);
  schedule->wakeSensors(800);
  EXPECT_EQ(slow.due, 700);
}

TEST_F(ScheduleTest, AWorkerOfItemsThatStaysKeepsItsTimeAndANewOneBeginsNow) {
  monitors().activate();
  EXPECT_EQ(schedule->gatherItemWorkers(100), 0);
  EXPECT_EQ(schedule->itemWorkers[0].period, 300);
  // It was asleep when it was looked at last, and nobody has woken it.
  EXPECT_EQ(schedule->itemWorkers[0].due, Schedule::kNever);
  schedule->itemWorkers[0].due = 250;
  schedule->gatherItemWorkers(200);
  EXPECT_EQ(schedule->itemWorkers[0].due, 250);
  schedule->itemWorkers.clear();
  schedule->gatherItemWorkers(200);
  EXPECT_EQ(schedule->itemWorkers[0].due, 200);
}

TEST_F(ScheduleTest, ForAWorkerThatIsGoneTheDaemonWaitsAPeriodIfItSlept) {
  const auto workers = daemon->monitorThreads;
  daemon->monitorThreads.clear();
  EXPECT_EQ(schedule->gatherItemWorkers(100), 300);
  EXPECT_TRUE(schedule->itemWorkers.empty());
  daemon->monitorThreads = workers;
  schedule->gatherItemWorkers(100);
  schedule->itemWorkers[0].due = 200;
  daemon->monitorThreads.clear();
  EXPECT_EQ(schedule->gatherItemWorkers(100), 0);
  daemon->monitorThreads = workers;
}

TEST_F(ScheduleTest, BehindTheLastChangeThereIsNone) {
  EXPECT_EQ(schedule->takeChange().value, 25);
  letAllElseBeDueAt(Schedule::kNever);
  EXPECT_EQ(schedule->next().time, Schedule::kNever);
}

// A workload that starts again every ten seconds.
class RepeatedScheduleTest : public ScheduleTest {
protected:
  RepeatedScheduleTest()
      : ScheduleTest("repeat = 10\n[[at]]\ntime = 0\nambient = 20\n[[at]]\ntime = 4\n"
                     "ambient = 30\n",
                     "workload.toml") {}
};

TEST_F(RepeatedScheduleTest, ChangesComeAgainInEachRepetition) {
  for (const auto& [time, value] :
       {std::pair(0, 20.0), std::pair(4000, 30.0), std::pair(10'000, 20.0), std::pair(14'000, 30.0),
        std::pair(20'000, 20.0)}) {
    letAllElseBeDueAt(Schedule::kNever);
    const Schedule::Turn turn = schedule->next();
    EXPECT_EQ(turn.kind, TurnKind::kChange);
    EXPECT_EQ(turn.time, time);
    EXPECT_EQ(schedule->takeChange().value, value);
  }
}

TEST(SchedulePeriodTest, AWorkerWaitsAMillisecondAtLeast) {
  const LogSwitchedOff quiet;
  RunFiles files;
  files.environment.replace(files.environment.find("sampling 100"), 12, "sampling 0");
  const RunInput input = files.read().at(0);
  const VirtualDaemon daemon(input.environment);
  const Schedule schedule(input, daemon);
  ASSERT_EQ(schedule.sensorWorkers.size(), 1U);
  EXPECT_EQ(schedule.sensorWorkers[0].period, 1);
}

} // namespace
