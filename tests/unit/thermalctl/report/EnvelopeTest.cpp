#include "report/Envelope.h"

#include <algorithm>
#include <limits>
#include <numeric>
#include <tuple>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace {

using Stretches = std::vector<Envelope::Stretch>;

TEST(EnvelopeTest, KeepsEverySampleAsLongAsTheyFit) {
  Envelope envelope(3);
  for (int32_t i = 0; i < 3; ++i)
    envelope.add(int64_t{250} * i, 10 * i);
  ASSERT_EQ(envelope.size(), 3u);
  EXPECT_EQ(envelope.stretch(), 1);
  for (int32_t i = 0; i < 3; ++i) {
    const Envelope::Stretch sample = envelope.stretches()[static_cast<size_t>(i)];
    EXPECT_EQ(sample.time, i * 250);
    EXPECT_EQ(sample.mean(), 10 * i);
    EXPECT_EQ(sample.low, 10 * i);
    EXPECT_EQ(sample.high, 10 * i);
  }
}

TEST(EnvelopeTest, KeepsSamplesOfOneTimeApartUntilTheyDoNotFit) {
  Envelope envelope(4);
  for (int32_t i = 0; i < 4; ++i)
    envelope.add(500, i);
  EXPECT_EQ(envelope.size(), 4u);
}

TEST(EnvelopeTest, KeepsTheLowestMeanAndHighestOfEachStretch) {
  Envelope envelope(8);
  std::vector<int32_t> values;
  for (int32_t i = 0; i < 4096; ++i) {
    values.push_back(i * 7919 % 1009 - 500);
    envelope.add(i, values.back());
  }
  ASSERT_EQ(envelope.stretch(), 512);
  ASSERT_EQ(envelope.size(), 8u);
  for (size_t i = 0; i < 8; ++i) {
    const Envelope::Stretch stretch = envelope.stretches()[i];
    const auto first = values.begin() + static_cast<ptrdiff_t>(512 * i);
    EXPECT_EQ(stretch.time, static_cast<int64_t>(512 * i));
    EXPECT_EQ(stretch.low, *std::min_element(first, first + 512));
    EXPECT_EQ(stretch.high, *std::max_element(first, first + 512));
    EXPECT_NEAR(static_cast<double>(stretch.mean()), std::accumulate(first, first + 512, 0.0) / 512,
                0.5);
  }
}

TEST(EnvelopeTest, WeighsEverySampleTheSameInTheMean) {
  Envelope envelope(2);
  envelope.add(0, 100);
  envelope.add(1, 0);
  envelope.add(2, 0);
  envelope.add(3, 0);
  envelope.limitTo(1);
  ASSERT_EQ(envelope.size(), 1u);
  EXPECT_EQ(envelope.stretches()[0].mean(), 25);
}

TEST(EnvelopeTest, NeverKeepsMoreThanItsCapacity) {
  Envelope envelope(64);
  for (int64_t i = 0; i < 100000; ++i) {
    envelope.add(i * 250, static_cast<int32_t>(i % 977));
    ASSERT_LE(envelope.size(), 64u);
  }
  envelope.limitTo(10);
  EXPECT_LE(envelope.size(), 10u);
  EXPECT_GE(envelope.size(), 5u);
}

TEST(EnvelopeTest, HasNothingWhereNothingWasSampled) {
  Envelope envelope(8);
  for (int64_t i = 0; i < 100; ++i)
    envelope.add(i < 50 ? i : i + 100000, 1);
  for (const Envelope::Stretch& stretch : envelope.stretches())
    EXPECT_TRUE(stretch.time < 50 || stretch.time + envelope.stretch() > 100050) << stretch.time;
}

TEST(EnvelopeTest, KeepsWhateverStretchesAreApart) {
  constexpr int32_t kLeast = std::numeric_limits<int32_t>::min();
  constexpr int32_t kMost = std::numeric_limits<int32_t>::max();
  Envelope envelope(5);
  // Three stretches of two samples, a late one of a single sample, and one much later.
  const std::vector<std::pair<int64_t, int32_t>> samples = {{0, kLeast},
                                                            {1, kMost},
                                                            {2, 0},
                                                            {3, -1},
                                                            {4, 63},
                                                            {5, 64},
                                                            {1'000'000'000'001, kLeast},
                                                            {4'000'000'000'000, kMost}};
  for (const auto& [time, value] : samples)
    envelope.add(time, value);
  ASSERT_EQ(envelope.stretch(), 2);
  const Stretches kept = envelope.stretches();
  ASSERT_EQ(kept.size(), 5u);
  const auto of = [&kept](size_t i) {
    return std::make_tuple(kept[i].time, kept[i].sum, kept[i].count, kept[i].low, kept[i].high);
  };
  EXPECT_EQ(of(0), std::make_tuple(0, -1, 2u, kLeast, kMost));
  EXPECT_EQ(of(1), std::make_tuple(2, -1, 2u, -1, 0));
  EXPECT_EQ(of(2), std::make_tuple(4, 127, 2u, 63, 64));
  EXPECT_EQ(of(3), std::make_tuple(1'000'000'000'000, kLeast, 1u, kLeast, kLeast));
  EXPECT_EQ(of(4), std::make_tuple(4'000'000'000'000, kMost, 1u, kMost, kMost));
}

TEST(EnvelopeTest, IsEncodedAsSamplesAndThenAsStretches) {
  Envelope envelope(4);
  for (int64_t i = 1; i <= 3; ++i)
    envelope.add(250 * i, 15);
  EXPECT_EQ(envelope.encoded(), "0PeAAAA");
  // Stretches of 1024 ms: 5 to 15 with a mean of 12.5, and 15.
  envelope.add(1000, 5);
  envelope.add(1250, 15);
  ASSERT_EQ(envelope.stretch(), 1024);
  EXPECT_EQ(envelope.encoded(), "AaQECEAA");
}

TEST(EnvelopeTest, RoundsAMeanAwayFromZero) {
  EXPECT_EQ((Envelope::Stretch{0, 3, 2, 1, 2}).mean(), 2);
  EXPECT_EQ((Envelope::Stretch{0, -3, 2, -2, -1}).mean(), -2);
  EXPECT_EQ((Envelope::Stretch{0, 4, 3, 1, 2}).mean(), 1);
  EXPECT_EQ((Envelope::Stretch{0, -4, 3, -2, -1}).mean(), -1);
}

TEST(EnvelopeTest, ALimitAboveItsCapacityChangesNothing) {
  Envelope envelope(2);
  envelope.limitTo(100);
  for (int64_t i = 0; i < 10; ++i)
    envelope.add(i, 1);
  EXPECT_LE(envelope.size(), 2u);
}

TEST(EnvelopeTest, ASampleBehindAStretchsEndBeginsTheNext) {
  Envelope envelope(2);
  for (int64_t i = 0; i < 3; ++i)
    envelope.add(i, 1);
  ASSERT_EQ(envelope.stretch(), 4);
  envelope.add(3, 9);
  EXPECT_EQ(envelope.size(), 1u);
  EXPECT_EQ(envelope.stretches()[0].high, 9);
  envelope.add(4, -9);
  ASSERT_EQ(envelope.size(), 2u);
  EXPECT_EQ(envelope.stretches()[0].low, 1);
  EXPECT_EQ(envelope.stretches()[1].time, 4);
}

TEST(EnvelopeTest, OfNoSampleIsAnEmptyText) {
  EXPECT_EQ(Envelope(4).encoded(), "");
}

} // namespace
