#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "command/Commands.h"
#include "control/ControlFile.h"
#include "thermalctl/command/CommandBoard.h"

namespace {

class StatusCommandTest : public testing::Test, protected CommandBoard {
protected:
  StatusCommandTest() {
    std::filesystem::create_directory(path("nowhere"));
    files.write("nowhere/cpu", "41500\n");
    files.write("nowhere/clock", "600\n");
    const ControlDirectory directory("");
    files.write(directory.scenarioFile.substr(1), "game");
    files.write(directory.requestFile.substr(1), kParsed);
  }
  EndedCommand shown(const std::vector<std::string>& more = {}) const {
    std::vector<std::string> words = {"--env",  path("talmor-thermal.env"),
                                      "--root", path(""),
                                      "--dir",  path("").substr(0, path("").size() - 1)};
    words.insert(words.end(), more.begin(), more.end());
    return ended(statusCommand(), words);
  }
};

TEST_F(StatusCommandTest, ShowsTheWordsAndEveryNodeBelowTheRoot) {
  const EndedCommand end = shown();
  EXPECT_EQ(end.status, kFine);
  EXPECT_EQ(end.out, "scenario  game\nrequest   none\n\n"
                     "sensor  kind  temperature\ncpu     real  41.500 C\n\n"
                     "device  kind     value  level\nclock   gpufreq  600    1 of 1\n");
  EXPECT_EQ(end.err, "");
}

TEST_F(StatusCommandTest, ANodeThatIsMissingIsAProblem) {
  std::filesystem::remove(path("nowhere/clock"));
  EXPECT_EQ(shown().status, kProblems);
}

TEST_F(StatusCommandTest, ADirectoryThatIsNoneIsNamedWithTheReason) {
  const auto complaintOf = [&](const std::string& directory) {
    const EndedCommand end = ended(statusCommand(), {"--dir", path(directory)});
    EXPECT_EQ(end.status, kCouldNotRun);
    EXPECT_EQ(end.out, "");
    return end.err;
  };
  EXPECT_EQ(complaintOf("elsewhere"), "thermalctl: no such directory: elsewhere\n");
  EXPECT_EQ(complaintOf("plant.toml"), "thermalctl: not a directory: plant.toml\n");
}

TEST_F(StatusCommandTest, WhatIsNotNamedIsBelowTheRoot) {
  const EndedCommand end = ended(statusCommand(), {"--root", path("root//")});
  EXPECT_EQ(end.status, kCouldNotRun);
  EXPECT_EQ(end.err, "thermalctl: no such directory: root/data/vendor/thermal\n");
  std::filesystem::create_directories(path("root/data/vendor/thermal"));
  EXPECT_EQ(ended(statusCommand(), {"--root", path("root/")})
                .err.rfind("thermalctl: cannot read root/vendor/etc/talmor-thermal.env: ", 0),
            0U);
}

TEST_F(StatusCommandTest, TheSettingsBesideTheBoardSayWhatANodeCounts) {
  files.write("thermalctl.toml", "[sensor.cpu]\nunit = \"tenths\"\n");
  files.write("nowhere/cpu", "415\n");
  EXPECT_NE(shown().out.find("cpu     real  41.5"), std::string::npos) << shown().out;
}

TEST_F(StatusCommandTest, WatchingNeedsATerminal) {
  const EndedCommand end = shown({"--watch"});
  EXPECT_EQ(end.status, kCouldNotRun);
  EXPECT_EQ(end.err, "thermalctl: --watch needs a terminal\n");
  EXPECT_EQ(end.out, "");
}

} // namespace
