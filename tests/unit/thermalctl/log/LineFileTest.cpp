#include "log/LineFile.h"

#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <stdlib.h>
#include <zlib.h>

namespace {

using Lines = std::vector<std::string>;

class LineFileTest : public ::testing::Test {
protected:
  LineFileTest() {
    std::string name = (std::filesystem::temp_directory_path() / "lines-XXXXXX").string();
    folder = ::mkdtemp(name.data());
  }
  ~LineFileTest() override { std::filesystem::remove_all(folder); }

  std::string write(const std::string& content) {
    std::ofstream(folder / "log") << content;
    return folder / "log";
  }

  std::string writeCompressed(const std::string& content) {
    std::string path = folder / "log.gz";
    const gzFile file = ::gzopen(path.c_str(), "wb");
    ::gzwrite(file, content.data(), static_cast<unsigned>(content.size()));
    ::gzclose(file);
    return path;
  }

  static Lines linesOf(LineFile& file) {
    Lines lines;
    std::string_view line;
    while (file.next(line))
      lines.emplace_back(line);
    return lines;
  }

  static Lines linesOf(const std::string& path) {
    LineFile file(path);
    EXPECT_EQ(file.problem(), "");
    return linesOf(file);
  }

  std::filesystem::path folder;
};

std::string utf16(const std::u16string& text, bool bigEndian) {
  std::string bytes;
  for (const char16_t unit : text) {
    const char high = static_cast<char>(unit >> 8);
    const char low = static_cast<char>(unit & 0xff);
    bytes += bigEndian ? high : low;
    bytes += bigEndian ? low : high;
  }
  return bytes;
}

TEST_F(LineFileTest, GivesLinesWithoutTheirEnds) {
  EXPECT_EQ(linesOf(write("one\ntwo\r\n\nlast")), (Lines{"one", "two", "", "last"}));
  EXPECT_EQ(linesOf(write("")), Lines());
  EXPECT_EQ(linesOf(write("\n")), Lines{""});
}

TEST_F(LineFileTest, GivesThemAgainFromTheStart) {
  LineFile file(write("one\ntwo\n"));
  std::string_view line;
  file.next(line);
  file.rewind();
  EXPECT_EQ(linesOf(file), (Lines{"one", "two"}));
  file.rewind();
  EXPECT_EQ(linesOf(file), (Lines{"one", "two"}));
}

TEST_F(LineFileTest, ReadsWhatGzipHasCompressed) {
  EXPECT_EQ(linesOf(writeCompressed("one\ntwo\n")), (Lines{"one", "two"}));
}

TEST_F(LineFileTest, ReadsCompressedFilesThatStandOneBehindTheOther) {
  const std::string path = writeCompressed("one\n");
  std::ifstream in(path, std::ios::binary);
  const std::string once((std::istreambuf_iterator<char>(in)), {});
  EXPECT_EQ(linesOf(write(once + once)), (Lines{"one", "one"}));
}

TEST_F(LineFileTest, TellsThatCompressedDataAreCutOffAndGivesWhatComesBefore) {
  std::string text;
  for (int i = 0; i < 100000; ++i)
    text += std::to_string(i * 7919 % 100003) + "\n";
  const std::string path = writeCompressed(text);
  std::filesystem::resize_file(path, std::filesystem::file_size(path) / 2);
  LineFile file(path);
  EXPECT_GT(linesOf(file).size(), 1000u);
  EXPECT_EQ(file.problem(), "");
  EXPECT_EQ(file.damage(), "its compressed data end in the middle; what comes before is shown");
}

TEST_F(LineFileTest, TellsThatCompressedDataAreDamaged) {
  std::string text;
  for (int i = 0; i < 100000; ++i)
    text += std::to_string(i * 7919 % 100003) + "\n";
  const std::string path = writeCompressed(text);
  std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
  file.seekp(static_cast<std::streamoff>(std::filesystem::file_size(path) / 2));
  file << "damaged damaged damaged";
  file.close();
  LineFile damaged(path);
  linesOf(damaged);
  EXPECT_NE(damaged.damage(), "");
}

TEST_F(LineFileTest, ReadsUtf16OfBothOrdersWithAMarkAndWithoutOne) {
  const std::u16string text = u"V/t\u00e4g: \U0001f600\r\ntwo\r\n";
  const Lines expected = {"V/t\xC3\xA4g: \xF0\x9F\x98\x80", "two"};
  for (const bool bigEndian : {false, true}) {
    EXPECT_EQ(linesOf(write(utf16(text, bigEndian))), expected);
    EXPECT_EQ(linesOf(write(utf16(u"\ufeff" + text, bigEndian))), expected);
  }
}

TEST_F(LineFileTest, ReadsUtf8WithAMark) {
  EXPECT_EQ(linesOf(write("\xEF\xBB\xBFone\n")), Lines{"one"});
}

TEST_F(LineFileTest, LeavesOutColours) {
  EXPECT_EQ(linesOf(write("\x1b[38;5;40mV/tag: text\x1b[0m\nplain\n\x1b[1\n\x1b")),
            (Lines{"V/tag: text", "plain", "", ""}));
}

TEST_F(LineFileTest, GivesALineWithoutEndInPieces) {
  const Lines lines = linesOf(write(std::string(3 << 20, 'x') + "\nlast\n"));
  ASSERT_GT(lines.size(), 2u);
  EXPECT_EQ(lines.back(), "last");
  std::string all;
  for (const std::string& line : lines)
    all += line;
  EXPECT_EQ(all.size(), (3u << 20) + 4);
}

TEST_F(LineFileTest, KeepsWhatCanBeReadOnlyOnce) {
  const std::string path = folder / "pipe";
  ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
  for (const bool compressed : {false, true}) {
    std::ifstream in(compressed ? writeCompressed("one\ntwo\n") : write("one\ntwo\n"));
    std::thread writer([&] { std::ofstream(path) << in.rdbuf(); });
    LineFile file(path);
    writer.join();
    EXPECT_EQ(linesOf(file), (Lines{"one", "two"}));
    file.rewind();
    EXPECT_EQ(linesOf(file), (Lines{"one", "two"}));
  }
}

TEST_F(LineFileTest, TellsWhyItCannotRead) {
  EXPECT_EQ(LineFile(folder / "none").problem(), "cannot be read: No such file or directory");
  EXPECT_EQ(LineFile(folder).problem(), "cannot be read: Is a directory");
}

TEST_F(LineFileTest, KnowsWhatOtherProgramsMakeOfLogs) {
  EXPECT_EQ(LineFile(write("PK\3\4....")).problem(),
            "is a zip archive: unpack it, and give the log that is in it");
  for (const char* start : {"\x28\xB5\x2F\xFD....",
                            "\xFD"
                            "7zXZ....",
                            "BZh9...."})
    EXPECT_NE(LineFile(write(start)).problem().find(" -dc FILE | thermalctl plot -"),
              std::string::npos);
}

} // namespace
