#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "command/Commands.h"
#include "thermalctl/command/CommandBoard.h"

namespace {

class FitCommandTest : public testing::Test, protected CommandBoard {
protected:
  using Words = std::vector<std::string>;

  EndedCommand fitted(const Words& words) const { return ended(fitCommand(), words); }
  // Of the board, with a recording that is not there.
  EndedCommand fittedBoard(const Words& more) const {
    Words words = {"--board", path(""), "--recording", path("nowhere.csv")};
    words.insert(words.end(), more.begin(), more.end());
    return fitted(words);
  }
};

TEST_F(FitCommandTest, WhatIsRequiredIsToldOneByOne) {
  const std::pair<Words, const char*> cases[] = {
      {{}, "--board is required, or --env and --plant; write --board DIR"},
      {{"--plant", "plant.toml"}, "--board is required, or --env and --plant; write --board DIR"},
      {{"--env", "board.env"}, "--plant is required where there is no --board; write --plant FILE"},
      {{"--env", "board.env", "--plant", "plant.toml"},
       "--recording is required; write --recording FILE"},
      {{"--board", "phone"}, "--recording is required; write --recording FILE"},
  };
  for (const auto& [words, what] : cases) {
    const EndedCommand end = fitted(words);
    EXPECT_EQ(end.status, kCouldNotRun) << what;
    EXPECT_EQ(end.err, wrong(what));
  }
}

TEST_F(FitCommandTest, ARequirementThatIsNoneIsToldWithHowToWriteOne) {
  const std::string write =
      "      hint: write 'rmse<=0.5C' or 'largest<=2C', in quotes for the shell\n";
  for (const char* text : {"rmse", "rmse=0.5C", "peak<=0.5C", "<=0.5C", "RMSE<=0.5C"}) {
    const EndedCommand end = fittedBoard({"--require", text});
    EXPECT_EQ(end.status, kCouldNotRun) << text;
    EXPECT_NE(
        end.err.find("--require " + std::string(text) + ": error: is no requirement\n" + write),
        std::string::npos)
        << end.err;
  }
  EXPECT_NE(
      fittedBoard({"--require", "largest<=2"})
          .err.find("--require largest<=2: error: 2 has no unit\n      hint: write 2C or 2000mC\n"),
      std::string::npos)
      << fittedBoard({"--require", "largest<=2"}).err;
  EXPECT_EQ(fittedBoard({"--require", "largest<=2C", "rmse<=500mC"}).err.find("--require"),
            std::string::npos);
}

TEST_F(FitCommandTest, ABoardWithErrorsIsNotFitted) {
  files.write("talmor-thermal.conf", "SCEN Default\n[a]\nalgo_type Monitor\n");
  const EndedCommand end = fittedBoard({});
  EXPECT_EQ(end.status, kCouldNotRun);
  EXPECT_NE(end.err.find("--board : error: nothing is fitted: the check has found errors\n"),
            std::string::npos)
      << end.err;
}

TEST_F(FitCommandTest, AnEnvironmentOfItsOwnIsNamedAsThat) {
  files.write("other.env", "[cpu]\ntype Real\n");
  const EndedCommand end = fitted({"--env", path("other.env"), "--plant", path("plant.toml"),
                                   "--recording", path("nowhere.csv")});
  EXPECT_EQ(end.status, kCouldNotRun);
  EXPECT_NE(end.err.find("--env other.env: error: nothing is fitted: the check has found errors\n"),
            std::string::npos)
      << end.err;
  EXPECT_EQ(fitted({"--board", path("other.env"), "--recording", "x.csv"}).err,
            "--board other.env: error: other.env: is no folder\n");
}

TEST_F(FitCommandTest, APlantThatCannotBeReadIsTold) {
  const EndedCommand end = fittedBoard({"--plant", path("nowhere.toml")});
  EXPECT_EQ(end.status, kCouldNotRun);
  EXPECT_EQ(end.err.rfind("nowhere.toml: error: cannot be read: ", 0), 0U) << end.err;
  std::filesystem::remove(path("plant.toml"));
  EXPECT_NE(fittedBoard({}).err.find("plant.toml: error: cannot be read: "), std::string::npos);
}

TEST_F(FitCommandTest, ASketchNeedsNoRecordingAndGoesWhereItIsWanted) {
  const EndedCommand shown = fitted({"--sketch", path("")});
  EXPECT_EQ(shown.status, kFine);
  EXPECT_NE(shown.out.find("[sensor.\"cpu\"]"), std::string::npos) << shown.out;
  const EndedCommand written = fitted({"--sketch", path(""), "--out", path("out")});
  EXPECT_EQ(written.status, kFine);
  EXPECT_EQ(written.out, "");
  EXPECT_EQ(files.read("out/plant.toml"), shown.out);
  const EndedCommand none = fitted({"--sketch", path("plant.toml")});
  EXPECT_EQ(none.status, kCouldNotRun);
  EXPECT_EQ(none.err, "--board plant.toml: error: plant.toml: is no folder\n");
}

} // namespace
