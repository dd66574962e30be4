#include "command/SimulateOptions.h"

#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "thermalctl/command/CommandBoard.h"
#include "thermalctl/support/ProblemText.h"

namespace {

using Words = std::vector<std::string>;

class SimulateOptionsTest : public testing::Test, protected CommandBoard {
protected:
  StudyRequest read() {
    problems = {};
    AskedStudy asked = readAskedStudy(options, problems);
    tolerances = asked.tolerances;
    return asked.request;
  }
  // With the board's own files.
  StudyRequest readOfBoard() {
    options.board = path("");
    return read();
  }
  // What is wrong, without the folder's path.
  std::string told() const { return problemText(problems, files); }
  std::string toldOf(const SimulateOptions& named) {
    options = named;
    read();
    return told();
  }
  static Words pathsOf(const StudyRequest& request) {
    Words paths;
    for (const NamedWorkload& workload : request.workloads)
      paths.push_back(workload.path);
    return paths;
  }
  void writeStudy(const std::string& text) const { files.write("study.toml", text); }

  SimulateOptions options;
  Tolerances tolerances;
  Problems problems;
};

TEST_F(SimulateOptionsTest, ACommandLineThatNamesNothingLacksABoardAndNoMore) {
  EXPECT_EQ(toldOf({}), "--board: error: is missing\n"
                        "      hint: write --board DIR, or name each file with its option\n");
}

TEST_F(SimulateOptionsTest, WhatIsNamedWithoutABoardNeedsEachOfTheOthers) {
  SimulateOptions named;
  named.workloads = {"warm"};
  EXPECT_EQ(toldOf(named), "--conf: error: is missing, and there is no --board to take it from\n"
                           "--env: error: is missing, and there is no --board to take it from\n"
                           "--plant: error: is missing, and there is no --board to take it from\n");
  named = {};
  named.environment = "board.env";
  named.configurations = {"day.conf"};
  named.plant = "plant.toml";
  EXPECT_EQ(toldOf(named),
            "--workload: error: is missing, and there is no --board or --study to name one\n");
}

TEST_F(SimulateOptionsTest, ABoardThatIsNoFolderIsToldAlone) {
  SimulateOptions named;
  named.board = path("plant.toml");
  EXPECT_EQ(toldOf(named), "--board plant.toml: error: is no folder\n");
}

TEST_F(SimulateOptionsTest, ABoardWithoutAStudyNeedsAWorkload) {
  readOfBoard();
  EXPECT_EQ(told(), "--workload: error: is missing, and there is no study.toml to name one\n");
  writeStudy("");
  readOfBoard();
  EXPECT_EQ(told(), "study.toml: error: names no workload\n      hint: write which, such as "
                    "workloads = [\"game\"], or give --workload\n");
}

TEST_F(SimulateOptionsTest, ABoardsFolderHasWhatADeviceStartsWith) {
  options.workloads = {"warm"};
  const StudyRequest request = readOfBoard();
  EXPECT_EQ(told(), "");
  EXPECT_EQ(request.environment, path("talmor-thermal.env"));
  EXPECT_EQ(request.plant, path("plant.toml"));
  EXPECT_EQ(request.configurations, Words{path("talmor-thermal.conf")});
  EXPECT_EQ(pathsOf(request), Words{path("workloads/warm.csv")});
  EXPECT_EQ(request.configurationFolder, path(""));
  EXPECT_EQ(request.seeds, std::vector<uint64_t>{1});
  EXPECT_EQ(request.duration, 3'600'000);
  EXPECT_TRUE(request.budgets.empty());
}

TEST_F(SimulateOptionsTest, AWorkloadThatIsNearlyOneOfTheBoardsIsAskedBack) {
  options.workloads = {"wram", "warm"};
  readOfBoard();
  EXPECT_EQ(told(), "--workload wram: error: is no file, and no workload of \n"
                    "      hint: did you mean 'warm'?\n");
}

TEST_F(SimulateOptionsTest, WhatTheCommandLineNamesGoesBeforeTheStudyAndThatBeforeTheBoard) {
  files.write("workloads/cold.csv", "time,ambient\n0,10\n");
  writeStudy("configurations = [\"night.conf\"]\nworkloads = [\"warm\"]\nseeds = \"2..4\"\n"
             "duration = \"15m\"\n");
  StudyRequest request = readOfBoard();
  EXPECT_EQ(told(), "");
  EXPECT_EQ(request.configurations, Words{path("night.conf")});
  EXPECT_EQ(pathsOf(request), Words{path("workloads/warm.csv")});
  EXPECT_EQ(request.seeds, (std::vector<uint64_t>{2, 3, 4}));
  EXPECT_EQ(request.duration, 900'000);
  // With a workload the board's study is no part of the run, unless it is named.
  options.workloads = {"cold"};
  EXPECT_EQ(readOfBoard().duration, 3'600'000);
  options.study = path("study.toml");
  options.configurations = {"other.conf", "more.conf"};
  options.seeds = {"9"};
  options.duration = "90s";
  options.environment = "other.env";
  options.plant = "other.toml";
  request = readOfBoard();
  EXPECT_EQ(request.configurations, (Words{"other.conf", "more.conf"}));
  EXPECT_EQ(pathsOf(request), Words{path("workloads/cold.csv")});
  EXPECT_EQ(request.seeds, std::vector<uint64_t>{9});
  EXPECT_EQ(request.duration, 90'000);
  EXPECT_EQ(request.environment, "other.env");
  EXPECT_EQ(request.plant, "other.toml");
}

TEST_F(SimulateOptionsTest, AStudyByItselfHasItsBoardBesideIt) {
  writeStudy("workloads = [\"warm\"]\n");
  options.study = path("study.toml");
  const StudyRequest request = read();
  EXPECT_EQ(told(), "");
  EXPECT_EQ(request.environment, path("talmor-thermal.env"));
  EXPECT_EQ(pathsOf(request), Words{path("workloads/warm.csv")});
  // And one that is named by its name alone the folder in hand.
  options.study = "study.toml";
  problems = {};
  EXPECT_EQ(readAskedStudy(options, problems).request.environment, "./talmor-thermal.env");
}

TEST_F(SimulateOptionsTest, EachSeedIsARunOnce) {
  options.workloads = {"warm"};
  options.seeds = {"3", "1..4", "2,9"};
  EXPECT_EQ(readOfBoard().seeds, (std::vector<uint64_t>{3, 1, 2, 4, 9}));
  options.seeds = {"4..2", "x"};
  EXPECT_EQ(readOfBoard().seeds, std::vector<uint64_t>{1});
  EXPECT_EQ(told(),
            "--seed 4..2: error: '4..2' ends before it begins\n      hint: write 2..4\n"
            "--seed x: error: 'x' is no seed\n      hint: write numbers and ranges, such as 7, "
            "1..20 or 1,2,10..12\n");
}

TEST_F(SimulateOptionsTest, ADurationIsATimeAboveNought) {
  options.workloads = {"warm"};
  for (const char* text : {"0s", "-1s", "soon", "0"}) {
    options.duration = text;
    EXPECT_EQ(readOfBoard().duration, 3'600'000) << text;
    EXPECT_EQ(told(), "--duration " + std::string(text) +
                          ": error: must be a time above 0, such as 90s or 1h\n");
  }
  options.duration = "1ms";
  EXPECT_EQ(readOfBoard().duration, 1);
  EXPECT_EQ(told(), "");
}

TEST_F(SimulateOptionsTest, TheStudysBudgetsGoByPathsAndTheCommandLinesStandBehindThem) {
  writeStudy("workloads = [\"warm\"]\nconfigurations = [\"night.conf\"]\n[[budget]]\nlimits = "
             "[\"cpu=50C\"]\n"
             "configurations = [\"night.conf\"]\nworkloads = [\"warm\"]\n");
  options.budgets.limits = {"cpu=60C"};
  options.budgets.requirements = {"changes:clock<=6/min"};
  const StudyRequest request = readOfBoard();
  EXPECT_EQ(told(), "");
  ASSERT_EQ(request.budgets.size(), 3U);
  EXPECT_EQ(textOf(request.budgets[0].asked.budget), "cpu=50C");
  EXPECT_EQ(request.budgets[0].configurations, Words{path("night.conf")});
  EXPECT_EQ(request.budgets[0].workloads, Words{path("workloads/warm.csv")});
  EXPECT_EQ(textOf(request.budgets[1].asked.budget), "cpu=60C");
  EXPECT_TRUE(request.budgets[1].configurations.empty());
  EXPECT_EQ(textOf(request.budgets[2].asked.budget), "changes:clock<=6/min");
}

TEST_F(SimulateOptionsTest, ARecordingTakesThePlaceOfAWorkload) {
  options.workloads = {"warm"};
  options.recording.files = "phone.log";
  readOfBoard();
  EXPECT_EQ(told(), "--recording phone.log: error: excludes --workload\n");
}

TEST_F(SimulateOptionsTest, WhatTheUserToleratesIsAddedToTheStudys) {
  writeStudy("workloads = [\"warm\"]\n[tolerance]\npeak = 0.5\nmean = 0.5\n");
  options.tolerances = {"peak=2", "joules=3%"};
  readOfBoard();
  EXPECT_EQ(told(), "");
  EXPECT_EQ(tolerances.at("peak").amount, 2);
  EXPECT_EQ(tolerances.at("mean").amount, 0.5);
  EXPECT_EQ(tolerances.at("joules").amount, 0.03);
  EXPECT_TRUE(tolerances.at("joules").relative);
  options.tolerances = {"peek=2", "peak", "peak=x"};
  readOfBoard();
  EXPECT_EQ(told(), "--tolerance peak: error: '' is no tolerance\n      hint: write a number in "
                    "the figure's unit, such as 0.5, or a share such as 1%\n"
                    "--tolerance peak=x: error: 'x' is no tolerance\n      hint: write a number in "
                    "the figure's unit, such as 0.5, or a share such as 1%\n"
                    "--tolerance peek=2: error: there is no figure 'peek'\n      hint: did you "
                    "mean 'peak'?\n");
}

TEST_F(SimulateOptionsTest, APageIsCalledByItsWorkloadsAndTheBoardsFolder) {
  StudyRequest request;
  request.environment = "boards/phone/board.env";
  request.workloads = {{"game", "workloads/game.csv"}};
  EXPECT_EQ(titleOf(request), "game on phone");
  request.workloads.push_back({"b/idle", "b/idle.toml"});
  request.workloads.push_back({"video", "video.csv"});
  EXPECT_EQ(titleOf(request), "game, idle and video on phone");
}

TEST_F(SimulateOptionsTest, TheFilesOfARunAreAllThatItReads) {
  StudyRequest request;
  request.environment = "board.env";
  request.plant = "plant.toml";
  request.workloads = {{"a,b", "a,b.csv"}, {"recording", "phone.log,rails.csv", "text"}};
  Study study;
  study.configurations = {"day.conf", "night.conf"};
  EXPECT_EQ(filesOf(request, study), (Words{"board.env", "day.conf", "night.conf", "plant.toml",
                                            "a,b.csv", "phone.log", "rails.csv"}));
}

} // namespace
