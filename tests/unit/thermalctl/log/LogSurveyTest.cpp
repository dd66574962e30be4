#include "log/LogSurvey.h"

#include <gtest/gtest.h>

#include "support/LogSwitchedOff.h"
#include "support/SysfsDir.h"

namespace {

std::string monitorFrom(const std::string& name, int degrees) {
  return "[" + name + "]\nalgo_type monitor\nsensor big\nsampling 1000\nthresholds " +
         std::to_string(degrees) + "000\nthresholds_clr " + std::to_string(degrees - 5) +
         "000\nactions cpu\naction_info 1\n\n";
}

LogLine lineOfKind(LogLine::Kind kind) {
  LogLine line;
  line.kind = kind;
  return line;
}

LogLine sampleOf(int32_t temperature, std::string_view scenario = "Default") {
  LogLine line = lineOfKind(LogLine::Kind::kSample);
  line.name = "big";
  line.scenario = scenario;
  line.value = temperature;
  return line;
}

LogLine hasWoken(std::string_view name) {
  LogLine line = lineOfKind(LogLine::Kind::kWoken);
  line.name = name;
  line.sensor = "big";
  line.scenario = "Default";
  return line;
}

LogLine decided(std::string_view name, int32_t before, int32_t value, int32_t temperature) {
  LogLine line = lineOfKind(LogLine::Kind::kLevel);
  line.name = name;
  line.before = before;
  line.value = value;
  line.temperature = temperature;
  return line;
}

// A log of a board that is shipped with day.conf: "cap" acts from 50 degrees on by day, from 40 by
// night, when there is also "night_cap".
class LogSurveyTest : public testing::Test {
protected:
  void takeAll(std::initializer_list<LogLine> lines) {
    for (const LogLine& line : lines)
      survey.take(line);
  }
  void start() { takeAll({lineOfKind(LogLine::Kind::kStart)}); }
  void swap() { takeAll({lineOfKind(LogLine::Kind::kSwap), lineOfKind(LogLine::Kind::kScenario)}); }

  // The configuration of the last stretch.
  std::string inForce() const { return survey.stretches().back().configuration->name; }
  bool isTold() const { return survey.stretches().back().isTold; }

