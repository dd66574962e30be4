#include <sys/stat.h>

#include <algorithm>
#include <set>

#include <gtest/gtest.h>

#include "check/Check.h"
#include "check/rule/Rule.h"
#include "support/SysfsDir.h"
#include "thermalctl/support/Examples.h"

namespace {

// A text with one mistake, and the words that the finding marks.
struct Mistake {
  std::string example;
  Position at;
  std::string marked;
};

const std::vector<Mistake> kMistakes = {
    {"device-name-repeated/bad", {11, 1}, "[big]"},
    {"file-name-missing/bad-alone", {3, 1}, "file_name"},
    {"file-name-missing/bad", {1, 1}, "[conf]"},
    {"header-without-bracket/bad-white-space", {6, 1}, "[battery"},
    {"header-without-bracket/bad", {6, 1}, "[battery"},
    {"header-without-name/bad", {6, 1}, "[]"},
    {"junk-before-header/bad-behind-a-blank-line", {11, 1}, "vendor"},
    {"junk-before-header/bad-bracket", {6, 1}, "battery]"},
    {"junk-before-header/bad-byte-order-mark", {1, 1}, "\xEF\xBB\xBF[cpu]"},
    {"junk-before-header/bad", {6, 1}, "#"},
    {"level-table-binary/bad-last-of-a-type", {9, 17}, "0b10"},
    {"level-table-binary/bad", {9, 23}, "0b01"},
    {"level-table-direction/bad-rising", {9, 25}, "0x1"},
    {"level-table-direction/bad", {9, 23}, "2000"},
    {"level-table-empty/bad-alone", {9, 1}, "level_table"},
    {"level-table-empty/bad", {6, 1}, "[knob]"},
    {"level-table-entry-not-a-number/bad-cpufreq", {9, 13}, "0x30"},
    {"level-table-entry-not-a-number/bad", {9, 18}, "2A"},
    {"level-table-hex-entry/bad-too-long", {9, 23}, "0x1FFFFFFFFFFFFFFFF"},
    {"level-table-hex-entry/bad", {9, 18}, "20"},
    {"level-table-lone-quote/bad", {9, 20}, "\""},
    {"level-table-mixed/bad-number", {9, 18}, "\"off\""},
    {"level-table-mixed/bad", {9, 25}, "half"},
    {"level-table-text-behind-quote/bad-unclosed", {9, 26}, "rate"},
    {"level-table-text-behind-quote/bad", {9, 26}, "rate"},
    {"level-table-unclosed-quote/bad", {9, 20}, "\"low power"},
    {"node-path-missing/bad-alone", {8, 1}, "node_path"},
    {"node-path-missing/bad", {6, 1}, "[battery]"},
    {"node-path-relative/bad", {4, 11}, "sys/devices/platform/tmu/cpu"},
    {"sampling-missing/bad", {6, 1}, "[battery]"},
    {"sampling-not-a-number/bad-alone", {3, 1}, "sampling"},
    {"sampling-not-a-number/bad-too-large", {3, 10}, "4294967546"},
    {"sampling-not-a-number/bad", {3, 10}, "250ms"},
    {"sampling-not-positive/bad-negative", {3, 10}, "-250"},
    {"sampling-not-positive/bad", {3, 10}, "0"},
    {"sampling-too-short/bad", {3, 10}, "49"},
    {"section-key-misspelt/bad-capital", {8, 1}, "Sampling"},
    {"section-key-misspelt/bad", {9, 1}, "nodepath"},
    {"section-key-of-other-kind/bad", {5, 1}, "set_point"},
    {"section-key-repeated/bad-list", {19, 1}, "weights"},
    {"section-key-repeated/bad", {5, 1}, "sampling"},
    {"section-key-unknown/bad", {5, 1}, "vendor"},
    {"section-kind-missing/bad", {7, 1}, "type"},
    {"section-kind-unknown/bad", {7, 6}, "cpu_freq"},
    {"section-kind-wrong-case/bad", {7, 6}, "Real"},
    {"section-value-not-a-number/bad-alone", {19, 1}, "math"},
    {"section-value-not-a-number/bad-list", {18, 9}, "70.5"},
    {"section-value-not-a-number/bad", {15, 11}, "30.5k"},
    {"section-words-ignored/bad-path", {9, 36}, "battery/temp"},
    {"section-words-ignored/bad", {3, 14}, "ms"},
    {"sections-merged/bad", {5, 1}, "[battery]"},
    {"sensor-name-repeated/bad", {6, 1}, "[cpu]"},
    {"trip-sensor-missing/bad", {11, 1}, "[skin]"},
    {"trip-sensor-not-real/bad", {23, 13}, "skin"},
    {"trip-sensor-shared/bad", {23, 13}, "battery"},
    {"trip-sensor-undefined/bad-alone", {14, 1}, "trip_sensor"},
    {"trip-sensor-undefined/bad-device", {19, 13}, "big"},
    {"trip-sensor-undefined/bad", {14, 13}, "batery"},
    {"type-line-missing/bad-at-the-end", {6, 1}, "[battery]"},
    {"type-line-missing/bad-blank-line", {6, 1}, "[battery]"},
    {"type-line-missing/bad-misspelt", {7, 1}, "Type"},
    {"type-line-missing/bad", {7, 1}, "sampling"},
    {"virtual-math-ignored/bad", {19, 6}, "1"},
    {"virtual-period-alone/bad", {13, 10}, "500"},
    {"virtual-set-point-in-degrees/bad", {16, 15}, "28"},
    {"virtual-set-points-reversed/bad-without-set-point", {15, 15}, "28000"},
    {"virtual-set-points-reversed/bad", {16, 15}, "30001"},
    {"virtual-source-missing/bad-alone", {17, 1}, "sensors"},
    {"virtual-source-missing/bad", {11, 1}, "[skin]"},
    {"virtual-source-not-real/bad", {26, 17}, "skin"},
    {"virtual-source-undefined/bad-below", {12, 17}, "cpu"},
    {"virtual-source-undefined/bad", {17, 17}, "cpu0"},
    {"virtual-weights-gain/bad-negative", {18, 9}, "-7"},
    {"virtual-weights-gain/bad", {18, 9}, "7"},
    {"virtual-weights-number/bad-more", {18, 9}, "70"},
    {"virtual-weights-number/bad", {18, 9}, "70"},
    {"virtual-weights-sum-one/bad-minus-one", {18, 9}, "-3"},
    {"virtual-weights-sum-one/bad", {18, 9}, "3"},
    {"virtual-weights-sum-zero/bad-without", {11, 1}, "[skin]"},
    {"virtual-weights-sum-zero/bad", {18, 9}, "70"},
};

std::string ruleOf(const std::string& example) {
  return example.substr(0, example.find('/'));
}

bool isGood(const std::string& example) {
  return example.find("/good") != std::string::npos;
}

// Those of the rules that need no nodes.
std::set<std::string> rulesWithExamples() {
  std::set<std::string> names;
  for (const Rule& rule : environmentRules())
    if (std::string(rule.explanation).rfind("With --nodes:", 0) != 0) names.insert(rule.name);
  return names;
}

// The examples of the environment's rules.
std::vector<std::string> examples() {
  const std::set<std::string> rules = rulesWithExamples();
  std::vector<std::string> all = allExamples();
  all.erase(std::remove_if(all.begin(), all.end(),
                           [&](const std::string& name) { return rules.count(ruleOf(name)) == 0; }),
            all.end());
  return all;
}

std::string told(const std::vector<Finding>& findings) {
  std::string text;
  for (const Finding& finding : findings)
    text += "[" + finding.rule + "] " + finding.message +
            (finding.hint.empty() ? "" : " (" + finding.hint + ")") + "\n";
  return text;
}

// All that is said about an environment file of this content.
std::string toldAbout(const std::string& content,
                      const std::optional<std::string>& nodesRoot = std::nullopt) {
  const Environment environment = readEnvironment("board.env", content);
  return told(check({environment, {}, nodesRoot}, {}));
}

const std::string kCpu = "[cpu]\ntype real\nsampling 1000\nnode_path /cpu\n\n";

// A virtual sensor behind `kCpu`; `lines` replace its lines of the same keys.
std::string skin(const std::map<std::string, std::string>& lines) {
  std::map<std::string, std::string> keys = {{"sampling", "1000"},   {"trip_sensor", "cpu"},
                                             {"set_point", "30000"}, {"set_point_clr", "28000"},
                                             {"sensors", "cpu"},     {"weights", "100"}};
  for (const auto& [key, value] : lines)
    keys[key] = value;
  std::string text = kCpu + "[skin]\ntype virtual\n";
  for (const auto& [key, value] : keys)
    text.append(key).append(" ").append(value).append("\n");
  return text;
}

std::string knob(const std::string& kind, const std::string& table) {
  return kCpu + "[knob]\ntype " + kind + "\nnode_path /knob\nlevel_table " + table + "\n";
}

TEST(EnvironmentRulesTest, EachReportsItsMistakeAtItsPlaceAndNoneReportsAnother) {
  for (const Mistake& mistake : kMistakes) {
    SCOPED_TRACE(mistake.example);
    const std::vector<Finding> findings = findingsOf(mistake.example);
    ASSERT_EQ(findings.size(), 1u) << told(findings);
    EXPECT_EQ(findings[0].rule, ruleOf(mistake.example));
    EXPECT_EQ(findings[0].file, mistake.example + ".env");
    EXPECT_EQ(findings[0].at.line, mistake.at.line);
    EXPECT_EQ(findings[0].at.column, mistake.at.column);
    EXPECT_EQ(findings[0].length, mistake.marked.size());
    const std::string text = exampleText(mistake.example + ".env");
    std::istringstream lines(text);
    std::string line;
    for (int i = 0; i < mistake.at.line; ++i)
      std::getline(lines, line);
    EXPECT_EQ(line.substr(static_cast<size_t>(mistake.at.column) - 1, mistake.marked.size()),
              mistake.marked);
  }
}

TEST(EnvironmentRulesTest, NoneReportsACloseTextWithoutTheMistake) {
  for (const std::string& example : examples())
    if (isGood(example)) {
      EXPECT_EQ(told(findingsOf(example)), "") << example;
    }
}

TEST(EnvironmentRulesTest, EachHasATextWithItsMistakeAndACloseOneWithout) {
  std::set<std::string> withMistake;
  for (const Mistake& mistake : kMistakes)
    withMistake.insert(ruleOf(mistake.example));
  std::set<std::string> without;
  size_t bad = 0;
  for (const std::string& example : examples())
    if (isGood(example))
      without.insert(ruleOf(example));
    else
      ++bad;
  EXPECT_EQ(withMistake, rulesWithExamples());
  EXPECT_EQ(without, rulesWithExamples());
  EXPECT_EQ(bad, kMistakes.size()) << "an example whose place is not tested";
}

TEST(EnvironmentRulesTest, ReportEveryMistakeBehindThePlaceWhereTheDaemonStopsReading) {
  EXPECT_EQ(toldAbout("junk\n\n" + kCpu +
                      "cpu0]\n\n[gpu]\nsampling 250\ntype real\n"
                      "node_path gpu\n"),
            "[junk-before-header] 'junk' stands where a header is expected: the daemon stops "
            "reading the file here, without a word (a section begins with its name in brackets; a "
            "blank line ends it)\n"
            "[junk-before-header] 'cpu0]' stands where a header is expected: the daemon would stop "
            "reading the file here, too (did you mean '[cpu0]'?)\n"
            "[type-line-missing] 'sampling' stands where 'type' is expected: the daemon would stop "
            "reading the file here, too (put the 'type' line directly below the header)\n"
            "[node-path-relative] a path without \"/\" at its beginning: the daemon looks for the "
            "node wherever it was started (write the whole path)\n");
}

TEST(EnvironmentRulesTest, ReportNoLineOfAMergedSectionAsOneOfTheFirst) {
  EXPECT_EQ(toldAbout("[cpu]\ntype real\nsampling 1000\nnode_path /cpu\n[knob]\ntype charger\n"
                      "node_path /knob\nlevel_table 1 2\n"),
            "[sections-merged] no blank line above this header: the daemon takes it for an unknown "
            "key and the lines below it for those of 'cpu' (put a blank line above it)\n");
}

TEST(EnvironmentRulesTest, SuggestTheKindOrKeyThatWasMeant) {
  EXPECT_EQ(toldAbout(kCpu + "[x]\ntype virtul\n"),
            "[section-kind-unknown] unknown kind 'virtul': the daemon drops the section without a "
            "word (did you mean 'virtual'?)\n");
  EXPECT_EQ(
      toldAbout(skin({{"trip_senosr", "cpu"}})),
      "[section-key-misspelt] unknown key 'trip_senosr': the daemon ignores the line (did you "
      "mean 'trip_sensor'?)\n");
}

TEST(EnvironmentRulesTest, DoNotSuggestANameThatIsNothingLikeTheWord) {
  EXPECT_EQ(toldAbout(skin({{"sensors", "battery"}})),
            "[virtual-source-undefined] no section above defines the sensor 'battery': the daemon "
            "leaves this source out of the sum but keeps its weight\n");
}

TEST(EnvironmentRulesTest, TellTheGainOfAVirtualSensor) {
  EXPECT_EQ(toldAbout(skin({{"weights", "3"}})),
            "[virtual-weights-gain] the weights sum to 3, and the daemon adds the sensor's last "
            "value before it divides by that: it settles at 1.5 times the weighted mean of its "
            "sources (multiply all weights, and the offsets, by a number such as 100)\n");
}

TEST(EnvironmentRulesTest, SumWeightsLikeTheDaemonWithWrapAround) {
  EXPECT_EQ(toldAbout(skin({{"sensors", "cpu cpu cpu"}, {"weights", "2147483647 2147483647 2"}})),
            "[virtual-weights-sum-zero] the weights sum to 0, by which the daemon does not divide: "
            "the sensor reads 0 forever\n");
}

TEST(EnvironmentRulesTest, TellWhatTheDaemonReadsInsteadOfANumber) {
  EXPECT_EQ(toldAbout(skin({{"offsets", "1.5 none 4294967296"}})),
            "[section-value-not-a-number] '1.5' is no whole number: the daemon reads 1\n"
            "[section-value-not-a-number] 'none' is no whole number: the daemon reads 0\n"
            "[section-value-not-a-number] '4294967296' is beyond 32 bits: the daemon reads 0\n");
}

TEST(EnvironmentRulesTest, KnowHowEachKindOfDeviceUsesItsTable) {
  for (const char* kind : {"charger", "gpufreq", "backlight", "cpuhotplug"})
    EXPECT_EQ(toldAbout(knob(kind, "0b1 0b0")),
              "[level-table-binary] a table in \"0b\" notation: the daemon never writes it, at any "
              "level (write the entries as \"0x\" or decimal numbers)\n");
  EXPECT_EQ(toldAbout(knob("cpufreq", "1.8GHz")),
            "[level-table-entry-not-a-number] '1.8GHz' is no whole number: the daemon writes 1 for "
            "it (write a decimal number)\n");
  EXPECT_EQ(toldAbout(knob("camera", "0b1 0x0")), "");
  EXPECT_EQ(toldAbout(knob("report", "0b1 x")), "");
}

TEST(EnvironmentRulesTest, ReportAMixedTableByTheTypeThatItGets) {
  EXPECT_EQ(toldAbout(knob("charger", "\"full\" 0x10")),
            "[level-table-mixed] a bare entry among quoted ones: the daemon writes the whole table "
            "as 'hex', which its last entry of a type decides (quote all entries or none)\n");
}

class NodeRulesTest : public testing::Test {
protected:
  // What is said about a sensor "cpu" and a device "knob" whose nodes are these below `root`.
  std::string toldAboutNodes(const std::string& kind = "charger") {
    return toldAbout("[cpu]\ntype real\nsampling 1000\nnode_path /cpu\n\n[knob]\ntype " + kind +
                         "\nnode_path /knob\nlevel_table 1 2\n",
                     root.node(""));
  }

