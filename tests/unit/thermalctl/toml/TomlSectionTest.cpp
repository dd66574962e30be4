#include "toml/TomlSection.h"

#include <sstream>

#include <gtest/gtest.h>

namespace {

class TomlSectionTest : public testing::Test {
protected:
  // The whole file as a section.
  TomlSection sectionOf(const std::string& text) {
    table = parseToml(text, file, problems);
    return {*table, file, problems};
  }

  std::string told() const {
    std::ostringstream out;
    problems.print(out);
    return out.str();
  }

  const std::string file = "f";
  Problems problems;
  std::shared_ptr<const toml::table> table;
};

TEST_F(TomlSectionTest, TakesAWholeNumberForANumber) {
  TomlSection section = sectionOf("a = 2\nb = -0.5\n");
  EXPECT_EQ(section.number("a"), 2);
  EXPECT_EQ(section.number("b"), -0.5);
  EXPECT_EQ(section.number("c"), std::nullopt);
  EXPECT_EQ(told(), "");
}

TEST_F(TomlSectionTest, HoldsANumberToItsBounds) {
  TomlSection section = sectionOf("under = -0.001\nnone = 0\nsome = 0.001\none = 1\n"
                                  "more = 1.001\nendless = inf\n");
  EXPECT_EQ(section.atLeastZero("none"), 0);
  EXPECT_EQ(section.aboveZero("some"), 0.001);
  EXPECT_EQ(section.share("none"), 0);
  EXPECT_EQ(section.share("one"), 1);
  EXPECT_EQ(told(), "");
  EXPECT_EQ(section.atLeastZero("under"), std::nullopt);
  EXPECT_EQ(section.aboveZero("none"), std::nullopt);
  EXPECT_EQ(section.share("under"), std::nullopt);
  EXPECT_EQ(section.share("more"), std::nullopt);
  EXPECT_EQ(section.number("endless"), std::nullopt);
  EXPECT_EQ(told(), "f:1: error: 'under' must be a number of at least 0\n"
                    "f:1: error: 'under' must be a number from 0 to 1\n"
                    "f:2: error: 'none' must be a number above 0\n"
                    "f:5: error: 'more' must be a number from 0 to 1\n"
                    "f:6: error: 'endless' must be a number\n");
}

TEST_F(TomlSectionTest, TakesOneNumberForAListOfOne) {
  TomlSection section = sectionOf("one = 2\nmany = [1, 2.5]\nnone = []\nmixed = [1, \"2\"]\n");
  EXPECT_EQ(section.numbers("one"), std::vector<double>{2});
  EXPECT_EQ(section.numbers("many"), (std::vector<double>{1, 2.5}));
  EXPECT_EQ(section.numbers("none"), std::vector<double>());
  EXPECT_EQ(section.numbers("mixed"), std::nullopt);
  EXPECT_EQ(told(), "f:4: error: 'mixed' must be a number or a list of numbers\n");
}

TEST_F(TomlSectionTest, TakesNoNumberForAText) {
  TomlSection section = sectionOf("a = \"x\"\nb = 1\nc = [\"x\", \"y\"]\nd = [\"x\", 1]\n"
                                  "e = \"x\"\nf = true\ng = 1\n");
  EXPECT_EQ(section.text("a"), "x");
  EXPECT_EQ(section.text("b"), std::nullopt);
  EXPECT_EQ(section.texts("c"), (std::vector<std::string>{"x", "y"}));
  EXPECT_EQ(section.texts("d"), std::vector<std::string>());
  EXPECT_EQ(section.texts("e"), std::vector<std::string>());
  EXPECT_EQ(section.flag("f"), true);
  EXPECT_EQ(section.flag("g"), std::nullopt);
  EXPECT_EQ(told(), "f:2: error: 'b' must be a text in quotes\n"
                    "f:4: error: 'd' must be a list of texts in quotes\n"
                    "f:5: error: 'e' must be a list of texts in quotes\n"
                    "f:7: error: 'g' must be true or false\n");
}

TEST_F(TomlSectionTest, TakesTextsAndNumbersForWordsAsTheyAreWritten) {
  TomlSection section = sectionOf("a = \"1m30s\"\nb = 0.1\nc = -40\nd = true\n");
  EXPECT_EQ(section.allWords(), (std::vector<std::pair<std::string, std::string>>{
                                    {"a", "1m30s"}, {"b", "0.1"}, {"c", "-40"}}));
  EXPECT_EQ(told(), "f:4: error: 'd' must be a text in quotes or a number\n");
}

TEST_F(TomlSectionTest, GivesItsSectionsInTheOrderOfTheFile) {
  TomlSection section = sectionOf("[node.z]\n[node.a]\nvalue = 7\n[[list]]\n[[list]]\n"
                                  "[other]\nvalue = 1\n");
  const auto nodes = section.named("node");
  ASSERT_EQ(nodes.size(), 2U);
  EXPECT_EQ(nodes[0].first, "z");
  EXPECT_EQ(nodes[1].first, "a");
  EXPECT_EQ(nodes[1].second.line("value"), 3U);
  EXPECT_EQ(nodes[1].second.line("missing"), 2U);
  EXPECT_EQ(section.list("list").size(), 2U);
  EXPECT_TRUE(section.section("other"));
  EXPECT_TRUE(section.named("nothing").empty());
  EXPECT_EQ(told(), "");
}

TEST_F(TomlSectionTest, TellsWhatIsNoSection) {
  TomlSection section = sectionOf("node = 1\nlist = [1]\n[named]\na = 1\n");
  EXPECT_FALSE(section.section("node"));
  EXPECT_TRUE(section.list("list").empty());
  EXPECT_TRUE(section.named("named").empty());
  EXPECT_EQ(told(), "f:1: error: 'node' must be a table\n"
                    "f:2: error: 'list' must be a list of tables, [[list]]\n"
                    "f:4: error: 'a' must be a table\n");
}

TEST_F(TomlSectionTest, TellsOfAKeyThatIsMissingOrThatNobodyAskedFor) {
  TomlSection section = sectionOf("\nspare = 1\nread = 2\n");
  section.number("read");
  section.missing("read", "the one");
  section.missing("wanted", "the other");
  section.refuseOtherKeys();
  EXPECT_EQ(told(), "f:1: error: 'wanted' is missing: the other\n"
                    "f:2: error: 'spare' is no key that is known here\n");
}

TEST_F(TomlSectionTest, TellsWhereTheNotationIsWrong) {
  EXPECT_FALSE(parseToml("a = 1\nb = = 2\n", file, problems));
  EXPECT_EQ(told().find("f:2: error: "), 0U) << told();
}

} // namespace
