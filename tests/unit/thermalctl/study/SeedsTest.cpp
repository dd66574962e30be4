#include "study/Seeds.h"

#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

using Seeds = std::vector<uint64_t>;

TEST(SeedsTest, AreNumbersAndRanges) {
  EXPECT_EQ(readSeeds("7").seeds, Seeds{7});
  EXPECT_EQ(readSeeds("0").seeds, Seeds{0});
  EXPECT_EQ(readSeeds("1..4").seeds, (Seeds{1, 2, 3, 4}));
  EXPECT_EQ(readSeeds("5..5").seeds, Seeds{5});
  EXPECT_EQ(readSeeds("9,1,3..5").seeds, (Seeds{9, 1, 3, 4, 5}));
  const uint64_t most = std::numeric_limits<uint64_t>::max();
  EXPECT_EQ(readSeeds("18446744073709551614..18446744073709551615").seeds, (Seeds{most - 1, most}));
}

TEST(SeedsTest, CountOnce) {
  EXPECT_EQ(readSeeds("1,1..3,2").seeds, (Seeds{1, 2, 3}));
}

TEST(SeedsTest, OfABackwardRangeAreWrong) {
  const SeedsText read = readSeeds("1..0");
  EXPECT_FALSE(read.seeds);
  EXPECT_EQ(read.wrong, "'1..0' ends before it begins");
  EXPECT_EQ(read.hint, "write 0..1");
}

TEST(SeedsTest, TellsWhatIsNone) {
  for (const char* text :
       {"", "x", "-1", "1.5", "1..", "..3", "1...3", "1,,2", "1 2", "18446744073709551616"})
    EXPECT_NE(readSeeds(text).wrong.find(" is no seed"), std::string::npos) << text;
  EXPECT_EQ(readSeeds("0..9999999999").wrong, "'0..9999999999' are more than 100000 seeds");
}

TEST(SeedsTest, OfOneRangeAreAHundredThousandAtTheMost) {
  const SeedsText most = readSeeds("1..100000");
  ASSERT_TRUE(most.seeds);
  EXPECT_EQ(most.seeds->size(), 100'000U);
  EXPECT_EQ(most.seeds->back(), 100'000U);
  EXPECT_FALSE(readSeeds("0..100000").seeds);
}

TEST(SeedsTest, OneWrongPartSpoilsAll) {
  const SeedsText read = readSeeds("1,two,3..1");
  EXPECT_FALSE(read.seeds);
  EXPECT_EQ(read.wrong, "'two' is no seed");
  EXPECT_EQ(read.hint, "write numbers and ranges, such as 7, 1..20 or 1,2,10..12");
  EXPECT_FALSE(readSeeds("1,").seeds);
}

} // namespace
