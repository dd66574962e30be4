#include "study/Study.h"

#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "base/TextReader.h"
#include "study/StudyRun.h"
#include "study/Workloads.h"
#include "support/LogSwitchedOff.h"
#include "support/SysfsDir.h"
#include "text/Json.h"
#include "thermalctl/simulate/RunFiles.h"

namespace {

using Words = std::vector<std::string>;

class StudyTest : public testing::Test {
protected:
  StudyTest() {
    request.environment = folder.write("board.env", files.environment);
    request.plant = folder.write("plant.toml", files.plant + "noise = 0.2\n");
    for (const char* name : {"day.conf", "night.conf"})
      request.configurations.push_back(folder.write(name, files.configuration));
    request.workloads = namedWorkloads({folder.write("warm.csv", "time,ambient\n0,40\n5,60\n"),
                                        folder.write("cold.csv", "time,ambient\n0,10\n")});
    request.seeds = {1, 2, 3};
    request.duration = 20'000;
  }

  Study read() {
    Study study = readStudy(request, problems);
    EXPECT_TRUE(problems.none());
    return study;
  }

  void hold(const std::string& limit, Words configurations, Words workloads) {
    request.budgets.push_back(
        {{*readLimit(limit).budget, "--limit"}, std::move(configurations), std::move(workloads)});
  }

  static Words namesOf(const Study& study) {
    Words names;
    for (const Study::Cell& cell : study.cells)
      names.push_back(cell.name);
    return names;
  }

  // The results with all figures, and every trace, of a run on so many threads.
  std::string outcome(size_t threads) {
    const std::string out = folder.node("out" + std::to_string(threads));
    RunReport report;
    EXPECT_FALSE(report.writeTo(out, "title", Provenance(), Outputs()));
    std::ostringstream warnings;
    runStudy(read(), threads, report, warnings);
    EXPECT_FALSE(report.finish());
    std::string all = warnings.str();
    for (const char* name :
         {"results.json", "results.csv", "trace.csv", "trace.json", "report.html"}) {
      const auto text = readFile(out + "/" + name);
      EXPECT_TRUE(text && text->size() > 100) << name;
      all += text.value_or("");
    }
    return all;
  }

  LogSwitchedOff noLog;
  RunFiles files;
  SysfsDir folder;
  StudyRequest request;
  Problems problems;
};

TEST_F(StudyTest, RunsEachConfigurationUnderEachWorkloadWithEachSeed) {
  request.seeds = {1, 7};
  const Study study = read();
  EXPECT_EQ(namesOf(study),
            (Words{"day.conf, warm, seed 1", "day.conf, warm, seed 7", "day.conf, cold, seed 1",
                   "day.conf, cold, seed 7", "night.conf, warm, seed 1", "night.conf, warm, seed 7",
                   "night.conf, cold, seed 1", "night.conf, cold, seed 7"}));
  const RunInput input = study.inputOf(study.cells[7]);
  EXPECT_EQ(input.seed, 7U);
  EXPECT_EQ(input.description.name, "night.conf, cold, seed 7");
  EXPECT_EQ(input.workload.changes.front().value, 10);
}

TEST_F(StudyTest, NamesARunByWhatTellsItFromTheOthers) {
  request.seeds = {1};
  request.configurations.pop_back();
  EXPECT_EQ(namesOf(read()), (Words{"warm", "cold"}));
  request.workloads.pop_back();
  EXPECT_EQ(namesOf(read()), Words{"day.conf"});
  request.seeds = {1, 2};
  EXPECT_EQ(namesOf(read()), (Words{"seed 1", "seed 2"}));
}

TEST_F(StudyTest, AWorkloadIsCalledByItsPathWhereItsNameIsNotItsOwn) {
  const auto named = namedWorkloads({"a/game.csv", "b/game.toml", "a/game.csv", "a/idle.csv"});
  ASSERT_EQ(named.size(), 3U);
  EXPECT_EQ(named[0].name, "a/game.csv");
  EXPECT_EQ(named[1].name, "b/game.toml");
  EXPECT_EQ(named[2].name, "idle");
}

TEST_F(StudyTest, ABudgetIsForTheRunsThatItSelects) {
  request.seeds = {1};
  hold("cpu=90C", {}, {});
  hold("cpu=80C", {folder.node("day.conf")}, {});
  hold("cpu=70C", {}, {folder.node("cold.csv")});
  hold("cpu=60C", {folder.node("./night.conf")}, {folder.node("warm.csv")});
  const Study study = read();
  std::vector<std::vector<double>> bounds;
  for (const Study::Cell& cell : study.cells) {
    bounds.emplace_back();
    for (const Budget& budget : study.inputOf(cell).description.budgets)
      if (!budget.ofNode) bounds.back().push_back(budget.bound);
  }
  EXPECT_EQ(bounds, (std::vector<std::vector<double>>{
                        {90000, 80000}, {90000, 80000, 70000}, {90000, 60000}, {90000, 70000}}));
}

TEST_F(StudyTest, GivesTheSameBytesOnAnyNumberOfThreads) {
  hold("cpu=50C", {}, {});
  const std::string alone = outcome(1);
  EXPECT_EQ(outcome(2), alone);
  EXPECT_EQ(outcome(7), alone);
  EXPECT_NE(alone.find("night.conf, cold, seed 3"), std::string::npos);
}

TEST_F(StudyTest, EachRunIsTheSameByItselfAndInAnyCompany) {
  const auto figuresOf = [this](size_t index) {
    RunReport report;
    std::ostringstream warnings;
    runStudy(read(), 3, report, warnings);
    return jsonText(report.results().at(index).figures);
  };
  const std::string inCompany = figuresOf(4); // day.conf, cold, seed 2
  request.configurations.pop_back();
  request.workloads.erase(request.workloads.begin());
  request.seeds = {2};
  EXPECT_EQ(figuresOf(0), inCompany);
}

TEST_F(StudyTest, MoreRunsThanAnyoneCanWaitForAreRefused) {
  request.seeds.resize(30'000);
  readStudy(request, problems);
  std::ostringstream out;
  problems.print(out);
  EXPECT_EQ(out.str(), "simulate: error: 120000 runs are more than 100000\n"
                       "      hint: take fewer seeds, or several studies\n");
}

TEST_F(StudyTest, ARunMayHaveNoiseOfItsOwn) {
  const Study study = read();
  Study::Cell cell = study.cells[1];
  EXPECT_EQ(study.inputOf(cell).seed, 2U);
  cell.noiseSeed = 4711;
  EXPECT_EQ(study.inputOf(cell).seed, 4711U);
  EXPECT_EQ(study.inputOf(cell).description.name, "day.conf, warm, seed 2");
}

TEST_F(StudyTest, AConfigurationThatIsNamedTwiceIsRunOnceAndReadOnce) {
  request.seeds = {1};
  request.configurations.push_back(folder.node("./day.conf"));
  const Study study = read();
  EXPECT_EQ(namesOf(study),
            (Words{"day.conf, warm", "day.conf, cold", "night.conf, warm", "night.conf, cold"}));
  EXPECT_EQ(study.configurations, (Words{request.configurations[0], request.configurations[1]}));
}

TEST_F(StudyTest, WhereOneWorkloadIsWrongNothingIsRun) {
  request.workloads = namedWorkloads(
      {request.workloads[0].path, folder.write("wrong.csv", "time,ambeint\n0,10\n")});
  EXPECT_TRUE(readStudy(request, problems).cells.empty());
  EXPECT_FALSE(problems.none());
}

} // namespace
