#include "command/CheckFirst.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/LogSwitchedOff.h"
#include "support/SysfsDir.h"

namespace {

class CheckFirstTest : public testing::Test {
protected:
  CheckFirstTest() {
    environment = files.write("board.env", "[cpu]\ntype real\nsampling 1000\nnode_path /cpu\n\n"
                                           "[clock]\ntype gpufreq\nnode_path /clock\n"
                                           "level_table 800 600\n");
    day = files.write("day.conf", kDay);
  }

  // Whether they pass, and what is said of them.
  bool passes() {
    testing::internal::CaptureStderr();
    const bool does = passesCheck(environment, {day});
    said = testing::internal::GetCapturedStderr();
    return does;
  }

  const std::string kDay = "SCEN Default\n[less]\nalgo_type monitor\nsensor cpu\nsampling 1000\n"
                           "thresholds 60000\nthresholds_clr 57000\nactions clock\naction_info 1\n";

  const LogSwitchedOff quiet;
  SysfsDir files;
  std::string environment;
  std::string day;
  std::string said;
};

TEST_F(CheckFirstTest, ASoundBoardPassesWithoutAWord) {
  EXPECT_TRUE(passes());
  EXPECT_EQ(said, "");
}

TEST_F(CheckFirstTest, AWarningIsCountedWithTheCommandThatTellsIt) {
  files.write("day.conf", kDay + "other 1\n");
  EXPECT_TRUE(passes());
  EXPECT_EQ(said, "thermalctl: 1 warning, told by thermalctl check --env " + environment +
                      " --conf " + day + "\n");
}

TEST_F(CheckFirstTest, AnErrorIsToldWithItsPlaceAndTheWarningsAreCounted) {
  files.write("day.conf", kDay + "samplnig 1\nother 1\n");
  EXPECT_FALSE(passes());
  EXPECT_NE(said.find(day + ":10:1: error: "), std::string::npos) << said;
  EXPECT_EQ(said.find(day + ":11:1: "), std::string::npos) << said;
  EXPECT_NE(said.find("thermalctl: 1 warning, told by "), std::string::npos) << said;
}

TEST_F(CheckFirstTest, AFileThatCannotBeReadKeepsFromRunning) {
  day = files.node("nowhere.conf");
  EXPECT_FALSE(passes());
  EXPECT_EQ(said.rfind("thermalctl: cannot read " + day + ": No such file or directory", 0), 0U)
      << said;
}

TEST_F(CheckFirstTest, WrongSettingsKeepFromRunning) {
  files.write("thermalctl.toml", "[sensor.cpu]\nunit = \"tenth\"\n");
  EXPECT_FALSE(passes());
  EXPECT_NE(said.find("did you mean 'tenths'?"), std::string::npos) << said;
}

TEST_F(CheckFirstTest, TheUnitsAreThoseOfTheSettingsBesideTheBoard) {
  EXPECT_EQ(unitsOf(environment), SensorUnits());
  files.write("thermalctl.toml", "[sensor.cpu]\nunit = \"tenths\"\n");
  EXPECT_EQ(unitsOf(environment), (SensorUnits{{"cpu", 100}}));
  files.write("thermalctl.toml", "[sensor.cpu]\nunit = \"degrees\"\n");
  EXPECT_EQ(unitsOf(environment), (SensorUnits{{"cpu", 1000}}));
  // Of what is wrong nothing is known.
  files.write("thermalctl.toml", "[sensor.cpu]\nunit = \"tenth\"\n");
  EXPECT_EQ(unitsOf(environment), SensorUnits());
}

TEST_F(CheckFirstTest, WhatTheCheckFindsStandsBeforeWhatFollowsFromIt) {
  files.write("day.conf", kDay + "samplnig 1\n");
  Problems problems;
  problems.add({"workload", {}, "asks for a scenario that is not there"});
  testing::internal::CaptureStderr();
  EXPECT_FALSE(mayRun(environment, {day}, problems));
  std::string told = testing::internal::GetCapturedStderr();
  EXPECT_NE(told.find("thermalctl: nothing was run: the check has found errors\n"),
            std::string::npos)
      << told;
  EXPECT_EQ(told.find("workload"), std::string::npos) << told;
  files.write("day.conf", kDay);
  testing::internal::CaptureStderr();
  EXPECT_FALSE(mayRun(environment, {day}, problems));
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "workload: error: asks for a scenario that is not there\n");
  EXPECT_TRUE(mayRun(environment, {day}, Problems()));
}

} // namespace
