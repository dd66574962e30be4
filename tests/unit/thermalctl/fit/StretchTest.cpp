#include "fit/Stretch.h"

#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace {

// Loads from 0 to 100 s, and a reading each second.
Recorded recorded() {
  RecordedFile loads;
  loads.changes = {{0, RecordedChange::Kind::kLoad, 0, 1}};
  loads.last = 99;
  RecordedFile sensors;
  for (uint32_t i = 0; i < 100; ++i) {
    sensors.readings.push_back({0, 30});
    sensors.rows.push_back({static_cast<double>(i), i, i + 1, 0});
  }
  sensors.last = 99;
  return {"one", {loads, sensors}};
}

TEST(StretchTest, WithoutAGapAllRowsAreOne) {
  const std::vector<Stretch> stretches = stretchesOf(recorded(), 3, {0, 0});
  ASSERT_EQ(stretches.size(), 1U);
  EXPECT_EQ(stretches[0].recording, 3U);
  EXPECT_EQ(stretches[0].rows[1], std::pair(size_t{0}, size_t{100}));
}

TEST(StretchTest, AGapInTheLoadsEndsOne) {
  Recorded two = recorded();
  two.files[0].gaps = {{40.5, 60.5}};
  const std::vector<Stretch> stretches = stretchesOf(two, 0, {0, 0});
  ASSERT_EQ(stretches.size(), 2U);
  EXPECT_EQ(stretches[0].rows[1], std::pair(size_t{0}, size_t{41}));
  EXPECT_EQ(stretches[1].rows[1], std::pair(size_t{61}, size_t{100}));
}

TEST(StretchTest, AGapInTheReadingsEndsNothing) {
  Recorded one = recorded();
  one.files[1].gaps = {{40.5, 60.5}};
  EXPECT_EQ(stretchesOf(one, 0, {0, 0}).size(), 1U);
}

TEST(StretchTest, AGapIsWhereItsFilesClockHasIt) {
  Recorded two = recorded();
  two.files[0].gaps = {{40.5, 60.5}};
  const std::vector<Stretch> stretches = stretchesOf(two, 0, {0, -10});
  ASSERT_EQ(stretches.size(), 2U);
  EXPECT_EQ(stretches[0].rows[1].second, 51U);
  EXPECT_EQ(stretches[1].rows[1].first, 71U);
}

TEST(StretchTest, WhatLiesBeforeAndBehindTheLoadsIsNone) {
  Recorded one = recorded();
  one.files[0].first = 20;
  one.files[0].last = 50;
  const std::vector<Stretch> stretches = stretchesOf(one, 0, {0, 0});
  ASSERT_EQ(stretches.size(), 1U);
  EXPECT_EQ(stretches[0].rows[1], std::pair(size_t{19}, size_t{51}));
}

// Readings and loads of the same time, by clocks that are so far apart.
Recorded apart(double seconds, double length) {
  Recorded one = recorded();
  one.files[0].changes[0].time = one.files[0].first = seconds;
  one.files[0].last = seconds + length - 1;
  one.files[1].rows.resize(static_cast<size_t>(length));
  return one;
}

TEST(StretchTest, WhatIsHardlyLongerThanClocksMayBeApartHasAllOfItsRowsUntilTheyAreKnown) {
  const Recorded one = apart(55, 60);
  EXPECT_TRUE(stretchesOf(one, 0, {0, 0}).empty());
  const std::vector<Stretch> stretches = stretchesOf(one, 0);
  ASSERT_EQ(stretches.size(), 1U);
  EXPECT_EQ(stretches[0].rows[1], std::pair(size_t{0}, size_t{60}));
  // Behind a minute nothing can have been meant.
  EXPECT_TRUE(stretchesOf(apart(115, 60), 0).empty());
}

TEST(StretchTest, OfALongRecordingTheClocksAreTakenAsTheyAreUntilTheyAreKnown) {
  Recorded one = apart(20, 100);
  for (uint32_t i = 100; i < 300; ++i)
    one.files[1].rows.push_back({static_cast<double>(i), 0, 1, 0});
  one.files[0].last = 320;
  EXPECT_EQ(stretchesOf(one, 0)[0].rows[1], std::pair(size_t{19}, size_t{300}));
}

