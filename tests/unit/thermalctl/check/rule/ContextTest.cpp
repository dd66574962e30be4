#include <gtest/gtest.h>

#include "check/rule/Rule.h"

namespace {

// A rule at work on a board without a section.
class ContextTest : public testing::Test {
protected:
  Environment board = readEnvironment("board.env", "");
  std::vector<Configuration> configurations;
  const Subject subject{board, configurations, std::nullopt};
  const Rule rule{"some-rule", Severity::kError, "The paragraph.", nullptr};
  std::vector<Finding> findings;
  Context context{rule, subject, findings};
};

TEST_F(ContextTest, GivesEachFindingTheNameAndSeverityOfItsRule) {
  context.tell({"kee", {3, 5}}, "it does not", "write key");
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

TEST_F(ContextTest, MakesAnErrorOfWhatEndsTheDaemonWhateverTheRuleIs) {
  const Rule mild{"mild-rule", Severity::kWarning, "The paragraph.", nullptr};
  Context mildly{mild, subject, findings};
  mildly.tell({"a", {1, 1}}, {"it is odd{}", Ending{", and ends", End::kNow}});
  mildly.tell({"a", {2, 1}}, {"it is odd{}", Ending{", and would end", End::kLater}});
  mildly.tell({"a", {3, 1}}, {"it is odd{}", Ending()});
  ASSERT_EQ(findings.size(), 3U);
  EXPECT_EQ(findings[0].message, "it is odd, and ends");
  EXPECT_EQ(findings[0].severity, Severity::kError);
  EXPECT_EQ(findings[0].end, End::kNow);
  EXPECT_EQ(findings[1].severity, Severity::kError);
  EXPECT_EQ(findings[1].end, End::kLater);
  EXPECT_EQ(findings[2].message, "it is odd");
  EXPECT_EQ(findings[2].severity, Severity::kWarning);
  EXPECT_EQ(findings[2].end, End::kNone);
}

TEST_F(ContextTest, MarksOneByteForAWordThatIsNotThere) {
  context.tell({"", {1, 1}}, "nothing there");
  EXPECT_EQ(findings.at(0).length, 1U);
}

TEST_F(ContextTest, TellsAPlaceOnceOnly) {
  context.tell({"a", {3, 5}}, "first");
  context.tell({"a", {3, 5}}, "second");
  ASSERT_EQ(findings.size(), 1U);
  EXPECT_EQ(findings[0].message, "first");
}

TEST_F(ContextTest, TellsOtherLinesColumnsAndFilesApart) {
  context.tell({"a", {3, 5}}, "x");
  context.tell({"a", {3, 6}}, "x");
  context.tell({"a", {4, 5}}, "x");
  Configuration day;
  day.file = "day.conf";
  context.configuration = &day;
  context.tell({"a", {3, 5}}, "x");
  ASSERT_EQ(findings.size(), 4U);
  EXPECT_EQ(findings[2].file, "board.env");
  EXPECT_EQ(findings[3].file, "day.conf");
}

TEST(MessageTest, PutsEachPieceIntoItsGap) {
  EXPECT_EQ(Message("'{}' is read as {}", std::string("{x}"), -1).text, "'{x}' is read as -1");
}

TEST(MessageTest, LeavesATextAloneThatComesWithoutPieces) {
  EXPECT_EQ(Message("a {} b").text, "a {} b");
  EXPECT_EQ(Message(std::string("a {} b")).text, "a {} b");
}

} // namespace
