#include "check/Silencing.h"

#include <gtest/gtest.h>

#include "check/Inspection.h"
#include "support/SysfsDir.h"

namespace {

using Lines = std::vector<std::string>;

// Two sensors of which nobody watches the second, a device and one that nobody drives.
constexpr char kTwoOfEach[] = "[cpu]\ntype real\nsampling 1000\nnode_path /cpu\n\n"
                              "[skin]\ntype real\nsampling 1000\nnode_path /skin\n\n"
                              "[gpu]\ntype gpufreq\nnode_path /gpu\nlevel_table 2 1 0\n\n"
                              "[fan]\ntype gpufreq\nnode_path /fan\nlevel_table 2 1 0\n";

std::string item(const std::string& name, const std::string& point) {
  return "[" + name + "]\nalgo_type ss\nsensor cpu\ndevice gpu\nset_point " + point +
         "\nset_point_clr 5000\nstart_level 1\n\n";
}

// An entry for that rule and file, with further lines.
std::string entry(const std::string& rule, const std::string& file, const std::string& more = "") {
  return "[[silenced]]\nrule = \"" + rule + "\"\nfile = \"" + file + "\"\nreason = \"known\"\n" +
         more;
}

class SilencingTest : public testing::Test {
protected:
  Inspection inspected(const std::string& settings) const {
    files.write("thermalctl.toml", settings);
    return inspect({board, {day}, std::nullopt, choice});
  }

  // "RULE:LINE" of each that is left, but for those of the environment file.
  Lines left(const std::string& settings) const {
    Lines lines;
    for (const Finding& finding : inspected(settings).findings)
      if (finding.file != board)
        lines.push_back(finding.rule + ":" + std::to_string(finding.at.line));
    return lines;
  }

  // What is said about the only entry in vain.
  std::string vain(const std::string& settings) const {
    std::string said;
    for (const Finding& finding : inspected(settings).findings)
      if (finding.rule == "silenced-in-vain")
        said += finding.message + (finding.hint.empty() ? "" : " (" + finding.hint + ")");
    return said;
  }