  const LogSwitchedOff quiet;
  SysfsDir files;
  std::vector<std::string> problems;
  const BoardFolder board{
      {files.write("day.env", "[big]\ntype real\nsampling 250\nnode_path /big\n\n"
                              "[cpu]\ntype cpufreq\nnode_path /cpu\nlevel_table 2000 1500\n"),
       {files.write("day.conf", "SCEN Default\n" + monitorFrom("cap", 50)),
        files.write("night.conf",
                    "SCEN Default\n" + monitorFrom("cap", 40) + monitorFrom("night_cap", 41))}},
      problems};
  LogSurvey survey{&board};
};

TEST_F(LogSurveyTest, WithoutABoardNoConfigurationIsKnown) {
  LogSurvey alone(nullptr);
  alone.take(hasWoken("night_cap"));
  ASSERT_EQ(alone.stretches().size(), 1U);
  EXPECT_EQ(alone.stretches()[0].configuration, nullptr);
  EXPECT_TRUE(alone.stretches()[0].isTold);
}

TEST_F(LogSurveyTest, TheFirstScenarioIsThatOfTheFirstSample) {
  EXPECT_EQ(survey.firstScenario(), "");
  takeAll({hasWoken("cap"), sampleOf(30000, "game"), sampleOf(30000, "Default")});
  EXPECT_EQ(survey.firstScenario(), "game");
}

TEST_F(LogSurveyTest, TheFirstScenarioHasNoMark) {
  takeAll({sampleOf(30000, "OLDSCEN_game")});
  EXPECT_EQ(survey.firstScenario(), "game");
}

TEST_F(LogSurveyTest, ADaemonStartsInDefault) {
  start();
  takeAll({sampleOf(30000, "game")});
  EXPECT_EQ(survey.firstScenario(), "Default");
}

TEST_F(LogSurveyTest, NothingThatSpeaksAgainstItIsTheShippedOne) {
  start();
  EXPECT_EQ(inForce(), "day.conf");
  EXPECT_TRUE(isTold());
}

TEST_F(LogSurveyTest, ANameTellsThatOnlyOneHas) {
  takeAll({hasWoken("night_cap")});
  EXPECT_EQ(inForce(), "night.conf");
}

TEST_F(LogSurveyTest, ADecisionTellsThatTheOtherWouldNotHaveMade) {
  takeAll({decided("cap", 0, 1, 42000)});
  EXPECT_EQ(inForce(), "night.conf");
}

TEST_F(LogSurveyTest, ADecisionThatBothWouldHaveMadeTellsNothing) {
  takeAll({decided("cap", 0, 1, 52000)});
  EXPECT_EQ(inForce(), "day.conf");
}

TEST_F(LogSurveyTest, AWakingTellsThatTheOtherWasTooColdFor) {
  takeAll({sampleOf(42000), hasWoken("cap")});
  EXPECT_EQ(inForce(), "night.conf");
}

TEST_F(LogSurveyTest, OfADaemonThatStartsItTellsWhatStaysAsleep) {
  const BoardFolder night({files.write("night.env", files.read("day.env")),
                           {files.node("day.conf"), files.node("night.conf")}},
                          problems);
  LogSurvey shippedWithNight(&night);
  const LogLine cool = sampleOf(42000);
  shippedWithNight.take(lineOfKind(LogLine::Kind::kStart));
  shippedWithNight.take(cool);
  EXPECT_EQ(shippedWithNight.stretches().back().configuration->name, "night.conf");
  shippedWithNight.take(cool);
  EXPECT_EQ(shippedWithNight.stretches().back().configuration->name, "day.conf");
}

TEST_F(LogSurveyTest, ANameWeighsMoreThanDecisions) {
  takeAll({hasWoken("night_cap")});
  for (int i = 0; i < 9; ++i)
    takeAll({decided("cap", 1, 0, 44000)});
  EXPECT_EQ(inForce(), "night.conf");
}

TEST_F(LogSurveyTest, AGapInEverythingBeginsAStretchInWhichThatBeforeStays) {
  takeAll({hasWoken("night_cap")});
  survey.gap({1000, 9000, ""});
  EXPECT_EQ(survey.stretches().size(), 2U);
  EXPECT_EQ(inForce(), "night.conf");
  EXPECT_TRUE(isTold());
}

TEST_F(LogSurveyTest, AGapOfOneSensorBeginsNone) {
  survey.gap({1000, 9000, "big"});
  EXPECT_EQ(survey.stretches().size(), 1U);
}

TEST_F(LogSurveyTest, AStartBringsTheShippedOneBack) {
  takeAll({hasWoken("night_cap")});
  start();
  EXPECT_EQ(survey.stretches().size(), 2U);
  EXPECT_EQ(inForce(), "day.conf");
}

TEST_F(LogSurveyTest, BehindASwapItMustBeTold) {
  swap();
  EXPECT_EQ(survey.stretches().size(), 2U);
  EXPECT_EQ(inForce(), "day.conf");
  EXPECT_FALSE(isTold());
  takeAll({hasWoken("night_cap")});
  EXPECT_EQ(inForce(), "night.conf");
  EXPECT_TRUE(isTold());
}

TEST_F(LogSurveyTest, WhileASwapIsUnderWayThoseOfThePredecessorStillDecide) {
  swap();
  takeAll({decided("cap", 0, 1, 42000)});
  EXPECT_FALSE(isTold());
  takeAll({hasWoken("cap"), decided("cap", 0, 1, 42000)});
  EXPECT_EQ(inForce(), "night.conf");
  EXPECT_TRUE(isTold());
}

} // namespace
