#include "study/Parting.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/LogSwitchedOff.h"
#include "thermalctl/simulate/RunFiles.h"
#include "thermalctl/support/Edit.h"

namespace {

// The sensor reads 20, 60 from a quarter of a second on and 80 from 70.05 seconds on; it is sampled
// every 100 ms, and the monitor "hot" decides every 300 ms.
class PartingTest : public testing::Test {
protected:
  PartingTest() {
    for (RunFiles* files : {&before, &now}) {
      files->workload = "time,fault cpu\n0,20\n0.25,60\n70.05,80\n";
      files->request.duration = 100'000;
    }
  }

  // Such as "300 level of gpu 1, before 0".
  std::string parting() {
    const std::vector<RunInput> first = before.read();
    const std::vector<RunInput> second = now.read();
    if (first.size() != 1 || second.size() != 1) return "no runs: " + before.wrong() + now.wrong();
    const auto parting = partingOf(first[0], second[0]);
    if (!parting) return "none";
    return std::to_string(parting->time) + " " + parting->what + " " + parting->now + ", before " +
           parting->before;
  }

  LogSwitchedOff noLog;
  RunFiles before;
  RunFiles now;
};

TEST_F(PartingTest, TwoOfTheSameNeverPart) {
  EXPECT_EQ(parting(), "none");
}

TEST_F(PartingTest, WhatNeverHappensIsNoDifference) {
  edit(now.configuration, "thresholds 50000 70000", "thresholds 51000 70000");
  EXPECT_EQ(parting(), "none");
}

TEST_F(PartingTest, ALevelPartsThem) {
  edit(now.configuration, "action_info 1 2", "action_info 3 2");
  EXPECT_EQ(parting(), "300 level of gpu 3, before 1");
}

TEST_F(PartingTest, ALaterMinuteMayPartThem) {
  edit(now.configuration, "action_info 1 2", "action_info 1 3");
  EXPECT_EQ(parting(), "70200 level of gpu 3, before 2");
}

TEST_F(PartingTest, ATemperaturePartsThem) {
  edit(now.workload, "70.05,80", "70.05,69.5");
  EXPECT_EQ(parting(), "70100 temperature of cpu 69.5 C, before 80 C");
}

TEST_F(PartingTest, ASampleAtAnotherTimePartsThem) {
  edit(now.environment, "sampling 100", "sampling 300");
  edit(now.workload, "0.25,60", "0.35,40");
  edit(before.workload, "0.25,60", "0.35,40");
  EXPECT_EQ(parting(), "400 temperature of cpu 20 C, before 40 C");
}

TEST_F(PartingTest, AScenarioPartsThemBeforeWhatItDoes) {
  for (RunFiles* files : {&before, &now})
    files->configuration += "\nSCEN game\n" + files->configuration;
  edit(now.workload, "time,fault cpu\n0,20\n0.25,60\n",
       "time,scenario,fault cpu\n0,,20\n0.25,game,60\n");
  edit(now.workload, "70.05,80", "70.05,,80");
  EXPECT_NE(parting().find(" scenario game, before Default"), std::string::npos) << parting();
}

TEST_F(PartingTest, TheOrderOfTheBoardsPartsIsNoDifference) {
  const std::string skin = "[skin]\ntype real\nsampling 100\nnode_path /nowhere/skin\n\n";
  before.environment += "\n" + skin;
  now.environment = skin + now.environment;
  for (RunFiles* files : {&before, &now})
    files->plant += "\n[sensor.skin]\nnode = \"die\"\n";
  EXPECT_EQ(parting(), "none");
}

TEST_F(PartingTest, WhatOnlyOneBoardHasIsNotLookedAt) {
  now.environment += "\n[fan]\ntype gpufreq\nnode_path /nowhere/fan\nlevel_table 9 8\n";
  EXPECT_EQ(parting(), "none");
}

TEST_F(PartingTest, TheShorterRunDecidesHowLong) {
  edit(now.configuration, "action_info 1 2", "action_info 1 3");
  now.request.duration = 70'000;
  EXPECT_EQ(parting(), "none");
}

} // namespace