  SysfsDir files;
  RuleChoice choice;
  const std::string board = files.write("board.env", kTwoOfEach);
  const std::string day =
      files.write("day.conf", "SCEN Default\n" + item("a", "60") + item("b", "60") + "SCEN game\n" +
                                  item("a", "60"));
};

const Lines kAll = {"degrees:6", "degrees:14", "degrees:23"};

TEST_F(SilencingTest, LeavesOutNothingWithoutAnEntry) {
  EXPECT_EQ(left(""), kAll);
}

TEST_F(SilencingTest, LeavesOutWhatARuleFindsInAFile) {
  const Inspection inspection = inspected(entry("degrees", "day.conf"));
  EXPECT_EQ(left(entry("degrees", "day.conf")), Lines{});
  ASSERT_EQ(inspection.silenced.size(), 3U);
  EXPECT_EQ(inspection.silenced[0].finding.rule, "degrees");
  EXPECT_EQ(inspection.silenced[0].reason, "known");
  EXPECT_EQ(inspection.checkedFiles(), 2U);
  // Two sections that nobody uses.
  EXPECT_EQ(inspection.findings.size(), 2U);
}

TEST_F(SilencingTest, LeavesOutWhatIsFoundInAnItemOrAScenarioAlone) {
  EXPECT_EQ(left(entry("degrees", "day.conf", "item = \"b\"\n")),
            (Lines{"degrees:6", "degrees:23"}));
  EXPECT_EQ(left(entry("degrees", "day.conf", "item = \"a\"\n")), Lines{"degrees:14"});
  EXPECT_EQ(left(entry("degrees", "day.conf", "scenario = \"game\"\n")),
            (Lines{"degrees:6", "degrees:14"}));
  EXPECT_EQ(left(entry("degrees", "day.conf", "item = \"a\"\nscenario = \"game\"\n")),
            (Lines{"degrees:6", "degrees:14"}));
}

TEST_F(SilencingTest, LeavesOutWhatIsFoundInASectionAlone) {
  Lines names;
  const Inspection inspection =
      inspected(entry("unused-device", "board.env", "section = \"fan\"\n"));
  for (const Finding& finding : inspection.findings)
    if (finding.file == board) names.push_back(finding.rule);
  EXPECT_EQ(names, Lines{"unused-sensor"});
  EXPECT_EQ(inspection.silenced.size(), 1U);
}

TEST_F(SilencingTest, TakesABareNameForAFileInAnyFolderAndAPathForTheOneThatItLeadsTo) {
  EXPECT_EQ(left(entry("degrees", "./day.conf")), Lines{});
  EXPECT_EQ(left(entry("degrees", day)), Lines{});
  Lines elsewhere = kAll;
  elsewhere.push_back("silenced-in-vain:2");
  EXPECT_EQ(left(entry("degrees", "other/day.conf")), elsewhere);
}

TEST_F(SilencingTest, TellsOfAnEntryThatSilencesNothing) {
  EXPECT_EQ(vain(entry("degrees", "day.conf")), "");
  EXPECT_EQ(vain(entry("sections-merged", "board.env")),
            "'sections-merged' no longer finds anything in board.env: this silences nothing (take "
            "the entry out)");
  EXPECT_EQ(vain(entry("degrees", "day.conf", "item = \"c\"\n")),
            "'degrees' no longer finds anything in item 'c' of day.conf: this silences nothing "
            "(take the entry out)");
  EXPECT_EQ(vain(entry("degrees", "day.conf", "section = \"cpu\"\n")),
            "'degrees' no longer finds anything in section 'cpu' of day.conf: this silences "
            "nothing (take the entry out)");
}

TEST_F(SilencingTest, AsksBackWhereANameOfAnEntryIsNearlyRight) {
  files.write("day.conf",
              "SCEN Default\n" + item("charge", "60") + "SCEN game\n" + item("b", "60"));
  const auto hintFor = [this](const std::string& rule, const std::string& file,
                              const std::string& line) {
    const std::string said = vain(entry(rule, file, line + "\n"));
    return said.substr(said.find('(') + 1, said.rfind(')') - said.find('(') - 1);
  };
  EXPECT_EQ(hintFor("degrees", "day.conf", "item = \"chrage\""), "did you mean 'charge'?");
  EXPECT_EQ(hintFor("degrees", "day.conf", "scenario = \"gmae\""), "did you mean 'game'?");
  EXPECT_EQ(hintFor("unused-device", "board.env", "section = \"Fan\""), "did you mean 'fan'?");
  EXPECT_EQ(hintFor("degrees", "day.conf", "item = \"other\""), "take the entry out");
}

TEST_F(SilencingTest, TellsOfAFileThatIsNotThere) {
  EXPECT_EQ(vain(entry("degrees", "dya.conf")),
            "there is no file 'dya.conf': this silences nothing (did you mean 'day.conf'?)");
}

TEST_F(SilencingTest, SaysNothingOfWhatThisRunDoesNotAsk) {
  files.write("night.conf", "");
  EXPECT_EQ(vain(entry("degrees", "night.conf")), "");
  EXPECT_EQ(vain(entry("node-not-found", "board.env")), "");
  choice.disabled = {"degrees"};
  EXPECT_EQ(vain(entry("degrees", "day.conf")), "");
  files.write("thermalctl.toml", entry("unused-device", "board.env"));
  for (const Finding& finding : inspect({board, {}, std::nullopt, {}}).findings)
    EXPECT_NE(finding.rule, "silenced-in-vain");
}

TEST_F(SilencingTest, HidesNothingThatEndsTheDaemon) {
  files.write("day.conf", "SCEN Default\n" + item("a", "0.5") + item("b", "0.5"));
  const std::string settings = entry("temperature-cut-short", "day.conf");
  EXPECT_EQ(left(settings),
            (Lines{"temperature-cut-short:6", "temperature-cut-short:14", "silenced-in-vain:2"}));
  EXPECT_EQ(vain(settings),
            "what 'temperature-cut-short' finds in day.conf ends the daemon, and is "
            "not silenced (put that right, and take the entry out)");
}

TEST_F(SilencingTest, IsARuleLikeTheOthers) {
  choice.errors = {"silenced-in-vain"};
  const std::string settings = entry("sections-merged", "board.env");
  EXPECT_EQ(inspected(settings).findings.back().severity, Severity::kError);
  choice = {{"silenced-in-vain"}};
  EXPECT_EQ(vain(settings), "");
}

TEST_F(SilencingTest, IsOffWhereTheSettingsAreNotUnderstood) {
  const Inspection inspection = inspected("[[silenced]]\nrule = 1\n");
  EXPECT_FALSE(inspection.isWhole());
  EXPECT_FALSE(inspection.problems.none());
  EXPECT_TRUE(inspection.silenced.empty());
}

TEST_F(SilencingTest, GoesByWhatANodeCountsIn) {
  files.write("day.conf", "SCEN Default\n" + item("a", "200"));
  EXPECT_EQ(left(""), Lines{"degrees:6"});
  EXPECT_EQ(left("[sensor.cpu]\nunit = \"degrees\"\n"),
            (Lines{"item-asleep:6", "beyond-any-sensor:7"}));
  EXPECT_EQ(left("[sensor.skin]\nunit = \"tenths\"\n"), Lines{"degrees:6"});
  files.write("day.conf", "SCEN Default\n" + item("a", "200") + item("b", "199"));
  files.write("day.conf", "SCEN Default\n[a]\nalgo_type ss\nsensor cpu\ndevice gpu\nset_point 200\n"
                          "set_point_clr 150\nstart_level 1\n");
  EXPECT_EQ(left(""), (Lines{"degrees:6", "degrees:7"}));
  EXPECT_EQ(left("[sensor.cpu]\nunit = \"tenths\"\n"), Lines{});
}

} // namespace
