#include "toml/Problems.h"

#include <sstream>

#include <gtest/gtest.h>

namespace {

std::string printed(const Problems& problems) {
  std::ostringstream out;
  problems.print(out);
  return out.str();
}

TEST(ProblemsTest, AreInTheOrderOfFilesAndLines) {
  Problems problems;
  EXPECT_TRUE(problems.none());
  problems.add("b", 2, "second");
  problems.add("b", 10, "third");
  problems.add("b", 2, "and another");
  problems.add("b", 0, "first");
  problems.add("a", 7, "before");
  EXPECT_FALSE(problems.none());
  EXPECT_EQ(printed(problems), "a:7: error: before\n"
                               "b: error: first\n"
                               "b:2: error: second\n"
                               "b:2: error: and another\n"
                               "b:10: error: third\n");
}

TEST(ProblemsTest, AreToldOnce) {
  Problems problems;
  for (const char* what : {"this", "this", "that"})
    problems.add("a", 1, what);
  problems.add("a", 2, "this");
  problems.add("b", 1, "this");
  EXPECT_EQ(printed(problems), "a:1: error: this\na:1: error: that\na:2: error: this\n"
                               "b:1: error: this\n");
}

TEST(ProblemsTest, KeepControlCharactersFromTheTerminal) {
  Problems problems;
  problems.add("a\x1B", 1, "b\n");
  EXPECT_EQ(printed(problems), "a\xE2\x90\x9B:1: error: b\xE2\x90\x8A\n");
}

} // namespace
