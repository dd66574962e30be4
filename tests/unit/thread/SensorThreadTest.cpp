#include "thread/SensorThread.h"

#include <functional>
#include <memory>

#include <gtest/gtest.h>

#include "sensor/Real.h"
#include "sensor/Virtual.h"
#include "support/AnHour.h"
#include "support/CountingThread.h"
#include "support/LogSwitchedOff.h"
#include "support/PlainAlgo.h"
#include "support/RecordedLog.h"
#include "support/RunningThreads.h"
#include "support/SysfsDir.h"
#include "thread/ScenarioThread.h"

namespace {

using Lines = std::vector<std::string>;

// A sensor that tells when it is sampled.
class TracedSensor : public Sensor {
public:
  TracedSensor(const std::string& name_, ThermalThread& worker) : Sensor(name_, 1000, &worker) {}
  void updateTemp() override {
    onSample();
    ++samples;
  }

  std::atomic<int> samples{0};
  std::function<void()> onSample = [] {};
};

class SensorThreadTest : public ::testing::Test {
protected:
  SensorThreadTest() {
    worker.scenarioThread = &scenario;
    worker.insert(&cpu);
    worker.insert(&gpu);
  }

  // The scenario thread's part at a barrier: all of it in the order of its own three phases.
  void park() {
    ++scenario.pendingCount;
    worker.scenChangeRequested = true;
    worker.sleepCond.notify_one();
  }
  void handOver(const std::string& name) {
    ++scenario.pendingCount;
    worker.newScenName = name;
    letGo(0);
  }
  void release() {
    ++scenario.pendingCount;
    worker.scenChangeRequested = false;
    letGo(1);
  }
  void letGo(size_t barrier) {
    worker.holdForScenThread = false;
    { const std::lock_guard<std::mutex> waits(worker.handshakeMutex[barrier]); }
    worker.handshakeCond[barrier].notify_one();
  }
  bool checkedIn() {
    return eventually([this] { return scenario.pendingCount == 0; });
  }
  bool sleepsAfterSamples(int count) {
    return eventually([=] { return cpu.samples >= count && sleepsThroughPeriod(worker); });
  }

