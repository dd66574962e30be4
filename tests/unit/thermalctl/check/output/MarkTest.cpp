#include "check/output/Mark.h"

#include <gtest/gtest.h>

namespace {

Finding findingAt(Position at, size_t length) {
  Finding finding;
  finding.file = "board.env";
  finding.at = at;
  finding.length = length;
  return finding;
}

TEST(MarkTest, IsInCharactersAndEndsBehindTheLastOne) {
  Sources sources;
  sources.emplace("board.env", Source("\n\xC3\xA4\xC3\xA4 typ\xC3\xA9 x\n"));
  const Mark mark = markOf(findingAt({2, 6}, 5), sources);
  EXPECT_EQ(mark.column, 4);
  EXPECT_EQ(mark.endColumn, 8);
}

TEST(MarkTest, TakesAtLeastOneCharacter) {
  Sources sources;
  sources.emplace("board.env", Source("\nabc\n"));
  EXPECT_EQ(markOf(findingAt({1, 1}, 1), sources).endColumn, 2);
  EXPECT_EQ(markOf(findingAt({2, 2}, 0), sources).endColumn, 3);
}

TEST(MarkTest, HoldsForAFileThatIsNotAtHand) {
  const Mark mark = markOf(findingAt({7, 3}, 2), {});
  EXPECT_EQ(mark.line.text, "");
  EXPECT_EQ(mark.column, 3);
  EXPECT_EQ(mark.endColumn, 5);
}

} // namespace
