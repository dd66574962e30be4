#include "toml/Problems.h"

#include <sstream>

#include <gtest/gtest.h>

namespace {

std::string printed(const Problems& problems, Colour colour = Colour::kOff) {
  std::ostringstream out;
  problems.print(out, colour);
  return out.str();
}

Span at(int line, int column, size_t length = 1) {
  return {{line, column}, length};
}

TEST(ProblemsTest, AreInTheOrderOfFilesLinesAndColumns) {
  Problems problems;
  EXPECT_TRUE(problems.none());
  problems.add({"b", at(2, 3), "second"});
  problems.add({"b", at(10, 1), "fourth"});
  problems.add({"b", at(2, 7), "third"});
  problems.add({"b", at(2, 3), "and another"});
  problems.add({"b", {}, "first"});
  problems.add({"a", at(7, 1), "before"});
  EXPECT_FALSE(problems.none());
  EXPECT_EQ(printed(problems), "a:7:1: error: before\n"
                               "b: error: first\n"
                               "b:2:3: error: second\n"
                               "b:2:3: error: and another\n"
                               "b:2:7: error: third\n"
                               "b:10:1: error: fourth\n");
}

TEST(ProblemsTest, ShowTheirLineWithAMarkAndWhatToDo) {
  Problems problems;
  problems.read("plant.toml", "[node.die]\ncelsius = -400  \r\n");
  problems.add({"plant.toml", at(2, 11, 4), "too cold", "write degrees"});
  problems.add({"plant.toml", {}, "and no sensor", "add one"});
  EXPECT_EQ(printed(problems), "plant.toml: error: and no sensor\n"
                               "      hint: add one\n"
                               "plant.toml:2:11: error: too cold\n"
                               "    2 | celsius = -400\n"
                               "      |           ^~~~\n"
                               "      hint: write degrees\n");
}

TEST(ProblemsTest, CountCharactersWhereTheirPlacesAreInBytes) {
  Problems problems;
  problems.read("a", "\xC3\xA4\xC3\xA4 = \"\xC3\xB6\xC3\xB6\"\n");
  problems.add({"a", at(1, 8, 6), "this"});
  EXPECT_EQ(printed(problems), "a:1:6: error: this\n"
                               "    1 | \xC3\xA4\xC3\xA4 = \"\xC3\xB6\xC3\xB6\"\n"
                               "      |      ^~~~\n");
}

TEST(ProblemsTest, AreColouredLikeThoseOfACompiler) {
  Problems problems;
  problems.add({"a", at(1, 1), "this", "that"});
  EXPECT_EQ(printed(problems, Colour::kOn), "\x1B[1ma:1:1:\x1B[0m \x1B[1;31merror:\x1B[0m this\n"
                                            "      \x1B[1;36mhint:\x1B[0m that\n");
}

TEST(ProblemsTest, AreToldOnce) {
  Problems problems;
  for (const char* what : {"this", "this", "that"})
    problems.add({"a", at(1, 1), what});
  problems.add({"a", at(2, 1), "this"});
  problems.add({"a", at(1, 2), "this"});
  problems.add({"b", at(1, 1), "this"});
  EXPECT_EQ(printed(problems), "a:1:1: error: this\na:1:1: error: that\na:1:2: error: this\n"
                               "a:2:1: error: this\nb:1:1: error: this\n");
}

TEST(ProblemsTest, KeepControlCharactersFromTheTerminal) {
  Problems problems;
  problems.add({"a\x1B", at(1, 1), "b\n"});
  EXPECT_EQ(printed(problems), "a\xE2\x90\x9B:1:1: error: b\xE2\x90\x8A\n");
}

TEST(ProblemsTest, CutAWordThatWouldHideWhatIsSaidAboutIt) {
  Problems problems;
  problems.add({"a", {}, "'" + std::string(5'000'000, 'x') + "' is no number", "as here"});
  EXPECT_EQ(printed(problems), "a: error: '" + std::string(59, 'x') + "..." + std::string(19, 'x') +
                                   "' is no number\n      hint: as here\n");
}

TEST(ProblemsTest, AreAHundredAtTheMost) {
  Problems problems;
  for (int line = 1; line <= 100; ++line)
    problems.add({"a", at(line, 1), "this"});
  EXPECT_EQ(printed(problems).find("more"), std::string::npos);
  problems.add({"a", at(101, 1), "this"});
  const std::string text = printed(problems);
  EXPECT_EQ(text.substr(text.rfind("a:100")), "a:100:1: error: this\nand 1 more error\n");
}

} // namespace
