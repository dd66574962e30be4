#include "text/Phrases.h"

#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

TEST(PhrasesTest, CountsOneInTheSingular) {
  EXPECT_EQ(counted(0, "file"), "0 files");
  EXPECT_EQ(counted(1, "file"), "1 file");
  EXPECT_EQ(counted(2, "file"), "2 files");
}

TEST(PhrasesTest, ListsTextsInQuotes) {
  EXPECT_EQ(listed({}), "");
  EXPECT_EQ(listed({"a"}), "'a'");
  EXPECT_EQ(listed({"a", "b"}), "'a' and 'b'");
  EXPECT_EQ(listed({"a", "b", "c"}), "'a', 'b' and 'c'");
}

TEST(PhrasesTest, GivesMillidegreesExactly) {
  struct Case {
    int32_t millidegrees;
    const char* shortest;
    const char* inFull;
  };
  for (const Case& c :
       {Case{0, "0", "0.000"}, Case{1, "0.001", "0.001"}, Case{-1, "-0.001", "-0.001"},
        Case{-500, "-0.5", "-0.500"}, Case{45000, "45", "45.000"},
        Case{100120, "100.12", "100.120"}, Case{INT32_MIN, "-2147483.648", "-2147483.648"}}) {
    EXPECT_EQ(degrees(c.millidegrees), c.shortest);
    EXPECT_EQ(degreesInFull(c.millidegrees), c.inFull);
  }
}

TEST(PhrasesTest, GivesSecondsAsAClockDoes) {
  EXPECT_EQ(clockTime(0), "0:00:00");
  EXPECT_EQ(clockTime(3599), "0:59:59");
  EXPECT_EQ(clockTime(int64_t{100} * 3600), "100:00:00");
  EXPECT_EQ(clockOf(1499), "0:00:01");
  EXPECT_EQ(clockOf(1500), "0:00:02");
}

TEST(PhrasesTest, RoundsToTheDigitsAskedFor) {
  EXPECT_EQ(rounded(2.0 / 3, 2), "0.67");
  EXPECT_EQ(rounded(-0.04, 1), "-0.0");
  EXPECT_EQ(rounded(1e15 + 0.5, 0), "1000000000000000");
}

TEST(PhrasesTest, WrapsAtTheWidthAndNotBefore) {
  EXPECT_EQ(wrapped("aa bb cc", 5), "aa bb\ncc\n");
  EXPECT_EQ(wrapped("aa bb cc", 4), "aa\nbb\ncc\n");
  EXPECT_EQ(wrapped("a  very-long-word b", 6), "a\nvery-long-word\nb\n");
  EXPECT_EQ(wrapped(" ", 5), "");
}

TEST(PhrasesTest, NamesTenOfALongList) {
  std::vector<std::string> texts(10, "a");
  EXPECT_EQ(listedBriefly(texts), listed(texts));
  texts.resize(12, "b");
  EXPECT_EQ(listedBriefly(texts), "'a', 'a', 'a', 'a', 'a', 'a', 'a', 'a', 'a', 'a' and 2 more");
}

TEST(PhrasesTest, EnumeratesTextsAsTheyAre) {
  EXPECT_EQ(enumerated({}), "");
  EXPECT_EQ(enumerated({"a"}), "a");
  EXPECT_EQ(enumerated({"a", "b"}), "a and b");
  EXPECT_EQ(enumerated({"a", "b", "c"}), "a, b and c");
}

TEST(PhrasesTest, CountsNoMoreThanTenOfALongList) {
  const std::vector<std::string> eleven(11, "a");
  EXPECT_NE(listedBriefly(eleven).find(" and 1 more"), std::string::npos);
}

} // namespace
