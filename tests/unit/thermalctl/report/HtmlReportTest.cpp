#include "report/HtmlReport.h"

#include <sstream>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace {

class HtmlReportTest : public ::testing::Test {
protected:
  std::string page() const {
    std::ostringstream out;
    report.write(out);
    return out.str();
  }

  nlohmann::json data() const {
    const std::string html = page();
    const std::string start = "id=\"data\">";
    const size_t from = html.find(start) + start.size();
    return nlohmann::json::parse(html.substr(from, html.find("</script>", from) - from));
  }

  HtmlReport report{"a <b> & c"};
};

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
  report.begin(run);
  report.configuration(0, "day.conf");
  report.scenario(0, "Default");
  report.temperature(250, 0, 15);
  report.level(250, 0, 1, "760");
  report.algorithm(250, 0, 1);
  report.scenario(250, "game");
  report.scenario(500, "Default");
  report.standstill(800);
  report.end(1000, {{"cores", 2, 1}});

  EXPECT_EQ(data()["runs"], nlohmann::json::parse(R"([{
      "name": "day", "duration": 1000, "standstill": 800, "gaps": [],
      "sensors": [{"name": "skin", "kind": "virtual", "period": 1000, "limit": 43000,
                   "points": "0Pe", "thinned": false}],
      "devices": [{"name": "gpu", "kind": "gpufreq", "levels": ["850", "760"],
                   "points": "0PC", "thinned": false}],
      "algorithms": [{"name": "cap", "configuration": "day.conf", "scenario": "Default",
                      "kind": "monitor", "sensor": 0, "devices": [0],
                      "thresholds": [[40000, 39000]], "lowactive": false,
                      "points": "0PC", "thinned": false}],
      "scenarios": {"names": ["Default", "game"], "points": "AA0PCAD"},
      "configurations": {"names": ["day.conf"], "points": "AA"},
      "performance": [{"source": "cores", "demanded": 2.0, "delivered": 1.0}],
      "verdicts": []}])"));
}

TEST_F(HtmlReportTest, HoldsWhatCameOfEachBudget) {
  report.begin(TraceDescription());
  report.end(1000, {});
  Verdict verdict{*readLimit("node:case=43C:60s").budget, Verdict::Is::kPassed};
  verdict.measured = 44100;
  verdict.above = 90000;
  verdict.firstAbove = 5500;
  report.judged({verdict});
  EXPECT_EQ(data()["runs"][0]["verdicts"], nlohmann::json::parse(R"([{
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

TEST_F(HtmlReportTest, DoesNotGrowWithTheLengthOfARun) {
  TraceDescription run;
  run.sensors.push_back({"skin", SensorTrack::Kind::kReal, {}, {}});
  report.begin(run);
  for (int64_t i = 0; i < 500000; ++i)
    report.temperature(i * 250, 0, static_cast<int32_t>(i * 7919 % 60000));
  report.end(int64_t{500000} * 250, {});
  const nlohmann::json sensor = data()["runs"][0]["sensors"][0];
  EXPECT_TRUE(sensor["thinned"]);
  // Two numbers a point, of at most seven digits.
  EXPECT_LT(sensor["points"].get<std::string>().size(), Series::kCapacity * 14);
}

TEST_F(HtmlReportTest, HasTheGapsOfARunAndThoseOfOneSensor) {
  TraceDescription run;
  run.sensors.push_back({"skin", SensorTrack::Kind::kReal, {}, {}});
  report.begin(run);
  report.gap(1000, 2000, std::nullopt);
  report.gap(3000, 4000, 0);
  report.end(5000, {});
  const nlohmann::json written = data()["runs"][0];
  EXPECT_EQ(written["gaps"], nlohmann::json::parse("[[1000, 2000]]"));
  EXPECT_EQ(written["sensors"][0]["gaps"], nlohmann::json::parse("[[3000, 4000]]"));
}

} // namespace
