#include "study/Jobs.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <numeric>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace {

using namespace std::chrono_literals;

std::vector<size_t> upTo(size_t count) {
  std::vector<size_t> numbers(count);
  std::iota(numbers.begin(), numbers.end(), 0);
  return numbers;
}

TEST(JobsTest, AreDoneOnceEachAndFollowedUpInOrder) {
  for (const size_t threads : std::vector<size_t>{1, 2, 8, 100}) {
    std::vector<std::atomic<int>> done(50);
    std::vector<size_t> after;
    runJobs(
        done.size(), threads,
        [&](size_t i) {
          // The first ones take the longest.
          if (i < 4) std::this_thread::sleep_for(2ms * (4 - i));
          ++done[i];
        },
        [&](size_t i) { after.push_back(i); });
    for (const std::atomic<int>& each : done)
      EXPECT_EQ(each, 1);
    EXPECT_EQ(after, upTo(done.size()));
  }
}

TEST(JobsTest, NoneAtAllIsNoWork) {
  runJobs(
      0, 2, [](size_t) { FAIL(); }, [](size_t) { FAIL(); });
}

TEST(JobsTest, RunAtTheSameTime) {
  std::mutex mutex;
  std::condition_variable met;
  size_t here = 0;
  // Each waits for the other one: by itself neither would come back.
  runJobs(
      2, 2,
      [&](size_t) {
        std::unique_lock lock(mutex);
        ++here;
        met.notify_all();
        EXPECT_TRUE(met.wait_for(lock, 20s, [&] { return here == 2; }));
      },
      [](size_t) {});
}

TEST(JobsTest, DoNotRunFarAheadOfTheFirstThatIsNotDone) {
  std::atomic<bool> release{false};
  std::atomic<size_t> furthest{0};
  runJobs(
      1000, 2,
      [&](size_t i) {
        size_t seen = furthest;
        while (seen < i && !furthest.compare_exchange_weak(seen, i)) {
        }
        if (i == 0) {
          while (furthest < 7 && !release)
            std::this_thread::sleep_for(1ms);
          std::this_thread::sleep_for(20ms);
          EXPECT_LT(furthest, 8U);
        }
      },
      [&](size_t) { release = true; });
}

TEST(JobsTest, EndWithTheFirstException) {
  for (const size_t threads : std::vector<size_t>{1, 4}) {
    std::vector<size_t> after;
    const auto run = [&] {
      runJobs(
          20, threads,
          [](size_t i) {
            if (i == 5) throw std::runtime_error("five");
          },
          [&](size_t i) { after.push_back(i); });
    };
    EXPECT_THROW(run(), std::runtime_error);
    EXPECT_LE(after.size(), 5U);
    EXPECT_THROW(runJobs(
                     3, threads, [](size_t) {}, [](size_t) { throw std::runtime_error("after"); }),
                 std::runtime_error);
  }
}

} // namespace
