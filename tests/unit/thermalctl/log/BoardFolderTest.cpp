#include "log/BoardFolder.h"

#include <gtest/gtest.h>

#include "algo/Monitor.h"
#include "support/LogSwitchedOff.h"
#include "support/SysfsDir.h"

namespace {

constexpr char kBoard[] = "[big]\ntype real\nsampling 250\nnode_path /big\n\n"
                          "[cpu]\ntype cpufreq\nnode_path /cpu\nlevel_table 2000 1500\n";

std::string monitorNamed(const std::string& name) {
  return "SCEN Default\n[" + name +
         "]\nalgo_type monitor\nsensor big\nsampling 1000\nthresholds 50000\n"
         "thresholds_clr 45000\nactions cpu\naction_info 1\n";
}

class BoardFolderTest : public testing::Test {
protected:
  // All of the folder's files.
  BoardFolder read() {
    const auto found = BoardFolder::find(files.node(""), problems);
    return BoardFolder(found.value_or(BoardFolder::Files{}), problems);
  }
  std::vector<std::string> namesIn(const BoardFolder& board) const {
    std::vector<std::string> names;
    for (const auto& configuration : board.configurations())
      names.push_back(configuration.name);
    return names;
  }

  const LogSwitchedOff quiet;
  SysfsDir files;
  std::vector<std::string> problems;
};

using Names = std::vector<std::string>;

TEST_F(BoardFolderTest, TakesItsConfigurationsInTheOrderOfTheirNames) {
  files.write("board.env", kBoard);
  files.write("night.conf", monitorNamed("cap"));
  files.write("day.conf", monitorNamed("cap"));
  files.write("notes.txt", "none of it");
  const BoardFolder board = read();
  EXPECT_EQ(namesIn(board), (Names{"day.conf", "night.conf"}));
  EXPECT_EQ(problems, Names());
}

TEST_F(BoardFolderTest, TheFirstIsTheOneThatBearsTheBoardsName) {
  files.write("board.env", kBoard);
  files.write("board.conf", monitorNamed("cap"));
  files.write("a.conf", monitorNamed("cap"));
  EXPECT_EQ(read().first()->name, "board.conf");
}

TEST_F(BoardFolderTest, WithoutSuchAOneTheFirstIsTheFirst) {
  files.write("board.env", kBoard);
  files.write("b.conf", monitorNamed("cap"));
  files.write("a.conf", monitorNamed("cap"));
  EXPECT_EQ(read().first()->name, "a.conf");
}

TEST_F(BoardFolderTest, ABoardMayHaveNoConfiguration) {
  files.write("board.env", kBoard);
  const BoardFolder board = read();
  EXPECT_EQ(board.first(), nullptr);
  EXPECT_EQ(board.description().sensors.size(), 1U);
  EXPECT_EQ(problems, Names());
}

TEST_F(BoardFolderTest, DescribesSensorsAndDevicesOfTheEnvironment) {
  files.write("board.env", kBoard);
  const TraceDescription board = read().description();
  ASSERT_EQ(board.sensors.size(), 1U);
  EXPECT_EQ(board.sensors[0].name, "big");
  EXPECT_EQ(board.sensors[0].period, 250U);
  ASSERT_EQ(board.devices.size(), 1U);
  EXPECT_EQ(board.devices[0].levels, (Names{"2000", "1500"}));
  EXPECT_TRUE(board.algorithms.empty());
}

TEST_F(BoardFolderTest, EachAlgorithmComesWithTheDaemonsItemBehindIt) {
  files.write("board.env", kBoard);
  files.write("day.conf", monitorNamed("cap"));
  const BoardFolder board = read();
  const BoardFolder::ConfigurationTracks& day = *board.named("day.conf");
  ASSERT_EQ(day.algorithms.size(), 1U);
  EXPECT_EQ(day.algorithms[0].name, "cap");
  EXPECT_EQ(day.algorithms[0].configuration, "day.conf");
  ASSERT_EQ(day.items.size(), 1U);
  EXPECT_EQ(day.items[0]->name, "cap");
  EXPECT_EQ(day.items[0]->startTemp, 50000);
}

TEST_F(BoardFolderTest, ItemsOfOneNameAreTheirConfigurationsOwn) {
  files.write("board.env", kBoard);
  files.write("day.conf", monitorNamed("cap"));
  files.write("night.conf", monitorNamed("cap"));
  const BoardFolder board = read();
  EXPECT_NE(board.named("day.conf")->items[0], board.named("night.conf")->items[0]);
}

TEST_F(BoardFolderTest, NoOtherNameIsKnown) {
  files.write("board.env", kBoard);
  files.write("day.conf", monitorNamed("cap"));
  EXPECT_EQ(read().named("day"), nullptr);
}

TEST_F(BoardFolderTest, AConfigurationThatEndsTheDaemonIsLeftOutAndTold) {
  files.write("board.env", kBoard);
  files.write("bad.conf", "SCEN Default\n[cap]\nalgo_type Monitor\n");
  files.write("day.conf", monitorNamed("cap"));
  const BoardFolder board = read();
  EXPECT_EQ(namesIn(board), Names{"day.conf"});
  ASSERT_EQ(problems.size(), 1U);
  EXPECT_EQ(problems[0].rfind(files.node("bad.conf") + ": the daemon ends with it: ", 0), 0U)
      << problems[0];
}

TEST_F(BoardFolderTest, ThatAFileCannotBeReadIsTold) {
  const std::string environment = files.write("board.env", kBoard);
  const BoardFolder board({environment, {files.node("gone.conf")}}, problems);
  EXPECT_EQ(problems, Names{files.node("gone.conf") + ": cannot be read"});
  EXPECT_EQ(board.description().sensors.size(), 1U);
}

TEST_F(BoardFolderTest, WithoutAReadableEnvironmentThereIsNothing) {
  const std::string day = files.write("day.conf", monitorNamed("cap"));
  const BoardFolder board({files.node("gone.env"), {day}}, problems);
  EXPECT_EQ(problems, Names{files.node("gone.env") + ": cannot be read"});
  EXPECT_TRUE(board.description().sensors.empty());
  EXPECT_EQ(board.first(), nullptr);
}

TEST_F(BoardFolderTest, AFolderHasExactlyOneEnvironment) {
  EXPECT_FALSE(BoardFolder::find(files.node(""), problems));
  files.write("a.env", kBoard);
  EXPECT_TRUE(BoardFolder::find(files.node(""), problems));
  files.write("b.env", kBoard);
  EXPECT_FALSE(BoardFolder::find(files.node(""), problems));
  const std::string start = files.node("") + ": a board's folder has one *.env file, this one has ";
  EXPECT_EQ(problems, (Names{start + "0", start + "2"}));
}

TEST_F(BoardFolderTest, WhatIsNoFolderIsTold) {
  EXPECT_FALSE(BoardFolder::find(files.write("file", ""), problems));
  EXPECT_FALSE(BoardFolder::find(files.node("gone"), problems));
  EXPECT_EQ(problems, (Names{files.node("file") + ": is no folder",
                             files.node("gone") + ": No such file or directory"}));
}

} // namespace
