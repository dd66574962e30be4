#include <gtest/gtest.h>

#include "check/rule/Rule.h"

namespace {

const Rule kRule{"some-rule", Severity::Error, "The paragraph.", nullptr};

TEST(ReportTest, GivesEachFindingTheNameAndSeverityOfItsRule) {
  std::vector<Finding> findings;
  Report(kRule, findings).add("board.env", {"kee", {3, 5}}, "it does not", "write key");
  ASSERT_EQ(findings.size(), 1U);
  EXPECT_EQ(findings[0].rule, "some-rule");
  EXPECT_EQ(findings[0].severity, Severity::Error);
  EXPECT_EQ(findings[0].file, "board.env");
  EXPECT_EQ(findings[0].at.line, 3);
  EXPECT_EQ(findings[0].at.column, 5);
  EXPECT_EQ(findings[0].length, 3U);
  EXPECT_EQ(findings[0].message, "it does not");
  EXPECT_EQ(findings[0].hint, "write key");
}

TEST(ReportTest, MarksOneByteForAWordThatIsNotThere) {
  std::vector<Finding> findings;
  Report(kRule, findings).add("board.env", {"", {1, 1}}, "nothing there");
  EXPECT_EQ(findings.at(0).length, 1U);
}

TEST(ReportTest, TellsAPlaceOnceOnly) {
  std::vector<Finding> findings;
  Report report(kRule, findings);
  report.add("board.env", {"a", {3, 5}}, "first");
  report.add("board.env", {"a", {3, 5}}, "second");
  ASSERT_EQ(findings.size(), 1U);
  EXPECT_EQ(findings[0].message, "first");
}

TEST(ReportTest, TellsOtherLinesColumnsAndFilesApart) {
  std::vector<Finding> findings;
  Report report(kRule, findings);
  report.add("board.env", {"a", {3, 5}}, "x");
  report.add("board.env", {"a", {3, 6}}, "x");
  report.add("board.env", {"a", {4, 5}}, "x");
  report.add("day.conf", {"a", {3, 5}}, "x");
  EXPECT_EQ(findings.size(), 4U);
}

} // namespace
