#include "check/configuration/ConfigurationRules.h"

#include <algorithm>
#include <filesystem>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "base/TextReader.h"
#include "check/Check.h"
#include "check/rule/Rule.h"
#include "thermalctl/support/Examples.h"

namespace {

// What a test has nothing to do with and yet has in its texts.
RuleChoice without(std::set<std::string> rules) {
  return {std::move(rules)};
}

namespace fs = std::filesystem;
using Lines = std::vector<std::string>;

const std::string kBoard = "[cpu]\ntype real\nsampling 1000\nnode_path /cpu\n\n"
                           "[fan]\ntype charger\nnode_path /fan\nlevel_table 0 1 2 3 4\n";

const std::string kMonitor = "[a]\nalgo_type monitor\nsensor cpu\nthresholds 60000 70000\n"
                             "thresholds_clr 57000 67000\nactions fan fan\naction_info 1 2\n";

const std::string kSteps = "[s]\nalgo_type ss\nsensor cpu\ndevice fan\nset_point 60000\n"
                           "set_point_clr 57000\nstart_level 1\n";

// "FILE:LINE RULE" of each.
Lines placesOf(const std::vector<Finding>& findings) {
  Lines places;
  for (const Finding& finding : findings)
    places.push_back(finding.file + ":" + std::to_string(finding.at.line) + " " + finding.rule);
  return places;
}

std::vector<Finding> findingsIn(const std::string& board, const Lines& contents,
                                const RuleChoice& choice = {}) {
  const Environment environment = readEnvironment("env", board);
  std::vector<Configuration> configurations;
  for (size_t i = 0; i < contents.size(); ++i)
    configurations.push_back(
        readConfiguration(std::string(1, static_cast<char>('a' + i)), contents[i], environment));
  return check({environment, configurations, std::nullopt}, choice);
}

Lines placesIn(const std::string& item, const std::string& board = kBoard,
               const RuleChoice& choice = {}) {
  return placesOf(findingsIn(board, {"SCEN Default\n" + item}, choice));
}

Lines placesIn(const std::string& item, const RuleChoice& choice) {
  return placesIn(item, kBoard, choice);
}

// `text` with a line of `key` in place of the one that it has.
std::string with(const std::string& text, const std::string& key, const std::string& values) {
  const size_t begin = text.find("\n" + key + " ") + 1;
  return text.substr(0, begin) + key + " " + values + text.substr(text.find('\n', begin));
}

std::string fileText(const fs::path& path) {
  const std::optional<std::string> text = readFile(path.string());
  EXPECT_TRUE(text) << path;
  return text.value_or("");
}

const fs::path kTexts = fs::path(THERMALCTL_EXAMPLES).parent_path();

TEST(ConfigurationRulesTest, TellTheEndFromWhatWouldEndTheDaemonNext) {
  const std::vector<Finding> findings =
      findingsIn(kBoard, {"SCEN Default\n\n" + with(kSteps, "algo_type", "SS") + "\n" +
                          with(kMonitor, "sensor", "gpu") + "\n[b]\nalgo_type ss\n"});
  ASSERT_EQ(findings.size(), 4U) << testing::PrintToString(placesOf(findings));
  EXPECT_EQ(findings[0].message,
            "the daemon ends: a blank line follows a 'SCEN' line, and an item must");
  EXPECT_EQ(findings[1].message, "the daemon would end here too: 'SS' is no kind of item");
  EXPECT_EQ(findings[2].message,
            "the daemon finds no sensor 'gpu' on the board, and would end here "
            "too because 'sensor' is missing");
  EXPECT_EQ(findings[3].message, "the daemon would end here too: 'b' lacks 'sensor', 'device', "
                                 "'set_point' and 'set_point_clr'");
}

TEST(ConfigurationRulesTest, FindTwentyPlantedMistakesAndNoOther) {
  const Environment environment = readEnvironment("env", fileText(kTexts / "twenty/board.env"));
  std::vector<Configuration> configurations;
  configurations.push_back(
      readConfiguration("conf", fileText(kTexts / "twenty/board.conf"), environment));
  EXPECT_EQ(placesOf(check({environment, configurations, std::nullopt}, {})),
            (Lines{"env:20 unused-sensor",
                   "env:30 virtual-set-points-reversed",
                   "env:43 level-table-direction",
                   "env:48 level-table-binary",
                   "env:53 level-table-hex-entry",
                   "conf:8 item-key-misspelt",
                   "conf:17 clearing-not-below-threshold",
                   "conf:28 level-past-table",
                   "conf:36 device-left-out",
                   "conf:37 row-lengths-differ",
                   "conf:45 report-level",
                   "conf:49 unknown-sensor",
                   "conf:51 temperature-cut-short",
                   "conf:60 lowactive-not-true",
                   "conf:68 unknown-type",
                   "conf:72 degrees",
                   "conf:80 clearing-thresholds-count",
                   "conf:84 items-merged",
                   "conf:93 no-item-line",
                   "conf:103 bracket-without-item"}));
}

TEST(ConfigurationRulesTest, FindNothingWrongWithThePhone) {
  const fs::path phone = kTexts.parent_path().parent_path() / "boards/phone";
  const Environment environment = readEnvironment("env", fileText(phone / "talmor-thermal.env"));
  std::vector<Configuration> configurations;
  for (const char* name : {"talmor-thermal.conf", "talmor-thermal_night.conf"})
    configurations.push_back(readConfiguration(name, fileText(phone / name), environment));
  EXPECT_GT(configurations[0].items.size(), 20U);
  EXPECT_EQ(placesOf(check({environment, configurations, std::nullopt}, {})), Lines{});
}

TEST(ConfigurationRulesTest, LookAtEachOfTheItemsThatTheDaemonMerges) {
  const std::string second = with(with(kSteps, "set_point", "60"), "start_level", "0");
  EXPECT_EQ(
      placesIn(with(kMonitor, "action_info", "2 1") + second + "sampling 1000\n" +
               with(kMonitor, "thresholds", "70000 60000")),
      (Lines{"a:8 level-falls", "a:9 items-merged", "a:13 degrees", "a:15 start-level-below-1",
             "a:17 items-merged", "a:17 item-name-twice", "a:20 thresholds-order"}));
}

TEST(ConfigurationRulesTest, KeepTheScenarioThatAMergedLineWasToOpen) {
  const Lines merged = {"a:9 items-merged"};
  EXPECT_EQ(placesIn(kMonitor + "SCEN game\n" + kMonitor), merged);
  EXPECT_EQ(placesOf(findingsIn(kBoard, {"SCEN game\n" + kMonitor + "SCEN Default\n" + kSteps})),
            merged);
}

TEST(ConfigurationRulesTest, TellOfARepeatedNameOnOneDeviceOfOneScenarioAlone) {
  const std::string pump = "\n[pump]\ntype charger\nnode_path /pump\nlevel_table 0 1 2\n";
  const Lines twice = {"a:10 item-name-twice"};
  EXPECT_EQ(placesIn(kMonitor + "\n" + kMonitor), twice);
  EXPECT_EQ(placesIn(kMonitor + "\n" + with(kMonitor, "actions", "pump pump"), kBoard + pump),
            Lines{});
  EXPECT_EQ(placesIn(kMonitor + "\nSCEN game\n" + kMonitor), Lines{});
}

TEST(ConfigurationRulesTest, CountANameAsUsedWhereverOneOfTheConfigurationsHasIt) {
  const std::string gpu = "\n[gpu]\ntype real\nsampling 1000\nnode_path /gpu\n";
  const std::string day = "SCEN Default\n" + kMonitor;
  const std::string night = "SCEN Default\n" + with(kMonitor, "sensor", "gpu");
  const Lines unused = {"env:11 unused-sensor"};
  EXPECT_EQ(placesOf(findingsIn(kBoard + gpu, {day})), unused);
  EXPECT_EQ(placesOf(findingsIn(kBoard + gpu, {day, night}, without({"sensor-uncooled"}))),
            Lines{});
  EXPECT_EQ(placesOf(findingsIn(kBoard + gpu, {})), Lines{});
}

TEST(ConfigurationRulesTest, CountTheSourcesAndTheTripOfAVirtualSensorAsUsed) {
  const std::string board =
      kBoard + "\n[gpu]\ntype real\nsampling 1000\nnode_path /gpu\n\n"
               "[case]\ntype real\nsampling 1000\nnode_path /case\n\n"
               "[skin]\ntype virtual\nsampling 1000\nset_point 30000\nset_point_clr 28000\n"
               "sensors gpu\nweights 100\ntrip_sensor case\n";
  EXPECT_EQ(placesIn(kMonitor + "\n[b]" + with(kMonitor, "sensor", "skin").substr(3), board),
            Lines{});
}

TEST(ConfigurationRulesTest, CountANameAsUsedWhereASlipForItStands) {
  const Lines unknown = {"a:4 unknown-sensor"};
  EXPECT_EQ(placesIn(with(kMonitor, "sensor", "cpuu")), unknown);
  const Lines misspelt = {"a:5 item-key-misspelt"};
  EXPECT_EQ(placesIn("[s]\nalgo_type ss\nsensor cpu\ndevise fan\nset_point 60000\n"
                     "set_point_clr 57000\nstart_level 1\n"),
            misspelt);
}

TEST(ConfigurationRulesTest, TellWhyASectionOfThatNameIsNotWhatTheItemNeeds) {
  const std::string fan = "[fan]\ntype charger\nnode_path /fan\nlevel_table 0 1 2 3 4\n";
  const std::vector<Finding> findings =
      findingsIn("[cpu]\ntype charger\nnode_path /cpu\nlevel_table 0 1\n\n" + fan,
                 {"SCEN Default\n" + kMonitor});
  const auto found = std::find_if(findings.begin(), findings.end(), [](const Finding& finding) {
    return finding.rule == "unknown-sensor";
  });
  ASSERT_NE(found, findings.end());
  EXPECT_EQ(found->hint, "'cpu' is no sensor");
}

TEST(ConfigurationRulesTest, LeaveWhatFollowsFromAMistakeOfTheBoardToThat) {
  const std::string cpu = "[cpu]\ntype real\nsampling 1000\nnode_path /cpu\n";
  const std::string fan = "[fan]\ntype charger\nnode_path /fan\nlevel_table 0 1 2 3 4\n";
  const std::vector<std::pair<std::string, std::string>> boards = {
      {with(cpu, "type", "Real") + "\n" + fan, "env:2 section-kind-wrong-case"},
      {with(cpu, "type", "thermometer") + "\n" + fan, "env:2 section-kind-unknown"},
      {fan + "\nboard\n\n" + cpu, "env:6 junk-before-header"},
      {fan + "\n" + cpu.substr(cpu.find('\n') + 1), "env:6 junk-before-header"},
      {fan + "\ncpu]" + cpu.substr(cpu.find('\n')), "env:6 junk-before-header"},
      {fan + cpu, "env:5 sections-merged"},
      {fan + "\n[cpu" + cpu.substr(cpu.find('\n')), "env:6 header-without-bracket"},
  };
  const std::string items = "SCEN Default\n" + kMonitor + "\n" + kSteps;
  for (const auto& [board, place] : boards) {
    EXPECT_EQ(placesOf(findingsIn(board, {items, items})), Lines{place}) << board;
  }
}

TEST(ConfigurationRulesTest, TellOfAnUnknownNameOnceForAllThatHaveIt) {
  const std::string rows = with(kMonitor, "actions", "fun fun");
  const std::string steps = with(kSteps, "device", "fun");
  const std::vector<Finding> findings = findingsIn(
      kBoard, {"SCEN Default\n" + rows + "\n" + steps, "SCEN Default\n" + steps + "\n" + rows});
  EXPECT_EQ(placesOf(findings), Lines{"a:13 unknown-device"});
  EXPECT_EQ(findings[0].message, "the daemon finds no device 'fun' on the board, and ends because "
                                 "'device' is missing; 4 items depend on it");
}

TEST(ConfigurationRulesTest, TellOnceOfWhatATableOrAPeriodMakesOfManyItems) {
  const std::string past = with(kMonitor, "action_info", "5 5");
  const std::string day = "SCEN Default\n" + past + "\n" + with(kSteps, "sensor", "cpu");
  const std::vector<Finding> findings = findingsIn(kBoard, {day, day});
  EXPECT_EQ(placesOf(findings), Lines{"a:8 level-past-table"});
  EXPECT_EQ(findings[0].message,
            "the daemon takes level 4 instead, the last in the table of 'fan'; so in 3 further "
            "places");
}

TEST(ConfigurationRulesTest, TellOfABlankLineInsideOfAnItemAlone) {
  for (const char* key : {"sensor", "device", "set_point", "start_level"}) {
    std::string cut = kSteps;
    cut.insert(cut.find("\n" + std::string(key)) + 1, "\n");
    const std::vector<Finding> findings = findingsIn(kBoard, {"SCEN Default\n" + cut});
    if (std::string(key) == "sensor") {
      // Directly below the type it ends nothing.
      EXPECT_EQ(findings.size(), 1U) << key;
      continue;
    }
    ASSERT_EQ(findings.size(), 1U) << key;
    EXPECT_EQ(findings[0].rule, "no-item-line") << key;
    EXPECT_EQ(findings[0].message.rfind("the daemon ends: '" + std::string(key), 0), 0U);
  }
}

TEST(ConfigurationRulesTest, SayOfAListInWhichEveryWordIsWrongThatTheFirstIs) {
  EXPECT_EQ(placesIn(with(kMonitor, "thresholds", "60000, 70000,")),
            Lines{"a:5 item-number-cut-short"});
  EXPECT_EQ(placesIn(with(kMonitor, "actions", "fan + fan")), Lines{"a:7 stray-plus"});
  EXPECT_EQ(placesIn(with(kMonitor, "actions", "fan, belt,")), Lines{"a:7 unknown-device"});
}

TEST(ConfigurationRulesTest, DrawTheLineBetweenAMistakeAndNone) {
  const std::vector<std::pair<std::string, Lines>> items = {
      {with(kSteps, "start_level", "0"), {"a:8 start-level-below-1"}},
      {with(kSteps, "start_level", "1"), {}},
      {with(kSteps, "start_level", "4"), {}},
      {with(kSteps, "start_level", "5"), {"a:8 start-level-past-table"}},
      {kSteps + "device_perf_floor 0\n", {"a:9 floor-below-1"}},
      {kSteps + "device_perf_floor 1\n", {}},
      {kSteps + "device_perf_floor 4\n", {}},
      {kSteps + "device_perf_floor 5\n", {"a:9 floor-past-table"}},
      {kSteps + "time_tick_trigger -1\n", {"a:9 negative-time-tick-trigger"}},
      {kSteps + "time_tick_trigger 0\n", {}},
      {kSteps + "time_tick_trigger 2147483647\n", {}},
      {kSteps + "time_tick_trigger 2147483648\n", {"a:9 item-number-too-large"}},
      {kSteps + "time_tick_trigger -2147483648\n", {"a:9 negative-time-tick-trigger"}},
      {kSteps + "time_tick_trigger -2147483649\n", {"a:9 item-number-too-large"}},
      {kSteps + "sampling 0\n", {"a:9 item-sampling-below-1"}},
      {kSteps + "sampling 1\n", {"a:9 period-below-sensors"}},
      {kSteps + "sampling 899\n", {"a:9 period-below-sensors"}},
      {kSteps + "sampling 900\n", {}},
      {kSteps + "sampling 1000\n", {}},
      {with(kSteps, "set_point_clr", "60000"), {}},
      {with(kSteps, "set_point_clr", "60001"), {"a:7 set-point-order"}},
      {with(kMonitor, "actions", "+fan fan"), {"a:7 stray-plus"}},
      {with(kMonitor, "thresholds", "60000+ 70000"), {"a:5 item-number-cut-short"}},
      {kSteps + "actions fan+\n", {"a:9 item-key-of-other-kind"}},
      {with(kMonitor, "action_info", "-1 1"), {"a:8 negative-level"}},
      {with(kMonitor, "action_info", "0 4"), {}},
      {with(kMonitor, "action_info", "0 5"), {"a:8 level-past-table"}},
      {with(kMonitor, "action_info", "2 2"), {}},
      {with(kMonitor, "action_info", "2 1"), {"a:8 level-falls"}},
      {with(kMonitor, "thresholds_clr", "59999 69999"), {}},
      {with(kMonitor, "thresholds_clr", "59999 70000"), {"a:6 clearing-not-below-threshold"}},
      {with(kMonitor, "thresholds_clr", "57000 57000"), {}},
      {with(with(kMonitor, "thresholds", "60000 60001"), "thresholds_clr", "57000 57000"), {}},
      {with(kMonitor, "thresholds_clr", "57000 56999"), {"a:6 thresholds-order"}},
  };
  const RuleChoice others = without({"hysteresis-too-narrow", "floor-at-start-level"});
  for (const auto& [item, places] : items)
    EXPECT_EQ(placesIn(item, others), places) << item;
}

TEST(ConfigurationRulesTest, SayNothingMoreOfANumberThatIsCutShort) {
  const std::string sampled = kSteps + "sampling 1000\ntime_tick_trigger 0\n";
  const std::string bound = kSteps + "device_perf_floor 1\n";
  const std::vector<std::pair<std::string, std::string>> items = {
      {with(kMonitor, "thresholds", "90000x 70000"), "a:5"},
      {with(kMonitor, "thresholds", "90000 70000x"), "a:5"},
      {with(kMonitor, "thresholds_clr", "57000 99999x"), "a:6"},
      {with(kMonitor, "action_info", "0 5x"), "a:8"},
      {with(kMonitor, "action_info", "-1x 1"), "a:8"},
      {with(kMonitor, "action_info", "2 1x"), "a:8"},
      {with(kMonitor, "action_info", "2x 1"), "a:8"},
      {with(kSteps, "set_point", "50000x"), "a:6"},
      {with(kSteps, "set_point_clr", "60001x"), "a:7"},
      {with(kSteps, "start_level", "0x"), "a:8"},
      {with(kSteps, "start_level", "5x"), "a:8"},
      {with(bound, "device_perf_floor", "0x"), "a:9"},
      {with(bound, "device_perf_floor", "5x"), "a:9"},
      {with(sampled, "sampling", "0x"), "a:9"},
      {with(sampled, "sampling", "500x"), "a:9"},
      {with(sampled, "time_tick_trigger", "-1x"), "a:10"},
  };
  for (const auto& [item, place] : items)
    EXPECT_EQ(placesIn(item), Lines{place + " item-number-cut-short"}) << item;
}

TEST(ConfigurationRulesTest, KnowWhatAReportAndACameraAreAskedFor) {
  const auto placesFor = [](const std::string& kind, const std::string& levels) {
    const std::string item = with(with(kMonitor, "thresholds", "60000"), "thresholds_clr", "57000");
    return placesIn(with(with(item, "actions", "knob"), "action_info", levels),
                    kBoard.substr(0, kBoard.find("[fan]")) + "[knob]\ntype " + kind +
                        "\nnode_path /knob\nlevel_table 0 1\n",
                    without({"default-cools-nothing", "action-info-all-zero"}));
  };
  const Lines report = {"a:8 report-level"};
  EXPECT_EQ(placesFor("report", "0"), report);
  EXPECT_EQ(placesFor("report", "1"), Lines{});
  EXPECT_EQ(placesFor("report", "2"), report);
  EXPECT_EQ(placesFor("report", "2x"), Lines{"a:8 item-number-cut-short"});
  EXPECT_EQ(placesFor("camera", "0"), Lines{"a:8 camera-at-level-0"});
  EXPECT_EQ(placesFor("camera", "1"), Lines{});
  EXPECT_EQ(placesFor("camera", "2"), Lines{"a:8 level-past-table"});
  EXPECT_EQ(placesFor("camera", "0x"), Lines{"a:8 item-number-cut-short"});
  EXPECT_EQ(placesFor("charger", "0"), Lines{});
}

TEST(ConfigurationRulesTest, TellOfAScenarioThatIsNotClosedOnce) {
  const auto three = [](const std::string& scenario) {
    std::string text = "SCEN Default\n" + kMonitor + "\nSCEN " + scenario + "\n";
    for (const char* name : {"[x]", "[y]", "[z]"})
      text += name + kMonitor.substr(3) + "]\n";
    return placesOf(findingsIn(kBoard, {text}));
  };
  EXPECT_EQ(three("game"), Lines{"a:18 scenario-not-closed"});
  EXPECT_EQ(three("Default"), Lines{});
}

TEST(ConfigurationRulesTest, TellOnceOfAScenarioThatLeavesASensorUnwatched) {
  const std::string board = kBoard + "\n[gpu]\ntype real\nsampling 1000\nnode_path /gpu\n";
  const std::string both =
      "SCEN Default\n" + kMonitor + "\n" + with("[b]" + kMonitor.substr(3), "sensor", "gpu") + "\n";
  const std::string c = "[c]" + kMonitor.substr(3);
  const auto placesWith = [&](const std::string& rest) {
    return placesOf(findingsIn(board, {both + rest}));
  };
  const Lines once = {"a:18 sensor-unwatched"};
  EXPECT_EQ(placesWith("SCEN game\n" + c), once);
  EXPECT_EQ(placesWith("SCEN game\n" + c + "\nSCEN game\n[d]" + c.substr(3)), once);
  // The slip may stand for the very sensor.
  EXPECT_EQ(placesWith("SCEN game\n" + c + "\n" + with("[d]" + c.substr(3), "sensor", "gpuu")),
            Lines{"a:29 unknown-sensor"});
}

TEST(ConfigurationRulesTest, LookForASlipAmongTwoHundredNamesAtMost) {
  const auto hintAmong = [](size_t sensors) {
    std::string board = kBoard;
    for (size_t i = 1; i < sensors; ++i)
      board += "\n[s" + std::to_string(1000 + i) + "]\ntype real\nnode_path /s\n";
    for (const Finding& finding : findingsIn(board, {with(kMonitor, "sensor", "cpuu")}))
      if (finding.rule == "unknown-sensor") return finding.hint;
    return std::string("nothing found");
  };
  EXPECT_EQ(hintAmong(200), "did you mean 'cpu'?");
  EXPECT_EQ(hintAmong(201), "");
}

// Where the limits lie: one finding above, none below.
TEST(ConfigurationRulesTest, TakeTemperaturesFromTwoToTwoHundredForDegrees) {
  const auto placesAt = [](const std::string& point) {
    return placesIn(with(with(kSteps, "set_point", point), "set_point_clr", point),
                    without({"lowactive-missing"}));
  };
  const Lines both = {"a:6 degrees", "a:7 degrees"};
  for (const char* point : {"-200", "-2", "2", "200"})
    EXPECT_EQ(placesAt(point), both) << point;
  for (const char* point : {"-201", "-1", "1", "201"})
    EXPECT_EQ(placesAt(point), Lines{}) << point;
}

TEST(ConfigurationRulesTest, TakeTemperaturesBeyondTwoHundredDegreesForTooMuch) {
  const auto placesAt = [](const std::string& point) {
    return placesIn(with(with(kSteps, "set_point", point), "set_point_clr", point),
                    without({"lowactive-missing", "item-asleep", "hysteresis-too-narrow"}));
  };
  const Lines both = {"a:6 beyond-any-sensor", "a:7 beyond-any-sensor"};
  for (const char* point : {"-200001", "200001"})
    EXPECT_EQ(placesAt(point), both) << point;
  for (const char* point : {"-200000", "200000"})
    EXPECT_EQ(placesAt(point), Lines{}) << point;
}

TEST(ConfigurationRulesTest, TellOfAListInDegreesOnceALine) {
  EXPECT_EQ(placesIn(with(with(kMonitor, "thresholds", "60 70"), "thresholds_clr", "57 67")),
            (Lines{"a:5 degrees", "a:6 degrees"}));
}

TEST(ConfigurationRulesTest, TellOfAListWithUnitsOrBeyondAnySensorOnceALine) {
  EXPECT_EQ(placesIn(with(with(kMonitor, "thresholds", "60C 70C"), "thresholds_clr", "57C 67C")),
            (Lines{"a:5 temperature-cut-short", "a:6 temperature-cut-short"}));
  EXPECT_EQ(placesIn(with(with(kMonitor, "thresholds", "60000000 70000000"), "thresholds_clr",
                          "57000000 67000000")),
            (Lines{"a:5 beyond-any-sensor", "a:6 beyond-any-sensor"}));
}

TEST(ConfigurationRulesTest, TellOfTheDefaultPeriodWhereTheSensorsIsLonger) {
  const std::string slow = "[cpu]\ntype real\nsampling 1112\nnode_path /cpu\n\n"
                           "[fan]\ntype charger\nnode_path /fan\nlevel_table 0 1 2 3 4\n";
  const Lines below = {"a:2 period-below-sensors"};
  EXPECT_EQ(placesIn(kMonitor, slow), below);
  EXPECT_EQ(placesIn(kMonitor), Lines{});
}

TEST(ConfigurationRulesTest, TurnRoundForAnItemThatActsOnCold) {
  const std::string cold =
      with(with(kMonitor, "thresholds", "10000 0"), "thresholds_clr", "12000 2000") +
      "lowactive true\n";
  const RuleChoice others = without({"hysteresis-too-narrow"});
  EXPECT_EQ(placesIn(cold, others), Lines{});
  const Lines order = {"a:5 thresholds-order"};
  EXPECT_EQ(placesIn(with(with(cold, "thresholds", "0 10000"), "thresholds_clr", "2000 12000")),
            order);
  const Lines clearing = {"a:6 clearing-not-below-threshold"};
  EXPECT_EQ(placesIn(with(cold, "thresholds_clr", "10000 2000"), others), clearing);
  EXPECT_EQ(placesIn(with(cold, "thresholds_clr", "10001 2000"), others), Lines{});
  const std::string steps =
      with(with(kSteps, "set_point", "5000"), "set_point_clr", "5000") + "lowactive true\n";
  EXPECT_EQ(placesIn(steps, others), Lines{});
  const Lines point = {"a:7 set-point-order"};
  EXPECT_EQ(placesIn(with(steps, "set_point_clr", "4999"), others), point);
  EXPECT_EQ(placesIn(with(steps, "set_point_clr", "0")), Lines{"a:7 set-point-zero"});
}

TEST(ConfigurationRulesTest, TellOfThresholdsOfAnotherNumberOnceOnly) {
  const Lines fewer = {"a:7 row-without-level"};
  EXPECT_EQ(placesIn(with(kMonitor, "thresholds", "60000")), fewer);
  const Lines more = {"a:5 level-without-row"};
  EXPECT_EQ(placesIn(with(kMonitor, "thresholds", "60000 70000 80000")), more);
}

TEST(ConfigurationRulesTest, TellOfBothWhereOnlyOneListOfRowsFitsTheClearingThresholds) {
  const std::string three = with(kMonitor, "thresholds", "60000 70000 80000");
  const Lines both = {"a:5 clearing-thresholds-count", "a:5 level-without-row"};
  EXPECT_EQ(placesIn(with(three, "action_info", "1 2 3")), both);
  EXPECT_EQ(placesIn(with(three, "actions", "fan fan fan")), both);
}

TEST(ConfigurationRulesTest, TellOfWordsWithoutDigitsOnceALine) {
  EXPECT_EQ(placesIn(with(with(kMonitor, "thresholds", "60000 x y"), "thresholds_clr", "x y 1")),
            (Lines{"a:5 item-number-without-digits", "a:6 item-number-without-digits"}));
}

TEST(ConfigurationRulesTest, TellThatTheDaemonEndsOverMergedItemsWhereNoneLacksAnything) {
  const auto merged = [](const std::string& second) {
    const std::vector<std::string> texts{"SCEN Default\n" + kSteps + second};
    for (const Finding& finding : findingsIn(kBoard, texts))
      if (finding.rule == "items-merged") return finding.message;
    return std::string();
  };
  const std::string message = "the daemon adds this item's lines to item 's', which has not ended";
  EXPECT_EQ(merged(kMonitor), message);
  EXPECT_EQ(merged(kMonitor + "set_point 0\n"),
            message + ", and ends because 'set_point' is missing");
  EXPECT_EQ(merged("[t]" + with(kSteps, "set_point", "0").substr(3)), message);
}

TEST(ConfigurationRulesTest, TakeTheWordsBeforeABlankLineForTheLineThatTheyStandInFor) {
  const std::string rest = "\nthresholds 60000\nthresholds_clr 57000\nactions fan\naction_info 1\n";
  const Lines blank = {"a:3 blank-line-after-type"};
  EXPECT_EQ(placesIn("[a]\nalgo_type monitor sensor cpu\n" + rest), blank);
}

// The texts that are no configurations at all, too.
TEST(ConfigurationRulesTest, TellOfAnEndExactlyWhereTheDaemonComesToOne) {
  const fs::path corpus = kTexts.parent_path() / "fuzz/corpus/configuration";
  const std::string board =
      "[cpu]\ntype real\nnode_path /cpu\n\n[gpu]\ntype real\nnode_path /gpu\n\n"
      "[big]\ntype charger\nnode_path /big\nlevel_table 0 1 2\n";
  const Environment environment = readEnvironment("env", board);
  size_t ends = 0;
  for (const fs::directory_entry& entry : fs::directory_iterator(corpus)) {
    std::vector<Configuration> configurations;
    configurations.push_back(readConfiguration("conf", fileText(entry.path()), environment));
    const std::vector<Finding> findings = check({environment, configurations, std::nullopt}, {});
    const bool told = std::any_of(findings.begin(), findings.end(), [](const Finding& finding) {
      return finding.severity == Severity::kError &&
             (finding.message.find("the daemon ends: ") == 0 ||
              finding.message.find(", and ends because ") != std::string::npos);
    });
    EXPECT_EQ(told, configurations[0].fatal() != nullptr) << entry.path();
    if (told) ++ends;
  }
  EXPECT_GT(ends, 10U);
}

} // namespace