  ScenarioThread scenario;
  SensorThread worker{kAnHour};
  TracedSensor cpu{"cpu", worker};
  TracedSensor gpu{"gpu", worker};
  EndingSensor last{worker};
  CountingThread algoThread;
};

TEST_F(SensorThreadTest, StartsOutsideOfAnyScenarioChange) {
  const SensorThread fresh(500);
  EXPECT_EQ(fresh.period, 500);
  EXPECT_EQ(fresh.scenarioThread, nullptr);
  EXPECT_FALSE(fresh.scenChangeRequested);
  EXPECT_EQ(fresh.newScenName, "");
  EXPECT_FALSE(fresh.holdForScenThread);
  EXPECT_EQ(fresh.handshakeMutex.size(), 2u);
  EXPECT_EQ(fresh.handshakeCond.size(), 2u);
}

TEST_F(SensorThreadTest, SamplesItsActiveSensorsInOrder) {
  Lines sampled;
  cpu.onSample = [&] { sampled.push_back("cpu"); };
  gpu.onSample = [&] { sampled.push_back("gpu"); };
  worker.samplingPass();
  EXPECT_EQ(sampled, Lines{});
  gpu.active = true;
  worker.samplingPass();
  EXPECT_EQ(sampled, Lines{"gpu"});
  cpu.active = true;
  worker.samplingPass();
  EXPECT_EQ(sampled, (Lines{"gpu", "cpu", "gpu"}));
}

TEST_F(SensorThreadTest, LetsEachSampleWakeItsAlgorithmsBeforeTheNextSensorIsSampled) {
  PlainAlgo item("item", "Default", 40000, cpu, algoThread);
  cpu.active = gpu.active = true;
  cpu.onSample = [this] { cpu.temperature = 40000; };
  bool awake = false;
  gpu.onSample = [&] { awake = item.active; };
  worker.samplingPass();
  EXPECT_TRUE(awake);
}

TEST_F(SensorThreadTest, WakesNoAlgorithmOfASensorThatIsSwitchedOff) {
  PlainAlgo item("item", "Default", 0, cpu, algoThread);
  worker.samplingPass();
  EXPECT_FALSE(item.active);
}

TEST_F(SensorThreadTest, SwitchesVirtualSensorsAfterTheWalkOverTheAlgorithms) {
  const SysfsDir sysfs;
  Real real("real", 1000, sysfs.write("temp", "45000\n"));
  Virtual skin("skin", 1000, &algoThread, 40000, 0, {}, 0, {}, {});
  real.insertVirtualSensor(&skin);
  PlainAlgo item("item", "Default", 45000, real, algoThread);
  bool onBefore = true;
  item.onActivate = [&] { onBefore = skin.active; };
  real.active = true;
  worker.insert(&real);
  worker.samplingPass();
  EXPECT_EQ(item.activations, 1);
  EXPECT_FALSE(onBefore);
  EXPECT_TRUE(skin.active);
}

TEST_F(SensorThreadTest, SwitchesNoVirtualSensorForARealThatIsOffOrIsAKindOfItsOwn) {
  class OtherReal : public Real {
    using Real::Real;
  };
  const SysfsDir sysfs;
  Real off("off", 1000, sysfs.write("temp", "45000\n"));
  OtherReal other("other", 1000, sysfs.node("temp"));
  Virtual skin("skin", 1000, &algoThread, 40000, 0, {}, 0, {}, {});
  off.temperature = 45000;
  off.insertVirtualSensor(&skin);
  other.insertVirtualSensor(&skin);
  other.active = true;
  worker.insert(&off);
  worker.insert(&other);
  worker.samplingPass();
  EXPECT_EQ(other.temperature, 45000);
  EXPECT_FALSE(skin.active);
}

TEST_F(SensorThreadTest, SamplesAVirtualSensorFromThePassOnThatSwitchesItOn) {
  const SysfsDir sysfs;
  Real real("real", 1000, sysfs.write("temp", "45000\n"));
  Virtual skin("skin", 1000, &worker, 40000, 0, {&real}, 0, {}, {1});
  PlainAlgo item("item", "Default", 45000, skin, algoThread);
  real.insertVirtualSensor(&skin);
  real.active = true;
  worker.insert(&real);
  worker.insert(&skin);
  worker.samplingPass();
  EXPECT_EQ(skin.temperature, 45000);
  EXPECT_TRUE(item.active);
}

TEST_F(SensorThreadTest, SleepsAndSamplesNothingUntilASensorIsSwitchedOn) {
  const RunningSensorThread running(worker, last);
  ASSERT_TRUE(eventually([this] { return sleepsUntilActive(worker); }));
  EXPECT_EQ(cpu.samples, 0);
  cpu.activate();
  EXPECT_TRUE(sleepsAfterSamples(1));
  EXPECT_EQ(cpu.samples, 1) << "one pass at once, the next after the period";
  EXPECT_EQ(gpu.samples, 0);
}

TEST_F(SensorThreadTest, SamplesOncePerPeriod) {
  worker.period = 1;
  cpu.activate();
  const RunningSensorThread running(worker, last);
  EXPECT_TRUE(eventually([this] { return cpu.samples >= 5; }));
}

TEST_F(SensorThreadTest, SleepsFromItsNextCycleOnWhenItsLastSensorIsSwitchedOff) {
  worker.period = 1;
  cpu.activate();
  gpu.activate();
  const RunningSensorThread running(worker, last);
  worker.deactivate();
  EXPECT_TRUE(eventually([this] { return cpu.samples >= 5; }));
  worker.deactivate();
  EXPECT_TRUE(eventually([this] { return sleepsUntilActive(worker); }));
}

TEST_F(SensorThreadTest, TakesPartInAScenarioChangeInThreeSteps) {
  PlainAlgo before("before", "Default", 0, cpu, algoThread);
  PlainAlgo after("after", "game", 0, cpu, algoThread);
  cpu.activate();
  const RunningSensorThread running(worker, last);
  ASSERT_TRUE(sleepsAfterSamples(1));

  park();
  ASSERT_TRUE(checkedIn());
  EXPECT_EQ(cpu.scenario, "Default");
  EXPECT_EQ(cpu.samples, 1);

  handOver("game");
  ASSERT_TRUE(checkedIn());
  for (const Sensor* sensor : {&cpu, &gpu}) {
    EXPECT_EQ(sensor->scenario, "game") << sensor->name;
    EXPECT_EQ(sensor->oldScenario, "Default") << sensor->name;
  }
  EXPECT_EQ(cpu.samples, 2);
  EXPECT_EQ(gpu.samples, 0) << "a sensor that is off is not sampled";
  EXPECT_TRUE(after.active);
  EXPECT_TRUE(before.active) << "the old scenario's algorithms go only at the end";

  release();
  ASSERT_TRUE(checkedIn());
  for (const Sensor* sensor : {&cpu, &gpu})
    EXPECT_EQ(sensor->oldScenario, "game") << sensor->name;
  EXPECT_FALSE(before.active);
  EXPECT_TRUE(after.active);
  EXPECT_TRUE(sleepsAfterSamples(3)) << "an ordinary pass in the same cycle";
  EXPECT_EQ(cpu.samples, 3);
}

TEST_F(SensorThreadTest, LogsAScenarioChangeOnceItIsThrough) {
  cpu.activate();
  RecordedLog log;
  {
    const RunningSensorThread running(worker, last);
    ASSERT_TRUE(sleepsAfterSamples(1));
    park();
    ASSERT_TRUE(checkedIn());
    handOver("game");
    ASSERT_TRUE(checkedIn());
    EXPECT_EQ(log.lines(), Lines{});
    release();
    ASSERT_TRUE(sleepsAfterSamples(3));
  }
  EXPECT_EQ(log.lines(), Lines{"[TalmorThermal] ScenChange for sensor Thread is done [game]\n"});
}

TEST_F(SensorThreadTest, ChangesTheScenarioWithoutALineWithLoggingOff) {
  cpu.activate();
  const LogSwitchedOff off;
  const RecordedLog log;
  const RunningSensorThread running(worker, last);
  ASSERT_TRUE(sleepsAfterSamples(1));
  park();
  ASSERT_TRUE(checkedIn());
  handOver("game");
  ASSERT_TRUE(checkedIn());
  release();
  ASSERT_TRUE(sleepsAfterSamples(3));
  EXPECT_EQ(log.lines(), Lines{});
}

TEST_F(SensorThreadTest, ChangesTheScenarioOnlyWhenItsPeriodIsCutShort) {
  cpu.activate();
  const RunningSensorThread running(worker, last);
  ASSERT_TRUE(sleepsAfterSamples(1));
  scenario.pendingCount = 1;
  worker.scenChangeRequested = true;
  EXPECT_TRUE(sleepsThroughPeriod(worker));
  EXPECT_EQ(scenario.pendingCount, 1);
  worker.sleepCond.notify_one();
  ASSERT_TRUE(checkedIn());
  handOver("game");
  ASSERT_TRUE(checkedIn());
  release();
  ASSERT_TRUE(checkedIn());
}

TEST_F(SensorThreadTest, ChecksInAndGoesOnAtABarrierThatDoesNotHoldIt) {
  for (const int barrier : {0, 1}) {
    scenario.pendingCount = 3;
    worker.waitForScenThread(barrier);
    EXPECT_EQ(scenario.pendingCount, 2) << barrier;
    EXPECT_FALSE(isHeld(worker.handshakeMutex[static_cast<size_t>(barrier)])) << barrier;
  }
}

TEST_F(SensorThreadTest, StaysAtABarrierUntilItIsNotifiedThere) {
  for (const int barrier : {0, 1}) {
    scenario.pendingCount = 1;
    worker.holdForScenThread = true;
    const std::future<void> wait =
        std::async(std::launch::async, [=] { worker.waitForScenThread(barrier); });
    ASSERT_TRUE(checkedIn());
    {
      const std::lock_guard<std::mutex> waits(worker.handshakeMutex[static_cast<size_t>(barrier)]);
    }
    worker.handshakeCond[static_cast<size_t>(1 - barrier)].notify_one();
    EXPECT_TRUE(staysUnderWay(wait)) << "the other barrier's notification is not for it";
    worker.handshakeCond[static_cast<size_t>(barrier)].notify_one();
    EXPECT_TRUE(staysUnderWay(wait)) << "nor is a wake-up while it is still to hold";
    EXPECT_EQ(scenario.pendingCount, 0) << "it checks in once";
    worker.holdForScenThread = false;
    worker.handshakeCond[static_cast<size_t>(barrier)].notify_one();
    EXPECT_TRUE(eventually([&] { return isOver(wait); }));
  }
}

TEST_F(SensorThreadTest, DropsTheRetiredScenariosOfAllItsSensors) {
  PlainAlgo cpuOld("a", "OLDSCEN_Default", 0, cpu, algoThread);
  PlainAlgo gpuOld("b", "OLDSCEN_game", 0, gpu, algoThread);
  PlainAlgo kept("c", "Default", 0, gpu, algoThread);
  worker.destroyOldScens();
  EXPECT_TRUE(cpu.algorithms.empty());
  EXPECT_EQ(gpu.algorithms.size(), 1u);
  EXPECT_TRUE(cpuOld.old);
  EXPECT_TRUE(gpuOld.old);
  EXPECT_FALSE(kept.old);
}

TEST_F(SensorThreadTest, FreesARetiredEntryInForceOnlyOnceThePassThatMaySeeItIsOver) {
  PlainAlgo walked("a", "my_OLDSCEN_one", 0, cpu, algoThread);
  PlainAlgo behind("b", "my_OLDSCEN_one", 0, cpu, algoThread);
  cpu.changeScenario("my_OLDSCEN_one");
  cpu.activate();
  std::promise<void> opened;
  std::atomic<bool> inTheWalk{false};
  walked.onActivate = [&] {
    inTheWalk = true;
    opened.get_future().wait();
  };
  const RunningSensorThread running(worker, last);
  ASSERT_TRUE(eventually([&] { return inTheWalk.load(); }));
  const std::future<void> cleanUp =
      std::async(std::launch::async, [this] { worker.destroyOldScens(); });
  EXPECT_TRUE(staysUnderWay(cleanUp));
  opened.set_value();
  EXPECT_TRUE(eventually([&] { return isOver(cleanUp); }));
  EXPECT_TRUE(behind.active) << "the walk under way goes to its end";
  EXPECT_TRUE(behind.old);
}

} // namespace
