#include "terminal/ProgressLine.h"

#include <array>

#include <gtest/gtest.h>

#include "thermalctl/terminal/TestTerminal.h"

namespace {

constexpr char kErased[] = "\r\x1B[K";

TEST(ProgressLineTest, IsWrittenOverAndGoneWithItsScope) {
  const TestTerminal terminal;
  {
    ProgressLine line(terminal.program());
    EXPECT_EQ(terminal.text(), "");
    line.show("1 %");
    EXPECT_EQ(terminal.text(), std::string(kErased) + "1 %");
    line.show("2 %");
    EXPECT_EQ(terminal.text(), std::string(kErased) + "2 %");
  }
  EXPECT_EQ(terminal.text(), kErased);
}

TEST(ProgressLineTest, IsErasedOnlyOnce) {
  const TestTerminal terminal;
  {
    ProgressLine line(terminal.program());
    line.clear();
    EXPECT_EQ(terminal.text(), "");
    line.show("1 %");
    line.clear();
    terminal.text();
  }
  EXPECT_EQ(terminal.text(), "");
}

TEST(ProgressLineTest, IsNotShownInAFile) {
  std::array<int, 2> ends{};
  ASSERT_EQ(::pipe2(ends.data(), O_NONBLOCK), 0);
  ProgressLine(ends[1]).show("1 %");
  char any = 0;
  EXPECT_LT(::read(ends[0], &any, 1), 0);
  ::close(ends[0]);
  ::close(ends[1]);
}

} // namespace
