#include "check/output/Json.h"

#include <sstream>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "thermalctl/support/JsonText.h"

namespace {

using Json = nlohmann::json;

Json resultOf(const Inspection& inspection) {
  std::ostringstream out;
  printJson(out, inspection);
  return jsonOf(out.str());
}

Inspection board(const std::string& environment, const std::string& configuration) {
  Inspection inspection;
  inspection.hasBoard = true;
  inspection.environment = readEnvironment("board.env", environment);
  inspection.sources.emplace("board.env", Source(environment));
  inspection.configurations.push_back(
      readConfiguration("day.conf", configuration, inspection.environment));
  inspection.sources.emplace("day.conf", Source(configuration));
  return inspection;
}

constexpr char kEnvironment[] = R"([cpu]
type real
sampling 250
node_path /sys/cpu

[skin]
type virtual
sensors cpu

[gpu]
type gpufreq
level_table 0x10 0x20

[configuration]
type conf_file
file_name day.conf
)";

constexpr char kConfiguration[] = R"(SCEN game
[fast]
algo_type monitor
sensor cpu
sampling 100
thresholds 50000
thresholds_clr 45000
actions gpu
action_info 1
)";

TEST(JsonTest, GivesEachFindingWithAllItsFields) {
  Inspection inspection = board("[\xC3\xA4]\ntype reel x\n", "");
  inspection.findings = {{"some-rule",
                          Severity::kWarning,
                          "board.env",
                          {2, 6},
                          4,
                          "the daemon drops it",
                          "did you mean 'real'?"}};
  const Json result = resultOf(inspection);
  EXPECT_EQ(result.at("version"), 1);
  EXPECT_EQ(result.at("findings"), jsonOf(R"([{
      "rule": "some-rule", "severity": "warning", "file": "board.env", "line": 2, "column": 6,
      "end_column": 10, "message": "the daemon drops it", "hint": "did you mean 'real'?"}])"));
  EXPECT_EQ(result.at("counts"), jsonOf(R"({"errors": 0, "warnings": 1, "files": 2})"));
}

TEST(JsonTest, CountsErrorsAndWarningsApart) {
  Inspection inspection;
  inspection.findings.resize(3);
  inspection.findings[1].severity = Severity::kError;
  EXPECT_EQ(resultOf(inspection).at("counts"),
            jsonOf(R"({"errors": 1, "warnings": 2, "files": 0})"));
}

TEST(JsonTest, GivesWhatTheSettingsSilenceWithTheReason) {
  Inspection inspection = board("[cpu]\n", "");
  EXPECT_FALSE(resultOf(inspection).contains("silenced"));
  inspection.settings.file = "thermalctl.toml";
  inspection.sources.emplace("thermalctl.toml", Source(""));
  EXPECT_EQ(resultOf(inspection).at("silenced"), Json::array());
  EXPECT_EQ(resultOf(inspection).at("counts").at("files"), 2);
  Finding finding;
  finding.rule = "some-rule";
  inspection.silenced = {{finding, "known"}};
  const Json silenced = resultOf(inspection).at("silenced").at(0);
  EXPECT_EQ(silenced.at("rule"), "some-rule");
  EXPECT_EQ(silenced.at("reason"), "known");
}

TEST(JsonTest, NamesTheFilesThatCouldNotBeRead) {
  Inspection inspection;
  inspection.unread = {{"board.env", "Is a directory"}};
  const Json result = resultOf(inspection);
  EXPECT_EQ(result.at("unread"), jsonOf(R"([{"file": "board.env", "reason": "Is a directory"}])"));
  EXPECT_EQ(result.at("model"), nullptr);
}

TEST(JsonTest, TellsWhatTheDaemonWillHave) {
  EXPECT_EQ(resultOf(board(kEnvironment, kConfiguration)).at("model"), jsonOf(R"({
    "environment": {
      "file": "board.env",
      "sensors": [
        {"name": "cpu", "kind": "real", "sampling": 250},
        {"name": "skin", "kind": "virtual", "sampling": 1000}],
      "devices": [{"name": "gpu", "kind": "gpufreq", "value_type": "hex", "levels": 2}],
      "conf_file": "day.conf"},
    "configurations": [{
      "file": "day.conf",
      "fatal": null,
      "scenarios": ["game"],
      "items": [{"name": "fast", "kind": "monitor", "scenario": "game", "sensor": "cpu",
                 "sampling": 100, "worker": "100gameMONITOR"}]}]})"));
}

TEST(JsonTest, TellsWhereTheDaemonEndsAndWithWhichWords) {
  const Json model = resultOf(board(kEnvironment, "\n[fast]\nalgo_type SS\n")).at("model");
  EXPECT_EQ(model.at("configurations").at(0).at("fatal"), jsonOf(R"({
      "line": 3, "message": "[TalmorThermal] [CONF PARSE FAIL] Algo type should be 'monitor' or 'SS'"})"));
  EXPECT_EQ(model.at("configurations").at(0).at("items"), Json::array());
}

TEST(JsonTest, TellsNoSensorThatIsOnlyNamed) {
  const Json model = resultOf(board("[skin]\ntype virtual\nsensors cpu\n", "")).at("model");
  EXPECT_EQ(model.at("environment").at("sensors").size(), 1U);
}

TEST(JsonTest, ShowsAPeriodAsTheDaemonTakesIt) {
  const Json model = resultOf(board("[cpu]\ntype real\nsampling -1\n", "")).at("model");
  EXPECT_EQ(model.at("environment").at("sensors").at(0).at("sampling"), 4294967295U);
}

TEST(JsonTest, TakesFilesThatAreNotUtf8) {
  const Json model = resultOf(board("[\xFF]\ntype real\n", "")).at("model");
  EXPECT_EQ(model.at("environment").at("sensors").at(0).at("name"), "\xEF\xBF\xBD");
}

} // namespace
