#include "file/OutputFiles.h"

#include <sys/stat.h>

#include <filesystem>
#include <set>

#include <gtest/gtest.h>

#include "support/FullDisk.h"
#include "support/SysfsDir.h"

namespace {

class OutputFilesTest : public testing::Test {
protected:
  // All that is in the folder, hidden files too.
  std::set<std::string> names(const std::string& folder = "") const {
    std::set<std::string> all;
    for (const auto& entry : std::filesystem::directory_iterator(dir.node(folder)))
      all.insert(entry.path().filename().string());
    return all;
  }

  SysfsDir dir;
};

using Names = std::set<std::string>;

TEST_F(OutputFilesTest, TakeTheirPlacesTogether) {
  dir.write("a", "old");
  OutputFiles files(dir.node(""));
  files.add("a") << "new" << ' ' << 1;
  files.add("b") << std::string(100'000, 'x');
  EXPECT_EQ(dir.read("a"), "old");
  EXPECT_FALSE(dir.exists("b"));
  EXPECT_EQ(files.putInPlace(), std::nullopt);
  EXPECT_EQ(dir.read("a"), "new 1");
  EXPECT_EQ(dir.read("b").size(), 100'000U);
  EXPECT_EQ(names(), (Names{"a", "b"}));
}

TEST_F(OutputFilesTest, LeaveNothingWithoutTheirEnd) {
  dir.write("a", "old");
  {
    OutputFiles files(dir.node("new/deep"));
    files.add("c") << "text";
    OutputFiles others(dir.node(""));
    others.add("a") << "new";
    others.add("b") << "new";
    EXPECT_TRUE(dir.exists("new/deep"));
    EXPECT_EQ(files.failure(), std::nullopt);
  }
  EXPECT_EQ(names(), Names{"a"});
  EXPECT_EQ(dir.read("a"), "old");
}

TEST_F(OutputFilesTest, KeepTheFoldersThatWereMadeForThem) {
  {
    OutputFiles files(dir.node("new/deep/"));
    files.add("c") << "text";
    EXPECT_EQ(files.putInPlace(), std::nullopt);
  }
  EXPECT_EQ(dir.read("new/deep/c"), "text");
  EXPECT_EQ(names("new/deep"), Names{"c"});
}

TEST_F(OutputFilesTest, HaveTheModeOfThoseThatTheyReplace) {
  ::chmod(dir.write("a", "old").c_str(), 0640);
  const mode_t mask = ::umask(027);
  OutputFiles files(dir.node(""));
  files.add("a") << "new";
  files.add("b") << "new";
  EXPECT_EQ(files.putInPlace(), std::nullopt);
  ::umask(mask);
  struct stat status = {};
  ::stat(dir.node("a").c_str(), &status);
  EXPECT_EQ(status.st_mode & 07777, 0640U);
  ::stat(dir.node("b").c_str(), &status);
  EXPECT_EQ(status.st_mode & 07777, 0640U) << "0666 less the umask";
}

TEST_F(OutputFilesTest, PutNoneInPlaceIfTheDiskRefusesOne) {
  dir.write("a", "old");
  {
    OutputFiles files(dir.node(""));
    files.add("a") << "new";
    std::ostream& full = files.add("b");
    {
      const FullDisk disk;
      full << "more than fits" << std::flush;
    }
    full << "this neither";
    EXPECT_EQ(files.putInPlace(), dir.node("b") + ": cannot be written: File too large");
  }
  EXPECT_EQ(dir.read("a"), "old");
  EXPECT_EQ(names(), Names{"a"});
}

TEST_F(OutputFilesTest, TellWhatStandsInTheWayAtOnce) {
  std::filesystem::create_directory(dir.node("folder"));
  dir.write("file", "");
  OutputFiles onFolder(dir.node(""));
  onFolder.add("file");
  onFolder.add("folder");
  onFolder.add("other");
  EXPECT_EQ(onFolder.failure(), dir.node("folder") + ": cannot be written: Is a directory");
  OutputFiles belowFile(dir.node("file"));
  belowFile.add("a");
  EXPECT_EQ(belowFile.failure(), dir.node("file") + ": cannot be written: File exists");
  OutputFiles deepBelowFile(dir.node("file/deeper"));
  EXPECT_EQ(deepBelowFile.failure(), dir.node("file") + ": cannot be written: File exists");
}

TEST_F(OutputFilesTest, DoNotReplaceAPipeOrADevice) {
  ::mkfifo(dir.node("pipe").c_str(), 0600);
  OutputFiles files(dir.node(""));
  files.add("pipe");
  EXPECT_EQ(files.failure(), dir.node("pipe") + ": cannot be written: Operation not permitted");
}

} // namespace
