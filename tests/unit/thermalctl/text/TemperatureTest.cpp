#include "text/Temperature.h"

#include <string>
#include <utility>

#include <gtest/gtest.h>

namespace {

TEST(TemperatureTest, IsANumberWithItsUnit) {
  const std::pair<std::string, int32_t> cases[] = {{"43C", 43'000},
                                                   {"43000mC", 43'000},
                                                   {"42.5C", 42'500},
                                                   {"+43C", 43'000},
                                                   {"-10C", -10'000},
                                                   {"-500mC", -500},
                                                   {"0C", 0},
                                                   {"0.001C", 1},
                                                   {"42.5000C", 42'500},
                                                   {"1.0mC", 1},
                                                   {"-273.15C", -273'150},
                                                   {"1000C", 1'000'000},
                                                   {"043C", 43'000},
                                                   {".5C", 500}};
  for (const auto& [text, millidegrees] : cases)
    EXPECT_EQ(readTemperature(text).millidegrees, millidegrees) << text;
}

TEST(TemperatureTest, WithoutAUnitIsRefusedWithBothSpellings) {
  const std::pair<std::string, std::string> cases[] = {
      {"43", "write 43C or 43000mC"},     {"43000", "write 43C or 43000mC"},
      {"42.5", "write 42.5C or 42500mC"}, {"42500", "write 42.5C or 42500mC"},
      {"-10", "write -10C or -10000mC"},  {"999", "write 999C or 999000mC"},
      {"1000", "write 1C or 1000mC"},     {"0", "write 0C or 0mC"}};
  for (const auto& [text, hint] : cases) {
    const TemperatureText read = readTemperature(text);
    EXPECT_EQ(read.millidegrees, std::nullopt) << text;
    EXPECT_EQ(read.wrong, "has no unit") << text;
    EXPECT_EQ(read.hint, hint) << text;
  }
}

TEST(TemperatureTest, FinerThanAMillidegreeIsNone) {
  for (const std::string text : {"42.0005C", "0.5mC", "42.12345678901234567890C"})
    EXPECT_EQ(readTemperature(text).wrong, "is finer than a millidegree") << text;
}

TEST(TemperatureTest, MustBeOneThatThereCanBe) {
  for (const std::string text :
       {"-273.151C", "1000.001C", "43000C", "2147483648mC", "99999999999999999999999C"})
    EXPECT_EQ(readTemperature(text).wrong, "lies outside of -273.15 to 1000 degrees Celsius")
        << text;
  EXPECT_EQ(readTemperature("43000C").hint, "write 43C or 43000mC");
}

TEST(TemperatureTest, OfAnyOtherTextIsNone) {
  for (const std::string text : {"", "C", "mC", "-C", "43F", "43c", "43 C", "4 3C", "4e1C", "0x2BC",
                                 "43CC", "43\u00B0C", "4..3C", ".C", "warm"}) {
    const TemperatureText read = readTemperature(text);
    EXPECT_EQ(read.millidegrees, std::nullopt) << text;
    EXPECT_EQ(read.wrong, "is no temperature") << text;
    EXPECT_NE(read.hint.find("43C"), std::string::npos) << text;
    EXPECT_NE(read.hint.find("43000mC"), std::string::npos) << text;
  }
}

} // namespace
