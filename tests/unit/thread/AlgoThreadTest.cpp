#include "thread/AlgoThread.h"

#include <functional>
#include <string>

#include <gtest/gtest.h>

#include "support/AnHour.h"
#include "support/FixedSensor.h"
#include "support/Gate.h"
#include "support/JournalDevice.h"
#include "support/RunningThreads.h"
#include "thread/MonitorThread.h"
#include "thread/SSThread.h"

namespace {

using Names = std::vector<std::string>;

constexpr int32_t kAwake = 50000;

// An item that also tells when it decides and when it is deleted.
template <typename Item> class Traced : public Item {
public:
  using Item::Item;
  ~Traced() override { onDelete(); }
  int decision() override {
    onDecision();
    const int result = Item::decision();
    ++decisions;
    return result;
  }

  std::atomic<int> decisions{0};
  std::function<void()> onDecision = [] {};
  std::function<void()> onDelete = [] {};
};

Traced<Monitor>* newItem(const std::string& name, Sensor& sensor, MonitorThread& worker,
                         Device& device) {
  return new Traced<Monitor>(name, 1000u, kAwake, kAwake, "Default", false, &sensor, &worker,
                             Monitor::DeviceRows{{&device}}, Monitor::LevelRows{{1}},
                             std::vector<int32_t>{kAwake}, std::vector<int32_t>{kAwake});
}
Traced<SS>* newItem(const std::string& name, Sensor& sensor, SSThread& worker, Device& device) {
  return new Traced<SS>(name, 1000u, kAwake, kAwake, 1, "Default", false, &sensor, &worker, &device,
                        9, 0u);
}

template <typename Worker> class AlgoThreadTest : public ::testing::Test {
protected:
  using Item = std::remove_pointer_t<decltype(newItem(
      std::string(), std::declval<Sensor&>(), std::declval<Worker&>(), std::declval<Device&>()))>;

  AlgoThreadTest() { sensor.temperature = kAwake; }
  ~AlgoThreadTest() override {
    for (auto* item : worker.items)
      delete item;
  }

  Item& insert(const std::string& name) {
    Item* item = newItem(name, sensor, worker, device);
    item->onDecision = [this, name] {
      gate.pass();
      decided.push_back(name);
    };
    item->onDelete = [this, name] { deleted.push_back(name); };
    worker.insert(item);
    return *item;
  }

  Names itemNames() const {
    Names names;
    for (const auto* item : worker.items)
      names.push_back(item->name);
    return names;
  }

  // Waits until the worker has made a pass and sleeps through its period.
  void awaitPassOf(const Item& item) {
    ASSERT_TRUE(eventually([&] { return item.decisions >= 1 && sleepsThroughPeriod(worker); }));
  }

  FixedSensor sensor;
  JournalDevice device;
  Worker worker{kAnHour};
  Gate gate;
  Names decided; // by the worker's own thread where there is one
  Names deleted;
};

struct KindName {
  // GoogleTest asks for it by this name. NOLINTNEXTLINE(readability-identifier-naming)
  template <typename Worker> static std::string GetName(int) {
    return std::is_same_v<Worker, MonitorThread> ? "Monitor" : "SS";
  }
};
using Workers = ::testing::Types<MonitorThread, SSThread>;
TYPED_TEST_SUITE(AlgoThreadTest, Workers, KindName);

TYPED_TEST(AlgoThreadTest, LetsItsActiveItemsDecideInOrder) {
  this->insert("b").active = true;
  this->insert("idle");
  this->insert("a").active = true;
  this->worker.decisionPass();
  EXPECT_EQ(this->decided, (Names{"b", "a"}));
  this->worker.decisionPass();
  EXPECT_EQ(this->decided, (Names{"b", "a", "b", "a"}));
}

TYPED_TEST(AlgoThreadTest, LeavesNoRequestOfAnItemThatIsPutToSleepAsItBeginsToDecide) {
  auto& item = this->insert("a");
  item.activate();
  // As the sensor's thread may do in a scenario change, behind the worker's look at `active`.
  item.onDecision = [&item] { item.deactivate(); };
  item.status = 1;
  this->sensor.temperature = 2 * kAwake;
  this->worker.decisionPass();
  EXPECT_EQ(item.status, 0u);
  EXPECT_EQ(this->device.requests["a"], 0);
  EXPECT_EQ(this->device.currentLevel, 0);
  EXPECT_EQ(this->worker.activeCount, 0);
}

TYPED_TEST(AlgoThreadTest, LeavesAnItemThatFallsAsleepOutOfTheNextPass) {
  auto& item = this->insert("a");
  item.activate();
  this->worker.decisionPass();
  this->sensor.temperature = 0;
  this->worker.decisionPass();
  this->worker.decisionPass();
  EXPECT_EQ(item.decisions, 2);
  EXPECT_EQ(this->worker.activeCount, 0);
}

TYPED_TEST(AlgoThreadTest, SleepsUntilItsFirstActivationAndThenStartsAPassAtOnce) {
  auto& item = this->insert("a");
  const RunningAlgoThread running(this->worker);
  ASSERT_TRUE(eventually([&] { return sleepsUntilActive(this->worker); }));
  EXPECT_EQ(item.decisions, 0);
  item.activate();
  this->awaitPassOf(item);
  EXPECT_EQ(item.decisions, 1);
}

TYPED_TEST(AlgoThreadTest, DecidesOncePerPeriodWhileAnItemIsActive) {
  this->worker.period = 1;
  auto& item = this->insert("a");
  item.activate();
  const RunningAlgoThread running(this->worker);
  EXPECT_TRUE(eventually([&] { return item.decisions >= 5; }));
}

TYPED_TEST(AlgoThreadTest, RunsUntilItsLastActiveItemIsDeactivated) {
  this->worker.period = 1;
  auto& item = this->insert("a");
  item.active = true;
  this->worker.activate();
  this->worker.activate();
  const RunningAlgoThread running(this->worker);
  this->worker.deactivate();
  const int decisions = item.decisions;
  EXPECT_TRUE(eventually([&] { return item.decisions >= decisions + 5; }));
  this->worker.deactivate();
  EXPECT_TRUE(eventually([&] { return sleepsUntilActive(this->worker); }));
}

TYPED_TEST(AlgoThreadTest, MakesOnePassForAWakeUpWithoutAnActivation) {
  auto& item = this->insert("a");
  item.active = true;
  this->worker.period = 1;
  const RunningAlgoThread running(this->worker);
  ASSERT_TRUE(eventually([&] { return sleepsUntilActive(this->worker); }));
  this->worker.activateCond.notify_one();
  ASSERT_TRUE(eventually([&] { return item.decisions >= 1; }));
  EXPECT_TRUE(eventually([&] { return sleepsUntilActive(this->worker); }));
  EXPECT_EQ(item.decisions, 1);
}

TYPED_TEST(AlgoThreadTest, StopsOnItsNextCycleWhenItIsAskedToInItsPeriod) {
  auto& item = this->insert("a");
  item.activate();
  const RunningAlgoThread running(this->worker);
  this->awaitPassOf(item);
  this->worker.stopRequested = true;
  this->worker.sleepCond.notify_one();
  EXPECT_TRUE(eventually([&] { return running.hasEnded(); }));
  EXPECT_EQ(item.decisions, 1);
}

TYPED_TEST(AlgoThreadTest, MakesOnePassFirstWhenItIsAskedToStopWhileNoItemIsActive) {
  auto& item = this->insert("a");
  item.active = true;
  const RunningAlgoThread running(this->worker);
  ASSERT_TRUE(eventually([&] { return sleepsUntilActive(this->worker); }));
  this->worker.stopRequested = true;
  this->worker.activate();
  this->awaitPassOf(item);
  EXPECT_FALSE(running.hasEnded());
  this->worker.sleepCond.notify_one();
  EXPECT_TRUE(eventually([&] { return running.hasEnded(); }));
  EXPECT_EQ(item.decisions, 1);
}

TYPED_TEST(AlgoThreadTest, MakesNoPassWhenItIsToStopFromTheStart) {
  auto& item = this->insert("a");
  item.activate();
  this->worker.stopRequested = true;
  this->worker();
  EXPECT_EQ(item.decisions, 0);
}

TYPED_TEST(AlgoThreadTest, LeavesItsMutexesFreeWhenItEnds) {
  this->worker.stopRequested = true;
  this->worker();
  EXPECT_FALSE(isHeld(this->worker.loopMutex));
  EXPECT_FALSE(isHeld(this->worker.sleepMutex));
}

TYPED_TEST(AlgoThreadTest, MissesNoActivationWhileItIsAboutToSleep) {
  this->worker.period = 0;
  auto& item = this->insert("a");
  const RunningAlgoThread running(this->worker);
  for (int round = 0; round < 300; ++round) {
    const int decisions = item.decisions;
    item.active = true;
    this->worker.activate();
    ASSERT_TRUE(eventually([&] { return item.decisions > decisions; })) << round;
    item.active = false;
    this->worker.deactivate();
  }
}

TYPED_TEST(AlgoThreadTest, DeletesItsOldItemsAndKeepsTheOthersInOrder) {
  this->insert("c");
  this->insert("old").old = true;
  this->insert("a");
  this->insert("old too").old = true;
  this->insert("b");
  EXPECT_FALSE(this->worker.destroyOldItems());
  EXPECT_EQ(this->itemNames(), (Names{"c", "a", "b"}));
  EXPECT_EQ(this->deleted, (Names{"old", "old too"}));
  EXPECT_FALSE(this->worker.stopRequested);
}

TYPED_TEST(AlgoThreadTest, KeepsAllItsItemsWhenNoneIsOld) {
  this->insert("b");
  this->insert("a");
  EXPECT_FALSE(this->worker.destroyOldItems());
  EXPECT_EQ(this->itemNames(), (Names{"b", "a"}));
  EXPECT_EQ(this->deleted, Names{});
  EXPECT_FALSE(this->worker.stopRequested);
}

TYPED_TEST(AlgoThreadTest, IsToStopWhenNoItemIsLeft) {
  this->insert("a").old = true;
  this->insert("b").old = true;
  EXPECT_TRUE(this->worker.destroyOldItems());
  EXPECT_TRUE(this->worker.items.empty());
  EXPECT_EQ(this->deleted, (Names{"a", "b"}));
  EXPECT_TRUE(this->worker.stopRequested);
}

TYPED_TEST(AlgoThreadTest, IsToStopWhenItNeverHadAnItem) {
  EXPECT_TRUE(this->worker.destroyOldItems());
  EXPECT_TRUE(this->worker.stopRequested);
}

TYPED_TEST(AlgoThreadTest, TakesTheRequestOfAnOldItemBackThatIsStillAwake) {
  auto& item = this->insert("a");
  item.activate();
  this->worker.decisionPass();
  ASSERT_EQ(this->device.levelsSet(), std::vector<int32_t>{1});
  item.old = true;
  this->worker.destroyOldItems();
  EXPECT_EQ(this->device.levelsSet(), (std::vector<int32_t>{1, 0}));
  EXPECT_EQ(this->worker.activeCount, 0);
}

TYPED_TEST(AlgoThreadTest, LeavesTheDeviceOfAnOldItemThatSleepsAlone) {
  this->insert("a").old = true;
  this->worker.destroyOldItems();
  EXPECT_TRUE(this->device.requests.empty());
}

TYPED_TEST(AlgoThreadTest, DeletesAnOldItemOnlyOnceThePassThatMaySeeItIsOver) {
  auto& item = this->insert("a");
  item.activate();
  this->gate.close();
  const RunningAlgoThread running(this->worker);
  ASSERT_TRUE(eventually([&] { return this->gate.holdsAThread(); }));
  item.old = true;
  const std::future<void> cleanUp =
      std::async(std::launch::async, [this] { this->worker.destroyOldItems(); });
  EXPECT_TRUE(staysUnderWay(cleanUp));
  this->gate.open();
  cleanUp.wait();
  EXPECT_EQ(this->deleted, Names{"a"});
  EXPECT_EQ(this->decided, Names{"a"});
}

TYPED_TEST(AlgoThreadTest, HasAWokenItemFromTheChangeOfScenarioToItsFirstDecision) {
  this->insert("idle");
  auto& item = this->insert("a");
  item.activate();
  EXPECT_FALSE(this->worker.hasWoken()) << "woken by an ordinary sample";
  item.undecided = true;
  EXPECT_TRUE(this->worker.hasWoken());
  this->worker.decisionPass();
  EXPECT_FALSE(this->worker.hasWoken());
}

TYPED_TEST(AlgoThreadTest, HasNoWokenItemThatIsAsleepOrNoLongerInForce) {
  auto& item = this->insert("a");
  item.undecided = true;
  EXPECT_FALSE(this->worker.hasWoken());
  item.activate();
  EXPECT_TRUE(this->worker.hasWoken());
  item.inForce = false;
  EXPECT_FALSE(this->worker.hasWoken());
}

TYPED_TEST(AlgoThreadTest, LetsOnlyWokenItemsDecideAheadOfTheOthers) {
  this->insert("retiring").activate();
  auto& woken = this->insert("woken");
  woken.undecided = true;
  woken.activate();
  this->insert("asleep").undecided = true;
  this->worker.decideWoken();
  EXPECT_EQ(this->decided, Names{"woken"});
  this->worker.decideWoken();
  EXPECT_EQ(this->decided, Names{"woken"}) << "and those once";
}

TYPED_TEST(AlgoThreadTest, LetsAWokenItemDecideInTheMiddleOfItsPeriodAndKeepsThePeriod) {
  auto& other = this->insert("other");
  auto& woken = this->insert("woken");
  other.activate();
  const RunningAlgoThread running(this->worker);
  this->awaitPassOf(other);
  woken.undecided = true;
  woken.active = true;
  ASSERT_TRUE(eventually([&] {
    this->worker.sleepCond.notify_one();
    return woken.decisions == 1;
  }));
  for (int i = 0; i < 3; ++i) {
    ASSERT_TRUE(eventually([&] { return sleepsThroughPeriod(this->worker); }));
    this->worker.sleepCond.notify_one();
  }
  EXPECT_EQ(other.decisions, 1);
  EXPECT_EQ(woken.decisions, 1);
}

TYPED_TEST(AlgoThreadTest, IsAwaitedWhileItHasAWokenItem) {
  auto& item = this->insert("a");
  this->worker.noteDecisionUnderWay();
  EXPECT_FALSE(this->worker.isAwaited());
  item.undecided = true;
  item.active = true;
  EXPECT_TRUE(this->worker.isAwaited());
  this->worker.decideWoken();
  EXPECT_FALSE(this->worker.isAwaited());
}

TYPED_TEST(AlgoThreadTest, IsNotAwaitedAsLongAsTheDecisionLastsThatItWasInBefore) {
  auto& held = this->insert("held");
  auto& woken = this->insert("woken");
  held.activate();
  this->gate.close();
  const RunningAlgoThread running(this->worker);
  ASSERT_TRUE(eventually([&] { return this->gate.holdsAThread(); }));
  this->worker.noteDecisionUnderWay();
  woken.undecided = true;
  woken.active = true;
  EXPECT_TRUE(this->worker.hasWoken());
  EXPECT_FALSE(this->worker.isAwaited());
  this->gate.open();
  ASSERT_TRUE(eventually([&] { return sleepsThroughPeriod(this->worker); }));
  woken.undecided = true;
  EXPECT_TRUE(this->worker.isAwaited()) << "what held it up is over";
}

class MonitorThreadTest : public AlgoThreadTest<MonitorThread> {};

TEST_F(MonitorThreadTest, KeepsCountingAnOldMonitorThatWasAwakeAtLevelZero) {
  Item& old = insert("old");
  insert("new");
  old.activate();
  old.old = true;
  EXPECT_FALSE(worker.destroyOldItems());
  EXPECT_EQ(deleted, Names{"old"});
  EXPECT_EQ(worker.activeCount, 1);
}

class SSThreadTest : public AlgoThreadTest<SSThread> {};

TEST_F(SSThreadTest, CountsAnOldItemThatWasAwakeAtStepZeroNoLonger) {
  Item& old = insert("old");
  insert("new");
  old.activate();
  old.old = true;
  EXPECT_FALSE(worker.destroyOldItems());
  EXPECT_EQ(worker.activeCount, 0);
}

} // namespace
