#include "log/SwapWatch.h"

#include <gtest/gtest.h>

namespace {

using Event = SwapWatch::Event;

// A daemon's log of a swap, message by message.
class SwapWatchTest : public testing::Test {
protected:
  Event take(LogLine::Kind kind, std::string_view scenario = "") {
    LogLine line;
    line.kind = kind;
    line.scenario = scenario;
    return watch.take(line);
  }
  Event begins() { return take(LogLine::Kind::kSwap); }
  Event wakes(std::string_view scenario) { return take(LogLine::Kind::kWoken, scenario); }
  Event scenarioIsInForce() { return take(LogLine::Kind::kScenario); }
  Event isDone() { return take(LogLine::Kind::kSwapDone); }

  SwapWatch watch;
};

TEST(RetiredScenarioTest, ItsMarkIsKnownAndTakenOff) {
  EXPECT_TRUE(isRetired("OLDSCEN_game"));
  EXPECT_FALSE(isRetired("game"));
  EXPECT_FALSE(isRetired("game_OLDSCEN_"));
  EXPECT_EQ(declaredScenario("OLDSCEN_game"), "game");
  EXPECT_EQ(declaredScenario("game"), "game");
}

TEST(RetiredScenarioTest, OneThatWasRetiredTwiceLosesBothMarks) {
  EXPECT_EQ(declaredScenario("OLDSCEN_OLDSCEN_game"), "game");
}

TEST_F(SwapWatchTest, AScenarioAloneIsNoSwap) {
  EXPECT_EQ(scenarioIsInForce(), Event::kNone);
  EXPECT_EQ(isDone(), Event::kNone);
  EXPECT_FALSE(watch.underWay());
  EXPECT_FALSE(watch.marksPredecessor());
}

TEST_F(SwapWatchTest, TheNewOneComesWithTheEndOfTheFirstChange) {
  EXPECT_EQ(begins(), Event::kNone);
  EXPECT_FALSE(watch.underWay());
  EXPECT_EQ(scenarioIsInForce(), Event::kNew);
  EXPECT_TRUE(watch.underWay());
  EXPECT_TRUE(watch.marksPredecessor());
}

TEST_F(SwapWatchTest, ItIsDoneOnce) {
  begins();
  scenarioIsInForce();
  EXPECT_EQ(isDone(), Event::kDone);
  EXPECT_FALSE(watch.underWay());
  EXPECT_TRUE(watch.marksPredecessor());
  EXPECT_EQ(isDone(), Event::kNone);
}

TEST_F(SwapWatchTest, WhereTheEndOfTheFirstChangeIsLostTheFirstWithoutAMarkTells) {
  begins();
  EXPECT_EQ(wakes("OLDSCEN_Default"), Event::kNone);
  EXPECT_EQ(wakes("Default"), Event::kNew);
  EXPECT_EQ(isDone(), Event::kDone);
}

TEST_F(SwapWatchTest, WhoWakesBeforeAnyMarkIsStillOfTheOldOne) {
  begins();
  EXPECT_EQ(wakes("Default"), Event::kNone);
  EXPECT_EQ(wakes("OLDSCEN_Default"), Event::kNone);
  EXPECT_EQ(wakes("Default"), Event::kNew);
}

TEST_F(SwapWatchTest, ASampleWithTheMarkCountsAndOneWithoutIsNobodysWaking) {
  begins();
  EXPECT_EQ(take(LogLine::Kind::kSample, "OLDSCEN_Default"), Event::kNone);
  EXPECT_EQ(take(LogLine::Kind::kSample, "Default"), Event::kNone);
  EXPECT_EQ(wakes("Default"), Event::kNew);
}

TEST_F(SwapWatchTest, TheMarkOfAnotherKindOfMessageIsNone) {
  begins();
  EXPECT_EQ(take(LogLine::Kind::kLevel, "OLDSCEN_Default"), Event::kNone);
  EXPECT_EQ(wakes("Default"), Event::kNone);
}

TEST_F(SwapWatchTest, WhereOnlyTheLastMessageIsLeftTheSwapIsSettledAtOnce) {
  begins();
  EXPECT_EQ(isDone(), Event::kNew);
  EXPECT_FALSE(watch.underWay());
  EXPECT_TRUE(watch.marksPredecessor());
}

TEST_F(SwapWatchTest, AFurtherSwapHasNoPredecessorUntilItIsTakenOver) {
  begins();
  scenarioIsInForce();
  isDone();
  begins();
  EXPECT_FALSE(watch.marksPredecessor());
  EXPECT_EQ(scenarioIsInForce(), Event::kNew);
}

TEST_F(SwapWatchTest, AStartForgetsTheSwap) {
  begins();
  scenarioIsInForce();
  EXPECT_EQ(take(LogLine::Kind::kStart), Event::kRestart);
  EXPECT_FALSE(watch.underWay());
  EXPECT_FALSE(watch.marksPredecessor());
  EXPECT_EQ(isDone(), Event::kNone);
}

} // namespace
