#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "command/Commands.h"
#include "thermalctl/command/CommandBoard.h"

namespace {

class MarginCommandTest : public testing::Test, protected CommandBoard {
protected:
  using Words = std::vector<std::string>;

  MarginCommandTest() {
    files.write("tolerances.toml", "[plant]\n\"ambient\" = { normal = { sigma = \"1C\" } }\n");
  }

  EndedCommand margin(const Words& words) const { return ended(marginCommand(), words); }
  EndedCommand marginOfBoard(const Words& more) const {
    Words words = {"--board",    path(""), "--tolerances", path("tolerances.toml"),
                   "--workload", "warm",   "--limit",      "cpu=60C",
                   "--duration", "2s",     "--jobs",       "1"};
    words.insert(words.end(), more.begin(), more.end());
    return margin(words);
  }
};

TEST_F(MarginCommandTest, WhatDoesNotGoTogetherIsRefusedWithTheReason) {
  const std::string tolerances = "tolerances.toml";
  const std::string alone = "merge takes --out, --format and --until alone: its parts say the rest";
  const std::string search = "--search excludes --units, --sobol and --until: it draws no units";
  const std::pair<Words, std::string> cases[] = {
      {{}, "--tolerances is required; write --tolerances FILE"},
      {{"--search"}, "--tolerances is required; write --tolerances FILE"},
      {{"--tolerances", tolerances, "--from", "round1"},
       "--from and --simulations are of a search: give --search, too"},
      {{"--tolerances", tolerances, "--simulations", "7"},
       "--from and --simulations are of a search: give --search, too"},
      {{"--tolerances", tolerances, "--search", "--units", "7"}, search},
      {{"--tolerances", tolerances, "--search", "--sobol", "7"}, search},
      {{"--tolerances", tolerances, "--search", "--until", "share<=1%@95%"}, search},
      {{"parts", "a", "b"}, "'parts' is no word of margin: write merge PART..."},
      {{"merge", "a", "--search"}, alone},
      {{"merge", "a", "--units", "7"}, alone},
      {{"merge", "a", "--simulations", "7"}, alone},
      {{"merge", "a", "--tolerances", tolerances}, alone},
      {{"merge", "a", "--shard", "1/2"}, alone},
      {{"merge", "a", "--sobol", "7"}, alone},
      {{"merge", "a", "--from", "round1"}, alone},
      {{"merge", "a", "--board", "phone"}, alone},
      {{"merge", "a", "--study", "study.toml"}, alone},
      {{"merge", "a", "--env", "board.env"}, alone},
      {{"merge", "a", "--plant", "plant.toml"}, alone},
      {{"merge", "a", "--recording", "phone.log"}, alone},
      {{"merge", "a", "--duration", "1h"}, alone},
      {{"merge", "a", "--conf", "day.conf"}, alone},
      {{"merge", "a", "--workload", "game"}, alone},
      {{"merge", "a", "--seed", "7"}, alone},
      {{"merge", "a", "--limit", "cpu=60C"}, alone},
      {{"merge", "a", "--require", "work:gpu=75%"}, alone},
  };
  for (const auto& [words, what] : cases) {
    const EndedCommand end = margin(words);
    EXPECT_EQ(end.status, kCouldNotRun) << what;
    EXPECT_EQ(end.out, "") << what;
    EXPECT_EQ(end.err, wrong(what)) << testing::PrintToString(words);
  }
}

TEST_F(MarginCommandTest, UnitsAreANumberOrARange) {
  const auto complaintOf = [&](const std::string& units) {
    return marginOfBoard({"--units", units}).err;
  };
  const std::string must = "must be a number of units from 1 on, such as 10000, or a range such as "
                           "10001..20000\n";
  for (const char* text : {"0", "-1", "many", "1.5", "1,2"})
    EXPECT_EQ(complaintOf(text), "--units " + std::string(text) + ": error: " + must) << text;
  EXPECT_EQ(complaintOf("..5"), "--units : error: " + must);
  EXPECT_EQ(complaintOf("5..x"), "--units x: error: " + must);
  EXPECT_EQ(complaintOf("5..4"), "--units 5..4: error: ends before it begins\n");
}

TEST_F(MarginCommandTest, AShardIsOneOfSoMany) {
  const auto complaintOf = [&](const std::string& shard) {
    return marginOfBoard({"--shard", shard, "--out", path("part")}).err;
  };
  for (const char* text : {"3", "0/8", "9/8", "1/0", "/8", "3/", "a/b", "1/2/3"})
    EXPECT_EQ(complaintOf(text),
              "--shard " + std::string(text) + ": error: must be one of so many, such as 3/8\n")
        << text;
  EXPECT_EQ(marginOfBoard({"--shard", "1/2"}).err,
            "--shard 1/2: error: needs --out, the file of the part\n");
  EXPECT_FALSE(files.exists("part"));
}

TEST_F(MarginCommandTest, APartCannotSayWhatAllUnitsDo) {
  EXPECT_EQ(
      marginOfBoard({"--shard", "1/2", "--out", path("part"), "--until", "share<=1%@95%"}).err,
      "--until: error: cannot be answered by a part\n      hint: give it to margin merge\n");
}

TEST_F(MarginCommandTest, OneSeedMakesThePopulation) {
  EXPECT_EQ(marginOfBoard({"--seed", "1..2"}).err,
            "--seed: error: must be one number\n"
            "      hint: each seed makes another population\n");
}

TEST_F(MarginCommandTest, SamplesForTheSharesOfVarianceAreANumber) {
  EXPECT_EQ(marginOfBoard({"--sobol", "none"}).err,
            "--sobol none: error: must be a number of samples from 1 on, such as 500\n");
}

TEST_F(MarginCommandTest, AMergeNeedsParts) {
  const EndedCommand none = margin({"merge"});
  EXPECT_EQ(none.status, kCouldNotRun);
  EXPECT_NE(none.err.find("margin merge: error: names no part\n"), std::string::npos) << none.err;
  EXPECT_EQ(margin({"merge", path("nowhere")}).status, kCouldNotRun);
}

TEST_F(MarginCommandTest, ASearchHasASimulationForEachPart) {
  const EndedCommand end =
      marginOfBoard({"--search", "--simulations", "3", "--shard", "1/4", "--out", path("part")});
  EXPECT_EQ(end.status, kCouldNotRun);
  EXPECT_EQ(end.err, "--shard 1/4: error: must be one of at most 3: each part has a simulation at "
                     "least\n      hint: give more --simulations, which all parts share\n");
}

} // namespace
