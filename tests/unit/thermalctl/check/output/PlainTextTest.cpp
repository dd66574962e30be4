#include "check/output/PlainText.h"

#include <sstream>

#include <gtest/gtest.h>

namespace {

Finding finding(Position at, size_t length, std::string hint = "") {
  Finding result;
  result.rule = "some-rule";
  result.severity = Severity::kError;
  result.file = "board.env";
  result.at = at;
  result.length = length;
  result.message = "the daemon does it";
  result.hint = std::move(hint);
  return result;
}

std::string printed(const std::vector<Finding>& findings, const std::string& content,
                    Colour colour = Colour::kOff) {
  Sources sources;
  sources.emplace("board.env", Source(content));
  std::ostringstream out;
  printText(out, findings, sources, colour);
  return out.str();
}

// The two lines that show where, without the line's number.
std::string excerpt(Position at, size_t length, const std::string& content) {
  const std::string text = printed({finding(at, length)}, content);
  const size_t first = text.find('\n') + 1;
  const size_t second = text.find('\n', first) + 1;
  const size_t third = text.find('\n', second);
  return text.substr(first + 8, second - first - 8) + text.substr(second + 8, third - second - 8);
}

TEST(TextTest, ShowsPlaceSeverityMessageRuleLineAndHint) {
  Finding warning = finding({2, 1}, 8, "did you mean 'sampling'?");
  warning.severity = Severity::kWarning;
  EXPECT_EQ(printed({warning}, "type real\nsampeling 100\n"),
            "board.env:2:1: warning: the daemon does it [some-rule]\n"
            "    2 | sampeling 100\n"
            "      | ^~~~~~~~\n"
            "      hint: did you mean 'sampling'?\n"
            "1 warning in 1 file\n");
}

TEST(TextTest, LeavesOutAHintThatIsNotThere) {
  EXPECT_EQ(printed({finding({1, 1}, 1)}, "x\n"),
            "board.env:1:1: error: the daemon does it [some-rule]\n"
            "    1 | x\n"
            "      | ^\n"
            "1 error in 1 file\n");
}

TEST(TextTest, CountsErrorsWarningsAndFiles) {
  Finding error = finding({1, 1}, 1);
  Finding warning = error;
  warning.severity = Severity::kWarning;
  Sources sources;
  for (const char* name : {"board.env", "day.conf"})
    sources.emplace(name, Source(""));
  const auto lastLine = [&](const std::vector<Finding>& findings) {
    std::ostringstream out;
    printText(out, findings, sources, Colour::kOff);
    const std::string text = out.str();
    return text.substr(text.rfind('\n', text.size() - 2) + 1);
  };
  EXPECT_EQ(lastLine({}), "no problems in 2 files\n");
  EXPECT_EQ(lastLine({error}), "1 error in 2 files\n");
  EXPECT_EQ(lastLine({warning, warning}), "2 warnings in 2 files\n");
  EXPECT_EQ(lastLine({error, error, warning}), "2 errors and 1 warning in 2 files\n");
}

TEST(TextTest, ShowsAHundredFindingsAndTheNumberOfTheRest) {
  const std::string text = printed(std::vector<Finding>(102, finding({1, 1}, 1)), "x\n");
  EXPECT_NE(text.find("\nand 2 more findings, which --format json shows\n102 errors in 1 file\n"),
            std::string::npos);
  size_t shown = 0;
  for (size_t at = 0; (at = text.find("board.env:1:1: ", at)) != std::string::npos; ++at)
    ++shown;
  EXPECT_EQ(shown, 100U);
}

TEST(TextTest, PutsTheCaretUnderAWordBehindTabsAndOtherSigns) {
  EXPECT_EQ(excerpt({1, 4}, 3, "\t\x01 key\xFF value\r\n"),
            "\xE2\x90\x89\xE2\x90\x81 key\xEF\xBF\xBD value\n"
            "   ^~~");
}

TEST(TextTest, PutsTheCaretUnderAWordBehindCharactersOfSeveralBytes) {
  EXPECT_EQ(excerpt({1, 6}, 2, "\xC3\xA4\xC3\xB6 xy\n"), "\xC3\xA4\xC3\xB6 xy\n   ^~");
}

TEST(TextTest, MarksABlankLineAndThePlaceBehindTheLastLine) {
  EXPECT_EQ(excerpt({1, 1}, 1, " \t\nx\n"), "\n^");
  EXPECT_EQ(excerpt({3, 1}, 1, "x\ny\n"), "\n^");
  EXPECT_EQ(excerpt({1, 3}, 1, "ab"), "ab\n  ^");
}

TEST(TextTest, UnderlinesNoMoreThanTheLineHolds) {
  EXPECT_EQ(excerpt({1, 3}, 50, "a bcd\n"), "a bcd\n  ^~~");
}

TEST(TextTest, ShowsALineOfAHundredCharactersWhole) {
  const std::string line(100, 'x');
  EXPECT_EQ(excerpt({1, 100}, 1, line + "\n"), line + "\n" + std::string(99, ' ') + "^");
}

TEST(TextTest, CutsTheEndOfALongLine) {
  EXPECT_EQ(excerpt({1, 3}, 2, std::string(101, 'x') + "\n"), std::string(100, 'x') + "...\n  ^~");
}

TEST(TextTest, CutsBothEndsOfALongLineAroundWhatIsMarked) {
  const std::string line = std::string(300, 'a') + "BC" + std::string(300, 'd');
  EXPECT_EQ(excerpt({1, 301}, 2, line), "..." + std::string(40, 'a') + "BC" + std::string(58, 'd') +
                                            "...\n" + std::string(43, ' ') + "^~");
}

TEST(TextTest, CutsTheUnderliningWithTheLine) {
  for (const int before : {41, 50}) {
    const std::string line = std::string(static_cast<size_t>(before), 'a') + std::string(500, 'B');
    EXPECT_EQ(excerpt({1, before + 1}, 500, line),
              "..." + std::string(40, 'a') + std::string(60, 'B') + "...\n" + std::string(43, ' ') +
                  "^" + std::string(59, '~'));
  }
}

TEST(TextTest, ShowsTheEndOfALongLine) {
  const std::string line = std::string(300, 'a') + "B";
  EXPECT_EQ(excerpt({1, 301}, 1, line),
            "..." + std::string(40, 'a') + "B\n" + std::string(43, ' ') + "^");
}

TEST(TextTest, MarksAPlaceFarBehindTheEndOfALine) {
  EXPECT_EQ(excerpt({1, 500}, 1, std::string(300, 'a')), "...\n" + std::string(43, ' ') + "^");
}

TEST(TextTest, SendsNoControlCharacterOfAFileToTheTerminal) {
  Finding evil = finding({1, 1}, 1, "did you mean '\x1B[2J'?");
  evil.message = "there is no '\x1B[31m'";
  evil.file = "board\x07.env";
  const std::string text = printed({evil}, "\x1B[31m");
  EXPECT_EQ(text.find('\x1B'), std::string::npos);
  EXPECT_EQ(text.find('\x07'), std::string::npos);
}

TEST(TextTest, ColoursWhenAsked) {
  const std::string text = printed({finding({1, 1}, 2, "do")}, "xy\n", Colour::kOn);
  EXPECT_EQ(text, "\x1B[1mboard.env:1:1:\x1B[0m \x1B[1;31merror:\x1B[0m the daemon does it "
                  "[some-rule]\n"
                  "    1 | xy\n"
                  "      | \x1B[1;32m^~\x1B[0m\n"
                  "      \x1B[1;36mhint:\x1B[0m do\n"
                  "1 error in 1 file\n");
}

} // namespace
