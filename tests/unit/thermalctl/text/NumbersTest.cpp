#include "text/Numbers.h"

#include <string>
#include <utility>

#include <gtest/gtest.h>

namespace {

TEST(DurationTest, TakesNumbersWithAndWithoutUnits) {
  const std::pair<std::string, int64_t> cases[] = {
      {"0", 0},           {"90", 90'000},    {"1.5", 1500},           {"250ms", 250},
      {"90s", 90'000},    {"15m", 900'000},  {"1.5h", 5'400'000},     {"1h30m", 5'400'000},
      {"1d", 86'400'000}, {"1m30s", 90'000}, {"1h0m0.5s", 3'600'500},
  };
  for (const auto& [text, milliseconds] : cases)
    EXPECT_EQ(parseDuration(text), milliseconds) << text;
}

TEST(DurationTest, RefusesWhatIsNoTime) {
  for (const std::string text : {"", "h", "-1", "1x", "1h30", "1.2.3", "ten", "1 h", "400d", ".",
                                 "1s1h", "1h1h", "0.0001", "0.5ms", "0.123456h"})
    EXPECT_EQ(parseDuration(text), std::nullopt) << text;
}

TEST(DurationTest, IsAYearAtTheMost) {
  EXPECT_EQ(parseDuration("365d"), 31'536'000'000);
  EXPECT_EQ(parseDuration("365d1ms"), std::nullopt);
}

TEST(NumberTest, IsAllOfATextAndFinite) {
  EXPECT_EQ(parseNumber("-40.5"), -40.5);
  EXPECT_EQ(parseNumber("1e3"), 1000);
  EXPECT_EQ(parseNumber("0.0"), 0);
  for (const std::string text :
       {"", "x", "1x", "inf", "nan", "1e999", "1e-320", "1e-999", "0x10", " 1", "0x1p3"})
    EXPECT_EQ(parseNumber(text), std::nullopt) << text;
}

} // namespace
