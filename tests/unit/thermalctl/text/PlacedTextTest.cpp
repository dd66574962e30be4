#include "text/PlacedText.h"

#include <gtest/gtest.h>

namespace {

using Place = std::pair<int, int>;

Place placeOf(const Word& word) {
  return {word.at.line, word.at.column};
}

// The next word's place.
Place nextPlace(PlacedText& text) {
  EXPECT_TRUE(text.nextWord());
  return placeOf(text.placedWord());
}

TEST(PlacedTextTest, GivesEachWordWithItsLineAndColumn) {
  PlacedText text("one two\n\n \t three\v four \r\nfive");
  ASSERT_TRUE(text.nextLine());
  EXPECT_EQ(nextPlace(text), Place(1, 1));
  EXPECT_EQ(nextPlace(text), Place(1, 5));
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
  EXPECT_EQ(nextPlace(text), Place(4, 1));
}

TEST(PlacedTextTest, KeepsTheUnreadWordsOfALineThatABlankOneFollows) {
  PlacedText text("one two\n\n");
  ASSERT_TRUE(text.nextLine());
  text.nextWord();
  EXPECT_FALSE(text.nextLine());
  EXPECT_EQ(nextPlace(text), Place(1, 5));
  EXPECT_EQ(text.word(), "two");
  EXPECT_FALSE(text.advance());
  EXPECT_FALSE(text.wordFound());
  EXPECT_EQ(text.word(), "two") << "where no other is";
}

TEST(PlacedTextTest, FindsALineBelowBlankOnesByItsFirstWord) {
  PlacedText text("\n \none 1\n\ntwo 2\n");
  EXPECT_TRUE(text.findBelow("one"));
  EXPECT_EQ(nextPlace(text), Place(3, 5));
  EXPECT_FALSE(text.findBelow("three"));
  ASSERT_TRUE(text.advance()) << "the line is still to be read";
  EXPECT_EQ(text.word(), "two");
  EXPECT_FALSE(text.findBelow("three"));
  EXPECT_TRUE(text.ended());
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
  EXPECT_EQ(nextPlace(text), Place(1, 3));
  EXPECT_TRUE(text.ended());
}

TEST(PlacedTextTest, TakesAnyByteButWhiteSpaceForAPartOfAWord) {
  const std::string bytes{'\xFF', '\0', '\x80', '\x1B'};
  PlacedText text(" " + bytes + " b\n");
  text.nextLine();
  EXPECT_EQ(nextPlace(text), Place(1, 2));
  EXPECT_EQ(text.word(), bytes);
  EXPECT_EQ(nextPlace(text), Place(1, 7));
}

} // namespace
