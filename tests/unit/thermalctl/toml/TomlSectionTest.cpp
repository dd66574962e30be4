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

  // Without the lines of the file and the hints.
  std::string told() const {
    std::ostringstream out;
    problems.print(out);
    std::istringstream text(out.str());
    std::string heads;
    for (std::string line; std::getline(text, line);)
      if (line.rfind("f:", 0) == 0) heads += line + "\n";
    return heads;
  }

  std::string inFull() const {
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
  const TomlSection::Bounds bounds = {0.001, 1, "degrees"};
  EXPECT_EQ(section.number("some", bounds), 0.001);
  EXPECT_EQ(section.number("one", bounds), 1);
  EXPECT_EQ(section.number("none", {0.001, 1, "degrees", true}), 0);
  EXPECT_EQ(section.share("none"), 0);
  EXPECT_EQ(section.share("one"), 1);
  EXPECT_EQ(told(), "");
  EXPECT_EQ(section.number("under", bounds), std::nullopt);
  EXPECT_EQ(section.number("none", bounds), std::nullopt);
  EXPECT_EQ(section.number("more", {0.001, 1, "", true}), std::nullopt);
  EXPECT_EQ(section.share("under"), std::nullopt);
  EXPECT_EQ(section.number("endless"), std::nullopt);
  EXPECT_EQ(told(), "f:1:9: error: 'under' must be a number from 0.001 to 1 degrees\n"
                    "f:1:9: error: 'under' must be a number from 0 to 1\n"
                    "f:2:8: error: 'none' must be a number from 0.001 to 1 degrees\n"
                    "f:5:8: error: 'more' must be 0 or a number from 0.001 to 1\n"
                    "f:6:11: error: 'endless' must be a number\n");
}

#ifdef __cpp_lib_to_chars

TEST_F(TomlSectionTest, RefusesANumberThatHasLostItsDigits) {
  TomlSection section = sectionOf("tiny = 1e-310\nlist = [1, -1e-310]\nsmall = 2.3e-308\n");
  EXPECT_EQ(section.number("tiny"), std::nullopt);
  EXPECT_EQ(section.numbers("list"), std::nullopt);
  EXPECT_EQ(section.number("small"), 2.3e-308);
  EXPECT_EQ(told(), "f:1:8: error: 'tiny' is too small to be calculated with: write 0\n"
                    "f:2:12: error: 'list' is too small to be calculated with: write 0\n");
}

TEST_F(TomlSectionTest, AdvisesNoNoughtWhereThatIsRefusedToo) {
  TomlSection section = sectionOf("tiny = 1e-310\n");
  EXPECT_EQ(section.number("tiny", {1e-9, 1e9, "K/W"}), std::nullopt);
  EXPECT_EQ(told(), "f:1:8: error: 'tiny' must be a number from 1e-09 to 1000000000 K/W\n");
}

#else

// libc++ reads numbers by way of streams, which take no such number.
TEST_F(TomlSectionTest, ANumberThatHasLostItsDigitsIsNone) {
  EXPECT_EQ(parseToml("tiny = 1e-310\n", file, problems), nullptr);
  EXPECT_EQ(told(), "f:1:14: error: Error while parsing floating-point: '1e-310' could not be "
                    "interpreted as a value\n");
}

#endif

TEST_F(TomlSectionTest, MarksTheNumbersOfAListThatAreOutsideTheBounds) {
  TomlSection section = sectionOf("watts = [1, -2, 3, 4e9]\n");
  EXPECT_EQ(section.numbers("watts", {0, 1e6, "W"}), std::nullopt);
  EXPECT_EQ(told(), "f:1:13: error: 'watts' must be a number from 0 to 1000000 W\n"
                    "f:1:20: error: 'watts' must be a number from 0 to 1000000 W\n");
}

TEST_F(TomlSectionTest, GivesAllNumbersButThoseOutsideTheBounds) {
  TomlSection section = sectionOf("a = 0.5\nb = 2\nc = 1\n");
  EXPECT_EQ(section.allNumbers({0, 1}),
            (std::vector<std::pair<std::string, double>>{{"a", 0.5}, {"c", 1}}));
  EXPECT_EQ(section.size(), 3U);
  EXPECT_EQ(told(), "f:2:5: error: 'b' must be a number from 0 to 1\n");
}

TEST_F(TomlSectionTest, TakesOneNumberForAListOfOne) {
  TomlSection section = sectionOf("one = 2\nmany = [1, 2.5]\nnone = []\nmixed = [1, \"2\"]\n");
  EXPECT_EQ(section.numbers("one"), std::vector<double>{2});
  EXPECT_EQ(section.numbers("many"), (std::vector<double>{1, 2.5}));
  EXPECT_EQ(section.numbers("none"), std::vector<double>());
  EXPECT_EQ(section.numbers("mixed"), std::nullopt);
  EXPECT_EQ(told(), "f:4:9: error: 'mixed' must be a number or a list of numbers\n");
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
  EXPECT_EQ(told(), "f:2:5: error: 'b' must be a text in quotes\n"
                    "f:4:5: error: 'd' must be a list of texts in quotes\n"
                    "f:5:5: error: 'e' must be a list of texts in quotes\n"
                    "f:7:5: error: 'g' must be true or false\n");
}

