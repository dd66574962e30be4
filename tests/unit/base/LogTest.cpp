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
  LOG_LINE(message::kVirtualSample, "first", 1);
  LOG_LINE(message::kNoScenarioFile);
  EXPECT_EQ(log.lines(), (std::vector<std::string>{"[TalmorThermal] Sensor[first] temp(1)\n",
                                                   "[TalmorThermal] No scen file\n"}));
}

TEST(LogTest, SwitchedOffWritesNothingAndDoesNotEvenEvaluateTheArguments) {
  const RecordedLog log;
  const LogSwitchedOff off;
  int evaluations = 0;
  LOG_LINE(message::kVirtualSample, "cpu", ++evaluations);
  EXPECT_EQ(log.lines(), std::vector<std::string>{});
  EXPECT_EQ(evaluations, 0);
}

} // namespace
