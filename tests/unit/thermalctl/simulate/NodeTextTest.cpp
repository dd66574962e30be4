#include "simulate/NodeText.h"

#include <istream>
#include <limits>

#include <gtest/gtest.h>

namespace {

// Reads the node as a sensor does: from its start, each time.
class NodeTextTest : public testing::Test {
protected:
  std::string read() {
    stream.clear();
    stream.seekg(0);
    std::string word;
    stream >> word;
    return word;
  }

  NodeText node;
  std::istream stream{&node};
};

TEST_F(NodeTextTest, IsEmptyBeforeAnythingIsShown) {
  EXPECT_EQ(read(), "");
}

TEST_F(NodeTextTest, ShowsANumber) {
  node.show(-5);
  EXPECT_EQ(read(), "-5");
}

TEST_F(NodeTextTest, ShowsTheLongestNumber) {
  node.show(std::numeric_limits<int32_t>::min());
  EXPECT_EQ(read(), "-2147483648");
}

TEST_F(NodeTextTest, ShowsAWordAndOfALongOneTheStart) {
  node.show("EAGAIN");
  EXPECT_EQ(read(), "EAGAIN");
  node.show("twelve_bytes_and_more");
  EXPECT_EQ(read(), "twelve_bytes");
}

TEST_F(NodeTextTest, WhatIsShownNextTakesItsPlaceWhole) {
  node.show(45000);
  EXPECT_EQ(read(), "45000");
  node.show(7);
  EXPECT_EQ(read(), "7");
}

TEST_F(NodeTextTest, WhoeverReadsOnWithoutGoingBackFindsTheEnd) {
  node.show(7);
  EXPECT_EQ(read(), "7");
  std::string more;
  EXPECT_FALSE(stream >> more);
}

TEST_F(NodeTextTest, CanBeReadAgain) {
  node.show(7);
  EXPECT_EQ(read(), "7");
  EXPECT_EQ(read(), "7");
}

} // namespace
