#include "thread/Worker.h"

#include <chrono>
#include <cstdint>

#include <gtest/gtest.h>

#include "support/AnHour.h"
#include "support/Eventually.h"

namespace {

using Clock = std::chrono::steady_clock;

// The worker base with a body that a test steps through.
class Worker : public thermalThread<int> {
public:
  using thermalThread<int>::thermalThread;
  using thermalThread<int>::endOfPeriod;

  void operator()() override {
    std::unique_lock<std::mutex> loopLock(loopMutex);
    std::unique_lock<std::mutex> sleepLock(sleepMutex);
    waitUntilActive(loopLock);
  }
  void waitOnePeriod() {
    std::unique_lock<std::mutex> sleepLock(sleepMutex);
    waitForPeriod(sleepLock);
  }
};

TEST(WorkerTest, StartsWithNothingButItsPeriod) {
  const Worker worker(250);
  EXPECT_EQ(worker.period, 250);
  EXPECT_EQ(worker.activeCount, 0);
  EXPECT_TRUE(worker.items.empty());
  EXPECT_FALSE(worker.started);
  EXPECT_FALSE(worker.stopRequested);
}

TEST(WorkerTest, LeavesItsMutexesFree) {
  Worker worker(250);
  EXPECT_FALSE(isHeld(worker.loopMutex));
  EXPECT_FALSE(isHeld(worker.sleepMutex));
  EXPECT_FALSE(isHeld(worker.countMutex));
}

TEST(WorkerTest, AppendsItsItemsInOrder) {
  int items[] = {7, 8, 9};
  Worker worker(250);
  for (int& item : items)
    worker.insert(&item);
  std::vector<int> inserted;
  for (const int* item : worker.items)
    inserted.push_back(*item);
  EXPECT_EQ(inserted, (std::vector<int>{7, 8, 9}));
}

TEST(WorkerTest, CountsItsActiveItemsButNeverBelowZero) {
  Worker worker(250);
  worker.deactivate();
  EXPECT_EQ(worker.activeCount, 0);
  worker.activate();
  worker.activate();
  EXPECT_EQ(worker.activeCount, 2);
  worker.deactivate();
  EXPECT_EQ(worker.activeCount, 1);
  worker.deactivate();
  EXPECT_EQ(worker.activeCount, 0);
  worker.deactivate();
  worker.deactivate();
  EXPECT_EQ(worker.activeCount, 0);
  worker.activate();
  EXPECT_EQ(worker.activeCount, 1);
}

TEST(WorkerTest, IsWokenByTheFirstActivation) {
  Worker worker(250);
  const std::future<void> body = std::async(std::launch::async, std::ref(worker));
  ASSERT_TRUE(eventually([&] { return sleepsUntilActive(worker); }));
  EXPECT_FALSE(isOver(body));
  worker.activate();
  EXPECT_TRUE(eventually([&] { return isOver(body); }));
}

TEST(WorkerTest, CountsItsPeriodsFromTheMomentItIsWoken) {
  constexpr std::chrono::milliseconds kPeriod{kAnHour};
  Worker worker(kAnHour);
  const std::future<void> body = std::async(std::launch::async, std::ref(worker));
  ASSERT_TRUE(eventually([&] { return sleepsUntilActive(worker); }));
  const Clock::time_point before = Clock::now();
  worker.activate();
  ASSERT_TRUE(eventually([&] { return isOver(body); }));
  // So soon behind that moment the next of its moments is the first.
  EXPECT_GE(worker.endOfPeriod(), before + kPeriod + kPeriod / 50);
}

TEST(WorkerTest, DoesNotWaitForAnActivationThatIsThereAlready) {
  Worker worker(250);
  worker.activate();
  const std::future<void> body = std::async(std::launch::async, std::ref(worker));
  EXPECT_TRUE(eventually([&] { return isOver(body); }));
}

TEST(WorkerTest, WaitsItsPeriodButAtLeastAMillisecond) {
  const struct {
    int period, milliseconds;
  } cases[] = {{250, 250}, {2, 2}, {1, 1}, {0, 1}, {-1, 1}, {INT32_MIN, 1}, {INT32_MAX, INT32_MAX}};
  for (const auto& c : cases) {
    const std::chrono::nanoseconds length = std::chrono::milliseconds(c.milliseconds);
    const Worker worker(c.period);
    const Clock::time_point before = Clock::now();
    const Clock::time_point end = worker.endOfPeriod();
    EXPECT_GE(end - before, length) << c.period;
    EXPECT_LE(end - Clock::now(), length + length / 50) << c.period;
  }
}

TEST(WorkerTest, WaitsAMillisecondWithAPeriodBelowOne) {
  for (const int period : {0, -1, INT32_MIN}) {
    Worker worker(period);
    const Clock::time_point begin = Clock::now();
    for (int i = 0; i < 20; ++i)
      worker.waitOnePeriod();
    EXPECT_GE(Clock::now() - begin, std::chrono::milliseconds(10)) << period;
    EXPECT_EQ(worker.period, period) << "it keeps the number as it was given";
  }
}

TEST(WorkerTest, EndsNoWaitEarlyNorLaterThanByAFiftieth) {
  const Clock::time_point phase{std::chrono::microseconds(123457)};
  for (const int64_t period : {1, 20, 60, 250, 333, 1000, 60000, INT32_MAX}) {
    const std::chrono::nanoseconds length = std::chrono::milliseconds(period);
    for (int i = 0; i < 2000; ++i) {
      const Clock::time_point now = phase + i * length / 487;
      EXPECT_GE(endOfWait(now, length, phase) - now, length) << period;
      EXPECT_LE(endOfWait(now, length, phase) - now, length + length / 50) << period;
    }
  }
}

TEST(WorkerTest, EndsAWaitAtAMomentOfItsPhaseWhereOneIsNear) {
  using std::chrono::milliseconds;
  const Clock::time_point phase{milliseconds(1000)};
  const struct {
    int begin, end;
    const char* why;
  } cases[] = {
      {0, 255, "from a moment to the next"},
      {1, 255, "a pass of 1 ms"},
      {5, 255, "a pass of all the time that there is"},
      {6, 256, "a longer one costs the next moment"},
      {254, 504, "short of a moment, and so closer to the one behind"},
      {255, 510, "from the next moment on"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(endOfWait(phase + milliseconds(c.begin), milliseconds(250), phase),
              phase + milliseconds(c.end))
        << c.why;
  }
}

TEST(WorkerTest, BringsWorkersTogetherWhoseMomentsAreAmongThoseOfTheFastest) {
  using std::chrono::microseconds;
  using std::chrono::milliseconds;
  const Clock::time_point phase{milliseconds(777)};
  const struct {
    milliseconds period, start;
    microseconds pass;
  } workers[] = {
      {milliseconds(250), milliseconds(3), microseconds(90)},
      {milliseconds(250), milliseconds(201), microseconds(400)},
      {milliseconds(500), milliseconds(499), microseconds(120)},
      {milliseconds(1000), milliseconds(16), microseconds(700)},
      {milliseconds(1000), milliseconds(1019), microseconds(50)},
  };
  for (const auto& worker : workers) {
    Clock::time_point end = phase + worker.start;
    // A fiftieth closer each time: everybody is there after 51 waits.
    for (int wait = 0; wait < 100; ++wait) {
      if (wait > 51) {
        EXPECT_EQ((end - phase) % milliseconds(255), milliseconds(0));
      }
      end = endOfWait(end + worker.pass, worker.period, phase);
    }
  }
}

TEST(WorkerTest, EndsItsPeriodEarlyWhenItIsNotified) {
  Worker worker(3'600'000);
  std::future<void> wait = std::async(std::launch::async, [&worker] { worker.waitOnePeriod(); });
  EXPECT_TRUE(eventually([&] {
    worker.sleepCond.notify_one();
    return isOver(wait);
  }));
}

} // namespace
