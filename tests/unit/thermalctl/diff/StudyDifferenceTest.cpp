#include "diff/StudyDifference.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "study/Workloads.h"
#include "support/LogSwitchedOff.h"
#include "thermalctl/simulate/RunFiles.h"

namespace {

// The study of a board's folder: the sensor reads 20, and 60 from a quarter of a second on.
struct StudySide {
  RunFiles files;
  std::vector<std::string> configurations{"day.conf"};
  std::vector<uint64_t> seeds{1};

  Study read() {
    StudyRequest request;
    const auto write = [this](const std::string& name, const std::string& text) {
      files.add(name, text);
      return files.path(name);
    };
    request.environment = write("board.env", files.environment);
    request.plant = write("plant.toml", files.plant);
    for (const std::string& name : configurations)
      request.configurations.push_back(write(name, files.configuration));
    request.workloads = namedWorkloads({write("warm.csv", "time,fault cpu\n0,20\n0.25,60\n")});
    request.seeds = seeds;
    request.duration = 1000;
    Study study = readStudy(request, files.problems);
    EXPECT_TRUE(files.problems.none());
    return study;
  }
};

class StudyDifferenceTest : public testing::Test {
protected:
  StudyDifference difference(size_t threads = 1) {
    const Study before = earlier.read();
    const Study now = later.read();
    return differenceOf({"before", before}, {"now", now}, usualTolerances(), threads);
  }
  // Of the first level of the later side's monitor.
  void changeLevel() {
    std::string& text = later.files.configuration;
    text.replace(text.find("action_info 1 2"), 15, "action_info 3 2");
  }

  const LogSwitchedOff quiet;
  StudySide earlier;
  StudySide later;
};

TEST_F(StudyDifferenceTest, TwoOfTheSameFilesHaveNone) {
  const StudyDifference found = difference();
  ASSERT_EQ(found.runs.size(), 1U);
  EXPECT_FALSE(found.runs[0].parting);
  EXPECT_EQ(found.figures.compared, 1U);
  EXPECT_TRUE(found.none());
}

TEST_F(StudyDifferenceTest, ARunPartsWhereADeviceIsTakenToAnotherLevel) {
  changeLevel();
  const StudyDifference found = difference();
  ASSERT_EQ(found.runs.size(), 1U);
  ASSERT_TRUE(found.runs[0].parting);
  EXPECT_EQ(found.runs[0].parting->time, 300);
  EXPECT_EQ(found.runs[0].parting->what, "level of gpu");
  EXPECT_EQ(found.runs[0].parting->before, "1");
  EXPECT_EQ(found.runs[0].parting->now, "3");
  EXPECT_FALSE(found.none());
}

TEST_F(StudyDifferenceTest, RunsBelongTogetherByTheirConfigurationAndTheirSeed) {
  earlier.seeds = {1, 2};
  later.seeds = {2, 3};
  earlier.configurations = later.configurations = {"night.conf", "day.conf"};
  later.configurations.push_back("dusk.conf");
  const StudyDifference found = difference();
  const std::vector<Study::Cell> cells = later.read().cells;
  ASSERT_EQ(cells.size(), 6U);
  // Of both configurations the second seed, by the names of the later study.
  ASSERT_EQ(found.runs.size(), 2U);
  EXPECT_EQ(found.runs[0].name, cells[0].name);
  EXPECT_EQ(found.runs[1].name, cells[2].name);
  EXPECT_EQ(found.figures.compared, 2U);
  EXPECT_EQ(found.figures.added, 4U);
  EXPECT_EQ(found.figures.gone, 2U);
}

TEST_F(StudyDifferenceTest, EachRunPartsByItself) {
  earlier.configurations = later.configurations = {"day.conf", "night.conf"};
  earlier.seeds = later.seeds = {1, 2};
  changeLevel();
  for (const size_t threads : {1U, 3U}) {
    const StudyDifference found = difference(threads);
    ASSERT_EQ(found.runs.size(), 4U);
    for (const StudyDifference::Run& run : found.runs) {
      ASSERT_TRUE(run.parting) << run.name;
      EXPECT_EQ(run.parting->time, 300) << run.name;
    }
  }
}

TEST_F(StudyDifferenceTest, WithoutARunInCommonNothingParts) {
  later.seeds = {2};
  const StudyDifference found = difference();
  EXPECT_TRUE(found.runs.empty());
  EXPECT_EQ(found.figures.added, 1U);
  EXPECT_EQ(found.figures.gone, 1U);
  EXPECT_FALSE(found.none());
}

TEST_F(StudyDifferenceTest, WhateverDiffersIsADifference) {
  StudyDifference found;
  EXPECT_TRUE(found.none());
  found.runs = {{"a", std::nullopt}, {"b", std::nullopt}};
  EXPECT_TRUE(found.none());
  found.runs[1].parting = Parting();
  EXPECT_FALSE(found.none());
  found.runs[1].parting.reset();
  found.figures.compared = 2;
  EXPECT_TRUE(found.none());
  found.figures.added = 1;
  EXPECT_FALSE(found.none());
  found.figures = {};
  found.figures.gone = 1;
  EXPECT_FALSE(found.none());
  found.figures = {};
  found.figures.changes.resize(1);
  EXPECT_FALSE(found.none());
}

} // namespace
