#include "text/Source.h"

#include <gtest/gtest.h>

namespace {

TEST(SourceTest, GivesEachLineWithoutItsLineFeed) {
  const Source source("one\ntwo\r\n\nfour");
  EXPECT_EQ(source.line(1).text, "one");
  EXPECT_EQ(source.line(2).text, "two\r");
  EXPECT_EQ(source.line(3).text, "");
  EXPECT_EQ(source.line(4).text, "four");
}

TEST(SourceTest, GivesAnEmptyLineWhereTheFileHasNone) {
  const Source source("one\n");
  for (const int number : {-1, 0, 2, 3, 1000000})
    EXPECT_EQ(source.line(number).text, "") << number;
  EXPECT_EQ(Source("").line(1).text, "");
}

TEST(SourceTest, GivesALineAgainAfterAnother) {
  const Source source("one\ntwo\n");
  EXPECT_EQ(source.line(2).text, "two");
  EXPECT_EQ(source.line(1).text, "one");
  EXPECT_EQ(source.line(1).text, "one");
  EXPECT_EQ(source.line(2).text, "two");
}

TEST(SourceTest, CountsACharacterOfSeveralBytesOnce) {
  const Source source("a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x94\xA5z");
  const Line& line = source.line(1);
  EXPECT_EQ(line.starts, (std::vector<size_t>{0, 1, 3, 6, 10}));
  EXPECT_EQ(line.charactersBefore(0), 0U);
  EXPECT_EQ(line.charactersBefore(1), 1U);
  EXPECT_EQ(line.charactersBefore(3), 2U);
  EXPECT_EQ(line.charactersBefore(6), 3U);
  EXPECT_EQ(line.charactersBefore(10), 4U);
  EXPECT_EQ(line.charactersBefore(11), 5U);
}

TEST(SourceTest, CountsEachBytePastTheEndOfALine) {
  const Source source("\xC3\xA4\n");
  EXPECT_EQ(source.line(1).charactersBefore(2), 1U);
  EXPECT_EQ(source.line(1).charactersBefore(5), 4U);
}

TEST(SourceTest, TakesEachByteThatIsNotUtf8ForACharacter) {
  struct Case {
    std::string bytes;
    size_t characters;
    const char* why;
  };
  const Case cases[] = {
      {"\x80", 1, "a continuation alone"},
      {"\xC3", 1, "cut off"},
      {"\xC3z", 2, "cut off by a letter"},
      {"\xC0\xAF", 2, "longer than need be"},
      {"\xE0\x9F\xBF", 3, "longer than need be"},
      {"\xE0\xA0\x80", 1, "the first of three bytes"},
      {"\xED\x9F\xBF", 1, "the last before the surrogates"},
      {"\xED\xA0\x80", 3, "a surrogate"},
      {"\xEF\xBF\xBF", 1, "the last of three bytes"},
      {"\xF0\x8F\xBF\xBF", 4, "longer than need be"},
      {"\xF0\x90\x80\x80", 1, "the first of four bytes"},
      {"\xF4\x8F\xBF\xBF", 1, "the last of all"},
      {"\xF4\x90\x80\x80", 4, "beyond the last"},
      {"\xF5\x80\x80\x80", 4, "beyond the last"},
      {"\xFF\xFE", 2, "never a byte of UTF-8"},
      {std::string("\0a", 2), 2, "NUL is a character"},
  };
  for (const Case& c : cases)
    EXPECT_EQ(Source(c.bytes).line(1).starts.size(), c.characters) << c.why;
}

} // namespace
