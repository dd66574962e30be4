#include "report/RunReport.h"

#include <algorithm>
#include <filesystem>
#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "support/SysfsDir.h"
#include "thermalctl/support/JsonText.h"

namespace {

class RunReportTest : public testing::Test {
protected:
  // Tells the part a run of a second, at one temperature.
  static void tell(RunReport::Part& part, const std::string& name, int32_t millidegrees) {
    TraceDescription run;
    run.name = name;
    run.sensors.push_back({"skin", SensorTrack::Kind::kReal, 1000, {}});
    part.begin(run);
    part.temperature(0, 0, millidegrees);
    part.end(1000, {});
  }
  std::string begin(const Outputs& outputs = {}) {
    return report.writeTo(files.node("out"), "title", Provenance(), outputs).value_or("");
  }
  std::string finish() { return report.finish().value_or(""); }
  // The runs of the trace, in the order in which they stand there.
  std::vector<std::string> runsOfTrace() const {
    std::vector<std::string> runs;
    std::istringstream lines(files.read("out/trace.csv"));
    for (std::string line; std::getline(lines, line);) {
      const std::string run = line.substr(0, line.find(','));
      if (run != "run" && (runs.empty() || runs.back() != run)) runs.push_back(run);
    }
    return runs;
  }

  SysfsDir files;
  RunReport report;
};

TEST_F(RunReportTest, WithoutAFolderThereAreTheFiguresAlone) {
  const auto part = report.part(0, true);
  tell(*part, "day", 40000);
  report.take(*part, true);
  EXPECT_EQ(finish(), "");
  ASSERT_EQ(report.results().size(), 1U);
  EXPECT_EQ(report.results()[0].name, "day");
  EXPECT_EQ(report.results()[0].figures["temperatures"]["skin"]["peak"], 40.0);
  EXPECT_FALSE(files.exists("out"));
}

TEST_F(RunReportTest, WhatIsWantedIsWrittenAndNothingElse) {
  const std::vector<std::pair<Outputs, std::vector<std::string>>> cases = {
      {{true, false, false, false}, {"report.html"}},
      {{false, true, false, false}, {"trace.csv"}},
      {{false, false, true, false}, {"trace.json"}},
      {{false, false, false, true}, {"results.csv", "results.json"}},
  };
  for (const auto& [outputs, names] : cases) {
    const SysfsDir folder;
    RunReport one;
    ASSERT_FALSE(one.writeTo(folder.node(""), "title", Provenance(), outputs));
    const auto part = one.part(0, true);
    tell(*part, "day", 40000);
    one.take(*part, true);
    ASSERT_FALSE(one.finish());
    for (const char* name :
         {"report.html", "trace.csv", "trace.json", "results.csv", "results.json"})
      EXPECT_EQ(folder.exists(name), std::count(names.begin(), names.end(), name) > 0) << name;
  }
}

TEST_F(RunReportTest, UntilItIsFinishedAnEarlierReportIsAsItWas) {
  std::filesystem::create_directory(files.node("out"));
  files.write("out/results.json", "earlier");
  {
    RunReport interrupted;
    ASSERT_FALSE(interrupted.writeTo(files.node("out"), "title", Provenance(), {}));
    const auto part = interrupted.part(0, true);
    tell(*part, "day", 40000);
    interrupted.take(*part, true);
    EXPECT_EQ(files.read("out/results.json"), "earlier");
  }
  EXPECT_EQ(files.read("out/results.json"), "earlier");
  EXPECT_FALSE(files.exists("out/trace.csv"));
}

TEST_F(RunReportTest, RunsStandInTheOrderInWhichTheyAreTakenWhoeverEndsFirst) {
  ASSERT_EQ(begin(), "");
  const auto first = report.part(0, false);
  const auto second = report.part(1, false);
  tell(*second, "night", 42000);
  tell(*first, "day", 40000);
  report.take(*first, true);
  report.take(*second, true);
  ASSERT_EQ(finish(), "");
  EXPECT_EQ(runsOfTrace(), (std::vector<std::string>{"day", "night"}));
  const auto results = jsonOf(files.read("out/results.json"))["runs"];
  ASSERT_EQ(results.size(), 2U);
  EXPECT_EQ(results[0]["run"], "day");
  EXPECT_EQ(results[1]["run"], "night");
  EXPECT_FALSE(jsonOf(files.read("out/trace.json")).is_discarded());
}

TEST_F(RunReportTest, OnePartMayHaveSeveralRuns) {
  ASSERT_EQ(begin(), "");
  const auto part = report.part(0, true);
  tell(*part, "day", 40000);
  EXPECT_EQ(part->result().name, "day");
  tell(*part, "night", 42000);
  EXPECT_EQ(part->result().name, "night");
  report.take(*part, true);
  ASSERT_EQ(finish(), "");
  EXPECT_EQ(report.results().size(), 2U);
  EXPECT_TRUE(report.isSideBySide());
  EXPECT_EQ(runsOfTrace(), (std::vector<std::string>{"day", "night"}));
}

TEST_F(RunReportTest, ARunThatIsLeftOutOfTheSummaryIsNoneBesideTheOthers) {
  const auto first = report.part(0, true);
  tell(*first, "day", 40000);
  report.take(*first, true);
  EXPECT_TRUE(report.isSideBySide());
  const auto second = report.part(1, true);
  tell(*second, "night", 42000);
  report.take(*second, false);
  EXPECT_FALSE(report.isSideBySide());
  EXPECT_EQ(report.results().size(), 2U);
}

TEST_F(RunReportTest, AnotherSinkHearsWhatThePartIsTold) {
  const auto part = report.part(0, true);
  RunFigures other;
  part->alsoTo(other);
  tell(*part, "day", 40000);
  EXPECT_EQ(resultOf(other).figures["temperatures"]["skin"]["peak"], 40.0);
}

TEST_F(RunReportTest, AFolderThatCannotBeMadeIsToldBeforeTheRuns) {
  files.write("out", "");
  const std::string error = begin();
  EXPECT_NE(error.find(files.node("out")), std::string::npos) << error;
  EXPECT_NE(error.find(": cannot be written: "), std::string::npos) << error;
}

} // namespace
