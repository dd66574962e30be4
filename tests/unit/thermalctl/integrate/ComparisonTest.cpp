#include "integrate/Comparison.h"

#include <gtest/gtest.h>

namespace {

// "RULE LINE:COLUMN HINT" of each finding.
std::vector<std::string> differences(const std::string& wanted, const std::string& found,
                                     const char* remark = "#") {
  std::vector<std::string> all;
  for (const Finding& each : compareFile("f", found, {"f", wanted, remark}, "board.env"))
    all.push_back(each.rule + " " + std::to_string(each.at.line) + ":" +
                  std::to_string(each.at.column) + " " +
                  (each.rule == "missing" ? each.message : each.hint));
  return all;
}

using Texts = std::vector<std::string>;

} // namespace

TEST(ComparisonTest, FindsNothingInTheSameFile) {
  EXPECT_EQ(differences("a 1\nb 2\n", "a 1\nb 2\n"), Texts());
}

TEST(ComparisonTest, RemarksAndWhiteSpaceMakeNoDifference) {
  EXPECT_EQ(differences("# one\na 1\n\n  b 2\n", "a\t1\n# another\n\n\nb   2  \n#b 3"), Texts());
}

TEST(ComparisonTest, AMissingLineIsToldWhereItShouldStand) {
  EXPECT_EQ(differences("a 1\nb 2\nc 3\n", "a 1\n\n  c 3\n"),
            Texts{"missing 3:3 a line is missing before this one: 'b 2'"});
  EXPECT_EQ(differences("a 1\nb 2\n", "a 1\n"),
            Texts{"missing 1:1 a line is missing after this one: 'b 2'"});
  EXPECT_EQ(differences("a 1\n", ""), Texts{"missing 1:1 a line is missing: 'a 1'"});
}

TEST(ComparisonTest, AnExtraLineIsTold) {
  EXPECT_EQ(differences("a 1\n", "a 1\n  b 2\n"), Texts{"extra 2:3 take it out"});
  EXPECT_EQ(differences("", "a 1\n"), Texts{"extra 1:1 take it out"});
}

TEST(ComparisonTest, ALineThatSaysSomethingElseIsOneDifference) {
  EXPECT_EQ(differences("a 1\nb 2\nc 3\n", "a 1\nb 9\nc 3\n"),
            Texts{"different 2:1 it must be 'b 2'"});
}

TEST(ComparisonTest, TwoLinesThatHaveNothingInCommonAreTwoDifferences) {
  EXPECT_EQ(
      differences("a 1\nb 2\n", "a 1\nc 3\n"),
      (Texts{"extra 2:1 take it out", "missing 2:1 a line is missing after this one: 'b 2'"}));
}

TEST(ComparisonTest, ALineThatWasMovedIsMissingThereAndExtraHere) {
  EXPECT_EQ(differences("a 1\nb 2\nc 3\n", "b 2\nc 3\na 1\n").size(), 2u);
}

TEST(ComparisonTest, EveryByteCountsWithoutASignForRemarks) {
  const std::string hint = "make it anew: thermalctl integrate --out";
  EXPECT_EQ(differences("a 1\n\n", "a 1\n\n", nullptr), Texts());
  EXPECT_EQ(differences("a 1\n#b\nc\n", "a 1\n#B\nd\n", nullptr), Texts{"different 2:2 " + hint});
  EXPECT_EQ(differences("a 1\n", "a 1", nullptr), Texts{"different 1:4 " + hint});
  EXPECT_EQ(differences("a\n", "a\nb\n", nullptr), Texts{"different 2:1 " + hint});
  EXPECT_EQ(differences(std::string("\1\0\0\0", 4), std::string("\1\0\0\1", 4), nullptr),
            Texts{"different 1:4 " + hint});
}
