#include "margin/MarginFiles.h"

#include <cstdio>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "thermalctl/support/JsonText.h"
#include "thermalctl/support/MarginExample.h"

namespace {

using nlohmann::json;

json writtenJson(const MarginStudy& study, const MarginResult& result, bool complete = true) {
  std::ostringstream out;
  writeMarginJson(study, result, complete, out);
  EXPECT_EQ(out.str().back(), '\n');
  return jsonOf(out.str());
}

const char* const kCoolName = "temperatures.cpu.peak";

// The second of three units is too hot.
MarginResult oneOfThree(const MarginStudy& study, const std::optional<Question>& question = {}) {
  return marginResult(study,
                      {{{kCoolName, 41'000}},
                       {{kCoolName, 44'500}, {"budgets.cpu=43C.verdict", 1}},
                       {{kCoolName, 42'000}}},
                      question);
}

MarginStudy heldTo(const std::vector<std::string>& budgets) {
  return marginStudy({marginRun("run", budgets)});
}

TEST(MarginFilesTest, TheJsonSaysWhatWasAskedAndOfWhat) {
  MarginStudy study = heldTo({"cpu=43C"});
  study.seed = 0xffff'ffff'ffff'ffff;
  json written = writtenJson(study, oneOfThree(study));
  EXPECT_EQ(written["runs"].size(), 1U);
  written.erase("runs");
  EXPECT_EQ(written, jsonOf(R"({"format": "thermalctl margin", "version": 1, "complete": true,
      "seed": 18446744073709551615, "seconds": 120.0, "first_unit": 1, "units": 3,
      "sobol_samples": 0,
      "drivers": [{"name": "resistance.die-ambient", "reason": "glue"},
                  {"name": "sensor.cpu.offset", "reason": ""}],
      "inputs": [{"file": "board.env", "sha256": "ab12"},
                 {"file": "plant.toml", "sha256": "cd34"}]})"));
  EXPECT_EQ(writtenJson(study, oneOfThree(study), false)["complete"], false);
}

TEST(MarginFilesTest, AQuestionIsToldWithItsAnswer) {
  const MarginStudy study = heldTo({"cpu=43C"});
  MarginResult result = oneOfThree(study, Question{0.001, 0.95});
  json written = writtenJson(study, result);
  EXPECT_EQ(written["question"], jsonOf(R"({"share": 0.001, "confidence": 0.95})"));
  EXPECT_FALSE(written["runs"][0]["budgets"][0].contains("answer"));
  result.runs[0].budgets[0].answeredAt = 4711;
  result.runs[0].budgets[0].isAtMost = true;
  written = writtenJson(study, result);
  EXPECT_EQ(written["runs"][0]["budgets"][0]["answer"],
            jsonOf(R"({"unit": 4711, "at_most": true})"));
  EXPECT_FALSE(writtenJson(study, oneOfThree(study)).contains("question"));
}

TEST(MarginFilesTest, ALimitHasItsCountsItsShareAndItsWorstUnits) {
  const MarginStudy study = heldTo({"cpu=43C"});
  json budget = writtenJson(study, oneOfThree(study))["runs"][0]["budgets"][0];
  const auto numbersOf = [&](uint64_t unit) {
    const std::vector<double> numbers = standardNumbers(study.seed, unit, Stream::kUnit, 2);
    return std::pair<double, double>{numbers[0], numbers[1]};
  };
  const json worst = budget["worst"];
  ASSERT_EQ(worst.size(), 3U);
  EXPECT_EQ(worst[0]["unit"], 2);
  EXPECT_EQ(worst[0]["value"], 44.5);
  EXPECT_EQ(worst[0]["replay"], "thermalctl margin board --unit 2");
  EXPECT_NEAR(worst[0]["has"]["resistance.die-ambient"].get<double>(), numbersOf(2).first, 1e-6);
  EXPECT_NEAR(worst[0]["has"]["sensor.cpu.offset"].get<double>(), numbersOf(2).second, 1e-6);
  EXPECT_EQ(worst[2]["unit"], 1);
  EXPECT_NEAR(budget["broken_have"]["sensor.cpu.offset"].get<double>(), numbersOf(2).second, 1e-6);
  const Interval keeping = shareOf(2, 3, 0.95);
  EXPECT_NEAR(budget["kept_percent_interval"][0].get<double>(), 100 * keeping.low, 1e-6);
  EXPECT_NEAR(budget["kept_percent_interval"][1].get<double>(), 100 * keeping.high, 1e-6);
  EXPECT_NEAR(budget["kept_percent"].get<double>(), 200 / 3.0, 1e-6);
  for (const char* key : {"worst", "broken_have", "kept_percent", "kept_percent_interval"})
    budget.erase(key);
  EXPECT_EQ(budget, jsonOf(R"({"budget": "cpu=43C", "units": 3, "kept": 2, "broken": 1,
      "unjudged": 0, "measured": "temperatures.cpu.peak", "convergence": [[3, 1]]})"));
}

TEST(MarginFilesTest, WhereNoneBrokeALimitNothingIsInCommon) {
  const MarginStudy study = heldTo({"cpu=50C"});
  const json budget = writtenJson(study, marginResult(study, {{}, {}}))["runs"][0]["budgets"][0];
  EXPECT_FALSE(budget.contains("broken_have"));
  EXPECT_EQ(budget["kept_percent"], 100);
}

TEST(MarginFilesTest, WithoutALimitTheHottestUnitsAreTold) {
  const MarginStudy study = heldTo({});
  const json run = writtenJson(
      study, marginResult(study, {{{kCoolName, 41'000}}, {{kCoolName, 44'500}}}))["runs"][0];
  EXPECT_EQ(run["run"], "run");
  EXPECT_EQ(run["configuration"], "run.conf");
  EXPECT_EQ(run["workload"], "game");
  EXPECT_EQ(run["stood_still"], 0);
  EXPECT_TRUE(run["budgets"].empty());
  EXPECT_EQ(run["worst"][0]["unit"], 2);
  EXPECT_EQ(run["worst"][0]["value"], 44.5);
  const MarginStudy limited = heldTo({"cpu=43C"});
  EXPECT_FALSE(writtenJson(limited, oneOfThree(limited))["runs"][0].contains("worst"));
}

TEST(MarginFilesTest, FiguresAreInTheirUnits) {
  const MarginStudy study = heldTo({});
  const json figures = writtenJson(
      study,
      marginResult(study, {{{kCoolName, 41'000},
                            {"devices.gpu.changes_per_minute", 3},
                            {"temperatures.node:die.peak", kUnseen}},
                           {{kCoolName, 44'000},
                            {"sources.gpu.work_percent", 50'000'000},
                            {"temperatures.node:die.peak", kUnseen}}}))["runs"][0]["figures"];
  EXPECT_EQ(figures["temperatures.node:die.peak"], jsonOf(R"({"units": 0})"));
  EXPECT_EQ(figures["stood_still_s"], jsonOf(R"({"units": 0})"));
  json peak = figures[kCoolName];
  EXPECT_EQ(peak["histogram"].size(), 60U);
  EXPECT_EQ(peak["histogram"][0], 1);
  EXPECT_EQ(peak["histogram"][59], 1);
  peak.erase("histogram");
  EXPECT_EQ(peak, jsonOf(R"({"units": 2, "unit": "C", "mean": 42.5, "least": 41.0, "p1": 41.0,
      "p5": 41.0, "p25": 41.0, "p50": 41.0, "p75": 44.0, "p95": 44.0, "p99": 44.0,
      "most": 44.0})"));
  const json& changes = figures["devices.gpu.changes_per_minute"];
  EXPECT_EQ(changes["unit"], "/min");
  EXPECT_EQ(changes["mean"], 0.75);
  EXPECT_EQ(changes["most"], 1.5);
  const json& work = figures["sources.gpu.work_percent"];
  EXPECT_EQ(work["unit"], "%");
  EXPECT_EQ(work["mean"], 75);
  EXPECT_EQ(work["least"], 50);
}

TEST(MarginFilesTest, WhatDrivesAFigureIsToldByTheDriversNames) {
  const MarginStudy study = heldTo({"cpu=43C"});
  MarginResult result = oneOfThree(study);
  MarginResult::Figure& peak = result.runs[0].figures[0];
  peak.correlations = {{0.5, {0.25, 0.75}}, {-0.125, {-0.5, 0.25}}};
  json figure = writtenJson(study, result)["runs"][0]["figures"][kCoolName];
  EXPECT_EQ(figure["rank_correlations"], jsonOf(R"({
      "resistance.die-ambient": {"value": 0.5, "interval": [0.25, 0.75]},
      "sensor.cpu.offset": {"value": -0.125, "interval": [-0.5, 0.25]}})"));
  EXPECT_FALSE(figure.contains("sobol"));
  peak.sobol = {{{0.5, {0.25, 0.75}}, {1, {0.5, 1.5}}}};
  result.samples = 16;
  MarginStudy together = study;
  together.independent = {{0, 1}};
  const json written = writtenJson(together, result);
  EXPECT_EQ(written["sobol_samples"], 16);
  EXPECT_EQ(written["runs"][0]["figures"][kCoolName]["sobol"], jsonOf(R"({
      "resistance.die-ambient and sensor.cpu.offset": {
        "first": {"value": 0.5, "interval": [0.25, 0.75]},
        "total": {"value": 1.0, "interval": [0.5, 1.5]}}})"));
}

// As the table has them, behind each row.
std::string driverCells(const MarginStudy& study, uint64_t unit) {
  std::string cells;
  for (const double number : correlated(
           standardNumbers(study.seed, unit, Stream::kUnit, study.drivers.size()), study.factor)) {
    char cell[32];
    std::snprintf(cell, sizeof(cell), ",%.4f", number);
    cells += cell;
  }
  return cells;
}

TEST(MarginFilesTest, TheTableHasARowForEachUnitAndRun) {
  MarginStudy study = marginStudy(
      {marginRun("plain", {}), marginRun("a \"quoted\", run", {"cpu=43C", "work:gpu=75%"})});
  study.factor = {1, 0, 0.6, 0.8};
  MarginRows rows(study);
  rows.add({{{kCoolName, 41'050}, {"devices.gpu.changes_per_minute", 7}},
            {{"budgets.cpu=43C.verdict", 1}, {"budgets.cpu=43C.above_s", 5250}}});
  rows.add({{{kCoolName, kUnseen}, {"sources.gpu.work_percent", 10}},
            {{"budgets.work:gpu=75%.verdict", 1},
             {"budgets.cpu=43C.verdict", 2},
             {"stood_still_s", 60'000}}});
  std::ostringstream out;
  writeMarginCsv(study, 7, rows.rows(), out);
  const std::string quotedRun = "\"a \"\"quoted\"\", run\",\"a \"\"quoted\"\", run.conf\",game";
  EXPECT_EQ(out.str(),
            "unit,run,configuration,workload,temperatures.cpu.peak,temperatures.node:die.peak,"
            "devices.gpu.changes_per_minute,sources.gpu.work_percent,stood_still_s,"
            "budgets.cpu=43C.verdict,budgets.cpu=43C.above_s,budgets.work:gpu=75%.verdict,"
            "drivers.resistance.die-ambient,drivers.sensor.cpu.offset\n"
            "7,plain,plain.conf,game,41.05,40.0,3.5,100.0,,,," +
                driverCells(study, 7) + "\n7," + quotedRun +
                ",40.0,40.0,0.0,100.0,,passed,5.25,kept" + driverCells(study, 7) +
                "\n8,plain,plain.conf,game,,40.0,0.0,1e-05,,,," + driverCells(study, 8) + "\n8," +
                quotedRun + ",40.0,40.0,0.0,100.0,60.0,unjudged,0.0,missed" +
                driverCells(study, 8) + "\n");
}

TEST(MarginFilesTest, WithoutUnitsTheTableHasItsColumnsAlone) {
  const MarginStudy study = heldTo({});
  MarginRows rows(study);
  std::ostringstream out;
  writeMarginCsv(study, 1, rows.rows(), out);
  EXPECT_EQ(out.str(), "unit,run,configuration,workload,temperatures.cpu.peak,"
                       "temperatures.node:die.peak,devices.gpu.changes_per_minute,"
                       "sources.gpu.work_percent,stood_still_s,drivers.resistance.die-ambient,"
                       "drivers.sensor.cpu.offset\n");
}

} // namespace
