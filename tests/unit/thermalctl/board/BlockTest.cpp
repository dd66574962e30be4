#include "board/Block.h"

#include <gtest/gtest.h>

namespace {

// A block with one key twice, one that stands alone, and one with a value.
Block someBlock() {
  Block block;
  block.header = {"[cpu]", {1, 1}};
  block.properties = {{{"sampling", {2, 1}}, {{"1", {2, 10}}, {"2", {2, 12}}}},
                      {{"node_path", {3, 1}}, {}},
                      {{"sampling", {4, 1}}, {{"3", {4, 10}}}}};
  return block;
}

TEST(BlockTest, TheLastLineOfAKeyCounts) {
  const Block block = someBlock();
  EXPECT_EQ(block.last("sampling"), &block.properties[2]);
  EXPECT_EQ(block.last("node_path"), &block.properties[1]);
  EXPECT_EQ(block.last("type"), nullptr);
}

TEST(BlockTest, AKeysPlaceIsItsFirstValue) {
  const Block block = someBlock();
  EXPECT_EQ(block.place("sampling").at.line, 4);
  EXPECT_EQ(block.place("sampling").text, "3");
}

TEST(BlockTest, OfOneThatStandsAloneItIsTheKey) {
  EXPECT_EQ(someBlock().place("node_path").text, "node_path");
}

TEST(BlockTest, OfOneThatIsNotThereItIsTheHeader) {
  EXPECT_EQ(someBlock().place("type").text, "[cpu]");
}

} // namespace
