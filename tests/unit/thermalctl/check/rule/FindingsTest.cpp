#include <gtest/gtest.h>

#include "check/rule/Rule.h"

namespace {

const Rule kRule{"some-rule", Severity::kError, "The paragraph.", nullptr};

TEST(FindingsTest, GivesEachFindingTheNameAndSeverityOfItsRule) {
  std::vector<Finding> findings;
  Findings(kRule, findings).add("board.env", {"kee", {3, 5}}, "it does not", "write key");
  ASSERT_EQ(findings.size(), 1U);
  EXPECT_EQ(findings[0].rule, "some-rule");
  EXPECT_EQ(findings[0].severity, Severity::kError);
  EXPECT_EQ(findings[0].file, "board.env");
  EXPECT_EQ(findings[0].at.line, 3);
  EXPECT_EQ(findings[0].at.column, 5);
  EXPECT_EQ(findings[0].length, 3U);
  EXPECT_EQ(findings[0].message, "it does not");
  EXPECT_EQ(findings[0].hint, "write key");
}

TEST(FindingsTest, MarksOneByteForAWordThatIsNotThere) {
  std::vector<Finding> findings;
  Findings(kRule, findings).add("board.env", {"", {1, 1}}, "nothing there");
  EXPECT_EQ(findings.at(0).length, 1U);
}

TEST(FindingsTest, TellsAPlaceOnceOnly) {
  std::vector<Finding> findings;
  Findings ofRule(kRule, findings);
  ofRule.add("board.env", {"a", {3, 5}}, "first");
  ofRule.add("board.env", {"a", {3, 5}}, "second");
  ASSERT_EQ(findings.size(), 1U);
  EXPECT_EQ(findings[0].message, "first");
}

TEST(FindingsTest, TellsOtherLinesColumnsAndFilesApart) {
  std::vector<Finding> findings;
  Findings ofRule(kRule, findings);
  ofRule.add("board.env", {"a", {3, 5}}, "x");
  ofRule.add("board.env", {"a", {3, 6}}, "x");
  ofRule.add("board.env", {"a", {4, 5}}, "x");
  ofRule.add("day.conf", {"a", {3, 5}}, "x");
  EXPECT_EQ(findings.size(), 4U);
}

} // namespace
