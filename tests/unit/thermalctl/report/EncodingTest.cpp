#include "report/Encoding.h"

#include <cstdint>
#include <limits>
#include <string>
#include <utility>

#include <gtest/gtest.h>

namespace {

std::string encoded(int64_t number) {
  std::string text;
  appendNumber(text, number);
  return text;
}

// As the page reads it.
int64_t decoded(const std::string& text) {
  const std::string digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  uint64_t number = 0;
  unsigned shift = 0;
  for (const char each : text) {
    number |= (digits.find(each) & 31) << shift;
    shift += 5;
  }
  const auto amount = static_cast<int64_t>(number >> 1);
  return (number & 1) != 0 ? -amount : amount;
}

TEST(EncodingTest, ASmallNumberIsOneDigitWithItsSignInTheLowestBit) {
  const std::pair<int64_t, const char*> numbers[] = {{0, "A"},    {1, "C"},    {-1, "D"},
                                                     {15, "e"},   {-15, "f"},  {16, "gB"},
                                                     {-16, "hB"}, {511, "+f"}, {512, "ggB"}};
  for (const auto& [number, text] : numbers)
    EXPECT_EQ(encoded(number), text) << number;
}

TEST(EncodingTest, EveryNumberIsReadBack) {
  for (const int64_t number :
       {int64_t{0}, int64_t{31}, int64_t{-32}, int64_t{1'000'000}, int64_t{-86'400'000},
        int64_t{1} << 40, -(int64_t{1} << 40), std::numeric_limits<int64_t>::max()})
    EXPECT_EQ(decoded(encoded(number)), number) << number;
}

TEST(EncodingTest, NumbersStandBehindEachOtherAndTellWhereTheyEnd) {
  std::string text = "x";
  for (const int64_t number : {1, 16, -1})
    appendNumber(text, number);
  EXPECT_EQ(text, "xCgBD");
}

} // namespace
