#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "command/Commands.h"
#include "thermalctl/command/CommandBoard.h"
#include "thermalctl/support/JsonText.h"

namespace {

class DiffCommandTest : public testing::Test, protected CommandBoard {
protected:
  using Words = std::vector<std::string>;

  EndedCommand compared(const std::string& before, const std::string& now,
                        const Words& more = {}) const {
    Words words = {path(before), path(now)};
    words.insert(words.end(), more.begin(), more.end());
    return ended(diffCommand(), words);
  }
  // The configuration as it was, under another name, with other values of a key.
  void edit(const std::string& key, const std::string& values) const {
    std::string text = kDay;
    const size_t begin = text.find(key + " ");
    text.replace(begin, text.find('\n', begin) - begin, key + " " + values);
    files.write("new.conf", text);
  }
  void studied() const {
    files.write("study.toml", "workloads = [\"warm\"]\nduration = \"2s\"\n[[budget]]\n"
                              "limits = [\"cpu=50C\"]\n");
  }
};

TEST_F(DiffCommandTest, WhatTheDaemonTakesAlikeIsNoChange) {
  edit("thresholds", "  60000  ");
  EXPECT_EQ(compared("talmor-thermal.conf", "new.conf", {"--fail-on", "any"}).status, kFine);
}

TEST_F(DiffCommandTest, AChangeFailsOnlyWhereItsKindDoes) {
  edit("sampling", "2000");
  EXPECT_EQ(compared("talmor-thermal.conf", "new.conf").status, kFine);
  EXPECT_EQ(compared("talmor-thermal.conf", "new.conf", {"--fail-on", "any"}).status, kProblems);
  EXPECT_EQ(compared("talmor-thermal.conf", "new.conf", {"--fail-on", "coverage"}).status, kFine);
  edit("thresholds", "65000");
  EXPECT_EQ(compared("talmor-thermal.conf", "new.conf", {"--fail-on", "coverage"}).status,
            kProblems);
}

TEST_F(DiffCommandTest, TheChangesComeInTheFormThatIsAskedFor) {
  edit("thresholds", "65000");
  EXPECT_NE(compared("talmor-thermal.conf", "new.conf").out.find("65"), std::string::npos);
  EXPECT_TRUE(
      jsonOf(compared("talmor-thermal.conf", "new.conf", {"--format", "json"}).out).is_object());
  EXPECT_NE(compared("talmor-thermal.conf", "new.conf", {"--format", "markdown"}).out.find("### "),
            std::string::npos);
}

TEST_F(DiffCommandTest, TwoOfAKindAreCompared) {
  const EndedCommand end = compared("", "talmor-thermal.conf");
  EXPECT_EQ(end.status, kCouldNotRun);
  EXPECT_EQ(end.err, wrong("'' and 'talmor-thermal.conf' are a folder and a file; compare two of a "
                           "kind"));
}

TEST_F(DiffCommandTest, WhatIsNoFileNoFolderAndNoRevisionIsTold) {
  const EndedCommand end = compared("nowhere", "talmor-thermal.conf");
  EXPECT_EQ(end.status, kCouldNotRun);
  EXPECT_EQ(end.err, wrong("there is no file, no folder and no revision 'nowhere'"));
}

TEST_F(DiffCommandTest, AFolderHasOneEnvironmentFile) {
  std::filesystem::create_directory(path("empty"));
  std::filesystem::create_directory(path("double"));
  files.write("double/a.env", kEnvironment);
  files.write("double/b.env", kEnvironment);
  EXPECT_EQ(compared("empty", "").err, wrong("'empty' holds no environment file (*.env)"));
  EXPECT_EQ(compared("", "double").err,
            wrong("'double' holds several environment files: 'double/a.env' and 'double/b.env'"));
}

TEST_F(DiffCommandTest, AConfigurationWithoutABoardIsForThatOfTheOther) {
  std::filesystem::create_directory(path("elsewhere"));
  edit("thresholds", "65000");
  std::filesystem::rename(path("new.conf"), path("elsewhere/new.conf"));
  const EndedCommand end = compared("talmor-thermal.conf", "elsewhere/new.conf");
  EXPECT_EQ(end.status, kFine);
  EXPECT_EQ(end.err, "");
  EXPECT_NE(end.out.find("cpu"), std::string::npos) << end.out;
}

TEST_F(DiffCommandTest, TheRunsOfBothSidesAreComparedWhereTheUserWantsThem) {
  studied();
  edit("thresholds_clr", "55000");
  const EndedCommand end = compared("talmor-thermal.conf", "new.conf", {"--simulate"});
  EXPECT_EQ(end.status, kFine);
  EXPECT_EQ(end.err, "");
  EXPECT_NE(end.out.find("where the runs part\n  the same to the end: 1 run\n"), std::string::npos)
      << end.out;
  EXPECT_EQ(compared("talmor-thermal.conf", "new.conf", {"--fail-on", "verdict"}).status, kFine);
}

TEST_F(DiffCommandTest, WithoutAStudyNothingCanBeSimulated) {
  edit("thresholds", "65000");
  const EndedCommand end = compared("talmor-thermal.conf", "new.conf", {"--simulate"});
  EXPECT_EQ(end.status, kCouldNotRun);
  EXPECT_EQ(end.out, "");
  EXPECT_NE(end.err.find("thermalctl: 'new.conf' cannot be simulated: there is no study.toml "
                         "beside the board; write there what is run, such as workloads = "
                         "[\"game\"], and what it is held to, such as limits = [\"skin=43C\"] "
                         "below [[budget]]\n"),
            std::string::npos)
      << end.err;
}

TEST_F(DiffCommandTest, ASideWithErrorsIsNamed) {
  studied();
  files.write("new.conf", "SCEN Default\n[a]\nalgo_type Monitor\n");
  const EndedCommand end = compared("talmor-thermal.conf", "new.conf", {"--simulate"});
  EXPECT_EQ(end.status, kCouldNotRun);
  EXPECT_NE(end.err.find("thermalctl: 'new.conf' cannot be simulated\n"), std::string::npos)
      << end.err;
}

TEST_F(DiffCommandTest, ALinkToNothingIsNoFile) {
  std::filesystem::create_symlink(path("gone"), path("old.conf"));
  const EndedCommand end = compared("old.conf", "talmor-thermal.conf");
  EXPECT_EQ(end.status, kCouldNotRun);
  EXPECT_EQ(end.err, wrong("there is no file, no folder and no revision 'old.conf'"));
}

} // namespace
