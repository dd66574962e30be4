#include "check/rule/IgnoredWords.h"

#include <gtest/gtest.h>

namespace {

Word wordAt(const std::string& text, int line, int column) {
  return {text, {line, column}};
}

TEST(IgnoredWordsTest, FindsTheNextWordOfTheLineAndItsPlace) {
  const auto next = wordBehind({"first", "[a]  \tnote more"}, wordAt("[a]", 2, 1));
  ASSERT_TRUE(next);
  EXPECT_EQ(next->text, "note");
  EXPECT_EQ(next->at.line, 2);
  EXPECT_EQ(next->at.column, 7);
}

TEST(IgnoredWordsTest, TheLastWordMayEndTheLine) {
  EXPECT_EQ(wordBehind({"[a] note"}, wordAt("[a]", 1, 1))->text, "note");
}

TEST(IgnoredWordsTest, BehindTheLastWordIsNothing) {
  EXPECT_FALSE(wordBehind({"[a] \t "}, wordAt("[a]", 1, 1)));
  EXPECT_FALSE(wordBehind({"[a]"}, wordAt("[a]", 1, 1)));
}

TEST(IgnoredWordsTest, ABlankLineBelowLetsTheDaemonWorkOnWithTheRest) {
  const Word header = wordAt("[a]", 1, 1);
  EXPECT_EQ(ignoredBehind({"[a] note", "algo_type ss"}, header)->text, "note");
  EXPECT_FALSE(ignoredBehind({"[a] note", " \t"}, header));
}

TEST(IgnoredWordsTest, SoDoesTheEndOfTheFile) {
  EXPECT_FALSE(ignoredBehind({"[a] note"}, wordAt("[a]", 1, 1)));
}

} // namespace
