#include "text/Characters.h"

#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace {

TEST(CharactersTest, ShowsPlainTextAsItIs) {
  EXPECT_EQ(visible("set_point 45000 \xC2\xB0\xE2\x82\xAC"),
            "set_point 45000 \xC2\xB0\xE2\x82\xAC");
}

TEST(CharactersTest, PutsASignForEachControlCharacter) {
  EXPECT_EQ(visible(std::string("\0\t\r\x1B\x7F", 5)),
            "\xE2\x90\x80\xE2\x90\x89\xE2\x90\x8D\xE2\x90\x9B\xE2\x90\xA1");
}

TEST(CharactersTest, PutsASignForWhatIsNotUtf8OrWouldTurnTheLineAround) {
  constexpr char kReplacement[] = "\xEF\xBF\xBD";
  for (const char* text : {"\xFF", "\xC2\x85", "\xC2\x9F", "\xE2\x80\x8B", "\xE2\x80\x8F",
                           "\xE2\x80\xAE", "\xE2\x81\xA6", "\xEF\xBB\xBF"})
    EXPECT_EQ(visible(text), kReplacement) << text;
  for (const char* text : {"\xC2\xA0", "\xE2\x80\x90", "\xE2\x80\xAF", "\xE2\x81\xB0"})
    EXPECT_EQ(visible(text), text);
}

TEST(CharactersTest, GoesOnBehindABrokenCharacter) {
  const std::string sign = "\xEF\xBF\xBD";
  struct Case {
    const char* text;
    size_t bad; // bytes
    const char* why;
  };
  for (const Case& each :
       {Case{"\x80", 1, "no beginning"}, Case{"\xC1\xBF", 2, "two bytes for DEL"},
        Case{"\xE0\x9F\xBF", 3, "three bytes for U+07FF"},
        Case{"\xED\xA0\x80", 3, "half of a surrogate pair"},
        Case{"\xF0\x8F\xBF\xBF", 4, "four bytes for U+FFFF"},
        Case{"\xF4\x90\x80\x80", 4, "behind U+10FFFF"}, Case{"\xE2\x82", 2, "no end"}}) {
    std::string signs;
    for (size_t i = 0; i < each.bad; ++i)
      signs += sign;
    EXPECT_EQ(visible(std::string("a") + each.text + "\xC3\xA4"), "a" + signs + "\xC3\xA4")
        << each.why;
  }
  EXPECT_EQ(visible("\xED\x9F\xBF\xEE\x80\x80\xF4\x8F\xBF\xBF"),
            "\xED\x9F\xBF\xEE\x80\x80\xF4\x8F\xBF\xBF");
}

TEST(CharactersTest, CutsBetweenCharacters) {
  EXPECT_EQ(charactersIn("s\xC3\xA4 "), 3U);
  EXPECT_EQ(firstCharacters("s\xC3\xA4x", 2), "s\xC3\xA4");
  EXPECT_EQ(firstCharacters("s\xC3\xA4x", 0), "");
  EXPECT_EQ(firstCharacters("sx", 9), "sx");
}

TEST(CharactersTest, CutsTheLongWordsOfAMessage) {
  EXPECT_EQ(withShortWords(""), "");
  EXPECT_EQ(withShortWords(" a  b "), " a  b ");
  const std::string longest(100, 'x');
  EXPECT_EQ(withShortWords("'" + longest.substr(2) + "' is"), "'" + longest.substr(2) + "' is");
  const std::string first(59, 'x');
  const std::string last(19, 'x');
  EXPECT_EQ(withShortWords("no '" + std::string(5'000'000, 'x') + "' is here"),
            "no '" + first + "..." + last + "' is here");
  std::string wide;
  for (int i = 0; i < 101; ++i)
    wide += "\xC3\xA4";
  EXPECT_EQ(withShortWords(wide), wide.substr(0, 120) + "..." + wide.substr(0, 40));
}

TEST(CharactersTest, MakesSmallLettersOfThoseOfAsciiAlone) {
  EXPECT_EQ(lowerCase(std::string("AZ@[az\xC3\x84")), "az@[az\xC3\x84");
}

TEST(CharactersTest, GivesEachCharacterWithThePlaceOfItsBytes) {
  std::vector<std::pair<size_t, char32_t>> characters;
  eachCharacter("a\xC3\xA4\xFF\xE2\x82\xAC\xF0\x9F\x94\xA5",
                [&](size_t start, char32_t number) { characters.emplace_back(start, number); });
  EXPECT_EQ(characters, (std::vector<std::pair<size_t, char32_t>>{
                            {0, 'a'}, {1, 0xE4}, {3, 0xFFFD}, {4, 0x20AC}, {7, 0x1F525}}));
  eachCharacter("", [](size_t, char32_t) { FAIL() << "of nothing"; });
}

TEST(CharactersTest, LeavesNothingInMarkupThatIsReadAsItsOwn) {
  EXPECT_EQ(escapedMarkup("a <b> & \"c\" 'd'"), "a &lt;b&gt; &amp; &quot;c&quot; 'd'");
  EXPECT_EQ(escapedMarkup("&lt;"), "&amp;lt;");
  EXPECT_EQ(escapedMarkup(""), "");
  // And nothing that no page may hold.
  EXPECT_EQ(escapedMarkup(std::string("\0\x1B", 2)), "\xE2\x90\x80\xE2\x90\x9B");
  EXPECT_EQ(escapedMarkup("\xFF"), "\xEF\xBF\xBD");
}

} // namespace
