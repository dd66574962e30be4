#include <filesystem>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "check/Check.h"
#include "command/Commands.h"
#include "thermalctl/command/CommandBoard.h"
#include "thermalctl/support/JsonText.h"

namespace {

class CheckCommandTest : public testing::Test, protected CommandBoard {
protected:
  using Words = std::vector<std::string>;

  EndedCommand checked(const Words& words) const { return ended(checkCommand(), words); }
  // The board with its configuration, and further words.
  EndedCommand checkedBoard(const Words& more = {}) const {
    Words words = {"--env", path("talmor-thermal.env"), "--conf", path("talmor-thermal.conf")};
    words.insert(words.end(), more.begin(), more.end());
    return checked(words);
  }
  // A key that the daemon ignores, which is a warning.
  void warn() const { files.write("talmor-thermal.conf", std::string(kDay) + "other 1\n"); }
};

TEST_F(CheckCommandTest, ASoundBoardIsFine) {
  const EndedCommand end = checkedBoard();
  EXPECT_EQ(end.status, kFine);
  EXPECT_EQ(end.out, "no problems in 2 files\n");
  EXPECT_EQ(end.err, "");
}

TEST_F(CheckCommandTest, AWarningIsAProblemWhereTheUserSaysSo) {
  warn();
  EXPECT_EQ(checkedBoard().status, kFine);
  EXPECT_EQ(checkedBoard({"--werror"}).status, kProblems);
  EXPECT_EQ(checkedBoard({"--error", "item-key-unknown"}).status, kProblems);
  EXPECT_EQ(checkedBoard({"--werror", "--disable", "item-key-unknown"}).status, kFine);
}

TEST_F(CheckCommandTest, AnErrorMayBeMadeAWarning) {
  files.write("talmor-thermal.conf", std::string(kDay) + "samplnig 1\n");
  EXPECT_EQ(checkedBoard().status, kProblems);
  EXPECT_EQ(checkedBoard({"--warn", "item-key-misspelt"}).status, kFine);
}

TEST_F(CheckCommandTest, AFileThatCannotBeReadIsNoAnswerWhateverTheOthersAreLike) {
  const EndedCommand end = checkedBoard({"--conf", path("nowhere.conf")});
  EXPECT_EQ(end.status, kCouldNotRun);
  EXPECT_EQ(end.err.rfind("thermalctl: cannot read nowhere.conf: ", 0), 0U) << end.err;
  EXPECT_EQ(end.out, "no problems in 2 files\n");
}

TEST_F(CheckCommandTest, SettingsThatAreWrongAreNoAnswerEither) {
  files.write("thermalctl.toml", "[sensor.cpu]\nunit = \"tenth\"\n");
  const EndedCommand end = checkedBoard();
  EXPECT_EQ(end.status, kCouldNotRun);
  EXPECT_NE(end.err.find("thermalctl.toml:2:"), std::string::npos) << end.err;
}

TEST_F(CheckCommandTest, WhatDoesNotGoTogetherIsRefusedWithTheReason) {
  const std::string env = path("talmor-thermal.env");
  const std::pair<Words, const char*> cases[] = {
      {{}, "--env is required; write --env FILE"},
      {{"--conf", "day.conf"}, "--env is required; write --env FILE"},
      {{"--env", env, "--format", "markdown"}, "--format: markdown is for --explain all"},
      {{"--env", env, "--format", "html"}, "--format: html is for --coverage"},
      {{"--env", env, "--coverage", "--format", "sarif"},
       "--coverage: is shown as text, json or html, and not as sarif"},
      {{"--env", env, "--coverage", "--format", "github"},
       "--coverage: is shown as text, json or html, and not as github"},
      {{"--env", env, "--disable", "degres"},
       "--disable: there is no rule 'degres'; did you mean 'degrees'? (--list-rules shows them "
       "all)"},
      {{"--env", env, "--error", "no-such-thing-at-all"},
       "--error: there is no rule 'no-such-thing-at-all' (--list-rules shows them all)"},
      {{"--env", env, "--warn", "degrees", "--error", "degrees"},
       "--warn: degrees is given to --error, too"},
      {{"--env", env, "--disable", "degrees", "--warn", "degrees"},
       "--warn: degrees is given to --disable, too"},
      {{"--explain", "degres"},
       "--explain: there is no rule 'degres'; did you mean 'degrees'? (--list-rules shows them "
       "all)"},
      {{"--explain", "degrees", "--format", "markdown"},
       "--explain: cannot explain degrees as markdown"},
      {{"--explain", "all", "--format", "sarif"}, "--explain: cannot explain all as sarif"},
  };
  for (const auto& [words, what] : cases) {
    const EndedCommand end = checked(words);
    EXPECT_EQ(end.status, kCouldNotRun) << what;
    EXPECT_EQ(end.out, "") << what;
    EXPECT_EQ(end.err, wrong(what));
  }
}

TEST_F(CheckCommandTest, ARuleMayBeGivenTwiceToOneOption) {
  EXPECT_EQ(checkedBoard({"--disable", "degrees", "--disable", "degrees"}).status, kFine);
}

TEST_F(CheckCommandTest, TheRulesAreListedEachOnALine) {
  const EndedCommand end = checked({"--list-rules"});
  EXPECT_EQ(end.status, kFine);
  std::string names;
  for (const Rule& rule : allRules())
    names += std::string(rule.name) + "\n";
  EXPECT_EQ(end.out, names);
}

TEST_F(CheckCommandTest, OneRuleIsExplainedOrAllOfThem) {
  const EndedCommand one = checked({"--explain", "degrees"});
  EXPECT_EQ(one.status, kFine);
  EXPECT_NE(one.out.find("degrees"), std::string::npos) << one.out;
  EXPECT_EQ(one.out.find("unused-sensor"), std::string::npos) << one.out;
  const auto asJson = [&](const std::string& name) {
    return jsonOf(checked({"--explain", name, "--format", "json"}).out);
  };
  EXPECT_TRUE(asJson("degrees").is_object());
  const nlohmann::json all = asJson("all");
  ASSERT_FALSE(all.is_discarded());
  EXPECT_NE(checked({"--explain", "all", "--format", "markdown"}).out.find("degrees"),
            std::string::npos);
}

TEST_F(CheckCommandTest, TheFindingsComeInTheFormThatIsAskedFor) {
  warn();
  EXPECT_NE(checkedBoard().out.find("talmor-thermal.conf:10:1: warning: "), std::string::npos);
  EXPECT_TRUE(jsonOf(checkedBoard({"--format", "json"}).out).is_object());
  EXPECT_EQ(jsonOf(checkedBoard({"--format", "sarif"}).out).value("version", ""), "2.1.0");
  EXPECT_EQ(checkedBoard({"--format", "github"}).out.rfind("::warning ", 0), 0U);
}

TEST_F(CheckCommandTest, TheCoverageStandsInThePlaceOfTheFindingsAndTheStatusIsTheirs) {
  files.write("talmor-thermal.conf", std::string(kDay) + "samplnig 1\n");
  const EndedCommand end = checkedBoard({"--coverage"});
  EXPECT_EQ(end.status, kProblems);
  EXPECT_EQ(end.out.find("samplnig"), std::string::npos) << end.out;
  EXPECT_NE(end.out.find("cpu"), std::string::npos) << end.out;
  EXPECT_FALSE(jsonOf(checkedBoard({"--coverage", "--format", "json"}).out).is_discarded());
  EXPECT_NE(checkedBoard({"--coverage", "--format", "html"}).out.find("<html"), std::string::npos);
}

TEST_F(CheckCommandTest, NodesAreLookedForBelowTheFolderThatIsNamed) {
  EXPECT_EQ(checkedBoard({"--nodes=" + path("")}).status, kProblems);
  std::filesystem::create_directory(path("nowhere"));
  files.write("nowhere/cpu", "40000");
  files.write("nowhere/clock", "800");
  EXPECT_EQ(checkedBoard({"--nodes=" + path("")}).status, kFine);
}

} // namespace
