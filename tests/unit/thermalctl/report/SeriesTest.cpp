#include "report/Series.h"

#include <algorithm>
#include <cmath>

#include <gtest/gtest.h>

namespace {

using Points = std::vector<Series::Point>;

std::vector<std::pair<int64_t, int32_t>> pairsOf(const Points& points) {
  std::vector<std::pair<int64_t, int32_t>> pairs;
  for (const Series::Point& point : points)
    pairs.emplace_back(point.time, point.value);
  return pairs;
}

TEST(SeriesTest, KeepsEveryPointAsLongAsTheyFit) {
  Series series(4);
  for (int64_t time = 0; time < 4; ++time)
    series.add(time * 1000, static_cast<int32_t>(time) * 10);
  EXPECT_EQ(pairsOf(series.points()),
            (std::vector<std::pair<int64_t, int32_t>>{{0, 0}, {1000, 10}, {2000, 20}, {3000, 30}}));
  EXPECT_EQ(series.stretch(), 1);
}

TEST(SeriesTest, NeverKeepsMorePointsThanItsCapacity) {
  Series series(64);
  for (int64_t time = 0; time < 100000; ++time) {
    series.add(time * 250, static_cast<int32_t>(time % 977));
    ASSERT_LE(series.points().size(), 64u);
  }
  EXPECT_GT(series.stretch(), 1);
}

TEST(SeriesTest, LosesNeitherTheHighestNorTheLowestPointNorTheEnds) {
  Series series(64);
  const auto valueAt = [](int64_t i) {
    if (i == 33333) return 99999;
    if (i == 66666) return -99999;
    return static_cast<int32_t>(1000 * std::sin(static_cast<double>(i) / 50));
  };
  for (int64_t i = 0; i < 100000; ++i)
    series.add(i * 250, valueAt(i));
  const auto kept = pairsOf(series.points());
  EXPECT_EQ(kept.front(), (std::pair<int64_t, int32_t>{0, 0}));
  EXPECT_EQ(kept.back(), (std::pair<int64_t, int32_t>{99999 * 250, valueAt(99999)}));
  EXPECT_EQ(std::count(kept.begin(), kept.end(), std::pair<int64_t, int32_t>{33333 * 250, 99999}),
            1);
  EXPECT_EQ(std::count(kept.begin(), kept.end(), std::pair<int64_t, int32_t>{66666 * 250, -99999}),
            1);
}

TEST(SeriesTest, InventsNoPointAndKeepsTheirOrder) {
  Series series(64);
  for (int64_t i = 0; i < 5000; ++i)
    series.add(i * 100, static_cast<int32_t>(i * 7919 % 1009));
  int64_t before = -1;
  for (const Series::Point& point : series.points()) {
    EXPECT_GT(point.time, before);
    EXPECT_EQ(point.value, point.time / 100 * 7919 % 1009);
    before = point.time;
  }
}

TEST(SeriesTest, KeepsTheLastOfManyChangesAtOneTime) {
  Series series(8);
  for (int32_t i = 0; i < 100; ++i)
    series.add(500, i);
  EXPECT_EQ(series.points().front().value, 0);
  EXPECT_EQ(series.points().back().value, 99);
  EXPECT_LE(series.points().size(), 8u);
}

TEST(SeriesTest, KeepsAnOutlineOfWhatItHadWhenItsRoomShrinks) {
  Series series(64);
  for (int32_t i = 0; i < 60; ++i)
    series.add(int64_t{1000} * i, i == 17 ? 99 : i % 2);
  series.limitTo(100);
  EXPECT_EQ(series.size(), 60u);
  series.limitTo(20);
  EXPECT_LE(series.size(), 20u);
  EXPECT_GT(series.stretch(), 1);
  EXPECT_EQ(series.points().back().time, 59000);
  const auto kept = pairsOf(series.points());
  EXPECT_EQ(std::count(kept.begin(), kept.end(), std::pair<int64_t, int32_t>{17000, 99}), 1);
}

TEST(SeriesTest, IsEncodedAsDifferencesWhoseLowestBitIsTheSign) {
  struct Case {
    Points points;
    const char* text;
    const char* why;
  };
  const Case cases[] = {
      {{}, "", "nothing"},
      {{{0, 0}}, "AA", "two zeros"},
      {{{0, 1}}, "AC", "1 is 2, so that the lowest bit can be a sign"},
      {{{0, -1}}, "AD", "-1 is 3"},
      {{{0, 15}}, "Ae", "30, the highest positive of one digit"},
      {{{0, 16}}, "AgB", "32 is 0 and to go on, then 1"},
      {{{250, 0}, {500, 0}, {750, 0}}, "0PAAAAA", "a regular time costs its first step alone"},
      {{{0, INT32_MIN}}, "AhgggggE", "2^32 + 1 in five bits each"},
  };
  for (const Case& each : cases)
    EXPECT_EQ(encoded(each.points), each.text) << each.why;
}

} // namespace