  SysfsDir root;
};

TEST_F(NodeRulesTest, AreSilentWithoutARootAndWhereEveryNodeIsThere) {
  EXPECT_EQ(toldAbout(kCpu), "");
  root.write("cpu", "45000");
  root.write("knob", "");
  EXPECT_EQ(toldAboutNodes(), "");
}

TEST_F(NodeRulesTest, ReportNodesThatAreNotThere) {
  EXPECT_EQ(toldAboutNodes(),
            "[node-not-found] no such file: the sensor reads 0 forever\n"
            "[node-not-found] no such file: what the daemon writes to this device goes nowhere\n");
}

TEST_F(NodeRulesTest, ReportNodesThatAreDirectories) {
  ::mkdir(root.node("cpu").c_str(), 0777);
  ::mkdir(root.node("knob").c_str(), 0777);
  EXPECT_EQ(toldAboutNodes(),
            "[node-not-readable] the file cannot be read: the sensor reads 0 forever\n"
            "[node-not-writable] the file cannot be written: what the daemon writes to this device "
            "goes nowhere\n");
}

TEST_F(NodeRulesTest, ReportNodesThatMayNotBeOpened) {
  if (::geteuid() == 0) GTEST_SKIP() << "root may open every file";
  root.write("cpu", "");
  root.write("knob", "");
  ::chmod(root.node("cpu").c_str(), 0200);
  ::chmod(root.node("knob").c_str(), 0400);
  EXPECT_EQ(toldAboutNodes(),
            "[node-not-readable] the file cannot be read: the sensor reads 0 forever\n"
            "[node-not-writable] the file cannot be written: what the daemon writes to this device "
            "goes nowhere\n");
}

TEST_F(NodeRulesTest, LetAReportBeMadeByTheDaemon) {
  root.write("cpu", "");
  EXPECT_EQ(toldAboutNodes("report"), "");
}

TEST_F(NodeRulesTest, LeaveTheNodesAsTheyAre) {
  root.write("cpu", "45000");
  root.write("knob", "7");
  toldAboutNodes();
  EXPECT_EQ(root.read("knob"), "7");
  toldAboutNodes("report");
  EXPECT_EQ(root.read("knob"), "7");
}

} // namespace
