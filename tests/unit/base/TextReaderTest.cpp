#include "base/TextReader.h"

#include <fcntl.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

#include "support/SysfsDir.h"

namespace {

using Tokens = std::vector<std::string>;

std::string trimmed(std::string text) {
  trim(text);
  return text;
}

Tokens tokensOf(const std::string& text, const std::string& delimiters) {
  Tokens tokens;
  stringTokenizer(text, tokens, delimiters);
  return tokens;
}

// While one of these lives, the first file to be opened gets descriptor 0.
class StandardInputClosed {
public:
  StandardInputClosed() : kept(::fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 3)) { ::close(STDIN_FILENO); }
  ~StandardInputClosed() {
    ::dup2(kept, STDIN_FILENO);
    ::close(kept);
  }
  StandardInputClosed(const StandardInputClosed&) = delete;
  StandardInputClosed& operator=(const StandardInputClosed&) = delete;

  bool isFree() const { return ::fcntl(STDIN_FILENO, F_GETFD) == -1; }

private:
  int kept;
};

TEST(TextReaderTest, DeliversOneLinePerCall) {
  std::istringstream in("first line\nsecond\n");
  std::stringstream line;
  EXPECT_EQ(getString(in, line), 0);
  EXPECT_EQ(line.str(), "first line");
  EXPECT_EQ(getString(in, line), 0);
  EXPECT_EQ(line.str(), "second");
}

TEST(TextReaderTest, DropsLeadingSpacesAndTheCarriageReturnOfALine) {
  std::istringstream in("  sampling 1000\r\n");
  std::stringstream line;
  EXPECT_EQ(getString(in, line), 0);
  EXPECT_EQ(line.str(), "sampling 1000");
}

TEST(TextReaderTest, KeepsTheWhiteSpaceInsideALine) {
  std::istringstream in("a \t b\r c\n");
  std::stringstream line;
  EXPECT_EQ(getString(in, line), 0);
  EXPECT_EQ(line.str(), "a \t b\r c");
}

TEST(TextReaderTest, DeliversLinesThatLookLikeCommentsOrContinuations) {
  std::istringstream in("# one\n// two\n[three \\\n\"four\n");
  std::stringstream line;
  for (const char* expected : {"# one", "// two", "[three \\", "\"four"}) {
    EXPECT_EQ(getString(in, line), 0);
    EXPECT_EQ(line.str(), expected);
  }
}

TEST(TextReaderTest, ABlankLineLeavesTheUnreadWordsOfThePreviousLine) {
  std::istringstream in("one two\n \t \nthree\n");
  std::stringstream line;
  std::string word;
  getString(in, line);
  line >> word;
  EXPECT_EQ(getString(in, line), -1);
  EXPECT_EQ(line.str(), "one two");
  EXPECT_TRUE(line >> word);
  EXPECT_EQ(word, "two");
}

TEST(TextReaderTest, ABlankLineAfterAUsedUpLineLeavesTheCallersWordUnchanged) {
  std::istringstream in("one\n \t \nthree\n");
  std::stringstream line;
  std::string word;
  getString(in, line);
  line >> word;
  EXPECT_EQ(getString(in, line), -1);
  EXPECT_FALSE(line >> word);
  EXPECT_EQ(word, "one");
}

TEST(TextReaderTest, ABlankLineLeavesTheFlagsOfTheUsedUpLine) {
  std::istringstream in("one\n\n");
  std::stringstream line;
  std::string word;
  getString(in, line);
  line >> word >> word;
  EXPECT_EQ(getString(in, line), -1);
  EXPECT_TRUE(line.fail());
  EXPECT_TRUE(line.eof());
}

TEST(TextReaderTest, AUsedUpLineIsReplacedByTheNextFromItsFirstWord) {
  std::istringstream in("a long first line\nb\n");
  std::stringstream line;
  std::string word;
  getString(in, line);
  while (line >> word) {
  }
  EXPECT_EQ(getString(in, line), 0);
  EXPECT_TRUE(line.good());
  EXPECT_TRUE(line >> word);
  EXPECT_EQ(word, "b");
  EXPECT_FALSE(line >> word);
}

