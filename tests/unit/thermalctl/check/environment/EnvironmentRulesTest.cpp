#include <sys/stat.h>

#include <map>

#include <gtest/gtest.h>

#include "check/Check.h"
#include "support/SysfsDir.h"

namespace {

using Lines = std::vector<std::string>;

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

// The names of the rules that report something, in the order of the places.
Lines rulesIn(const std::string& content) {
  const Environment environment = readEnvironment("board.env", content);
  Lines rules;
  for (const Finding& finding : check({environment, {}, std::nullopt}, {}))
    rules.push_back(finding.rule);
  return rules;
}

std::string cpu(const std::string& sampling) {
  return "[cpu]\ntype real\nsampling " + sampling + "\nnode_path /cpu\n";
}

// Where the limits lie: a finding on one side, none on the other.
TEST(EnvironmentRulesTest, DrawTheLineBetweenAMistakeAndNone) {
  const Lines degrees(2, "virtual-set-point-in-degrees");
  const std::vector<std::pair<std::string, Lines>> boards = {
      {cpu("-1"), {"sampling-not-positive"}},
      {cpu("0"), {"sampling-not-positive"}},
      {cpu("1"), {"sampling-too-short"}},
      {cpu("49"), {"sampling-too-short"}},
      {cpu("50"), {}},
      {skin({{"weights", "-19"}}), {}},
      {skin({{"weights", "-18"}}), {"virtual-weights-gain"}},
      {skin({{"weights", "-2"}}), {"virtual-weights-gain"}},
      {skin({{"weights", "-1"}}), {"virtual-weights-sum-one"}},
      {skin({{"weights", "0"}}), {"virtual-weights-sum-zero"}},
      {skin({{"weights", "1"}}), {"virtual-weights-sum-one"}},
      {skin({{"weights", "2"}}), {"virtual-weights-gain"}},
      {skin({{"weights", "20"}}), {"virtual-weights-gain"}},
      {skin({{"weights", "21"}}), {}},
      {skin({{"set_point", "1"}, {"set_point_clr", "1"}}), {}},
      {skin({{"set_point", "2"}, {"set_point_clr", "2"}}), degrees},
      {skin({{"set_point", "200"}, {"set_point_clr", "200"}}), degrees},
      {skin({{"set_point", "201"}, {"set_point_clr", "201"}}), {}},
      {skin({{"set_point", "28000"}}), {}},
      {skin({{"set_point", "27999"}}), {"virtual-set-points-reversed"}},
      {knob("charger", "0x10 0x"), {"level-table-hex-entry"}},
      {knob("charger", "0X10 0x1F"), {}},
      {knob("charger", "0x10 0xfedcba9876543210"), {}},
      {knob("charger", "0x10 0xfedcba98765432100"), {"level-table-hex-entry"}},
      {knob("charger", "0x10 0x1G"), {"level-table-hex-entry"}},
      {knob("charger", "3 3 2 2"), {}},
      {knob("charger", "2 2 3 3"), {"level-table-rises"}},
      {knob("charger", "2 2 3 2"), {"level-table-direction"}},
      {knob("charger", "3 3 2 2 3 1"), {"level-table-direction"}},
      {knob("charger", "1 -2 3"), {}},
  };
  for (const auto& [content, rules] : boards)
    EXPECT_EQ(rulesIn(content), rules) << content;
}

TEST(EnvironmentRulesTest, LeaveAloneWhatDoesNoHarm) {
  EXPECT_EQ(rulesIn("[cpu]\ntype real\nnode_path /cpu\n"), Lines{});
  for (const char* line : {"# old", "; old", "//old", "#"})
    EXPECT_EQ(rulesIn(cpu("1000") + line + "\n"), Lines{}) << line;
  EXPECT_EQ(rulesIn(kCpu + "[]\ntype conf_file\nfile_name board.conf\n"), Lines{});
}

TEST(EnvironmentRulesTest, ReportOfASectionThatIsDroppedNothingElse) {
  EXPECT_EQ(rulesIn("[x]\ntype nothing\nvendor 1\nvendor 1\nsampling 1\n"),
            Lines{"section-kind-unknown"});
}

TEST(EnvironmentRulesTest, LeaveWhatIsMissedOfASensorThatTheDaemonNeverReadsToThat) {
  const std::string gpu = "\njunk\n\n[gpu]\ntype real\nsampling 500\nnode_path /gpu\n";
  EXPECT_EQ(rulesIn(skin({{"sampling", "500"}}) + gpu), Lines{"junk-before-header"});
  EXPECT_EQ(rulesIn("junk\n\n" + skin({})), Lines{"junk-before-header"});
}

TEST(EnvironmentRulesTest, TakeALoneBracketForAHeaderWithoutOne) {
  EXPECT_EQ(rulesIn("[\ntype real\nsampling 1000\nnode_path /cpu\n"),
            Lines{"header-without-bracket"});
}

TEST(EnvironmentRulesTest, NameTheFirstOfSeveralEqualLinesAndSections) {
  EXPECT_EQ(
      toldAbout(cpu("1000") + "sampling 1000\nsampling 1000\n"),
      "[section-key-repeated] the key stands in line 3, too: the daemon takes the last one\n"
      "[section-key-repeated] the key stands in line 3, too: the daemon takes the last one\n");
  const std::string loss =
      "the daemon goes on sampling that sensor, but the name now means this one\n";
  EXPECT_EQ(toldAbout(cpu("1000") + "\n" + cpu("1000") + "\n" + cpu("1000")),
            "[sensor-name-repeated] 'cpu' is defined in line 1, too: " + loss +
                "[sensor-name-repeated] 'cpu' is defined in line 1, too: " + loss);
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

TEST_F(NodeRulesTest, MarkThePath) {
  const auto placesOfPaths = [this] {
    const Environment board = readEnvironment("board.env", kCpu + "[knob]\ntype charger\n"
                                                                  "node_path /knob\n"
                                                                  "level_table 1 2\n");
    Lines places;
    for (const Finding& finding : check({board, {}, root.node("")}, {}))
      places.push_back(finding.rule + " " + std::to_string(finding.at.line) + ":" +
                       std::to_string(finding.at.column));
    return places;
  };
  EXPECT_EQ(placesOfPaths(), (Lines{"node-not-found 4:11", "node-not-found 8:11"}));
  ::mkdir(root.node("cpu").c_str(), 0777);
  ::mkdir(root.node("knob").c_str(), 0777);
  EXPECT_EQ(placesOfPaths(), (Lines{"node-not-readable 4:11", "node-not-writable 8:11"}));
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
