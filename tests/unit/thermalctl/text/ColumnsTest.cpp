#include "text/Columns.h"

#include <gtest/gtest.h>

namespace {

using Lines = std::vector<std::string>;

TEST(ColumnsTest, MakesEachColumnAsWideAsItsWidestCell) {
  EXPECT_EQ(inColumns({{"a", "b", "c"}, {"long", "x", "yy"}}, 3),
            (Lines{"a     b  c", "long  x  yy"}));
}

TEST(ColumnsTest, AlignsTheColumnsBehindTheLeftOnesOnTheirRight) {
  EXPECT_EQ(inColumns({{"", "day", "night"}, {"mean", "1", "20"}}, 1),
            (Lines{"      day  night", "mean    1     20"}));
}

TEST(ColumnsTest, CountsCharactersAndNotBytes) {
  EXPECT_EQ(inColumns({{"\xC3\xA4", "x"}, {"ab", "y"}}, 2), (Lines{"\xC3\xA4   x", "ab  y"}));
}

TEST(ColumnsTest, LeavesOutAColumnWithoutText) {
  EXPECT_EQ(inColumns({{"a", "", "b"}, {"c", "", "d"}}, 3), (Lines{"a  b", "c  d"}));
}

TEST(ColumnsTest, LetsTheLastCellOfAShorterRowRunOn) {
  EXPECT_EQ(inColumns({{"a", "b", "1"}, {"long", "never so far"}}, 2),
            (Lines{"a     b  1", "long  never so far"}));
}

TEST(ColumnsTest, IsEmptyWithoutRows) {
  EXPECT_EQ(inColumns({}, 2), Lines());
}

} // namespace