TEST(TextReaderTest, ALineReadHalfIsReplacedByTheNextFromItsFirstWord) {
  std::istringstream in("one two\nthree\n");
  std::stringstream line;
  std::string word;
  getString(in, line);
  line >> word;
  getString(in, line);
  line >> word;
  EXPECT_EQ(word, "three");
}

TEST(TextReaderTest, ALastLineWithoutALineEndIsDeliveredWithTheEndOfTheFileAlreadySeen) {
  const SysfsDir files;
  std::ifstream in(files.write("text", "one\ntwo"));
  std::stringstream line;
  EXPECT_EQ(getString(in, line), 0);
  EXPECT_FALSE(in.eof());
  EXPECT_EQ(getString(in, line), 0);
  EXPECT_EQ(line.str(), "two");
  EXPECT_TRUE(in.eof());
  EXPECT_FALSE(in.fail());
}

TEST(TextReaderTest, AfterALastLineWithALineEndTheEndOfTheFileIsStillToBeRead) {
  const SysfsDir files;
  std::ifstream in(files.write("text", "one\n"));
  std::stringstream line;
  EXPECT_EQ(getString(in, line), 0);
  EXPECT_FALSE(in.eof());
  EXPECT_EQ(getString(in, line), -1);
  EXPECT_TRUE(in.eof());
  EXPECT_TRUE(in.fail());
  EXPECT_EQ(line.str(), "one");
}

TEST(TextReaderTest, ABlankLastLineWithoutALineEndIsBlankAndTheEnd) {
  std::istringstream in(" \t");
  std::stringstream line;
  EXPECT_EQ(getString(in, line), -1);
  EXPECT_TRUE(in.eof());
  EXPECT_FALSE(in.fail());
}

TEST(TextReaderTest, AStreamThatIsNotGoodIsNotReadAndOnlyMarkedFailed) {
  std::istringstream in("one\n");
  in.setstate(std::ios::eofbit);
  std::stringstream line("held");
  EXPECT_EQ(getString(in, line), -1);
  EXPECT_EQ(in.rdstate(), std::ios::eofbit | std::ios::failbit);
  EXPECT_EQ(line.str(), "held");
  in.clear();
  EXPECT_EQ(getString(in, line), 0);
  EXPECT_EQ(line.str(), "one");
}

TEST(TextReaderTest, AFileThatCouldNotBeOpenedNeverReachesItsEnd) {
  const SysfsDir files;
  std::ifstream in(files.node("missing"));
  std::stringstream line;
  for (int call = 0; call < 3; ++call) {
    EXPECT_EQ(getString(in, line), -1);
    EXPECT_FALSE(in.eof());
  }
}

TEST(TextReaderTest, TakesLinesOfAnyLength) {
  const std::string text(1 << 20, 'x');
  std::istringstream in(text + "\n");
  std::stringstream line;
  EXPECT_EQ(getString(in, line), 0);
  EXPECT_EQ(line.str(), text);
}

TEST(TextReaderTest, AdvancesToTheFirstWordOfTheNextLine) {
  std::istringstream in("one two\n  three\n");
  TextReader text(in);
  EXPECT_TRUE(text.advance());
  EXPECT_EQ(text.word(), "one");
  EXPECT_TRUE(text.advance());
  EXPECT_EQ(text.word(), "three");
  EXPECT_FALSE(text.nextWord());
  EXPECT_EQ(text.word(), "three") << "where no other follows";
  EXPECT_FALSE(text.ended());
  EXPECT_FALSE(text.advance());
  EXPECT_TRUE(text.ended());
}

TEST(TextReaderTest, AdvancesToTheRestOfALineThatABlankOneFollows) {
  std::istringstream in("one two\n\nthree\n");
  TextReader text(in);
  text.advance();
  EXPECT_FALSE(text.advance());
  EXPECT_EQ(text.word(), "two");
  EXPECT_TRUE(text.advance());
  EXPECT_EQ(text.word(), "three");
}

