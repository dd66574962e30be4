#include "report/HtmlReport.h"

#include <set>
#include <sstream>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "thermalctl/support/JsonText.h"

namespace {

class HtmlReportTest : public ::testing::Test {
protected:
  std::string page() {
    std::ostringstream out;
    report.write(out, true);
    return out.str();
  }

  static nlohmann::json dataOf(const std::string& html) {
    const std::string start = "id=\"data\">";
    const size_t from = html.find(start) + start.size();
    return jsonOf(html.substr(from, html.find("</script>", from) - from));
  }
  nlohmann::json data() { return dataOf(page()); }

  HtmlReport report{
      "a <b> & c", {"thermalctl plot 'a b'", "1.0", "2024-01-30T14:03:20Z", "", {{"a b", "0a1b"}}}};
};

// A run of a day with that many sensors, each with a noise of a degree, which one may be alone in.
void playNoisyDay(HtmlReport& report, size_t sensors, int64_t period) {
  TraceDescription run;
  for (size_t i = 0; i < sensors; ++i)
    run.sensors.push_back({"s" + std::to_string(i), SensorTrack::Kind::kReal, {}, {}});
  report.begin(run);
  constexpr int64_t kDay = int64_t{24} * 3600 * 1000;
  uint32_t noise = 1;
  for (int64_t time = 0; time < kDay; time += period) {
    for (size_t i = 0; i < sensors; ++i) {
      noise = noise * 1664525 + 1013904223;
      report.temperature(time, i, 40000 + static_cast<int32_t>(noise >> 22));
    }
  }
  report.end(kDay, {});
}

TEST_F(HtmlReportTest, TellsWhetherATraceHasTheRest) {
  EXPECT_EQ(data()["traced"], true);
  std::ostringstream out;
  report.write(out, false);
  EXPECT_NE(out.str().find("\"traced\":false"), std::string::npos);
}

TEST_F(HtmlReportTest, HoldsWhatTookPartAndTheirCourses) {
  TraceDescription run;
  run.name = "day";
  run.sensors.push_back({"skin", SensorTrack::Kind::kVirtual, 1000, 43000});
  run.devices.push_back({"gpu", "gpufreq", {"850", "760"}});
  AlgorithmTrack algorithm;
  algorithm.name = "cap";
  algorithm.configuration = "day.conf";
  algorithm.scenario = "Default";
  algorithm.sensor = 0;
  algorithm.devices = {0};
  algorithm.thresholds = {{40000, 39000}};
  run.algorithms.push_back(algorithm);
  run.sources = {"cores"};
  report.begin(run);
  report.power(250, 0, 15400);
  report.configuration(0, "day.conf");
  report.scenario(0, "Default");
  report.temperature(250, 0, 15);
  report.level(250, 0, 1, "760");
  report.algorithm(250, 0, 1);
  report.scenario(250, "game");
  report.scenario(500, "Default");
  report.standstill(800);
  report.end(1000, {});
  RunFigures figures;
  figures.performance = {{"cores", 2, 1, 12.5}};
  report.figured(figures);

  EXPECT_EQ(data()["runs"], jsonOf(R"([{
      "name": "day", "duration": 1000, "standstill": 800, "gaps": [],
      "sensors": [{"name": "skin", "kind": "virtual", "period": 1000, "limit": 43000,
                   "points": "0Pe", "stretch": 1}],
      "devices": [{"name": "gpu", "kind": "gpufreq", "levels": ["850", "760"],
                   "points": "0PC", "stretch": 1}],
      "algorithms": [{"name": "cap", "configuration": "day.conf", "scenario": "Default",
                      "kind": "monitor", "sensor": 0, "devices": [0],
                      "thresholds": [[40000, 39000]], "lowactive": false,
                      "points": "0PC", "stretch": 1}],
      "sources": [{"name": "cores", "points": "0Pe", "stretch": 1}],
      "scenarios": {"names": ["Default", "game"], "points": "AA0PCAD"},
      "configurations": {"names": ["day.conf"], "points": "AA"},
      "performance": [{"source": "cores", "demanded": 2.0, "delivered": 1.0, "joules": 12.5}],
      "verdicts": []}])"));
}

TEST_F(HtmlReportTest, HoldsWhatCameOfEachBudget) {
  report.begin(TraceDescription());
  report.end(1000, {});
  Verdict verdict{*readLimit("node:case=43C:60s").budget, Verdict::Is::kPassed};
  verdict.measured = 44100;
  verdict.above = 90000;
  verdict.firstAbove = 5500;
  RunFigures figures;
  figures.verdicts = {verdict};
  report.figured(figures);
  EXPECT_EQ(data()["runs"][0]["verdicts"], jsonOf(R"([{
      "budget": "node:case=43C:60s", "label": "limit 43 for 0:01:00 in all",
      "cell": "passed: 0:01:30", "name": "case", "plant": true, "verdict": "passed",
      "bound": 43.0, "measured": 44.1, "beyond": 1.1, "allowed_s": 60.0, "above_s": 90.0,
      "first_above_s": 5.5}])"));
}

