#include "text/PlacedText.h"

#include <gtest/gtest.h>

namespace {

using Place = std::pair<int, int>;

Place placeOf(const Word& word) {
  return {word.at.line, word.at.column};
}

TEST(PlacedTextTest, GivesEachWordWithItsLineAndColumn) {
  PlacedText text("one two\n\n \t three\v four \r\nfive");
  ASSERT_TRUE(text.nextLine());
  EXPECT_EQ(placeOf(*text.nextWord()), Place(1, 1));
  EXPECT_EQ(placeOf(*text.nextWord()), Place(1, 5));
  EXPECT_FALSE(text.nextWord());
  EXPECT_FALSE(text.nextLine());
  ASSERT_TRUE(text.nextLine());
  const std::vector<Word> words = text.restOfLine();
  ASSERT_EQ(words.size(), 2u);
  EXPECT_EQ(words[0].text, "three");
  EXPECT_EQ(placeOf(words[0]), Place(3, 4));
  EXPECT_EQ(words[1].text, "four");
  EXPECT_EQ(placeOf(words[1]), Place(3, 11));
  ASSERT_TRUE(text.nextLine());
  EXPECT_EQ(placeOf(*text.nextWord()), Place(4, 1));
}

TEST(PlacedTextTest, KeepsTheUnreadWordsOfALineThatABlankOneFollows) {
  PlacedText text("one two\n\n");
  ASSERT_TRUE(text.nextLine());
  text.nextWord();
  EXPECT_FALSE(text.nextLine());
  const std::optional<Word> word = text.nextWord();
  ASSERT_TRUE(word);
  EXPECT_EQ(word->text, "two");
  EXPECT_EQ(placeOf(*word), Place(1, 5));
}

TEST(PlacedTextTest, EndsWithTheLastLineOrBehindItsLineFeed) {
  PlacedText without("one");
  EXPECT_FALSE(without.ended());
  EXPECT_TRUE(without.nextLine());
  EXPECT_TRUE(without.ended());

  PlacedText with("one\n");
  EXPECT_TRUE(with.nextLine());
  EXPECT_FALSE(with.ended());
  EXPECT_FALSE(with.nextLine());
  EXPECT_TRUE(with.ended());
}

TEST(PlacedTextTest, HasNoLineInAnEmptyFile) {
  PlacedText text("");
  EXPECT_FALSE(text.ended());
  EXPECT_FALSE(text.nextLine());
  EXPECT_TRUE(text.ended());
  EXPECT_FALSE(text.nextWord());
}

TEST(PlacedTextTest, GivesALineOnceMoreIfAskedTo) {
  PlacedText text("  one two");
  text.nextLine();
  text.restOfLine();
  text.readLineAgain();
  EXPECT_FALSE(text.ended());
  ASSERT_TRUE(text.nextLine());
  EXPECT_EQ(placeOf(*text.nextWord()), Place(1, 3));
  EXPECT_TRUE(text.ended());
}

TEST(PlacedTextTest, TakesAnyByteButWhiteSpaceForAPartOfAWord) {
  const std::string bytes{'\xFF', '\0', '\x80', '\x1B'};
  PlacedText text(" " + bytes + " b\n");
  text.nextLine();
  const Word word = *text.nextWord();
  EXPECT_EQ(word.text, bytes);
  EXPECT_EQ(placeOf(word), Place(1, 2));
  EXPECT_EQ(placeOf(*text.nextWord()), Place(1, 7));
}

} // namespace
