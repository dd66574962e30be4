#include "text/LookAlikes.h"

#include <string>
#include <utility>

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

TEST(LookAlikesTest, TellsWhatEachKindOfThemIsAndWhatToWrite) {
  const struct {
    const char* text;
    const char* what;
    const char* meant;
  } cases[] = {
      {"\u200B", "an invisible character", ""},
      {"\u00AD", "an invisible character", ""},
      {"\u00A0", "a space that separates no words", " "},
      {"\u3000", "a space that separates no words", " "},
      {"\u2010", "a dash", "-"},
      {"\u2015", "a dash", "-"},
      {"\uFF01", "a full-width character", "!"},
      {"\uFF5E", "a full-width character", "~"},
      {"\u0430", "a Cyrillic letter", "a"},
      {"\u051D", "a Cyrillic letter", "w"},
      {"\u0391", "a Greek letter", "A"},
      {"\u03C7", "a Greek letter", "x"},
      {"\u2026", "a sign", "..."},
      {"\uFB02", "a sign", "fl"},
      {"\u0660", "a digit", "0"},
      {"\u0669", "a digit", "9"},
      {"\U0001D7FF", "a digit", "9"},
  };
  for (const auto& c : cases) {
    const auto other = firstLookAlike(c.text);
    ASSERT_TRUE(other) << c.text;
    EXPECT_EQ(other->what, c.what) << c.text;
    EXPECT_EQ(other->meant, c.meant) << c.text;
    EXPECT_EQ(other->length, std::string(c.text).size()) << c.text;
  }
}

TEST(LookAlikesTest, WhatLiesBesideThemIsNone) {
  for (const char* text : {"\u2016", "\u200A\u0041", "\uFF5F", "\uFF00", "\u066A", "\u065F",
                           "\u2211", "\U0001D800", "~", "\u2027"}) {
    const auto other = firstLookAlike(text);
    EXPECT_TRUE(!other || other->meant == " ") << text;
  }
}

TEST(LookAlikesTest, AScriptsDigitsAreTenFromItsNought) {
  const std::string zeros[] = {"\u0660", "\u06F0", "\u0966", "\u09E6", "\u0A66",
                               "\u0AE6", "\u0BE6", "\u0C66", "\u0E50", "\u0ED0",
                               "\u0F20", "\u1040", "\u17E0", "\u2070", "\u2080"};
  for (const std::string& zero : zeros) {
    EXPECT_EQ(asRead(zero), "0") << zero;
    std::string nine = zero;
    nine.back() = static_cast<char>(nine.back() + 9);
    EXPECT_EQ(asRead(nine), "9") << zero;
  }
}

TEST(LookAlikesTest, OnlyWhatHasNoShapeIsInvisible) {
  for (const char32_t character :
       {0xADU,   0x34FU,  0x61CU,  0x115FU, 0x1160U,  0x17B4U, 0x17B5U, 0x180BU,
        0x180EU, 0x200BU, 0x200FU, 0x202AU, 0x202EU,  0x2060U, 0x206FU, 0x3164U,
        0xFE00U, 0xFE0FU, 0xFEFFU, 0xFFA0U, 0xE0000U, 0xE007FU})
    EXPECT_TRUE(isInvisible(character)) << codePoint(character);
  for (const char32_t character :
       {0x20U, 0xA0U, 0xACU, 0xAEU, 0x115EU, 0x1161U, 0x180AU, 0x180FU, 0x200AU, 0x2010U, 0x2029U,
        0x202FU, 0x205FU, 0x2070U, 0xFDFFU, 0xFE10U, 0xFEFEU, 0xE0080U})
    EXPECT_FALSE(isInvisible(character)) << codePoint(character);
}

} // namespace
