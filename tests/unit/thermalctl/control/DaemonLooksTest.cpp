#include "control/DaemonLooks.h"

#include <gtest/gtest.h>

namespace {

using namespace std::chrono_literals;

using Cycles = std::vector<DaemonLooks::Cycle>;

class DaemonLooksTest : public ::testing::Test {
protected:
  void scenario(FileEvent::Kind kind) { see({"talmor-thermal.scen", kind}); }
  void request(FileEvent::Kind kind) { see({"talmor-thermal.dconf", kind}); }
  void see(const FileEvent& event) {
    if (const auto cycle = looks.after(event, now)) cycles.push_back(*cycle);
  }

  Waiting::Time now;
  DaemonLooks looks{ControlDirectory("/data/vendor/thermal")};
  Cycles cycles;
};

TEST_F(DaemonLooksTest, BothFilesAtOnceAreACycle) {
  scenario(FileEvent::kRead);
  request(FileEvent::kRead);
  EXPECT_EQ(cycles, Cycles{DaemonLooks::kRead});
}

TEST_F(DaemonLooksTest, TheRequestFileAloneIsACycleWithASwitch) {
  request(FileEvent::kRead);
  EXPECT_EQ(cycles, Cycles{DaemonLooks::kSwitch});
}

TEST_F(DaemonLooksTest, ALookAtOneFileIsNone) {
  scenario(FileEvent::kRead);
  see({"talmor-thermal.report", FileEvent::kRead});
  EXPECT_EQ(cycles, Cycles{});
}

TEST_F(DaemonLooksTest, WhatLiesBetweenTheFilesTellsWhoseLookItWas) {
  const struct {
    std::chrono::milliseconds between;
    DaemonLooks::Cycle cycle;
  } cases[] = {{0ms, DaemonLooks::kRead},         {2ms, DaemonLooks::kRead},
               {3ms, DaemonLooks::kReadOrSwitch}, {100ms, DaemonLooks::kReadOrSwitch},
               {101ms, DaemonLooks::kSwitch},     {1s, DaemonLooks::kSwitch}};
  for (const auto& c : cases) {
    cycles.clear();
    scenario(FileEvent::kRead);
    now += c.between;
    request(FileEvent::kRead);
    EXPECT_EQ(cycles, Cycles{c.cycle}) << c.between.count();
  }
}

TEST_F(DaemonLooksTest, AWordWrittenBetweenTheLooksIsAnAnswer) {
  EXPECT_FALSE(looks.mayBeAnswering(now));
  scenario(FileEvent::kRead);
  // It is written before it is closed.
  EXPECT_TRUE(looks.mayBeAnswering(now));
  scenario(FileEvent::kWritten);
  EXPECT_TRUE(looks.mayBeAnswering(now));
  request(FileEvent::kRead);
  EXPECT_EQ(cycles, Cycles{DaemonLooks::kAnswer});
  EXPECT_FALSE(looks.mayBeAnswering(now));
}

TEST_F(DaemonLooksTest, AnAnswerInACycleWithASwapEndsWithTheWordInTheRequestFile) {
  scenario(FileEvent::kRead);
  scenario(FileEvent::kWritten);
  request(FileEvent::kWritten);
  EXPECT_EQ(cycles, Cycles{DaemonLooks::kAnswer});
}

TEST_F(DaemonLooksTest, AnotherWritersWordUnderAnAnswerIsNoticed) {
  for (const auto kind : {FileEvent::kWritten, FileEvent::kReplaced}) {
    cycles.clear();
    scenario(FileEvent::kRead);
    scenario(kind);
    scenario(FileEvent::kWritten);
    request(FileEvent::kRead);
    EXPECT_EQ(cycles, Cycles{DaemonLooks::kLateAnswer});
  }
}

TEST_F(DaemonLooksTest, AWordThatIsReadAgainWasNoAnswer) {
  scenario(FileEvent::kRead);
  scenario(FileEvent::kWritten);
  scenario(FileEvent::kRead);
  request(FileEvent::kRead);
  EXPECT_EQ(cycles, Cycles{DaemonLooks::kRead});
}

TEST_F(DaemonLooksTest, AReaderWhoWritesIsTheDaemonOnlyIfItGoesOnInAMoment) {
  scenario(FileEvent::kRead);
  scenario(FileEvent::kWritten);
  now += 250ms;
  EXPECT_TRUE(looks.mayBeAnswering(now));
  now += 1ms;
  EXPECT_FALSE(looks.mayBeAnswering(now));
  request(FileEvent::kRead);
  EXPECT_EQ(cycles, Cycles{DaemonLooks::kSwitch});
}

TEST_F(DaemonLooksTest, ARequestIsNoLook) {
  scenario(FileEvent::kRead);
  request(FileEvent::kReplaced);
  EXPECT_EQ(cycles, Cycles{});
}

} // namespace
