#include "base/Log.h"

#include <gtest/gtest.h>

#include "support/LogSwitchedOff.h"
#include "support/RecordedLog.h"

namespace {

TEST(LogTest, IsSwitchedOnFromTheStart) {
  EXPECT_TRUE(logEnabled);
}

TEST(LogTest, WritesFormattedLinesInOrder) {
  const RecordedLog log;
  LOG_LINE("[TalmorThermal] %s(%d)\n", "first", 1);
  LOG_LINE("[TalmorThermal] second\n");
  EXPECT_EQ(log.lines(),
            (std::vector<std::string>{"[TalmorThermal] first(1)\n", "[TalmorThermal] second\n"}));
}

TEST(LogTest, SwitchedOffWritesNothingAndDoesNotEvenEvaluateTheArguments) {
  const RecordedLog log;
  const LogSwitchedOff off;
  int evaluations = 0;
  LOG_LINE("[TalmorThermal] %d\n", ++evaluations);
  EXPECT_EQ(log.lines(), std::vector<std::string>{});
  EXPECT_EQ(evaluations, 0);
}

} // namespace
