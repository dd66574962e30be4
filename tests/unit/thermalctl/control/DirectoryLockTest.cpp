#include "control/DirectoryLock.h"

#include <optional>
#include <stdexcept>
#include <vector>

#include <gtest/gtest.h>

#include "support/SysfsDir.h"

namespace {

using namespace std::chrono_literals;

class DirectoryLockTest : public ::testing::Test, public Waiting {
protected:
  Time now() override { return time; }
  void pause(std::chrono::milliseconds step, int = kNothing) override {
    time += step;
    if (time - Time() >= goneAfter) other.reset();
  }
  void stage(const std::string& what) override { stages.push_back(what); }

  std::optional<DirectoryLock> lock(std::chrono::milliseconds timeout = 5s) {
    return DirectoryLock(directory.node(""), timeout, *this);
  }

  SysfsDir directory;
  Time time{};
  std::vector<std::string> stages;
  std::optional<DirectoryLock> other;
  std::chrono::milliseconds goneAfter = 1h;
};

TEST_F(DirectoryLockTest, IsHadAtOnceWhereNobodyHasIt) {
  lock();
  lock();
  EXPECT_EQ(time, Time());
}

TEST_F(DirectoryLockTest, IsWaitedForUntilTheOtherIsDone) {
  other = lock();
  goneAfter = 2s;
  stages.clear();
  lock();
  EXPECT_EQ(time, Time() + 2s);
  EXPECT_EQ(stages, std::vector<std::string>{"waiting for another thermalctl"});
}

TEST_F(DirectoryLockTest, IsGivenUpAtTheEndOfItsTime) {
  other = lock();
  EXPECT_THROW(lock(1s), std::runtime_error);
  EXPECT_EQ(time, Time() + 1s);
}

TEST_F(DirectoryLockTest, DoesWithoutADirectory) {
  EXPECT_NO_THROW(DirectoryLock(directory.node("nothing"), 1s, *this));
  EXPECT_EQ(time, Time());
}

} // namespace