TEST(TextReaderTest, TrimRemovesTheSixWhiteSpaceCharactersFromBothEndsAndNothingElse) {
  EXPECT_EQ(trimmed("\t\n\v\f\r word \r\f\v\n\t"), "word");
  EXPECT_EQ(trimmed("two  words"), "two  words");
  EXPECT_EQ(trimmed(" x"), "x");
  EXPECT_EQ(trimmed("x "), "x");
  EXPECT_EQ(trimmed("x"), "x");
  for (int c = 0; c < 256; ++c) {
    const std::string text(1, static_cast<char>(c));
    const bool white = (c >= 9 && c <= 13) || c == 32;
    EXPECT_EQ(trimmed(text), white ? "" : text) << "character " << c;
  }
}

TEST(TextReaderTest, TrimOfNothingOrOfWhiteSpaceAloneIsEmpty) {
  EXPECT_EQ(trimmed(""), "");
  EXPECT_EQ(trimmed(" \t\r\n\v\f "), "");
}

TEST(TextReaderTest, SplitsAtEveryRunOfDelimiters) {
  const struct {
    const char* text;
    const char* delimiters;
    Tokens expected;
    const char* why;
  } cases[] = {
      {"a++b+", "+", {"a", "b"}, "runs separate once, one at the end gives no token"},
      {"+a+b", "+", {"a", "b"}, "one at the start gives no token"},
      {"cpu_big", "+", {"cpu_big"}, "no delimiter at all"},
      {"+", "+", {}, "nothing but a delimiter"},
      {"++++", "+", {}, "nothing but delimiters"},
      {"", "+", {}, "an empty text"},
      {"abc", "", {"abc"}, "no delimiters to split at"},
      {"", "", {}, "no text and no delimiters"},
      {"a,b;c", ";,", {"a", "b", "c"}, "each character of the set delimits"},
      {" a + b ", "+", {" a ", " b "}, "white space is text"},
  };
  for (const auto& c : cases)
    EXPECT_EQ(tokensOf(c.text, c.delimiters), c.expected) << c.why;
}

TEST(TextReaderTest, SplittingTwiceIntoOneListKeepsTheFirstTokensAhead) {
  Tokens tokens;
  stringTokenizer("a+b", tokens, "+");
  stringTokenizer("c", tokens, "+");
  EXPECT_EQ(tokens, (Tokens{"a", "b", "c"}));
}

TEST(TextReaderTest, AHeaderNameLosesItsFirstAndItsLastCharacterWhateverTheyAre) {
  EXPECT_EQ(headerName("[cpu0]"), "cpu0");
  EXPECT_EQ(headerName("[cpu0"), "cpu");
  EXPECT_EQ(headerName("[]"), "");
  EXPECT_EQ(headerName("["), "");
  EXPECT_EQ(headerName(""), "");
}

TEST(TextReaderTest, ReadsAWholeFileByteForByte) {
  const SysfsDir files;
  std::string content;
  for (int i = 0; i < 20000; ++i)
    content.push_back(static_cast<char>(i * 7));
  EXPECT_EQ(readFile(files.write("bytes", content)), content);
  EXPECT_EQ(readFile(files.write("bytes", "x")), "x") << "a single one";
}

TEST(TextReaderTest, AnEmptyFileIsReadAndEmpty) {
  const SysfsDir files;
  EXPECT_EQ(readFile(files.write("empty", "")), "");
}

TEST(TextReaderTest, ReadsAFileThatGetsTheFirstDescriptorAndClosesItAgain) {
  const SysfsDir files;
  const std::string path = files.write("word", "game");
  const StandardInputClosed closed;
  EXPECT_EQ(readFile(path), "game");
  EXPECT_TRUE(closed.isFree());
  EXPECT_EQ(readFile(files.node("")), std::nullopt);
  EXPECT_TRUE(closed.isFree()) << "also after a failed read";
}

TEST(TextReaderTest, AMissingFileADirectoryAndAFailingReadHaveNoContent) {
  const SysfsDir files;
  EXPECT_EQ(readFile(files.node("missing")), std::nullopt);
  EXPECT_EQ(readFile(files.node("")), std::nullopt) << "a directory opens, but cannot be read";
  ASSERT_TRUE(std::ifstream("/proc/self/mem").is_open());
  EXPECT_EQ(readFile("/proc/self/mem"), std::nullopt) << "nothing is mapped at address 0";
}

} // namespace
