#include "text/Affixes.h"

#include <gtest/gtest.h>

namespace {

TEST(AffixesTest, ATextStartsWithItsBeginning) {
  EXPECT_TRUE(startsWith("node:case", "node:"));
  EXPECT_TRUE(startsWith("node:", "node:"));
  EXPECT_TRUE(startsWith("", ""));
  EXPECT_FALSE(startsWith("node", "node:"));
  EXPECT_FALSE(startsWith("my node:", "node:"));
}

TEST(AffixesTest, ATextEndsWithItsEnd) {
  EXPECT_TRUE(endsWith("game.csv", ".csv"));
  EXPECT_TRUE(endsWith(".csv", ".csv"));
  EXPECT_TRUE(endsWith("game", ""));
  EXPECT_FALSE(endsWith("csv", ".csv"));
  EXPECT_FALSE(endsWith("game.csv.gz", ".csv"));
}

} // namespace
