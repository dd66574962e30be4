#include "terminal/TerminalLine.h"

#include <gtest/gtest.h>

namespace {

TEST(TerminalLineTest, IsCutToTheWidthInCharacters) {
  EXPECT_EQ(shown({"45 °C"}, Colour::kOff, 5), "45 °C");
  EXPECT_EQ(shown({"45 °C"}, Colour::kOff, 4), "45 °");
  EXPECT_EQ(shown({"45 °C"}, Colour::kOff, 3), "45 ");
  EXPECT_EQ(shown({"45 °C"}, Colour::kOff, 0), "");
}

TEST(TerminalLineTest, ItsLookTakesNoRoom) {
  EXPECT_EQ(shown({"hot", "31"}, Colour::kOn, 3), "\x1B[31mhot\x1B[0m");
  EXPECT_EQ(shown({"hot", "31"}, Colour::kOn, 2), "\x1B[31mho\x1B[0m");
  EXPECT_EQ(shown({"hot", "31"}, Colour::kOff, 3), "hot");
}

} // namespace
