#include "base/Int32.h"

#include <gtest/gtest.h>

namespace {

TEST(Int32Test, ReadsTheDigitsAtTheStartOfAText) {
  const struct {
    const char* text;
    int32_t expected;
    const char* why;
  } cases[] = {
      {"42", 42, "plain digits"},
      {"+42", 42, "a plus sign"},
      {"-42", -42, "a minus sign"},
      {" \t\n\v\f\r42", 42, "leading white space"},
      {"42mA", 42, "letters behind the digits"},
      {"4 2", 4, "white space ends the digits"},
      {"007", 7, "leading zeros are not octal"},
      {"0x10", 0, "the digits end at the x"},
      {"1e3", 1, "no exponents"},
      {"12.9", 12, "no fractions"},
      {"", 0, "no digits"},
      {"hot", 0, "no digits"},
      {"-", 0, "a sign alone"},
      {"--1", 0, "one sign only"},
      {"- 1", 0, "no white space behind the sign"},
      {"2147483647", INT32_MAX, "the largest"},
      {"-2147483648", INT32_MIN, "the smallest"},
  };
  for (const auto& c : cases)
    EXPECT_EQ(parseInt32(c.text), c.expected) << '"' << c.text << "\": " << c.why;
}

TEST(Int32Test, CutsNumbersBeyond32BitsToTheirLow32Bits) {
  static_assert(sizeof(long) == 8, "where long has 32 bits, such numbers end at its limits");
  const struct {
    const char* text;
    int32_t expected;
    const char* why;
  } cases[] = {
      {"2147483648", INT32_MIN, "one above the largest"},
      {"-2147483649", INT32_MAX, "one below the smallest"},
      {"4294967295", -1, "all 32 bits set"},
      {"4294967296", 0, "the lowest 32 bits are 0"},
      {"4294967301", 5, "2 to the power of 32, plus 5"},
      {"9223372036854775807", -1, "the largest of 64 bits"},
      {"9223372036854775808", -1, "beyond 64 bits counts as the largest of them"},
      {"99999999999999999999999999", -1, "however far beyond"},
      {"-9223372036854775808", 0, "the smallest of 64 bits"},
      {"-99999999999999999999999999", 0, "below that counts as the smallest"},
  };
  for (const auto& c : cases)
    EXPECT_EQ(parseInt32(c.text), c.expected) << c.text << ": " << c.why;
}

TEST(Int32Test, AddsAndSubtractsAroundTheEnds) {
  EXPECT_EQ(wrapAdd(2, 3), 5);
  EXPECT_EQ(wrapAdd(INT32_MAX, 0), INT32_MAX);
  EXPECT_EQ(wrapAdd(INT32_MAX, 1), INT32_MIN);
  EXPECT_EQ(wrapAdd(INT32_MIN, -1), INT32_MAX);
  EXPECT_EQ(wrapSubtract(2, 3), -1);
  EXPECT_EQ(wrapSubtract(INT32_MIN, 0), INT32_MIN);
  EXPECT_EQ(wrapSubtract(INT32_MIN, 1), INT32_MAX);
  EXPECT_EQ(wrapSubtract(INT32_MAX, -1), INT32_MIN);
}

TEST(Int32Test, MultipliesAroundTheEnds) {
  EXPECT_EQ(wrapMultiply(-6, 7), -42);
  EXPECT_EQ(wrapMultiply(46341, 46341), -2147479015);
  EXPECT_EQ(wrapMultiply(65536, 65536), 0);
  EXPECT_EQ(wrapMultiply(INT32_MIN, -1), INT32_MIN);
}

TEST(Int32Test, NegatesTheSmallestNumberToItself) {
  EXPECT_EQ(wrapNegate(5), -5);
  EXPECT_EQ(wrapNegate(0), 0);
  EXPECT_EQ(wrapNegate(INT32_MAX), -INT32_MAX);
  EXPECT_EQ(wrapNegate(INT32_MIN), INT32_MIN);
}

TEST(Int32Test, DividesTowardZeroAndWrapsTheOneQuotientThatDoesNotFit) {
  EXPECT_EQ(wrapDivide(7, 2), 3);
  EXPECT_EQ(wrapDivide(-7, 2), -3);
  EXPECT_EQ(wrapDivide(7, -2), -3);
  EXPECT_EQ(wrapDivide(7, -1), -7);
  EXPECT_EQ(wrapDivide(INT32_MIN, 1), INT32_MIN);
  EXPECT_EQ(wrapDivide(INT32_MIN, -1), INT32_MIN);
}

} // namespace