TEST_F(TomlSectionTest, TakesTextsAndNumbersForWordsAsTheyAreWritten) {
  TomlSection section = sectionOf("a = \"1m30s\"\nb = 0.1\nc = -40\nd = true\n");
  EXPECT_EQ(section.allWords(), (std::vector<std::pair<std::string, std::string>>{
                                    {"a", "1m30s"}, {"b", "0.1"}, {"c", "-40"}}));
  EXPECT_EQ(told(), "f:4:5: error: 'd' must be a text in quotes or a number\n");
}

TEST_F(TomlSectionTest, GivesItsSectionsInTheOrderOfTheFile) {
  TomlSection section = sectionOf("[node.z]\n[node.a]\nvalue = 7\n[[list]]\n[[list]]\n"
                                  "[other]\nvalue = 1\n");
  const auto nodes = section.named("node");
  ASSERT_EQ(nodes.size(), 2U);
  EXPECT_EQ(nodes[0].first, "z");
  EXPECT_EQ(nodes[1].first, "a");
  EXPECT_EQ(nodes[1].second.at("value").at.line, 3);
  EXPECT_EQ(nodes[1].second.at("missing").at.line, 2);
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
  EXPECT_EQ(told(), "f:1:8: error: 'node' must be a table\n"
                    "f:2:8: error: 'list' must be a list of tables, [[list]]\n"
                    "f:4:5: error: 'a' must be a table\n");
}

TEST_F(TomlSectionTest, TellsOfAKeyThatIsMissingOrThatNobodyAskedFor) {
  TomlSection section = sectionOf("\nspare = 1\nread = 2\n");
  section.number("read");
  section.missing("read", "the one");
  section.missing("wanted", "the other");
  section.refuseOtherKeys();
  EXPECT_EQ(told(), "f:1:1: error: 'wanted' is missing: the other\n"
                    "f:2:1: error: 'spare' is no key that is known here\n");
}

TEST_F(TomlSectionTest, MarksKeysValuesAndTables) {
  TomlSection section =
      sectionOf("\"\xC3\xA4\" = 1\n[node.\"d\xC3\xA4\"]\n  heat = \"\xC3\xA4\" # much\n");
  const auto nodes = section.named("node");
  ASSERT_EQ(nodes.size(), 1U);
  const TomlSection& node = nodes[0].second;
  const auto expect = [](const Span& span, int line, int column, size_t length) {
    EXPECT_EQ(span.at.line, line);
    EXPECT_EQ(span.at.column, column);
    EXPECT_EQ(span.length, length);
  };
  expect(section.at("\xC3\xA4"), 1, 8, 1);
  expect(section.atKey("\xC3\xA4"), 1, 1, 4);
  expect(node.at(), 2, 1, 12);
  expect(node.at("heat"), 3, 10, 4);
  expect(node.atKey("heat"), 3, 3, 4);
  expect(node.at("none"), 2, 1, 12);
}

TEST_F(TomlSectionTest, ASlipInAKeyIsToldWithTheKeyThatWasMeant) {
  TomlSection section = sectionOf("jules = 1\nother = 2\n");
  section.number("joules");
  section.refuseOtherKeys();
  EXPECT_EQ(inFull(), "f:1:1: error: 'jules' is no key that is known here\n"
                      "    1 | jules = 1\n"
                      "      | ^~~~~\n"
                      "      hint: did you mean 'joules'?\n"
                      "f:2:1: error: 'other' is no key that is known here\n"
                      "    2 | other = 2\n"
                      "      | ^~~~~\n"
                      "      hint: known are 'joules'\n");
}

TEST_F(TomlSectionTest, ASlipInAKeyThatIsNeededIsToldOnce) {
  TomlSection section = sectionOf("jules = 1\n");
  section.number("joules");
  section.missing("joules", "how much");
  section.missing("kelvin", "how hot");
  section.refuseOtherKeys();
  EXPECT_EQ(told(), "f:1:1: error: 'kelvin' is missing: how hot\n"
                    "f:1:1: error: 'jules' is no key that is known here\n");
}

TEST_F(TomlSectionTest, TellsWhereTheNotationIsWrong) {
  EXPECT_FALSE(parseToml("a = 1\nb = = 2\n", file, problems));
  EXPECT_EQ(inFull(), "f:2:5: error: Error while parsing value: could not determine value type\n"
                      "    2 | b = = 2\n"
                      "      |     ^\n"
                      "      hint: a line is a [table], or KEY = VALUE with a number, true, false, "
                      "a \"text\" or a [list] for the value\n");
}

} // namespace
