#include "file/ReplaceFile.h"

#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <array>
#include <filesystem>

#include <gtest/gtest.h>

#include "support/SysfsDir.h"

namespace {

class ReplaceFileTest : public ::testing::Test {
protected:
  size_t filesThere() const {
    const std::filesystem::directory_iterator files(directory.node(""));
    return static_cast<size_t>(std::distance(begin(files), end(files)));
  }
  mode_t modeOf(const std::string& name) const {
    struct stat status = {};
    EXPECT_EQ(::stat(directory.node(name).c_str(), &status), 0);
    return status.st_mode & 07777;
  }

  SysfsDir directory;
};

TEST_F(ReplaceFileTest, MakesAFileThatIsNotThere) {
  const Replacement made = replaceFile(directory.node("new"), "word");
  EXPECT_FALSE(made.error);
  EXPECT_TRUE(made.file);
  EXPECT_EQ(directory.read("new"), "word");
  EXPECT_EQ(filesThere(), 1U);
}

TEST_F(ReplaceFileTest, MakesAFileThatAllMayRead) {
  const mode_t before = ::umask(077);
  replaceFile(directory.node("new"), "word");
  ::umask(before);
  EXPECT_EQ(modeOf("new"), 0644U);
}

TEST_F(ReplaceFileTest, ReplacesTheContentByteForByte) {
  const std::string content("a\0b\xFF\r\n", 6);
  directory.write("file", "something much longer than that");
  EXPECT_FALSE(replaceFile(directory.node("file"), content).error);
  EXPECT_EQ(directory.read("file"), content);
}

TEST_F(ReplaceFileTest, EmptiesAFile) {
  directory.write("file", "old");
  EXPECT_FALSE(replaceFile(directory.node("file"), "").error);
  EXPECT_EQ(directory.read("file"), "");
}

TEST_F(ReplaceFileTest, LeavesAnOpenReaderTheOldFile) {
  std::ifstream reader(directory.write("file", "old"));
  replaceFile(directory.node("file"), "new");
  std::string word;
  reader >> word;
  EXPECT_EQ(word, "old");
  EXPECT_EQ(directory.read("file"), "new");
}

TEST_F(ReplaceFileTest, KeepsTheModeOfTheFileThere) {
  for (const mode_t mode : {0600U, 0664U, 0666U}) {
    ::chmod(directory.write("file", "old").c_str(), mode);
    replaceFile(directory.node("file"), "new");
    EXPECT_EQ(modeOf("file"), mode);
  }
}

TEST_F(ReplaceFileTest, KeepsTheOwnerOfTheFileThere) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can give a file away";
  ASSERT_EQ(::chown(directory.write("file", "old").c_str(), 1234, 5678), 0);
  replaceFile(directory.node("file"), "new");
  struct stat status = {};
  ASSERT_EQ(::stat(directory.node("file").c_str(), &status), 0);
  EXPECT_EQ(status.st_uid, 1234U);
  EXPECT_EQ(status.st_gid, 5678U);
}

TEST_F(ReplaceFileTest, KeepsTheLabelOfTheFileThere) {
  constexpr char kLabel[] = "u:object_r:talmor_thermal_control_file:s0";
  const std::string path = directory.write("file", "old");
  if (::setxattr(path.c_str(), "security.selinux", kLabel, sizeof kLabel, 0) != 0)
    GTEST_SKIP() << "labels are not this user's to give";
  replaceFile(path, "new");
  std::array<char, sizeof kLabel> label = {};
  ASSERT_EQ(::getxattr(path.c_str(), "security.selinux", label.data(), label.size()),
            static_cast<ssize_t>(label.size()));
  EXPECT_STREQ(label.data(), kLabel);
}

TEST_F(ReplaceFileTest, AnExchangeGivesWhatWasThere) {
  directory.write("file", "old");
  const Exchange exchange = exchangeFile(directory.node("file"), "new");
  EXPECT_FALSE(exchange.error);
  EXPECT_EQ(directory.read("file"), "new");
  std::array<char, 8> text = {};
  EXPECT_EQ(::pread(exchange.displaced.get(), text.data(), text.size(), 0), 3);
  EXPECT_STREQ(text.data(), "old");
  EXPECT_EQ(filesThere(), 1U);
}

TEST_F(ReplaceFileTest, AnExchangeMakesAFileThatIsNotThere) {
  const Exchange exchange = exchangeFile(directory.node("new"), "word");
  EXPECT_FALSE(exchange.error);
  EXPECT_TRUE(exchange.file);
  EXPECT_FALSE(exchange.displaced);
  EXPECT_EQ(directory.read("new"), "word");
  EXPECT_EQ(filesThere(), 1U);
}

TEST_F(ReplaceFileTest, AnExchangeKeepsTheModeOfTheFileThere) {
  ::chmod(directory.write("file", "old").c_str(), 0640);
  exchangeFile(directory.node("file"), "new");
  EXPECT_EQ(modeOf("file"), 0640U);
}

TEST_F(ReplaceFileTest, AnExchangeLeavesNothingBehindWhenItFails) {
  std::filesystem::create_directory(directory.node("folder"));
  EXPECT_EQ(exchangeFile(directory.node("folder"), "word").error, std::errc::is_a_directory);
  EXPECT_EQ(exchangeFile(directory.node("no/file"), "word").error,
            std::errc::no_such_file_or_directory);
  EXPECT_EQ(filesThere(), 1U);
}

TEST_F(ReplaceFileTest, NamesTheReasonWhenTheDirectoryIsMissing) {
  const Replacement failed = replaceFile(directory.node("no/file"), "word");
  EXPECT_EQ(failed.error, std::errc::no_such_file_or_directory);
  EXPECT_FALSE(failed.file);
}

TEST_F(ReplaceFileTest, LeavesNothingBehindWhenTheNameIsTaken) {
  std::filesystem::create_directory(directory.node("file"));
  EXPECT_EQ(replaceFile(directory.node("file"), "word").error, std::errc::is_a_directory);
  EXPECT_EQ(filesThere(), 1U);
  EXPECT_TRUE(std::filesystem::is_directory(directory.node("file")));
}

} // namespace
