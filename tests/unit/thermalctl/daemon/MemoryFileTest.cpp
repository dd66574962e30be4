#include "daemon/MemoryFile.h"

#include <sys/resource.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <system_error>

#include <gtest/gtest.h>

namespace {

std::string contentOf(const std::string& path) {
  std::ostringstream text;
  text << std::ifstream(path).rdbuf();
  return text.str();
}

// The number of files that the process may have open, put back at the end.
class FileLimit {
public:
  explicit FileLimit(rlim_t number) {
    ::getrlimit(RLIMIT_NOFILE, &before);
    const struct rlimit limit = {number, before.rlim_max};
    ::setrlimit(RLIMIT_NOFILE, &limit);
  }
  ~FileLimit() { ::setrlimit(RLIMIT_NOFILE, &before); }
  FileLimit(const FileLimit&) = delete;
  FileLimit& operator=(const FileLimit&) = delete;

private:
  struct rlimit before = {};
};

TEST(MemoryFileTest, HoldsWhatItIsMadeWith) {
  EXPECT_EQ(contentOf(MemoryFile("45000\n").path()), "45000\n");
  EXPECT_EQ(contentOf(MemoryFile().path()), "");
}

TEST(MemoryFileTest, ReplacingLeavesNothingOfALongerText) {
  MemoryFile file("a longer text");
  file.replace("short");
  EXPECT_EQ(contentOf(file.path()), "short");
}

TEST(MemoryFileTest, EachReaderHasAPositionOfItsOwn) {
  MemoryFile file("one two");
  std::ifstream first(file.path());
  std::ifstream second(file.path());
  std::string word;
  first >> word;
  EXPECT_EQ(word, "one");
  second >> word;
  EXPECT_EQ(word, "one");
}

TEST(MemoryFileTest, IsGoneWithTheObject) {
  std::string path;
  {
    const MemoryFile file("text");
    path = file.path();
    EXPECT_TRUE(std::filesystem::exists(path));
  }
  EXPECT_FALSE(std::filesystem::exists(path));
}

TEST(MemoryFileTest, TellsWhenTheProcessHasTooManyFilesOpen) {
  // A sanitizer opens files to get to know a type, and then there are none left to open.
  EXPECT_NE(std::system_error(1, std::generic_category(), "").code(), std::error_code());
  try {
    const FileLimit none(0);
    const MemoryFile file("text");
    FAIL() << "a file beyond the limit";
  } catch (const std::system_error& error) {
    EXPECT_EQ(error.code(), std::errc::too_many_files_open);
    EXPECT_NE(std::string(error.what()).find("a file in memory"), std::string::npos);
  }
}

} // namespace
