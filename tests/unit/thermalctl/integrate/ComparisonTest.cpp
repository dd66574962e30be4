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

TEST(FolderComparisonTest, FindsNothingInTheSameFile) {
  EXPECT_EQ(differences("a 1\nb 2\n", "a 1\nb 2\n"), Texts());
}

TEST(FolderComparisonTest, RemarksAndWhiteSpaceMakeNoDifference) {
  EXPECT_EQ(differences("# one\na 1\n\n  b 2\n", "a\t1\n# another\n\n\nb   2  \n#b 3"), Texts());
}

TEST(FolderComparisonTest, AMissingLineIsToldWhereItShouldStand) {
  EXPECT_EQ(differences("a 1\nb 2\nc 3\n", "a 1\n\n  c 3\n"),
            Texts{"missing 3:3 a line is missing before this one: 'b 2'"});
  EXPECT_EQ(differences("a 1\nb 2\n", "a 1\n"),
            Texts{"missing 1:1 a line is missing after this one: 'b 2'"});
  EXPECT_EQ(differences("a 1\n", ""), Texts{"missing 1:1 a line is missing: 'a 1'"});
}

TEST(FolderComparisonTest, AnExtraLineIsTold) {
  EXPECT_EQ(differences("a 1\n", "a 1\n  b 2\n"), Texts{"extra 2:3 take it out"});
  EXPECT_EQ(differences("", "a 1\n"), Texts{"extra 1:1 take it out"});
}

TEST(FolderComparisonTest, ALineThatSaysSomethingElseIsOneDifference) {
  EXPECT_EQ(differences("a 1\nb 2\nc 3\n", "a 1\nb 9\nc 3\n"),
            Texts{"different 2:1 it must be 'b 2'"});
}

TEST(FolderComparisonTest, TwoLinesThatHaveNothingInCommonAreTwoDifferences) {
  EXPECT_EQ(
      differences("a 1\nb 2\n", "a 1\nc 3\n"),
      (Texts{"extra 2:1 take it out", "missing 2:1 a line is missing after this one: 'b 2'"}));
}

TEST(FolderComparisonTest, ALineThatWasMovedIsMissingThereAndExtraHere) {
  EXPECT_EQ(differences("a 1\nb 2\nc 3\n", "b 2\nc 3\na 1\n").size(), 2u);
}

TEST(FolderComparisonTest, EveryByteCountsWithoutASignForRemarks) {
  const std::string hint = "make it anew: thermalctl integrate --out";
  EXPECT_EQ(differences("a 1\n\n", "a 1\n\n", nullptr), Texts());
  EXPECT_EQ(differences("a 1\n#b\nc\n", "a 1\n#B\nd\n", nullptr), Texts{"different 2:2 " + hint});
  EXPECT_EQ(differences("a 1\n", "a 1", nullptr), Texts{"different 1:4 " + hint});
  EXPECT_EQ(differences("a\n", "a\nb\n", nullptr), Texts{"different 2:1 " + hint});
  EXPECT_EQ(differences(std::string("\1\0\0\0", 4), std::string("\1\0\0\1", 4), nullptr),
            Texts{"different 1:4 " + hint});
}

TEST(FolderComparisonTest, ADifferenceIsAnErrorAtAllOfItsLine) {
  const auto found =
      compareFile("out/a.rc", "a 1\n  b\t 9  \nc 3\n", {"a.rc", "a 1\nb 2\nd 4\n", "#"}, "my.env");
  ASSERT_EQ(found.size(), 3U);
  for (const Finding& each : found) {
    EXPECT_EQ(each.severity, Severity::kError);
    EXPECT_EQ(each.file, "out/a.rc");
  }
  EXPECT_EQ(found[0].message, "this line differs from what my.env asks for");
  EXPECT_EQ(found[0].at.column, 3);
  EXPECT_EQ(found[0].length, 4U);
  EXPECT_EQ(found[1].message, "nothing in my.env asks for this line");
  EXPECT_EQ(found[1].length, 3U);
  EXPECT_EQ(found[2].hint, "put it in");
  EXPECT_EQ(found[2].length, 1U);
}

TEST(FolderComparisonTest, TheOtherSignForRemarksBeginsNone) {
  EXPECT_EQ(differences("a 1\n", "a 1\n// b\n", "//"), Texts());
  EXPECT_EQ(differences("a 1\n", "a 1\n# b\n", "//"), Texts{"extra 2:1 take it out"});
  EXPECT_EQ(differences("a 1\n", "a 1 # b\n"), Texts{"different 1:1 it must be 'a 1'"});
}

TEST(FolderComparisonTest, EndsOfLinesAsElsewhereMakeNoDifference) {
  EXPECT_EQ(differences("a 1\nb 2\n", "a 1\r\nb 2\r\n"), Texts());
}

TEST(FolderComparisonTest, EachLineIsHeldAgainstTheOneOfItsFirstWord) {
  EXPECT_EQ(differences("a 1\nb 2\nc 3\nd 4\n", "a 1\nc 9\nb 8\nd 4\n"),
            (Texts{"different 2:1 it must be 'c 3'", "different 3:1 it must be 'b 2'"}));
  // Of two of that word the first is meant.
  EXPECT_EQ(differences("b 1\nb 2\n", "b 3\n"),
            (Texts{"different 1:1 it must be 'b 1'",
                   "missing 1:1 a line is missing after this one: 'b 2'"}));
}

TEST(FolderComparisonTest, AsManyLinesAsPossibleAreLeftAsTheyAre) {
  EXPECT_EQ(differences("x\na\nb\nc\n", "a\nb\nc\nx\n"),
            (Texts{"missing 1:1 a line is missing before this one: 'x'", "extra 4:1 take it out"}));
}
