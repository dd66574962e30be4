#include "board/TextKind.h"

#include <gtest/gtest.h>

namespace {

constexpr char kBoard[] = "[cpu]\ntype real\nsampling 1000\nnode_path /cpu\n";
constexpr char kDay[] = "SCEN Default\n[a]\nalgo_type ss\nsensor cpu\n";

TextKind::Kind kindOf(const std::string& content) {
  return textKindOf(content).kind;
}

std::string with(const std::string& content, char sign, const std::string& other) {
  std::string result;
  for (const char each : content)
    result += each == sign ? other : std::string(1, each);
  return result;
}

// Each character as two bytes, with the 0 before or behind it.
std::string wide(const std::string& content, bool bigEndian) {
  std::string result;
  for (const char each : content)
    result += bigEndian ? std::string{'\0', each} : std::string{each, '\0'};
  return result;
}

TEST(TextKindTest, TellsTheTwoFilesByTheLinesThatOnlyOneHas) {
  EXPECT_EQ(kindOf(kBoard), TextKind::kEnvironment);
  EXPECT_EQ(kindOf(kDay), TextKind::kConfiguration);
  EXPECT_EQ(kindOf("[cpu]\ntype Real\n"), TextKind::kEnvironment);
  EXPECT_EQ(kindOf("[a]\nalgo_type ss\n"), TextKind::kConfiguration);
}

TEST(TextKindTest, LeavesATextAloneThatMayBeEither) {
  for (const std::string& content :
       {std::string("[cpu]\nnode_path /cpu\n"), std::string("[a]\ntype monitor\n"),
        std::string("junk\n"), std::string(kBoard) + "\nSCEN Default\n",
        std::string("[cpu\n\x1B[2J\x07 type of a terminal\n")})
    EXPECT_EQ(kindOf(content), TextKind::kText) << content;
}

TEST(TextKindTest, TakesWhiteSpaceForNothing) {
  for (const char* content : {"", "\n", " \t\r\n\n"})
    EXPECT_EQ(kindOf(content), TextKind::kEmpty) << content;
}

TEST(TextKindTest, KnowsTheMarkOfUtf8) {
  const TextKind kind = textKindOf(std::string("\xEF\xBB\xBF") + kBoard);
  EXPECT_EQ(kind.kind, TextKind::kByteOrderMark);
  EXPECT_EQ(kind.at.text, "\xEF\xBB\xBF");
}

TEST(TextKindTest, KnowsUtf16WithAndWithoutItsMark) {
  EXPECT_EQ(kindOf("\xFF\xFE" + wide(kBoard, false)), TextKind::kUtf16);
  EXPECT_EQ(kindOf("\xFE\xFF" + wide(kBoard, true)), TextKind::kUtf16);
  EXPECT_EQ(kindOf(wide(kDay, false)), TextKind::kUtf16);
  EXPECT_EQ(kindOf(wide(kDay, true)), TextKind::kUtf16);
}

TEST(TextKindTest, KnowsLinesThatEndWithACarriageReturnAlone) {
  const TextKind kind = textKindOf(with(kBoard, '\n', "\r"));
  EXPECT_EQ(kind.kind, TextKind::kCarriageReturns);
  EXPECT_EQ(kind.at.at.column, 6);
  EXPECT_EQ(kindOf(with(kBoard, '\n', "\r\n")), TextKind::kEnvironment);
  EXPECT_EQ(kindOf(with(kBoard, '\n', "\r\r\n")), TextKind::kEnvironment);
}

TEST(TextKindTest, KnowsTheCellsOfASpreadsheet) {
  for (const char* sign : {";", ","}) {
    const TextKind kind = textKindOf(with(kBoard, ' ', sign));
    EXPECT_EQ(kind.kind, TextKind::kSeparators);
    EXPECT_EQ(kind.at.text, sign);
    EXPECT_EQ(kind.at.at.line, 2);
  }
  EXPECT_EQ(kindOf("\"SCEN\";\"Default\"\n[a];\n\"algo_type\";\"ss\"\n"), TextKind::kSeparators);
  // One line of them, and lists with commas, are a slip of the pen.
  EXPECT_EQ(kindOf("[cpu]\ntype real\nsampling;1000\n"), TextKind::kEnvironment);
  EXPECT_EQ(kindOf("[a]\nalgo_type monitor\nthresholds 1, 2\nactions a, b\naction_info 1, 2\n"),
            TextKind::kConfiguration);
}

TEST(TextKindTest, KnowsAFileThatIsNoText) {
  EXPECT_EQ(kindOf(std::string("\x7F"
                               "ELF\0\0\1[cpu]\ntype real\n",
                               22)),
            TextKind::kBinary);
  EXPECT_EQ(kindOf("\x01\x02\x03 abc"), TextKind::kBinary);
}

TEST(TextKindTest, PointsAtTheFirstLineThatShowsIt) {
  const TextKind kind = textKindOf("\n  [cpu]\n  type real\n");
  EXPECT_EQ(kind.at.text, "type");
  EXPECT_EQ(kind.at.at.line, 3);
  EXPECT_EQ(kind.at.at.column, 3);
}

} // namespace
