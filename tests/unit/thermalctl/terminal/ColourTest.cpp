#include "terminal/Colour.h"

#include <optional>

#include <gtest/gtest.h>

#include "support/EnvironmentVariable.h"
#include "thermalctl/terminal/TestTerminal.h"

namespace {

TEST(ColourTest, IsForATerminalAlone) {
  const TestTerminal terminal;
  const EnvironmentVariable wish("NO_COLOR", std::nullopt);
  EXPECT_EQ(colourFor(terminal.program()), Colour::kOn);
  EXPECT_EQ(colourFor(-1), Colour::kOff);
}

TEST(ColourTest, IsOffWhereTheUserWantsNone) {
  const TestTerminal terminal;
  const EnvironmentVariable wish("NO_COLOR", "");
  EXPECT_EQ(colourFor(terminal.program()), Colour::kOn);
  wish.set("1");
  EXPECT_EQ(colourFor(terminal.program()), Colour::kOff);
}

TEST(ColourTest, PaintsNothingThatWouldNotShow) {
  EXPECT_EQ(painted(Colour::kOn, "31", "hot"), "\x1B[31mhot\x1B[0m");
  EXPECT_EQ(painted(Colour::kOff, "31", "hot"), "hot");
  EXPECT_EQ(painted(Colour::kOn, "", "hot"), "hot");
  EXPECT_EQ(painted(Colour::kOn, "31", ""), "");
}

} // namespace
