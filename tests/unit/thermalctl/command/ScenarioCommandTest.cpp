#include <string>

#include <gtest/gtest.h>

#include "command/Commands.h"
#include "thermalctl/command/CommandBoard.h"

namespace {

class ScenarioCommandTest : public testing::Test, protected CommandBoard {};

TEST_F(ScenarioCommandTest, WhatIsNoWordIsNoScenario) {
  for (const char* name : {"my game", "ENOFILE", "game\n", "\t"}) {
    const EndedCommand end = ended(scenarioCommand(), {name, "--dir", path("")});
    EXPECT_EQ(end.status, kCouldNotRun);
    EXPECT_EQ(end.err.rfind("thermalctl: no scenario can be called '", 0), 0U) << end.err;
  }
  EXPECT_FALSE(files.exists("scenario"));
}

TEST_F(ScenarioCommandTest, ANameIsRequired) {
  const EndedCommand end = ended(scenarioCommand(), {});
  EXPECT_EQ(end.status, kCouldNotRun);
  EXPECT_EQ(end.err, wrong("NAME is required; write thermalctl scenario NAME"));
}

} // namespace
