#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "base/TextReader.h"
#include "command/Commands.h"
#include "thermalctl/command/CommandBoard.h"

namespace {

class IntegrateCommandTest : public testing::Test, protected CommandBoard {
protected:
  IntegrateCommandTest() { write(kBytes); }

  void write(const std::string& device) const {
    files.write("board.env",
                "[cpu]\ntype real\nsampling 1000\nnode_path /sys/devices/temp\n\n" + device);
  }
  EndedCommand integrated(std::vector<std::string> words) const {
    words.insert(words.begin(), {"--env", path("board.env")});
    return ended(integrateCommand(), std::move(words));
  }

  static constexpr char kBytes[] =
      "[big]\ntype cpufreq\nnode_path /sys/devices/big\nlevel_table 2600 1200\n";
  static constexpr char kText[] =
      "[big]\ntype gpufreq\nnode_path /sys/devices/big\nlevel_table 2600 1200\n";
};

TEST_F(IntegrateCommandTest, OneOfWritingAndComparingIsAskedFor) {
  const EndedCommand both = integrated({"--out", path("out"), "--verify", path("out")});
  EXPECT_EQ(both.status, kCouldNotRun);
  EXPECT_EQ(both.err, wrong("--out and --verify exclude each other; write one of them"));
  EXPECT_EQ(integrated({}).err,
            wrong("--out or --verify is required; write --out DIR or --verify DIR"));
  EXPECT_FALSE(files.exists("out"));
}

TEST_F(IntegrateCommandTest, WhatIsWrittenIsListedAndThenComparesTheSame) {
  std::filesystem::remove(path("talmor-thermal.conf"));
  const EndedCommand first = integrated({"--out", path("out")});
  EXPECT_EQ(first.status, kFine);
  EXPECT_NE(first.out.find("out/talmor-thermal-big.level0\n"), std::string::npos) << first.out;
  EXPECT_EQ(first.err, "thermalctl: the Blueprint file installs out/talmor-thermal.conf: put the "
                       "factory's configuration there\n");
  const EndedCommand same = integrated({"--verify", path("out")});
  EXPECT_EQ(same.status, kFine);
  EXPECT_EQ(same.err, "");
}

TEST_F(IntegrateCommandTest, AFileThatNoDeviceNeedsAnyMoreIsToldAndRemoved) {
  integrated({"--out", path("out")});
  write(kText);
  const EndedCommand differs = integrated({"--verify", path("out")});
  EXPECT_EQ(differs.status, kProblems);
  EXPECT_NE(differs.out.find("out/talmor-thermal-big.level0: error: no device of board.env needs "
                             "this file [extra]\n      hint: remove it\n"),
            std::string::npos)
      << differs.out;
  EXPECT_NE(differs.out.find("1 file missing or extra\n"), std::string::npos) << differs.out;
  const EndedCommand again = integrated({"--out", path("out")});
  EXPECT_NE(again.out.find("out/talmor-thermal-big.level0: removed, for no device needs it any "
                           "more\n"),
            std::string::npos)
      << again.out;
  EXPECT_FALSE(files.exists("out/talmor-thermal-big.level0"));
}

TEST_F(IntegrateCommandTest, AFileThatIsMissingIsToldWithTheCommandThatMakesIt) {
  integrated({"--out", path("out")});
  std::filesystem::remove(path("out/talmor-thermal-big.level0"));
  EXPECT_EQ(integrated({"--verify", path("out")}).out,
            "out/talmor-thermal-big.level0: error: the file is missing [missing]\n"
            "      hint: thermalctl integrate --env board.env --out out makes it\n"
            "1 file missing or extra\n");
}

TEST_F(IntegrateCommandTest, ABoardWithErrorsIsNeitherWrittenNorCompared) {
  write("[big]\ntype gpufreq\nlevel_table 2600 1200\n");
  const EndedCommand end = integrated({"--out", path("out")});
  EXPECT_EQ(end.status, kProblems);
  EXPECT_NE(end.out.find("board.env:6:1: error: no node: "), std::string::npos) << end.out;
  EXPECT_EQ(end.err, "thermalctl: board.env has errors, so nothing was written\n");
  EXPECT_FALSE(files.exists("out"));
  EXPECT_EQ(integrated({"--verify", path("out")}).err,
            "thermalctl: board.env has errors, so nothing was compared\n");
}

TEST_F(IntegrateCommandTest, AnEnvironmentThatIsNotThereCannotBeIntegrated) {
  const EndedCommand end =
      ended(integrateCommand(), {"--env", path("nowhere.env"), "--out", path("out")});
  EXPECT_EQ(end.status, kCouldNotRun);
  EXPECT_EQ(end.err.rfind("thermalctl: cannot read nowhere.env: ", 0), 0U) << end.err;
  EXPECT_FALSE(files.exists("out"));
}

TEST_F(IntegrateCommandTest, AFolderThatCannotBeMadeIsNamed) {
  const EndedCommand end = integrated({"--out", path("board.env/out")});
  EXPECT_EQ(end.status, kCouldNotRun);
  EXPECT_EQ(end.err.rfind("thermalctl: cannot write board.env/out", 0), 0U) << end.err;
}

} // namespace
