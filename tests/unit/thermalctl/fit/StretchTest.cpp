#include "fit/Stretch.h"

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

TEST(StretchTest, TooFewRowsAreNone) {
  Recorded one = recorded();
  one.files[1].rows.resize(9);
  EXPECT_TRUE(stretchesOf(one, 0, {0, 0}).empty());
  one.files[1].rows.push_back({9, 9, 10, 0});
  EXPECT_EQ(stretchesOf(one, 0, {0, 0}).size(), 1U);
}

} // namespace
