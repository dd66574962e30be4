#include "text/Pattern.h"

#include <gtest/gtest.h>

TEST(PatternTest, FindsWhatMatchesAndWhatItsBracketsHold) {
  const auto parts = Pattern("([a-z]+)=([0-9]+)").find("set limit=42!");
  ASSERT_TRUE(parts.has_value());
  EXPECT_EQ(*parts, (std::vector<std::string>{"limit=42", "limit", "42"}));
}

TEST(PatternTest, FindsNothingWhereNothingMatches) {
  EXPECT_FALSE(Pattern("^[0-9]+$").find("12a").has_value());
}

TEST(PatternTest, BracketsThatTakeNoPartHoldNothing) {
  const auto parts = Pattern("a(b)?c").find("ac");
  ASSERT_TRUE(parts.has_value());
  EXPECT_EQ(*parts, (std::vector<std::string>{"ac", ""}));
}

TEST(PatternTest, AMatchMayBeEmpty) {
  EXPECT_TRUE(Pattern("(x)?$").isIn("text"));
}

TEST(PatternTest, AnExpressionThatIsNoneMatchesNothing) {
  EXPECT_FALSE(Pattern("(").isIn("("));
}

TEST(PatternTest, HasNoLimitOfLength) {
  EXPECT_TRUE(Pattern("^(a|b)*c$").isIn(std::string(200'000, 'a') + "c"));
}
