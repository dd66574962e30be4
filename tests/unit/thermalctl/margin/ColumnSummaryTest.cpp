#include "margin/ColumnSummary.h"

#include <algorithm>
#include <numeric>
#include <vector>

#include <gtest/gtest.h>

#include "margin/Measures.h"
#include "margin/Population.h"
#include "support/SysfsDir.h"

namespace {

class ColumnSummaryTest : public testing::Test {
protected:
  // Beside another column.
  ColumnSummary of(const std::vector<int32_t>& values) {
    UnitSpool spool(folder.node(""), 2);
    for (const int32_t value : values)
      spool.add({7, value});
    return {spool.rows(), 1};
  }

  static std::vector<int32_t> random(size_t count, int32_t from, uint64_t range) {
    std::vector<int32_t> values;
    for (const uint32_t word : randomWords(1, range, Stream::kUnit, count))
      values.push_back(
          static_cast<int32_t>(from + static_cast<int64_t>(uint64_t{word} * range >> 32)));
    return values;
  }

  SysfsDir folder;
};

// Also of more values than there are places, and of more than one block.
TEST_F(ColumnSummaryTest, PercentilesAreExact) {
  for (const uint64_t range : {10ULL, 5'000ULL, 100'000'000ULL, 4'000'000'000ULL}) {
    std::vector<int32_t> values = random(9'001, -2'000'000'000, range);
    const ColumnSummary summary = of(values);
    std::sort(values.begin(), values.end());
    EXPECT_EQ(summary.units, values.size());
    EXPECT_EQ(summary.least, values.front());
    EXPECT_EQ(summary.most, values.back());
    const double sum = std::accumulate(values.begin(), values.end(), 0.0);
    EXPECT_NEAR(summary.mean, sum / 9001, 1e-3);
    for (size_t i = 0; i < kPercentiles.size(); ++i) {
      const auto share = static_cast<size_t>(kPercentiles[i]);
      EXPECT_EQ(summary.percentiles[i], values[(9'001 * share + 99) / 100 - 1]) << range;
    }
  }
}

TEST_F(ColumnSummaryTest, WhatWasNeverSeenDoesNotCount) {
  const ColumnSummary none = of({kUnseen, kUnseen});
  EXPECT_EQ(none.units, 0U);
  EXPECT_TRUE(none.percentiles.empty());
  const ColumnSummary some = of({kUnseen, 3, kUnseen, 5});
  EXPECT_EQ(some.units, 2U);
  EXPECT_EQ(some.least, 3);
  EXPECT_EQ(some.percentiles[3], 3);
}

TEST_F(ColumnSummaryTest, EqualValuesShareTheMiddleOfTheirRanks) {
  const ColumnSummary summary = of({10, 20, 20, 30});
  EXPECT_FLOAT_EQ(summary.ranks[summary.placeOf(10)], 0.125F);
  EXPECT_FLOAT_EQ(summary.ranks[summary.placeOf(20)], 0.5F);
  EXPECT_FLOAT_EQ(summary.ranks[summary.placeOf(30)], 0.875F);
}

TEST_F(ColumnSummaryTest, AHistogramHasEveryUnit) {
  const ColumnSummary summary = of(random(5'000, 20'000, 7'000));
  const std::vector<uint64_t> bars = summary.histogram(60);
  EXPECT_EQ(bars.size(), 60U);
  EXPECT_EQ(std::accumulate(bars.begin(), bars.end(), uint64_t{0}), 5'000U);
}

TEST_F(ColumnSummaryTest, AHistogramIsMadeOfEvenParts) {
  EXPECT_EQ(of({0, 1, 2, 3, 4, 5, 6, 7, 8, 9}).histogram(5), std::vector<uint64_t>(5, 2));
  EXPECT_EQ(of({0, 0, 0, 9}).histogram(2), (std::vector<uint64_t>{3, 1}));
  EXPECT_EQ(of({0, 0, 99'999, 50'001}).histogram(2), (std::vector<uint64_t>{2, 2}));
  // What does not vary is all in the first.
  EXPECT_EQ(of({7, 7}).histogram(3), (std::vector<uint64_t>{2, 0, 0}));
}

TEST_F(ColumnSummaryTest, OneUnitIsAllItsPercentiles) {
  const ColumnSummary one = of({-5});
  EXPECT_EQ(one.percentiles, std::vector<int32_t>(kPercentiles.size(), -5));
  EXPECT_EQ(one.mean, -5);
  EXPECT_EQ(one.ranks, std::vector<float>{0.5F});
}

// Two values lie in one part of the range, and share a rank, but not a percentile.
TEST_F(ColumnSummaryTest, WhatLiesCloseTogetherInAWideRangeSharesARank) {
  const ColumnSummary summary = of({0, 1, 2'000'000, 2'000'000});
  EXPECT_EQ(summary.placeOf(0), summary.placeOf(1));
  EXPECT_FLOAT_EQ(summary.ranks[summary.placeOf(1)], 0.25F);
  EXPECT_EQ(summary.percentiles[2], 0);
  EXPECT_EQ(summary.percentiles[3], 1);
  EXPECT_EQ(summary.percentiles[4], 2'000'000);
}

} // namespace
