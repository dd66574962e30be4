#include "check/Causes.h"

#include <gtest/gtest.h>

#include "check/rule/FileRuleNames.h"

namespace {

constexpr char kGoodBoard[] = "[cpu]\ntype real\nsampling 1000\nnode_path /cpu\n";
constexpr char kGoodDay[] = "SCEN Default\n[a]\nalgo_type ss\nsensor cpu\n";

Finding found(const std::string& rule, const std::string& file, int line,
              const std::string& message, End end = End::kNone) {
  Finding finding;
  finding.rule = rule;
  finding.file = file;
  finding.at = {line, 1};
  finding.message = message;
  finding.end = end;
  return finding;
}

// What is left, as "rule: message".
std::vector<std::string> left(const std::vector<Finding>& findings) {
  std::vector<std::string> lines;
  lines.reserve(findings.size());
  for (const Finding& finding : findings)
    lines.push_back(finding.rule + ": " + finding.message);
  return lines;
}

class CausesTest : public testing::Test {
protected:
  std::vector<Finding> withoutWhatFollows(std::vector<Finding> findings) {
    return ::withoutWhatFollows(std::move(findings), {environment, configurations, std::nullopt});
  }
  // The two files in each other's place.
  void swapFiles() {
    configurations.clear();
    environment = readEnvironment("board.env", kGoodDay);
    configurations.push_back(readConfiguration("day.conf", kGoodBoard, environment));
  }

  Environment environment = readEnvironment("board.env", kGoodBoard);
  std::vector<Configuration> configurations;
};

using Left = std::vector<std::string>;

TEST_F(CausesTest, LeavesFindingsThatHaveNothingToDoWithEachOther) {
  const Left all = {"a: it is", "b: it is not"};
  EXPECT_EQ(left(withoutWhatFollows(
                {found("a", "board.env", 1, "it is"), found("b", "board.env", 1, "it is not")})),
            all);
}

TEST_F(CausesTest, OfAFileOfTheWrongKindOnlyThatIsTold) {
  swapFiles();
  EXPECT_EQ(left(withoutWhatFollows({found(kWrongKindOfFile, "board.env", 1, "a configuration"),
                                     found("unknown-key", "board.env", 3, "no such key")})),
            Left{std::string(kWrongKindOfFile) + ": a configuration"});
}

TEST_F(CausesTest, WhereThatIsNotToldTheRestStays) {
  swapFiles();
  EXPECT_EQ(left(withoutWhatFollows({found("unknown-key", "board.env", 3, "no such key")})).size(),
            1U);
}

TEST_F(CausesTest, WhatIsWrongWithAGoodFileBesideItStays) {
  swapFiles();
  EXPECT_EQ(left(withoutWhatFollows({found(kWrongKindOfFile, "board.env", 1, "a configuration"),
                                     found("unknown-key", "other.conf", 3, "no such key")}))
                .size(),
            2U);
}

TEST_F(CausesTest, TheWrongKindInheritsTheDaemonsEnd) {
  swapFiles();
  const auto findings =
      withoutWhatFollows({found(kWrongKindOfFile, "day.conf", 1, "an environment"),
                          found("no-item", "day.conf", 1, "the daemon ends", End::kNow)});
  ASSERT_EQ(findings.size(), 1U);
  EXPECT_EQ(findings[0].end, End::kNow);
  EXPECT_EQ(findings[0].severity, Severity::kError);
}

TEST_F(CausesTest, OfTwoSwappedFilesOneFindingStandsForBoth) {
  swapFiles();
  const auto findings =
      withoutWhatFollows({found(kWrongKindOfFile, "board.env", 1, "swapped"),
                          found("no-item", "day.conf", 1, "the daemon ends", End::kNow)});
  ASSERT_EQ(findings.size(), 1U);
  EXPECT_EQ(findings[0].file, "board.env");
  EXPECT_EQ(findings[0].end, End::kNow);
}

TEST_F(CausesTest, WhatComesOfALookAlikeIsToldWithIt) {
  const auto findings = withoutWhatFollows({found(kLookAlikeCharacter, "board.env", 2, "a dash"),
                                            found("unknown-key", "board.env", 2, "no such key")});
  EXPECT_EQ(left(findings), Left{std::string(kLookAlikeCharacter) + ": a dash; no such key"});
}

TEST_F(CausesTest, OfSeveralConsequencesTheFirstIsEnough) {
  const auto findings =
      withoutWhatFollows({found("unknown-key", "board.env", 2, "no such key"),
                          found(kLookAlikeCharacter, "board.env", 2, "a dash"),
                          found("no-node", "board.env", 2, "no node", End::kLater)});
  EXPECT_EQ(left(findings), Left{std::string(kLookAlikeCharacter) + ": a dash; no such key"});
  EXPECT_EQ(findings[0].end, End::kLater);
  EXPECT_EQ(findings[0].severity, Severity::kError);
}

TEST_F(CausesTest, WhatStandsOnAnotherLineOrInAnotherFileIsNone) {
  EXPECT_EQ(left(withoutWhatFollows({found(kLookAlikeCharacter, "board.env", 2, "a dash"),
                                     found("unknown-key", "board.env", 3, "no such key"),
                                     found("unknown-key", "day.conf", 2, "no such key")}))
                .size(),
            3U);
}

TEST_F(CausesTest, TwoLookAlikesOfOneLineAreTwo) {
  const std::string rule = kLookAlikeCharacter;
  EXPECT_EQ(left(withoutWhatFollows({found(rule, "board.env", 2, "a dash"),
                                     found(rule, "board.env", 2, "a quote"),
                                     found("unknown-key", "board.env", 2, "no such key")})),
            (Left{rule + ": a dash; no such key", rule + ": a quote"}));
}

TEST_F(CausesTest, WhatABoardsShortTableMakesOfManyItemsIsToldOnce) {
  const auto findings = withoutWhatFollows({found("level-past-table", "a.conf", 2, "past it"),
                                            found("level-past-table", "a.conf", 9, "past it"),
                                            found("level-past-table", "b.conf", 2, "past it")});
  EXPECT_EQ(left(findings), Left{"level-past-table: past it; so in 2 further places"});
  EXPECT_EQ(findings[0].at.line, 2);
  EXPECT_EQ(findings[0].file, "a.conf");
}

TEST_F(CausesTest, InOtherWordsItIsAnother) {
  const Left both = {"floor-past-table: of cpu", "floor-past-table: of gpu"};
  EXPECT_EQ(left(withoutWhatFollows({found("floor-past-table", "a.conf", 2, "of cpu"),
                                     found("floor-past-table", "a.conf", 9, "of gpu")})),
            both);
}

TEST_F(CausesTest, TheSameOfAnotherRuleIsToldOfEachItem) {
  EXPECT_EQ(left(withoutWhatFollows({found("unknown-key", "a.conf", 2, "no such key"),
                                     found("unknown-key", "a.conf", 9, "no such key")}))
                .size(),
            2U);
}

} // namespace
