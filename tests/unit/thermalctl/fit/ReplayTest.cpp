#include "fit/Replay.h"

#include <limits>
#include <string>

#include <gtest/gtest.h>

#include "thermalctl/fit/FitExamples.h"

namespace {

class ReplayTest : public testing::Test {
protected:
  using Kind = RecordedChange::Kind;

  RecordedFile& loads() { return played.files[0]; }
  RecordedFile& sensors() { return played.files[1]; }
  std::string rowsOf(Loop loop) const {
    const std::string text = workloadOf(played, plant, loop);
    return text.substr(text.find('\n') + 1);
  }

  const PlantDescription plant = fit_examples::plantOf();
  Recorded played{"one", {RecordedFile(), RecordedFile()}};
};

TEST_F(ReplayTest, HasAColumnOfWattsForEachSourceWhateverTheDaemonDecides) {
  const std::string text = workloadOf(played, plant, Loop::kOpen);
  EXPECT_EQ(text.substr(0, text.find('\n')), "time,ambient,watts cpu,watts panel");
}

TEST_F(ReplayTest, HasAColumnOfTheLoadForEachSourceThatTheDaemonThrottlesAnew) {
  const std::string text = workloadOf(played, plant, Loop::kClosed);
  EXPECT_EQ(text.substr(0, text.find('\n')), "time,ambient,cpu,panel");
}

TEST_F(ReplayTest, OfWhatNothingIsToldThePlantIsReplayed) {
  EXPECT_EQ(rowsOf(Loop::kOpen), "0.000,20.0000,0.2,0\n");
  EXPECT_EQ(rowsOf(Loop::kClosed), "0.000,20.0000,0,0\n");
}

TEST_F(ReplayTest, EachTimeAtWhichSomethingChangesIsALine) {
  loads().changes = {{0, Kind::kLoad, 0, 0.5},   {0, Kind::kLoad, 1, 0.25},
                     {2.5, Kind::kLoad, 0, 1},   {2.5, Kind::kLoad, 1, 0},
                     {4, Kind::kAmbient, 0, 20}, {9.0004, Kind::kAmbient, 0, 23.5}};
  // The CPU has 3 W beside 0.2 W at idle, the panel 1 W.
  EXPECT_EQ(rowsOf(Loop::kOpen), "0.000,20.0000,1.7,0.25\n"
                                 "2.500,20.0000,3.2,0\n"
                                 "4.000,20.0000,3.2,0\n"
                                 "9.000,23.5000,3.2,0\n");
  EXPECT_EQ(rowsOf(Loop::kClosed), "0.000,20.0000,0.5,0.25\n"
                                   "2.500,20.0000,1,0\n"
                                   "4.000,20.0000,1,0\n"
                                   "9.000,23.5000,1,0\n");
}

TEST_F(ReplayTest, WhatIsFirstToldLateHeldFromTheBegin) {
  loads().changes = {{0, Kind::kLoad, 0, 1}, {5, Kind::kLoad, 1, 0.5}, {6, Kind::kAmbient, 0, 30}};
  EXPECT_EQ(rowsOf(Loop::kClosed), "0.000,30.0000,1,0.5\n"
                                   "5.000,30.0000,1,0.5\n"
                                   "6.000,30.0000,1,0.5\n");
}

TEST_F(ReplayTest, TimesCountFromTheFirstMomentOfAllFiles) {
  loads().first = 103;
  loads().changes = {{103, Kind::kLoad, 0, 1}, {104.5, Kind::kLoad, 0, 0}};
  sensors().first = 100;
  EXPECT_EQ(rowsOf(Loop::kClosed), "0.000,20.0000,1,0\n"
                                   "3.000,20.0000,1,0\n"
                                   "4.500,20.0000,0,0\n");
}

TEST_F(ReplayTest, ChangesOfSeveralFilesComeInTheOrderOfTheirTimes) {
  loads().changes = {{0, Kind::kLoad, 0, 1}, {8, Kind::kLoad, 0, 0.5}, {9, Kind::kLoad, 0, 0.25}};
  sensors().changes = {{0, Kind::kLoad, 1, 0}, {3, Kind::kLoad, 1, 0.5}, {8, Kind::kLoad, 1, 1}};
  EXPECT_EQ(rowsOf(Loop::kClosed), "0.000,20.0000,1,0\n"
                                   "3.000,20.0000,1,0.5\n"
                                   "8.000,20.0000,0.5,1\n"
                                   "9.000,20.0000,0.25,1\n");
}

TEST_F(ReplayTest, OfMeasuredWattsTheLoadIsWhatWouldMakeThem) {
  loads().changes = {{0, Kind::kWatts, 0, 1.7}, {1, Kind::kWatts, 0, 3.2}};
  EXPECT_EQ(rowsOf(Loop::kOpen), "0.000,20.0000,1.7,0\n1.000,20.0000,3.2,0\n");
  EXPECT_EQ(rowsOf(Loop::kClosed), "0.000,20.0000,0.5,0\n1.000,20.0000,1,0\n");
}

TEST_F(ReplayTest, IsAsLongAsTheLastOfWhatIsInIt) {
  loads().first = sensors().first = 5;
  EXPECT_EQ(lengthOf(played), 0);
  sensors().rows = {{6, 0, 0, 0}, {12.3456, 0, 0, 0}};
  EXPECT_EQ(lengthOf(played), 7346);
  loads().changes = {{6, Kind::kLoad, 0, 1}, {15.5, Kind::kLoad, 0, 0}};
  EXPECT_EQ(lengthOf(played), 10'500);
  sensors().last = 25;
  EXPECT_EQ(lengthOf(played), 20'000);
  sensors().first = 2;
  EXPECT_EQ(lengthOf(played), 23'000);
}

TEST_F(ReplayTest, WhatHoldsOnWithoutAnEndIsAsLongAsItsChanges) {
  loads().changes = {{0, Kind::kLoad, 0, 1}, {15.5, Kind::kLoad, 0, 0}};
  loads().last = std::numeric_limits<double>::max() / 4;
  EXPECT_EQ(lengthOf(played), 15'500);
}

TEST_F(ReplayTest, OfWhatChangesTwiceAtTheBeginTheLastHolds) {
  loads().changes = {{0, Kind::kLoad, 0, 0.5}, {0, Kind::kLoad, 0, 1}, {5, Kind::kLoad, 0, 0.25}};
  EXPECT_EQ(rowsOf(Loop::kClosed), "0.000,20.0000,1,0\n"
                                   "5.000,20.0000,0.25,0\n");
}

} // namespace
