#include <algorithm>
#include <filesystem>
#include <set>

#include <gtest/gtest.h>

#include "base/TextReader.h"
#include "check/Check.h"
#include "check/rule/Rule.h"
#include "thermalctl/support/Examples.h"

namespace {

namespace fs = std::filesystem;
using Lines = std::vector<std::string>;

// A text with one mistake, and the words that the finding marks, in the configuration or, where
// the file says so, in the board's.
struct Mistake {
  std::string example;
  Position at;
  std::string marked;
  std::string file = ".conf";
};

const std::vector<Mistake> kMistakes = {
    {"beyond-any-sensor/bad", {5, 18}, "700000"},
    {"blank-line-after-type/bad", {3, 11}, "monitor"},
    {"blank-line-after-type/bad-end", {3, 11}, "monitor"},
    {"bracket-after-type/bad", {4, 1}, "]"},
    {"bracket-without-item/bad", {10, 1}, "]"},
    {"bracket-without-item/bad-blank", {10, 1}, "]"},
    {"bracket-without-item/bad-key", {11, 1}, "sampling"},
    {"bracket-without-item/bad-scen", {11, 1}, "SCEN"},
    {"bracket-without-item/bad-twice", {20, 1}, "]"},
    {"bracketed-scenario-name/bad", {10, 6}, "[game]"},
    {"camera-at-level-0/bad", {8, 15}, "0"},
    {"clearing-not-below-threshold/bad", {6, 22}, "70000"},
    {"clearing-not-below-threshold/bad-cold", {6, 22}, "0"},
    {"clearing-thresholds-count/bad", {5, 18}, "70000"},
    {"clearing-thresholds-count/bad-more", {6, 28}, "77000"},
    {"degrees/bad", {6, 11}, "60"},
    {"device-left-out/bad", {7, 18}, "fan"},
    {"device-twice-in-row/bad", {7, 17}, "fan"},
    {"empty-configuration/bad", {1, 1}, ""},
    {"floor-below-1/bad", {9, 19}, "0"},
    {"floor-past-table/bad", {9, 19}, "5"},
    {"item-header-without-bracket/bad", {2, 1}, "[cpu"},
    {"item-header-without-bracket/bad-alone", {2, 1}, "["},
    {"item-header-without-bracket/bad-none", {2, 1}, "[cpu_fan"},
    {"item-key-misspelt/bad", {7, 1}, "set_point_crl"},
    {"item-key-misspelt/bad-case", {7, 1}, "Actions"},
    {"item-key-misspelt/bad-default", {9, 1}, "samplng"},
    {"item-key-of-other-kind/bad", {9, 1}, "start_level"},
    {"item-key-of-other-kind/bad-list", {9, 1}, "thresholds"},
    {"item-key-repeated/bad", {10, 1}, "sampling"},
    {"item-key-repeated/bad-list", {6, 1}, "thresholds"},
    {"item-key-repeated/bad-rows", {8, 1}, "actions"},
    {"item-key-unknown/bad", {9, 1}, "hysteresis"},
    {"item-key-unknown/bad-comment", {4, 1}, "#"},
    {"item-key-without-value/bad", {9, 1}, "sampling"},
    {"item-key-without-value/bad-list", {7, 1}, "actions"},
    {"item-key-without-value/bad-lowactive", {9, 1}, "lowactive"},
    {"item-key-without-value/bad-number", {6, 1}, "set_point"},
    {"item-key-without-value/bad-sensor", {4, 1}, "sensor"},
    {"item-name-twice/bad", {10, 1}, "[cpu_fan]"},
    {"item-number-cut-short/bad", {5, 18}, "70,000"},
    {"item-number-cut-short/bad-setpoint", {6, 11}, "0x60000"},
    {"item-number-too-large/bad", {5, 18}, "4294967295"},
    {"item-number-without-digits/bad", {5, 24}, "#"},
    {"item-number-without-digits/bad-setpoint", {6, 11}, "warm"},
    {"item-sampling-below-1/bad", {9, 10}, "0"},
    {"item-sampling-below-1/bad-negative", {9, 10}, "-1000"},
    {"item-without-name/bad", {2, 1}, "[]"},
    {"items-merged/bad", {9, 1}, "[b]"},
    {"items-merged/bad-scenario", {9, 1}, "SCEN"},
    {"level-falls/bad", {8, 15}, "1"},
    {"level-past-table/bad", {8, 15}, "5"},
    {"level-without-row/bad", {5, 24}, "80000"},
    {"level-without-row/bad-info", {5, 18}, "70000"},
    {"lowactive-not-true/bad", {9, 11}, "True"},
    {"missing-property/bad", {2, 1}, "[cpu_fan]"},
    {"missing-property/bad-several", {2, 1}, "[cpu_step]"},
    {"negative-level/bad", {8, 13}, "-1"},
    {"negative-time-tick-trigger/bad", {9, 19}, "-1"},
    {"no-default-scenario/bad", {1, 1}, "[cpu_fan]"},
    {"no-default-scenario/bad-case", {1, 6}, "default"},
    {"no-default-scenario/bad-other", {1, 1}, "SCEN"},
    {"no-item-line/bad", {1, 1}, "#"},
    {"no-item-line/bad-junk", {1, 1}, "fan"},
    {"no-item-line/bad-key", {10, 1}, "sampling"},
    {"no-item-line/bad-mark", {1, 1}, "\xEF\xBB\xBFSCEN"},
    {"no-item-line/bad-scen", {1, 1}, "Scen"},
    {"no-type-line/bad", {3, 1}, "sensor"},
    {"no-type-line/bad-blank", {2, 1}, "[cpu_fan]"},
    {"no-type-line/bad-end", {10, 1}, "[b]"},
    {"no-type-line/bad-slip", {3, 1}, "alog_type"},
    {"period-below-sensors/bad", {9, 10}, "500"},
    {"report-in-several-levels/bad", {7, 17}, "alarm"},
    {"report-level/bad", {16, 13}, "2"},
    {"report-level/bad-zero", {16, 13}, "0"},
    {"retired-scenario-name/bad", {10, 6}, "OLDSCEN_game"},
    {"row-lengths-differ/bad", {8, 17}, "2"},
    {"row-lengths-differ/bad-more", {8, 13}, "1+1+1"},
    {"row-without-level/bad", {7, 17}, "fan"},
    {"row-without-level/bad-info", {8, 17}, "3"},
    {"scenario-not-closed/bad", {18, 1}, "]"},
    {"scenario-without-item/bad", {1, 6}, "Default"},
    {"scenario-without-item/bad-bracket", {2, 1}, "]"},
    {"scenario-without-item/bad-end", {10, 6}, "game"},
    {"scenario-without-item/bad-key", {2, 1}, "algo_type"},
    {"scenario-without-item/bad-twice", {2, 1}, "SCEN"},
    {"scenario-without-name/bad", {10, 1}, "SCEN"},
    {"sensor-unwatched/bad", {10, 6}, "game"},
    {"set-point-order/bad", {7, 15}, "60001"},
    {"set-point-order/bad-cold", {7, 15}, "57000"},
    {"set-point-zero/bad", {6, 11}, "0"},
    {"set-point-zero/bad-clearing", {7, 15}, "0"},
    {"ss-on-report/bad", {13, 8}, "alarm"},
    {"start-level-below-1/bad", {2, 1}, "[cpu_step]"},
    {"start-level-below-1/bad-negative", {8, 13}, "-3"},
    {"start-level-below-1/bad-zero", {8, 13}, "0"},
    {"start-level-past-table/bad", {8, 13}, "5"},
    {"stray-plus/bad", {7, 13}, "+"},
    {"thresholds-order/bad", {5, 18}, "60000"},
    {"thresholds-order/bad-clearing", {6, 22}, "56000"},
    {"thresholds-order/bad-cold", {5, 14}, "10000"},
    {"thresholds-order/bad-equal", {5, 18}, "70000"},
    {"unknown-device/bad", {7, 13}, "fann"},
    {"unknown-device/bad-ss", {5, 8}, "fann"},
    {"unknown-sensor/bad", {4, 8}, "cpuu"},
    {"unknown-sensor/bad-device", {4, 8}, "fan"},
    {"unknown-type/bad", {3, 11}, "SS"},
    {"unknown-type/bad-none", {3, 1}, "algo_type"},
    {"unknown-type/bad-other", {3, 11}, "pid"},
    {"unknown-type/bad-slip", {3, 11}, "montior"},
    {"unused-device/bad", {11, 1}, "[pump]", ".env"},
    {"unused-sensor/bad", {11, 1}, "[gpu]", ".env"},
    {"words-ignored/bad", {6, 17}, "below"},
    {"words-ignored/bad-header", {2, 11}, "the"},
    {"words-ignored/bad-scenario", {10, 11}, "mode"},
    {"words-ignored/bad-type", {3, 19}, "#"},
};

// How the rules tell of every way into the daemon's end.
const std::vector<std::pair<std::string, std::string>> kEnds = {
    {"no-item-line/bad",
     "the daemon ends: a comment stands where an item, 'SCEN' or ']' must begin "
     "(there are no comments: take the line out)"},
    {"no-item-line/bad-junk",
     "the daemon ends: 'fan' stands where an item, 'SCEN' or ']' must begin "
     "(write an item's name in brackets: [fan])"},
    {"no-item-line/bad-key", "the daemon ends: 'sampling' stands outside of any item, behind the "
                             "blank line or the ']' that ended the last one "
                             "(take out the blank line or the ']' above)"},
    {"no-item-line/bad-mark",
     "the daemon ends: the file begins with a byte order mark and not with '[' or 'SCEN' "
     "(save the file without a byte order mark)"},
    {"no-item-line/bad-scen", "the daemon ends: 'Scen' stands where an item, 'SCEN' or ']' must "
                              "begin (did you mean 'SCEN'?)"},
    {"scenario-without-item/bad",
     "the daemon ends: a blank line follows a 'SCEN' line, and an item "
     "must (take out the blank line below 'SCEN')"},
    {"scenario-without-item/bad-bracket",
     "the daemon ends: ']' follows a 'SCEN' line, and an item must "
     "(write an item directly below 'SCEN', or take 'SCEN' out)"},
    {"scenario-without-item/bad-end",
     "the daemon ends: the end of the file follows a 'SCEN' line, and an item must "
     "(write an item directly below 'SCEN', or take 'SCEN' out)"},
    {"scenario-without-item/bad-key",
     "the daemon ends: 'algo_type' follows a 'SCEN' line, and an item must "
     "(write an item directly below 'SCEN', or take 'SCEN' out)"},
    {"scenario-without-item/bad-twice",
     "the daemon ends: 'SCEN' follows a 'SCEN' line, and an item must "
     "(write an item directly below 'SCEN', or take 'SCEN' out)"},
    {"bracket-without-item/bad",
     "the daemon ends: the end of the file follows a ']' that closes a scenario, and an item must "
     "(take the ']' out: the next 'SCEN' line ends a scenario)"},
    {"bracket-without-item/bad-blank",
     "the daemon ends: a blank line follows a ']' that closes a scenario, and an item must "
     "(take the ']' out: the next 'SCEN' line ends a scenario)"},
    {"bracket-without-item/bad-key",
     "the daemon ends: 'sampling' follows a ']' that closes a scenario, and an item must "
     "(take the ']' out: the next 'SCEN' line ends a scenario)"},
    {"bracket-without-item/bad-scen",
     "the daemon ends: 'SCEN' follows a ']' that closes a scenario, and an item must "
     "(take the ']' out: the next 'SCEN' line ends a scenario)"},
    {"bracket-without-item/bad-twice",
     "the daemon ends: ']' follows a ']' that closes a scenario, and an item must "
     "(take the ']' out: the next 'SCEN' line ends a scenario)"},
    {"no-type-line/bad",
     "the daemon ends: 'sensor' follows the header of 'cpu_fan', and 'algo_type' must "
     "(write 'algo_type monitor' or 'algo_type ss' directly below the header)"},
    {"no-type-line/bad-blank",
     "the daemon ends: a blank line follows the header of 'cpu_fan', and 'algo_type' must "
     "(take out the blank line below the header)"},
    {"no-type-line/bad-end",
     "the daemon ends: the end of the file follows the header of 'b', and 'algo_type' must "
     "(write 'algo_type monitor' or 'algo_type ss' directly below the header)"},
    {"no-type-line/bad-slip", "the daemon ends: 'alog_type' follows the header of 'cpu_fan', and "
                              "'algo_type' must (did you mean 'algo_type'?)"},
    {"unknown-type/bad", "the daemon ends: 'SS' is no kind of item (did you mean 'ss'?)"},
    {"unknown-type/bad-none", "the daemon ends: no kind of item stands behind 'algo_type' "
                              "(write 'algo_type monitor' or 'algo_type ss')"},
    {"unknown-type/bad-other", "the daemon ends: 'pid' is no kind of item "
                               "(write 'algo_type monitor' or 'algo_type ss')"},
    {"unknown-type/bad-slip",
     "the daemon ends: 'montior' is no kind of item (did you mean 'monitor'?)"},
    {"missing-property/bad", "the daemon ends: 'cpu_fan' lacks 'thresholds_clr'"},
    {"missing-property/bad-several",
     "the daemon ends: 'cpu_step' lacks 'set_point' and 'set_point_clr'"},
    {"set-point-zero/bad",
     "the daemon takes 0 for no value, and ends because 'set_point' is missing "
     "(write 1: a thousandth of a degree more)"},
    {"item-key-misspelt/bad",
     "the daemon ignores 'set_point_crl', and ends because 'set_point_clr' "
     "is missing (did you mean 'set_point_clr'?)"},
    {"item-key-without-value/bad-sensor",
     "the daemon takes the word 'sensor' itself for the name, and ends because 'sensor' is missing "
     "(write a value behind 'sensor', or take the line out)"},
    {"item-key-without-value/bad-list",
     "the daemon finds no values here, and ends because 'actions' is missing "
     "(write a value behind 'actions', or take the line out)"},
    {"item-number-without-digits/bad-setpoint",
     "the daemon reads 'warm' as 0, and ends because 'set_point' is missing "
     "(write a number; there are no comments)"},
    {"item-number-cut-short/bad-setpoint",
     "the daemon reads '0x60000' as 0, and ends because 'set_point' is missing "
     "(write digits alone: no point, no comma, no unit)"},
    {"unknown-sensor/bad", "the daemon finds no sensor 'cpuu' on the board, and ends because "
                           "'sensor' is missing (did you mean 'cpu'?)"},
    {"unknown-sensor/bad-device", "the daemon finds no sensor 'fan' on the board, and ends because "
                                  "'sensor' is missing ('fan' is no sensor)"},
    {"unknown-device/bad-ss", "the daemon finds no device 'fann' on the board, and ends because "
                              "'device' is missing (did you mean 'fan'?)"},
};

const std::string kBoard = "[cpu]\ntype real\nsampling 1000\nnode_path /cpu\n\n"
                           "[fan]\ntype charger\nnode_path /fan\nlevel_table 0 1 2 3 4\n";

const std::string kMonitor = "[a]\nalgo_type monitor\nsensor cpu\nthresholds 60000 70000\n"
                             "thresholds_clr 57000 67000\nactions fan fan\naction_info 1 2\n";

const std::string kSteps = "[s]\nalgo_type ss\nsensor cpu\ndevice fan\nset_point 60000\n"
                           "set_point_clr 57000\nstart_level 1\n";

std::string ruleOf(const std::string& example) {
  return example.substr(0, example.find('/'));
}

std::string textOf(const Finding& finding) {
  return finding.message + (finding.hint.empty() ? "" : " (" + finding.hint + ")");
}

// "FILE:LINE RULE" of each.
Lines placesOf(const std::vector<Finding>& findings) {
  Lines places;
  for (const Finding& finding : findings)
    places.push_back(finding.file + ":" + std::to_string(finding.at.line) + " " + finding.rule);
  return places;
}

std::vector<Finding> findingsIn(const std::string& board, const Lines& contents) {
  const Environment environment = readEnvironment("env", board);
  std::vector<Configuration> configurations;
  for (size_t i = 0; i < contents.size(); ++i)
    configurations.push_back(
        readConfiguration(std::string(1, static_cast<char>('a' + i)), contents[i], environment));
  return check({environment, configurations, std::nullopt}, {});
}

Lines placesIn(const std::string& item, const std::string& board = kBoard) {
  return placesOf(findingsIn(board, {"SCEN Default\n" + item}));
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

TEST(ConfigurationRulesTest, EachReportsItsMistakeAtItsPlaceAndNoneReportsAnother) {
  for (const Mistake& mistake : kMistakes) {
    SCOPED_TRACE(mistake.example);
    const std::vector<Finding> findings = findingsOf(mistake.example);
    ASSERT_EQ(findings.size(), 1U) << testing::PrintToString(placesOf(findings));
    EXPECT_EQ(findings[0].rule, ruleOf(mistake.example));
    EXPECT_EQ(findings[0].file, mistake.example + mistake.file);
    EXPECT_EQ(findings[0].at.line, mistake.at.line);
    EXPECT_EQ(findings[0].at.column, mistake.at.column);
    EXPECT_EQ(findings[0].length, std::max<size_t>(1, mistake.marked.size()));
    std::istringstream lines(exampleText(mistake.example + mistake.file));
    std::string line;
    for (int i = 0; i < mistake.at.line; ++i)
      std::getline(lines, line);
    EXPECT_EQ(line.substr(static_cast<size_t>(mistake.at.column) - 1, mistake.marked.size()),
              mistake.marked);
  }
}

TEST(ConfigurationRulesTest, EachHasATextWithItsMistakeAndACloseOneWithoutAny) {
  std::set<std::string> withMistake;
  for (const Mistake& mistake : kMistakes)
    withMistake.insert(mistake.example);
  std::set<std::string> there;
  std::set<std::string> rules;
  for (const Rule& rule : configurationRules())
    rules.insert(rule.name);
  for (const std::string& example : allExamples())
    if (rules.count(ruleOf(example)) > 0) there.insert(example);
  for (const std::string& rule : rules) {
    EXPECT_TRUE(withMistake.count(rule + "/bad") > 0) << rule;
    EXPECT_TRUE(there.count(rule + "/good") > 0) << rule;
    EXPECT_EQ(placesOf(findingsOf(rule + "/good")), Lines{}) << rule;
  }
  // No text without a line in the table.
  for (const std::string& example : there)
    EXPECT_TRUE(example == ruleOf(example) + "/good" || withMistake.count(example) > 0) << example;
}

TEST(ConfigurationRulesTest, TellWhyTheDaemonEndsAndWhatToWriteInstead) {
  for (const auto& [example, text] : kEnds) {
    const std::vector<Finding> findings = findingsOf(example);
    ASSERT_EQ(findings.size(), 1U) << example;
    EXPECT_EQ(textOf(findings[0]), text) << example;
  }
}

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
                   "conf:51 item-number-cut-short",
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
  EXPECT_EQ(placesIn(with(kMonitor, "action_info", "2 1") + second + "sampling 1000\n" +
                     with(kMonitor, "thresholds", "70000 60000")),
            (Lines{"a:8 level-falls", "a:9 items-merged", "a:13 degrees",
                   "a:15 start-level-below-1", "a:17 items-merged", "a:17 item-name-twice",
                   "a:20 thresholds-order", "a:21 clearing-not-below-threshold"}));
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
  EXPECT_EQ(placesOf(findingsIn(kBoard + gpu, {day, night})), Lines{});
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
  const std::string kind = "[cpu]\ntype Real\nsampling 1000\nnode_path /cpu\n\n";
  const std::string fan = "[fan]\ntype charger\nnode_path /fan\nlevel_table 0 1 2 3 4\n";
  const std::vector<std::pair<std::string, std::string>> boards = {
      {kind + fan, "the daemon drops the section of 'cpu', whose type is unknown"},
      {fan + "\nboard\n\n[cpu]\ntype real\nsampling 1000\nnode_path /cpu\n",
       "the daemon never reads the section of 'cpu'"},
      {"[cpu]\ntype charger\nnode_path /cpu\nlevel_table 0 1\n\n" + fan, "'cpu' is no sensor"},
  };
  for (const auto& [board, hint] : boards) {
    const std::vector<Finding> findings = findingsIn(board, {"SCEN Default\n" + kMonitor});
    const auto found = std::find_if(findings.begin(), findings.end(), [](const Finding& finding) {
      return finding.rule == "unknown-sensor";
    });
    ASSERT_NE(found, findings.end()) << hint;
    EXPECT_EQ(found->hint, hint);
  }
}

// Where the limits lie: one finding above, none below.
TEST(ConfigurationRulesTest, TakeTemperaturesFromTwoToTwoHundredForDegrees) {
  const auto placesAt = [](const std::string& point) {
    return placesIn(with(with(kSteps, "set_point", point), "set_point_clr", point));
  };
  const Lines both = {"a:6 degrees", "a:7 degrees"};
  for (const char* point : {"-200", "-2", "2", "200"})
    EXPECT_EQ(placesAt(point), both) << point;
  for (const char* point : {"-201", "-1", "1", "201"})
    EXPECT_EQ(placesAt(point), Lines{}) << point;
}

TEST(ConfigurationRulesTest, TakeTemperaturesBeyondTwoHundredDegreesForTooMuch) {
  const auto placesAt = [](const std::string& point) {
    return placesIn(with(with(kSteps, "set_point", point), "set_point_clr", point));
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

TEST(ConfigurationRulesTest, TellOfTheDefaultPeriodWhereTheSensorsIsLonger) {
  const std::string slow = "[cpu]\ntype real\nsampling 1001\nnode_path /cpu\n\n"
                           "[fan]\ntype charger\nnode_path /fan\nlevel_table 0 1 2 3 4\n";
  const Lines below = {"a:2 period-below-sensors"};
  EXPECT_EQ(placesIn(kMonitor, slow), below);
  EXPECT_EQ(placesIn(kMonitor), Lines{});
}

TEST(ConfigurationRulesTest, TurnRoundForAnItemThatActsOnCold) {
  const std::string cold =
      with(with(kMonitor, "thresholds", "10000 0"), "thresholds_clr", "12000 2000") +
      "lowactive true\n";
  EXPECT_EQ(placesIn(cold), Lines{});
  const Lines order = {"a:5 thresholds-order"};
  EXPECT_EQ(placesIn(with(with(cold, "thresholds", "0 10000"), "thresholds_clr", "2000 12000")),
            order);
  const Lines clearing = {"a:6 clearing-not-below-threshold"};
  EXPECT_EQ(placesIn(with(cold, "thresholds_clr", "10000 2000")), clearing);
  EXPECT_EQ(placesIn(with(cold, "thresholds_clr", "10001 2000")), Lines{});
  const std::string steps =
      with(with(kSteps, "set_point", "5000"), "set_point_clr", "5000") + "lowactive true\n";
  EXPECT_EQ(placesIn(steps), Lines{});
  const Lines point = {"a:7 set-point-order"};
  EXPECT_EQ(placesIn(with(steps, "set_point_clr", "4999")), point);
}

TEST(ConfigurationRulesTest, TellOfThresholdsOfAnotherNumberOnceOnly) {
  const Lines fewer = {"a:7 row-without-level"};
  EXPECT_EQ(placesIn(with(kMonitor, "thresholds", "60000")), fewer);
  const Lines more = {"a:5 level-without-row"};
  EXPECT_EQ(placesIn(with(kMonitor, "thresholds", "60000 70000 80000")), more);
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
