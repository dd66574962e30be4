#include "terminal/MarkedLine.h"

#include <sstream>

#include <gtest/gtest.h>

namespace {

std::string marked(const std::string& text, size_t from, size_t to, int number = 7,
                   Colour colour = Colour::kOff) {
  std::ostringstream out;
  const Source source(text);
  printMarkedLine(out, number, source.line(1), from, to, colour);
  return out.str();
}

// How many columns of the second line stand before the caret, behind those of the frame.
size_t caretIn(const std::string& shown) {
  const size_t second = shown.find('\n') + 1;
  return shown.find('^', second) - second - std::string("      | ").size();
}

TEST(MarkedLineTest, PutsACaretAndTildesUnderTheWord) {
  EXPECT_EQ(marked("sampling 1s", 9, 11), "    7 | sampling 1s\n"
                                          "      |          ^~\n");
}

TEST(MarkedLineTest, OneCharacterHasTheCaretAlone) {
  EXPECT_EQ(marked("abc", 1, 2, 12345), "12345 | abc\n      |  ^\n");
}

TEST(MarkedLineTest, WhatStandsBehindTheEndIsMarkedThere) {
  EXPECT_EQ(marked("abc", 3, 3), "    7 | abc\n      |    ^\n");
}

TEST(MarkedLineTest, CountsCharactersAndNotBytes) {
  EXPECT_EQ(marked("\xC3\xA4\xC3\xB6 x", 3, 4), "    7 | \xC3\xA4\xC3\xB6 x\n      |    ^\n");
}

TEST(MarkedLineTest, ShowsASignForWhatCannotBeSeen) {
  const std::string shown = marked("a\tb", 2, 3);
  EXPECT_EQ(shown.find('\t'), std::string::npos);
  EXPECT_EQ(caretIn(shown), 2U);
}

TEST(MarkedLineTest, LeavesOutWhiteSpaceAtTheEnd) {
  EXPECT_EQ(marked("abc  \t ", 0, 3), "    7 | abc\n      | ^~~\n");
}

TEST(MarkedLineTest, ALineOfAHundredCharactersIsWhole) {
  EXPECT_EQ(marked(std::string(100, 'a'), 99, 100).find("..."), std::string::npos);
}

TEST(MarkedLineTest, ALongerOneIsCutBehindTheHundredth) {
  EXPECT_EQ(marked(std::string(101, 'a'), 0, 1),
            "    7 | " + std::string(100, 'a') + "...\n      | ^\n");
}

TEST(MarkedLineTest, AWordFarBackIsShownWithWhatStandsBeforeIt) {
  const std::string text = std::string(100, 'a') + "bcd" + std::string(100, 'e');
  const std::string shown = marked(text, 100, 103);
  EXPECT_EQ(shown.substr(8, 3), "...");
  EXPECT_EQ(shown.substr(8 + 3 + 40, 3), "bcd");
  EXPECT_EQ(caretIn(shown), 43U);
  EXPECT_NE(shown.find("^~~\n"), std::string::npos);
  EXPECT_NE(shown.find("e...\n"), std::string::npos);
}

TEST(MarkedLineTest, AtTheEndOfALongLineNothingIsCutBehind) {
  const std::string shown = marked(std::string(120, 'a') + "b", 120, 121);
  EXPECT_NE(shown.find("b\n"), std::string::npos);
  EXPECT_EQ(caretIn(shown), 43U);
}

TEST(MarkedLineTest, AMarkThatIsLongerThanWhatIsShownEndsWithIt) {
  const std::string shown = marked(std::string(300, 'a'), 0, 300);
  EXPECT_NE(shown.find("^" + std::string(99, '~') + "\n"), std::string::npos);
}

TEST(MarkedLineTest, OnlyTheMarkIsPainted) {
  const std::string shown = marked("ab", 0, 2, 1, Colour::kOn);
  EXPECT_EQ(shown, "    1 | ab\n      | \x1b[1;32m^~\x1b[0m\n");
}

} // namespace
