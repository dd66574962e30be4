#include "study/StudyRun.h"

#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "study/Workloads.h"
#include "support/LogSwitchedOff.h"
#include "support/SysfsDir.h"
#include "thermalctl/simulate/RunFiles.h"
#include "thermalctl/support/JsonText.h"

namespace {

// A board whose virtual sensor sleeps until the real one is hot.
class StudyRunTest : public testing::Test {
protected:
  StudyRunTest() {
    files.environment += "\n[skin]\ntype virtual\nsampling 500\ntrip_sensor cpu\nset_point 90000\n"
                         "set_point_clr 80000\nsensors cpu\nweights 2\n";
    request.environment = folder.write("board.env", files.environment);
    request.plant = folder.write("plant.toml", files.plant);
    request.configurations = {folder.write("day.conf", "SCEN Default\n" + files.configuration +
                                                           "\nSCEN game\n" + files.configuration)};
    request.seeds = {1};
    request.duration = 4000;
  }

  void take(const std::string& name, const std::string& workload) {
    std::vector<std::string> paths;
    for (const NamedWorkload& each : request.workloads)
      paths.push_back(each.path);
    paths.push_back(folder.write(name, workload));
    request.workloads = namedWorkloads(paths);
  }

  std::vector<RunResult> run(size_t threads) {
    Problems problems;
    const Study study = readStudy(request, problems);
    EXPECT_TRUE(problems.none());
    RunReport report;
    std::ostringstream told;
    runStudy(study, threads, report, told);
    warnings = told.str();
    return report.results();
  }

  const LogSwitchedOff quiet;
  RunFiles files;
  SysfsDir folder;
  StudyRequest request;
  std::string warnings;
};

constexpr char kCalm[] = "time,ambient\n0,25\n";
// Another scenario waits for the worker that sleeps.
constexpr char kStuck[] = "time,fault cpu,scenario\n0,60,game\n";

TEST_F(StudyRunTest, EachResultSaysWhichRunItIsOf) {
  take("calm.csv", kCalm);
  take("cold.csv", "time,ambient\n0,-5\n");
  request.seeds = {4, 9};
  const std::vector<RunResult> results = run(1);
  ASSERT_EQ(results.size(), 4U);
  EXPECT_EQ(warnings, "");
  const char* const workloads[] = {"calm", "calm", "cold", "cold"};
  for (size_t i = 0; i < 4; ++i) {
    EXPECT_EQ(results[i].identity["configuration"], "day.conf");
    EXPECT_EQ(results[i].identity["workload"], workloads[i]);
    EXPECT_EQ(results[i].identity["seed"], i % 2 == 0 ? 4 : 9);
  }
}

// The real sensor's worker wakes every 100 ms, and all others together with it.
TEST_F(StudyRunTest, HowOftenTheDaemonWakesIsToldForAnHour) {
  take("calm.csv", kCalm);
  for (const int64_t duration : {4000, 40'000}) {
    request.duration = duration;
    EXPECT_EQ(run(1).front().figures["wakeups_per_hour"], 36'000) << duration;
  }
}

TEST_F(StudyRunTest, WarningsComeInTheOrderOfTheRunsWithTheirNames) {
  take("stuck.csv", kStuck);
  take("calm.csv", kCalm);
  take("again\x1b.csv", kStuck);
  for (const size_t threads : {1U, 3U}) {
    run(threads);
    std::istringstream lines(warnings);
    std::vector<std::string> all;
    for (std::string line; std::getline(lines, line);)
      all.push_back(line);
    ASSERT_EQ(all.size(), 2U) << warnings;
    EXPECT_EQ(all[0].find("stuck: warning: at 0:00:01 the daemon samples nothing any more"), 0U)
        << warnings;
    EXPECT_EQ(all[1].find("again"), 0U) << warnings;
    EXPECT_EQ(warnings.find('\x1b'), std::string::npos) << warnings;
  }
}

} // namespace
