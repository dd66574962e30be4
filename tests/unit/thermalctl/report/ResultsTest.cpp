#include "report/Results.h"

#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "report/Junit.h"
#include "thermalctl/support/JsonText.h"

namespace {

class ResultsTest : public testing::Test {
protected:
  ResultsTest() {
    run.name = "a, \"b\"";
    run.sensors.push_back({"skin", SensorTrack::Kind::kReal, 1000, {}});
    run.sensors.push_back({"case", SensorTrack::Kind::kPlantNode, 1000, {}});
    run.devices.push_back({"cpu", "cpufreq", {"2000", "1000"}});
    run.devices.push_back({"alarm", "report", {}});
    run.hold(*readLimit("skin=41C").budget);
    run.hold(*readRequirement("work:gpu=50%").budget);
  }

  // A hundred seconds: 40 degrees for ninety, 42 for ten.
  RunResult result() const {
    RunFigures figures;
    figures.begin(run);
    figures.temperature(0, 0, 40000);
    figures.level(0, 0, 0, "2000");
    figures.temperature(90'000, 0, 42000);
    figures.level(90'000, 0, 1, "1000");
    figures.end(100'000, {{"gpu", 10, 7, 12.5}, {"npu", 0, 0, 3}});
    return resultOf(figures);
  }

  static std::string textOfResults(void (*write)(const std::vector<RunResult>&, std::ostream&),
                                   const std::vector<RunResult>& results) {
    std::ostringstream out;
    write(results, out);
    return out.str();
  }

  TraceDescription run;
};

TEST_F(ResultsTest, HaveTheFiguresOfARun) {
  const auto json = jsonOf(textOfResults(writeResults, {result()}));
  EXPECT_EQ(json, jsonOf(R"({
    "format": "thermalctl results", "version": 1, "runs": [{
      "run": "a, \"b\"", "seconds": 100.0, "seconds_in_gaps": 0.0, "verdict": "passed",
      "stood_still_s": null,
      "temperatures": {
        "skin": {"peak": 42.0, "mean": 40.2, "p50": 40.0, "p95": 42.0, "p99": 42.0},
        "node:case": {"peak": null, "mean": null, "p50": null, "p95": null, "p99": null}},
      "devices": {"cpu": {"mean_level": 0.1, "changes_per_minute": 0.6}},
      "sources": {"gpu": {"work_percent": 70.0, "joules": 12.5},
                  "npu": {"work_percent": null, "joules": 3.0}},
      "budgets": {
        "skin=41C": {"verdict": "passed", "bound": 41.0, "measured": 42.0, "beyond": 1.0,
                     "above_s": 10.0, "first_above_s": 90.0},
        "work:gpu=50%": {"verdict": "kept", "bound": 50.0, "measured": 70.0,
                         "beyond": -20.0}}}]})"));
}

TEST_F(ResultsTest, AreOneRowARunAsCsv) {
  RunResult other = result();
  other.figures["temperatures"].erase("skin");
  other.figures["further"] = 1;
  EXPECT_EQ(
      textOfResults(writeResultsCsv, {result(), other}),
      "run,seconds,seconds_in_gaps,verdict,stood_still_s,temperatures.skin.peak,"
      "temperatures.skin.mean,temperatures.skin.p50,temperatures.skin.p95,"
      "temperatures.skin.p99,temperatures.node:case.peak,temperatures.node:case.mean,"
      "temperatures.node:case.p50,temperatures.node:case.p95,temperatures.node:case.p99,"
      "devices.cpu.mean_level,devices.cpu.changes_per_minute,sources.gpu.work_percent,"
      "sources.gpu.joules,sources.npu.work_percent,sources.npu.joules,budgets.skin=41C.verdict,"
      "budgets.skin=41C.bound,"
      "budgets.skin=41C.measured,budgets.skin=41C.beyond,budgets.skin=41C.above_s,"
      "budgets.skin=41C.first_above_s,budgets.work:gpu=50%.verdict,"
      "budgets.work:gpu=50%.bound,budgets.work:gpu=50%.measured,"
      "budgets.work:gpu=50%.beyond,further\n"
      "\"a, "
      "\"\"b\"\"\",100.0,0.0,passed,,42.0,40.2,40.0,42.0,42.0,,,,,,0.1,0.6,70.0,12.5,,3.0,passed,"
      "41.0,42.0,1.0,10.0,90.0,kept,50.0,70.0,-20.0,\n"
      "\"a, "
      "\"\"b\"\"\",100.0,0.0,passed,,,,,,,,,,,,0.1,0.6,70.0,12.5,,3.0,passed,41.0,42.0,1.0,10.0,"
      "90.0,kept,50.0,70.0,-20.0,1\n");
}

TEST_F(ResultsTest, AreALineARunWhereTheyAreMany) {
  EXPECT_EQ(textOfResults(printResults, {result()}), "run     verdict            skin=41C\n"
                                                     "a, \"b\"   passed  passed for 0:00:10\n"
                                                     "kept by all: work:gpu=50%\n");
  run.budgets.clear();
  EXPECT_EQ(textOfResults(printResults, {result()}), "run     skin peak\n"
                                                     "a, \"b\"       42.0\n");
}

TEST_F(ResultsTest, AreTestsForACi) {
  run.hold(run.sensors[1], *readLimit("case=50C").budget);
  std::ostringstream out;
  writeJunit("<game>", {result()}, out);
  EXPECT_EQ(out.str(), R"(<?xml version="1.0" encoding="UTF-8"?>
<testsuites name="&lt;game&gt;">
  <testsuite name="a, &quot;b&quot;" tests="3" failures="1" errors="1">
    <testcase classname="a, &quot;b&quot;" name="skin=41C"><failure message="passed for 0:00:10, first above at 0:01:30"/></testcase>
    <testcase classname="a, &quot;b&quot;" name="work:gpu=50%"/>
    <testcase classname="a, &quot;b&quot;" name="node:case=50C"><error message="no sample"/></testcase>
  </testsuite>
</testsuites>
)");
}

TEST_F(ResultsTest, ARunWithoutBudgetsIsATestOfItsOwn) {
  run.budgets.clear();
  std::ostringstream out;
  writeJunit("game", {result()}, out);
  EXPECT_NE(out.str().find("tests=\"1\" failures=\"0\" errors=\"0\">\n    <testcase classname=\"a, "
                           "&quot;b&quot;\" name=\"run\"/>\n"),
            std::string::npos)
      << out.str();
}

TEST_F(ResultsTest, ARunIsKeptOnlyWhereAllOfItWasJudged) {
  run.budgets = {*readLimit("skin=43C").budget};
  EXPECT_EQ(result().verdict(), "kept");
  run.hold(run.sensors[1], *readLimit("case=50C").budget);
  EXPECT_EQ(result().verdict(), "unjudged");
  run.hold(*readLimit("skin=41C").budget);
  EXPECT_EQ(result().verdict(), "passed");
}

TEST_F(ResultsTest, OfABudgetThatOnlySomeRunsHaveTheOthersSayNothing) {
  const RunResult asked = result();
  run.name = "b";
  run.budgets.pop_back();
  run.budgets[0] = *readLimit("skin=40C").budget;
  const RunResult other = result();
  EXPECT_EQ(textOfResults(printResults, {asked, other}),
            "run     verdict            skin=41C            skin=40C\n"
            "a, \"b\"   passed  passed for 0:00:10                   -\n"
            "b        passed                   -  passed for 0:00:10\n"
            "kept by all: work:gpu=50%\n");
}

TEST_F(ResultsTest, AStandstillHasItsTime) {
  RunFigures figures;
  figures.begin(run);
  figures.standstill(1500);
  figures.end(2000, {});
  const RunResult stood = resultOf(figures);
  EXPECT_EQ(stood.figures["stood_still_s"], 1.5);
  EXPECT_EQ(stood.figures["verdict"], "unjudged");
  EXPECT_TRUE(stood.figures["devices"].empty());
}

TEST_F(ResultsTest, ARunWithoutBudgetsThatStoodStillIsAnErrorForACi) {
  run.budgets.clear();
  RunFigures figures;
  figures.begin(run);
  figures.standstill(0);
  figures.end(2000, {});
  std::ostringstream out;
  writeJunit("game", {resultOf(figures)}, out);
  EXPECT_NE(out.str().find("tests=\"1\" failures=\"0\" errors=\"1\">\n"), std::string::npos)
      << out.str();
  EXPECT_NE(out.str().find("name=\"run\"><error message=\"a, &quot;b&quot;: the daemon stood still "
                           "from 0:00:00 on"),
            std::string::npos)
      << out.str();
}

TEST_F(ResultsTest, OfNoRunsAreAnEmptyList) {
  EXPECT_EQ(jsonOf(textOfResults(writeResults, {}))["runs"], nlohmann::json::array());
}

} // namespace
