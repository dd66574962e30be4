#include "control/PatientWaiting.h"

#include <gtest/gtest.h>

#include "thermalctl/terminal/TestTerminal.h"

namespace {

TEST(PatientWaitingTest, TellsForWhatAndForHowLong) {
  const TestTerminal terminal;
  PatientWaiting waiting(terminal.program());
  waiting.stage("asking for \x1B[2J");
  EXPECT_EQ(terminal.text(), "\r\x1B[Kasking for \xE2\x90\x9B[2J ... 0 s");
  const Waiting::Time before = waiting.now();
  waiting.pause(std::chrono::milliseconds(2));
  EXPECT_GE(waiting.now() - before, std::chrono::milliseconds(2));
  EXPECT_EQ(terminal.text(), "\r\x1B[Kasking for \xE2\x90\x9B[2J ... 0 s");
}

} // namespace