TEST_F(HtmlReportTest, TellsWhatIsUnknownAsNull) {
  TraceDescription run;
  run.sensors.push_back({"skin", SensorTrack::Kind::kReal, {}, {}});
  run.algorithms.emplace_back();
  report.begin(run);
  report.end(0, {});
  const nlohmann::json written = data()["runs"][0];
  EXPECT_TRUE(written["sensors"][0]["period"].is_null());
  EXPECT_TRUE(written["sensors"][0]["limit"].is_null());
  EXPECT_TRUE(written["algorithms"][0]["sensor"].is_null());
}

TEST_F(HtmlReportTest, TellsSensorsAndNodesApart) {
  TraceDescription run;
  run.sensors.push_back({"skin", SensorTrack::Kind::kReal, {}, {}});
  run.sensors.push_back({"skin", SensorTrack::Kind::kPlantNode, {}, {}});
  report.begin(run);
  report.end(0, {});
  const nlohmann::json sensors = data()["runs"][0]["sensors"];
  EXPECT_EQ(sensors[0]["kind"], "real");
  EXPECT_EQ(sensors[1]["kind"], "plant");
}

TEST_F(HtmlReportTest, LetsNoNameEndTheScriptOrTheTitle) {
  TraceDescription run;
  run.name = "</script><script>alert(1)</script>";
  report.begin(run);
  report.end(0, {});
  EXPECT_EQ(data()["runs"][0]["name"], run.name);
  EXPECT_EQ(page().find("alert(1)</script>"), std::string::npos);
  EXPECT_NE(page().find("<title>a &lt;b> &amp; c</title>"), std::string::npos);
}

TEST_F(HtmlReportTest, NeedsNothingFromElsewhere) {
  report.begin({});
  report.end(0, {});
  const std::string html = page();
  for (const char* reference : {"<script src", "<link", "@import", "url(", "sourceMappingURL"})
    EXPECT_EQ(html.find(reference), std::string::npos) << reference;
}

TEST_F(HtmlReportTest, IsOfAtMostFiveMegabytesHoweverLongARunIs) {
  TraceDescription run;
  run.sensors.push_back({"skin", SensorTrack::Kind::kReal, {}, {}});
  report.begin(run);
  // As wild as can be, so that each number is long.
  for (int64_t i = 0; i < 2000000; ++i)
    report.temperature(i * 250, 0, static_cast<int32_t>(i * 7919 % 60000) * 30000);
  report.end(int64_t{2000000} * 250, {});
  const std::string html = page();
  EXPECT_LT(html.size(), 5'000'000u);
  EXPECT_GT(html.size(), 1'000'000u);
  EXPECT_GT(dataOf(html)["runs"][0]["sensors"][0]["stretch"], 1);
}

TEST_F(HtmlReportTest, IsOfAtMostFiveMegabytesHoweverManySensorsAndRunsThereAre) {
  for (int i = 0; i < 5; ++i)
    playNoisyDay(report, 512, 120000);
  const std::string html = page();
  EXPECT_LT(html.size(), 5'000'000u);
  // All runs have the same share.
  std::set<int64_t> stretches;
  const nlohmann::json written = dataOf(html);
  for (const auto& run : written["runs"]) {
    for (const auto& sensor : run["sensors"])
      stretches.insert(sensor["stretch"].get<int64_t>());
  }
  EXPECT_EQ(stretches.size(), 1u);
  EXPECT_LE(*stretches.rbegin(), 20 * 60000);
}

TEST_F(HtmlReportTest, IsOfAtMostFiveMegabytesHoweverOftenLevelsChange) {
  TraceDescription run;
  run.devices.resize(60);
  report.begin(run);
  // As wild as can be, so that each number is long.
  for (int64_t i = 0; i < 16000; ++i) {
    for (size_t device = 0; device < run.devices.size(); ++device)
      report.level(i * 250, device, static_cast<int32_t>(i * 7919 % 60000) * 30000, "");
  }
  report.end(int64_t{16000} * 250, {});
  const std::string html = page();
  EXPECT_LT(html.size(), 5'000'000u);
  EXPECT_GT(dataOf(html)["runs"][0]["devices"][0]["stretch"], 1);
}

TEST_F(HtmlReportTest, HasADayOfAPhoneToAFewSeconds) {
  playNoisyDay(report, 10, 250);
  const std::string html = page();
  EXPECT_LE(dataOf(html)["runs"][0]["sensors"][0]["stretch"], 4096);
  EXPECT_LT(html.size(), 5'000'000u);
}

TEST_F(HtmlReportTest, TellsWhereItComesFrom) {
  EXPECT_EQ(data()["origin"], jsonOf(R"({"command": "thermalctl plot 'a b'", "version": "1.0",
                "date": "2024-01-30T14:03:20Z", "seed": "",
                "inputs": [{"path": "a b", "sha256": "0a1b"}]})"));
}

TEST_F(HtmlReportTest, HasTheGapsOfARunAndThoseOfOneSensor) {
  TraceDescription run;
  run.sensors.push_back({"skin", SensorTrack::Kind::kReal, {}, {}});
  report.begin(run);
  report.gap(1000, 2000, std::nullopt);
  report.gap(3000, 4000, 0);
  report.end(5000, {});
  const nlohmann::json written = data()["runs"][0];
  EXPECT_EQ(written["gaps"], jsonOf("[[1000, 2000]]"));
  EXPECT_EQ(written["sensors"][0]["gaps"], jsonOf("[[3000, 4000]]"));
}

} // namespace
