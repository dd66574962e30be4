#include "text/LookAlikes.h"

#include <gtest/gtest.h>

namespace {

TEST(LookAlikesTest, ReadsATextAsItLooks) {
  const std::pair<const char*, const char*> texts[] = {
      {"sens\u200Bor", "sensor"},
      {"\uFEFFtype", "type"},
      {"sensor\u00A0cpu", "sensor cpu"},
      {"s\u0435ns\u043Er", "sensor"},
      {"\u03BFn", "on"},
      {"\u20135", "-5"},
      {"\u22125", "-5"},
      {"\uFF15\uFF10", "50"},
      {"\u0665\u06F5\u096B", "555"},
      {"\uFF3Bcpu\uFF3D", "[cpu]"},
      {"\u201C5\u201D", "\"5\""},
      {"5\u20445", "5/5"},
      {"\uFB01", "fi"},
      {"\U0001D7D9\u2075\u00B2", "152"},
  };
  for (const auto& [text, read] : texts)
    EXPECT_EQ(asRead(text), read) << text;
}

TEST(LookAlikesTest, LeavesOtherCharactersAlone) {
  for (const char* text : {"", "sensor cpu -5 [a]", "\u00B0C", "\u00E4\u00DF", "\u6E29\u5EA6",
                           "\xFF\xFE\x80", "\u0436\u0434"}) {
    EXPECT_EQ(asRead(text), text);
    EXPECT_FALSE(firstLookAlike(text)) << text;
  }
}

TEST(LookAlikesTest, TellsTheFirstByItsPlaceAndWhatItIs) {
  const auto first = firstLookAlike("\u00E4b\uFF11\u0430");
  ASSERT_TRUE(first);
  EXPECT_EQ(first->start, 3U);
  EXPECT_EQ(first->length, 3U);
  EXPECT_EQ(codePoint(first->number), "U+FF11");
  EXPECT_EQ(first->what, "a full-width character");
  EXPECT_EQ(first->meant, "1");
}

TEST(LookAlikesTest, ShowsWhatDoesNotShowByItsCodePoint) {
  EXPECT_EQ(withCodePoints("c\u200Bpu\u00A0\u0430"), "c<U+200B>pu<U+00A0>\u0430");
  EXPECT_EQ(codePoint(0xE0001), "U+E0001");
}

} // namespace
