#include "trace/Limit.h"

#include <gtest/gtest.h>

namespace {

TEST(LimitTest, IsOfASensorOrExpresslyOfANode) {
  const LimitText sensor = readLimit("skin=43C");
  ASSERT_TRUE(sensor.limit);
  EXPECT_EQ(sensor.limit->name, "skin");
  EXPECT_FALSE(sensor.limit->ofNode);
  EXPECT_EQ(sensor.limit->millidegrees, 43'000);
  const LimitText node = readLimit("node:battery=45000mC");
  ASSERT_TRUE(node.limit);
  EXPECT_EQ(node.limit->name, "battery");
  EXPECT_TRUE(node.limit->ofNode);
  EXPECT_EQ(node.limit->millidegrees, 45'000);
}

TEST(LimitTest, TakesANameWithAnEqualsSign) {
  const LimitText read = readLimit("a=b=43C");
  ASSERT_TRUE(read.limit);
  EXPECT_EQ(read.limit->name, "a=b");
}

TEST(LimitTest, TellsWhatIsWrong) {
  for (const char* text : {"", "skin", "=43C", "node:=43C", "43C"}) {
    const LimitText read = readLimit(text);
    EXPECT_FALSE(read.limit) << text;
    EXPECT_EQ(read.wrong, "is no limit") << text;
  }
  EXPECT_EQ(readLimit("skin=43").wrong, "'43' has no unit");
  EXPECT_EQ(readLimit("skin=43").hint, "write 43C or 43000mC");
  EXPECT_EQ(readLimit("node:case=").wrong, "'' is no temperature");
}

} // namespace