TEST(StretchTest, ASingleFileHasOneClock) {
  Recorded one = apart(0, 60);
  one.files[1].changes = one.files[0].changes;
  one.files[1].first = 40;
  one.files[1].last = 59;
  one.files.erase(one.files.begin());
  EXPECT_EQ(stretchesOf(one, 0)[0].rows[0], std::pair(size_t{39}, size_t{60}));
}

TEST(StretchTest, WhatIsTooShortIsTold) {
  Recorded one = recorded();
  one.files[1].rows.resize(9);
  EXPECT_EQ(tooShortInWords(one), "is too short: it has 9 rows of readings, and 10 are the least");
  EXPECT_EQ(tooShortInWords(apart(115, 60)),
            "is too short: nowhere are there 10 rows of readings without a gap while the loads are "
            "known, from 115 s to 174 s");
}

TEST(StretchTest, TooFewRowsAreNone) {
  Recorded one = recorded();
  one.files[1].rows.resize(9);
  EXPECT_TRUE(stretchesOf(one, 0, {0, 0}).empty());
  one.files[1].rows.push_back({9, 9, 10, 0});
  EXPECT_EQ(stretchesOf(one, 0, {0, 0}).size(), 1U);
}

// The rows of the sensors in each stretch.
std::vector<std::pair<size_t, size_t>> rowsOf(const std::vector<Stretch>& stretches) {
  std::vector<std::pair<size_t, size_t>> rows;
  rows.reserve(stretches.size());
  for (const Stretch& stretch : stretches)
    rows.push_back(stretch.rows.at(1));
  return rows;
}

using Rows = std::vector<std::pair<size_t, size_t>>;

TEST(StretchTest, GapsThatOverlapAreOne) {
  Recorded one = recorded();
  one.files[0].gaps = {{50.5, 60.5}, {30.5, 55.5}, {40.5, 45.5}};
  EXPECT_EQ(rowsOf(stretchesOf(one, 0, {0, 0})), (Rows{{0, 31}, {61, 100}}));
}

TEST(StretchTest, AGapMayReachToTheBeginOrToTheEnd) {
  Recorded one = recorded();
  one.files[0].gaps = {{-5, 20.5}, {79.5, 200}};
  EXPECT_EQ(rowsOf(stretchesOf(one, 0, {0, 0})), (Rows{{21, 80}}));
}

TEST(StretchTest, BetweenGapsTooFewRowsAreNone) {
  Recorded one = recorded();
  // Nine rows between the first two, and ten between the last.
  one.files[0].gaps = {{10.5, 20.5}, {29.5, 40.5}, {50.5, 60.5}};
  EXPECT_EQ(rowsOf(stretchesOf(one, 0, {0, 0})), (Rows{{0, 11}, {41, 51}, {61, 100}}));
}

TEST(StretchTest, RowsOfAllFilesCountTogether) {
  Recorded two = recorded();
  two.files[1].rows.resize(5);
  EXPECT_TRUE(stretchesOf(two, 0, {0, 0}).empty());
  two.files.push_back(two.files[1]);
  const std::vector<Stretch> stretches = stretchesOf(two, 0, {0, 0, 0});
  ASSERT_EQ(stretches.size(), 1U);
  EXPECT_EQ(stretches[0].rows, (Rows{{0, 0}, {0, 5}, {0, 5}}));
}

TEST(StretchTest, WhatAllFilesOfLoadsTellIsKnown) {
  Recorded two = recorded();
  RecordedFile other = two.files[0];
  other.first = 30;
  other.last = 60;
  two.files.push_back(other);
  EXPECT_EQ(rowsOf(stretchesOf(two, 0, {0, 0, 0})), (Rows{{29, 61}}));
  // By its own clock, ten seconds later.
  EXPECT_EQ(rowsOf(stretchesOf(two, 0, {0, 0, 10})), (Rows{{39, 71}}));
  // A file of readings alone bounds nothing.
  two.files[2].changes.clear();
  EXPECT_EQ(rowsOf(stretchesOf(two, 0, {0, 0, 0})), (Rows{{0, 100}}));
}

} // namespace
