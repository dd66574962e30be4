#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "command/Commands.h"
#include "thermalctl/command/CommandBoard.h"
#include "thermalctl/support/JsonText.h"

namespace {

// The board at 40 °C for some seconds.
class SimulateCommandTest : public testing::Test, protected CommandBoard {
protected:
  EndedCommand simulated(const std::vector<std::string>& more = {}) const {
    std::vector<std::string> words = {"--board",    path(""), "--workload", "warm",
                                      "--duration", "3s",     "--jobs",     "1"};
    words.insert(words.end(), more.begin(), more.end());
    return ended(simulateCommand(), words);
  }
};

TEST_F(SimulateCommandTest, TheLimitsDecideAboutTheStatus) {
  EXPECT_EQ(simulated().status, kFine);
  EXPECT_EQ(simulated({"--limit", "cpu=40C"}).status, kFine);
  const EndedCommand passed = simulated({"--limit", "cpu=39C"});
  EXPECT_EQ(passed.status, kProblems);
  EXPECT_NE(passed.out.find("limit 39                      passed for 0:00:03"), std::string::npos)
      << passed.out;
}

TEST_F(SimulateCommandTest, OnlyTheFilesThatAreChosenAreWritten) {
  EXPECT_EQ(simulated({"--out", path("out"), "--only", "results,csv"}).status, kFine);
  EXPECT_TRUE(files.exists("out/results.json"));
  EXPECT_TRUE(files.exists("out/results.csv"));
  EXPECT_TRUE(files.exists("out/trace.csv"));
  EXPECT_FALSE(files.exists("out/trace.json"));
  EXPECT_FALSE(files.exists("out/report.html"));
  EXPECT_EQ(simulated({"--out", path("all")}).err, "");
  EXPECT_TRUE(files.exists("all/trace.json"));
  EXPECT_TRUE(files.exists("all/report.html"));
}

TEST_F(SimulateCommandTest, OnAPageTheSeedsAreNamed) {
  simulated({"--out", path("out"), "--only", "html", "--seed", "3..4"});
  EXPECT_NE(files.read("out/report.html").find("3, 4"), std::string::npos);
}

TEST_F(SimulateCommandTest, BehindAFormForMachinesThereIsNothingElse) {
  EXPECT_EQ(simulated({"--out", path("out"), "--only", "results"}).status, kFine);
  const std::vector<std::string> against = {"--against", path("out/results.json")};
  const EndedCommand text = simulated(against);
  EXPECT_EQ(text.status, kFine);
  EXPECT_EQ(text.err, "");
  const EndedCommand machines =
      simulated({"--against", path("out/results.json"), "--format", "junit"});
  const std::string end = "</testsuites>\n";
  ASSERT_GE(machines.out.size(), end.size());
  EXPECT_EQ(machines.out.substr(machines.out.size() - end.size()), end);
  // What the text has behind its table.
  EXPECT_FALSE(machines.err.empty());
  ASSERT_GE(text.out.size(), machines.err.size());
  EXPECT_EQ(text.out.substr(text.out.size() - machines.err.size()), machines.err);
}

TEST_F(SimulateCommandTest, AVerdictThatIsWorseThanBeforeIsAProblem) {
  EXPECT_EQ(simulated({"--limit", "cpu=40C", "--out", path("out"), "--only", "results"}).status,
            kFine);
  files.write("workloads/warm.csv", "time,ambient\n0,400\n");
  const EndedCommand worse =
      simulated({"--limit", "cpu=40C", "--against", path("out/results.json")});
  EXPECT_EQ(worse.status, kProblems);
}

TEST_F(SimulateCommandTest, RowsOfAWorkloadThatAreShortAreCounted) {
  files.write("workloads/warm.csv", "time,ambient\n0,40\n1\n2\n");
  EXPECT_EQ(simulated().err, "thermalctl: workloads/warm.csv: 2 rows with fewer cells than "
                             "columns, the first in line 3: what is missing counts as empty\n");
  files.write("workloads/warm.csv", "time,ambient\n0,40\n1\n");
  EXPECT_NE(simulated().err.find(": 1 row with fewer cells"), std::string::npos);
}

TEST_F(SimulateCommandTest, WhatIsWrongIsToldAndNothingRuns) {
  const EndedCommand end =
      simulated({"--limit", "gpu=40C", "--only", "csv", "--seed", "x", "--out", path("out")});
  EXPECT_EQ(end.status, kCouldNotRun);
  EXPECT_EQ(end.out, "");
  EXPECT_NE(end.err.find("--seed x: error: 'x' is no seed\n"), std::string::npos) << end.err;
  EXPECT_FALSE(files.exists("out"));
  const EndedCommand unknown = simulated({"--limit", "gpu=40C"});
  EXPECT_EQ(unknown.status, kCouldNotRun);
  EXPECT_NE(unknown.err.find("--limit gpu: error: "), std::string::npos) << unknown.err;
}

TEST_F(SimulateCommandTest, AConfigurationWithErrorsIsNotRun) {
  files.write("talmor-thermal.conf", "SCEN Default\n[a]\nalgo_type Monitor\n");
  const EndedCommand end = simulated();
  EXPECT_EQ(end.status, kCouldNotRun);
  EXPECT_NE(end.err.find("thermalctl: nothing was run: the check has found errors\n"),
            std::string::npos)
      << end.err;
}

TEST_F(SimulateCommandTest, AFolderThatCannotBeMadeIsTold) {
  const EndedCommand end = simulated({"--out", path("plant.toml/out")});
  EXPECT_EQ(end.status, kCouldNotRun);
  EXPECT_EQ(end.out, "");
  EXPECT_EQ(end.err.rfind("thermalctl: plant.toml: cannot be written: ", 0), 0U) << end.err;
}

TEST_F(SimulateCommandTest, AUnitIsRunOfAPopulationAlone) {
  const EndedCommand end = simulated({"--unit", "2"});
  EXPECT_EQ(end.status, kCouldNotRun);
  EXPECT_EQ(end.err, "--unit 2: error: is one of what population?\n"
                     "      hint: give --tolerances\n");
}

} // namespace
