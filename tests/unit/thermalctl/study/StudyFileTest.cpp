#include "study/StudyFile.h"

#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/SysfsDir.h"

namespace {

using Words = std::vector<std::string>;

class StudyFileTest : public testing::Test {
protected:
  StudyFile read(const std::string& text) {
    path = folder.write("study.toml", text);
    return readStudyFile(path, problems);
  }

  // What is wrong with it, without the folder's path.
  std::string wrong(const std::string& text) {
    problems = Problems();
    read(text);
    std::ostringstream out;
    problems.print(out);
    std::string told = out.str();
    const std::string prefix = folder.node("");
    for (size_t at = told.find(prefix); at != std::string::npos; at = told.find(prefix, at))
      told.erase(at, prefix.size());
    return told;
  }

  SysfsDir folder;
  std::string path;
  Problems problems;
};

TEST_F(StudyFileTest, TellsWhatIsRunAndWhatItIsHeldTo) {
  const StudyFile study = read("configurations = [\"day.conf\", \"night.conf\"]\n"
                               "workloads = [\"game\", \"idle\"]\n"
                               "seeds = \"1..3\"\n"
                               "duration = \"30m\"\n"
                               "[[budget]]\n"
                               "limits = [\"skin=43C\", \"p95:skin=42C\"]\n"
                               "[[budget]]\n"
                               "workloads = [\"game\"]\n"
                               "configurations = [\"day.conf\"]\n"
                               "requirements = [\"work:gpu=75%\"]\n"
                               "[tolerance]\n"
                               "peak = 0.5\n"
                               "joules = \"2%\"\n");
  ASSERT_TRUE(problems.none());
  EXPECT_EQ(study.configurations, (Words{"day.conf", "night.conf"}));
  EXPECT_EQ(study.workloads, (Words{"game", "idle"}));
  EXPECT_EQ(study.seeds, (std::vector<uint64_t>{1, 2, 3}));
  EXPECT_EQ(study.duration, 1'800'000);
  ASSERT_EQ(study.budgets.size(), 3U);
  EXPECT_EQ(textOf(study.budgets[1].asked.budget), "p95:skin=42C");
  EXPECT_EQ(study.budgets[1].asked.span.at.line, 6);
  EXPECT_TRUE(study.budgets[1].workloads.empty());
  EXPECT_EQ(textOf(study.budgets[2].asked.budget), "work:gpu=75%");
  EXPECT_EQ(study.budgets[2].workloads, Words{"game"});
  EXPECT_EQ(study.budgets[2].configurations, Words{"day.conf"});
  EXPECT_EQ(study.tolerances.at("peak").amount, 0.5);
  EXPECT_TRUE(study.tolerances.at("joules").relative);
}

TEST_F(StudyFileTest, ASeedMayBeANumber) {
  EXPECT_EQ(read("seeds = 7\n").seeds, std::vector<uint64_t>{7});
}

TEST_F(StudyFileTest, WhatIsWrongIsToldAtItsPlace) {
  EXPECT_EQ(wrong("workloda = [\"game\"]\n"),
            "study.toml:1:1: error: 'workloda' is no key that is known here\n"
            "    1 | workloda = [\"game\"]\n"
            "      | ^~~~~~~~\n"
            "      hint: did you mean 'workloads'?\n");
  EXPECT_EQ(wrong("seeds = \"1..0\"\n"), "study.toml:1:9: error: '1..0' ends before it begins\n"
                                         "    1 | seeds = \"1..0\"\n"
                                         "      |         ^~~~~~\n"
                                         "      hint: write 0..1\n");
  EXPECT_EQ(wrong("duration = \"1 hour\"\n"),
            "study.toml:1:12: error: 'duration' must be a time above 0, such as 90s or 1h\n"
            "    1 | duration = \"1 hour\"\n"
            "      |            ^~~~~~~~\n");
  EXPECT_EQ(wrong("[[budget]]\nlimits = [\"skin=43C\", \"skin=43\"]\n"),
            "study.toml:2:23: error: 'skin=43': '43' has no unit\n"
            "    2 | limits = [\"skin=43C\", \"skin=43\"]\n"
            "      |                       ^~~~~~~~~\n"
            "      hint: write 43C or 43000mC\n");
  EXPECT_EQ(wrong("[[budget]]\nrequirements = [\"wrok:gpu=75%\"]\n"),
            "study.toml:2:17: error: 'wrok:gpu=75%': 'wrok' is nothing that can be required\n"
            "    2 | requirements = [\"wrok:gpu=75%\"]\n"
            "      |                 ^~~~~~~~~~~~~~\n"
            "      hint: did you mean 'work'?\n");
  EXPECT_EQ(wrong("[tolerance]\npaek = 1\n"), "study.toml:2:1: error: there is no figure 'paek'\n"
                                              "    2 | paek = 1\n"
                                              "      | ^~~~\n"
                                              "      hint: did you mean 'peak'?\n");
  EXPECT_EQ(wrong("workloads = [\"game\"\n").substr(0, 12), "study.toml:1");
}

TEST_F(StudyFileTest, ABudgetOfWhatIsNotRunIsWrong) {
  EXPECT_EQ(wrong("workloads = [\"game\"]\n[[budget]]\nworkloads = [\"gmae\"]\n"
                  "limits = [\"skin=43C\"]\n"),
            "study.toml:3:14: error: 'gmae' is none of the study's workloads\n"
            "    3 | workloads = [\"gmae\"]\n"
            "      |              ^~~~~~\n"
            "      hint: did you mean 'game'?\n");
}

TEST_F(StudyFileTest, ABudgetOfNothingIsWrong) {
  EXPECT_EQ(wrong("[[budget]]\n"),
            "study.toml:1:1: error: a budget without 'limits' and 'requirements'\n"
            "    1 | [[budget]]\n"
            "      | ^~~~~~~~~~\n"
            "      hint: write what its runs are held to, such as limits = [\"skin=43C\"]\n");
}

TEST_F(StudyFileTest, AFileThatIsNotThereIsTold) {
  readStudyFile(folder.node("none.toml"), problems);
  std::ostringstream out;
  problems.print(out);
  EXPECT_NE(out.str().find("none.toml: error: cannot be read: No such file or directory\n"),
            std::string::npos);
}

TEST_F(StudyFileTest, AnEmptyFileLeavesAllToTheCommandLine) {
  const StudyFile study = read("");
  EXPECT_TRUE(problems.none());
  EXPECT_TRUE(study.configurations.empty());
  EXPECT_TRUE(study.workloads.empty());
  EXPECT_TRUE(study.seeds.empty());
  EXPECT_TRUE(study.budgets.empty());
  EXPECT_FALSE(study.duration);
  EXPECT_EQ(study.tolerances.at("peak").amount, usualTolerances().at("peak").amount);
}

TEST_F(StudyFileTest, ADurationIsSecondsAndAboveNone) {
  EXPECT_EQ(read("duration = 90\n").duration, 90'000);
  EXPECT_TRUE(problems.none());
  for (const char* duration : {"0", "\"0s\"", "\"-1s\"", "\"\""})
    EXPECT_NE(wrong("duration = " + std::string(duration) + "\n").find("must be a time above 0"),
              std::string::npos)
        << duration;
}

TEST_F(StudyFileTest, AllThatIsWrongIsToldAndTheRestKept) {
  const StudyFile study = read("seeds = \"one\"\nduration = \"long\"\nworkloads = [\"game\"]\n"
                               "[[budget]]\nlimits = [\"skin=43\", \"skin=43C\"]\n"
                               "[tolerance]\npeak = \"lots\"\njoules = 1\n");
  std::ostringstream out;
  problems.print(out);
  for (const char* place : {":1:9: ", ":2:12: ", ":5:11: ", ":7:1: "})
    EXPECT_NE(out.str().find(path + place), std::string::npos) << place << out.str();
  EXPECT_EQ(study.workloads, Words{"game"});
  EXPECT_EQ(study.budgets.size(), 1U);
  EXPECT_EQ(study.tolerances.at("joules").amount, 1);
}

TEST_F(StudyFileTest, ABudgetMayOnlySelectWhatTheFileRuns) {
  EXPECT_EQ(wrong("[[budget]]\nconfigurations = [\"day.conf\"]\nlimits = [\"skin=43C\"]\n"),
            "study.toml:2:19: error: 'day.conf' is none of the study's configurations\n"
            "    2 | configurations = [\"day.conf\"]\n"
            "      |                   ^~~~~~~~~~\n");
  EXPECT_NE(wrong("configurations = [\"a.conf\"]\n[[budget]]\nconfigurations = [\"night\"]\n"
                  "limits = [\"skin=43C\"]\n")
                .find("hint: there are 'a.conf'\n"),
            std::string::npos);
}

} // namespace
