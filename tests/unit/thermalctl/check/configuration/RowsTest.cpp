#include "check/configuration/Rows.h"

#include <gtest/gtest.h>

namespace {

bool isStray(const std::string& text) {
  return hasStrayPlus({text, {}});
}

// Of a monitor with these lines.
bool asWritten(const std::string& lines) {
  const Environment board = readEnvironment("board.env", "");
  const Configuration day =
      readConfiguration("day.conf", "SCEN Default\n[a]\nalgo_type monitor\n" + lines, board);
  return rowsAsWritten(day.items.front());
}

TEST(RowsTest, APlusStandsBetweenTwoPieces) {
  EXPECT_FALSE(isStray("cpu"));
  EXPECT_FALSE(isStray("cpu+gpu+fan"));
  EXPECT_TRUE(isStray("+cpu"));
  EXPECT_TRUE(isStray("cpu+"));
  EXPECT_TRUE(isStray("cpu++gpu"));
  EXPECT_TRUE(isStray("+"));
}

TEST(RowsTest, RowsAreAsWrittenWhereEachKeyHasOneLine) {
  EXPECT_TRUE(asWritten("actions cpu cpu+gpu\naction_info 1 2+1\n"));
}

TEST(RowsTest, ASecondLineMixesThem) {
  EXPECT_FALSE(asWritten("actions cpu\nactions gpu\naction_info 1 2\n"));
  EXPECT_FALSE(asWritten("actions cpu gpu\naction_info 1\naction_info 2\n"));
}

TEST(RowsTest, SoDoesAPlusThatIsOutOfPlace) {
  EXPECT_FALSE(asWritten("actions cpu +gpu\naction_info 1 2\n"));
  EXPECT_FALSE(asWritten("actions cpu gpu\naction_info 1 2+\n"));
}

TEST(RowsTest, WithoutOneOfThemThereAreNone) {
  EXPECT_FALSE(asWritten("actions cpu\n"));
  EXPECT_FALSE(asWritten("action_info 1\n"));
}

} // namespace
