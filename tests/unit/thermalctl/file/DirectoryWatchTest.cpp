#include "file/DirectoryWatch.h"

#include <algorithm>
#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

#include "file/ReplaceFile.h"
#include "support/SysfsDir.h"

namespace {

class DirectoryWatchTest : public ::testing::Test {
protected:
  // What has been done to the file since the last call.
  std::vector<FileEvent::Kind> doneTo(const std::string& name) {
    std::vector<FileEvent::Kind> kinds;
    for (const FileEvent& event : watch.take())
      if (event.name == name) kinds.push_back(event.kind);
    return kinds;
  }
  using Kinds = std::vector<FileEvent::Kind>;

  SysfsDir directory;
  DirectoryWatch watch{directory.node("")};
};

TEST_F(DirectoryWatchTest, TellsReadersFromWriters) {
  directory.write("word", "Default");
  watch.take();
  directory.read("word");
  EXPECT_EQ(doneTo("word"), Kinds{FileEvent::kRead});
  directory.write("word", "game");
  EXPECT_EQ(doneTo("word"), Kinds{FileEvent::kWritten});
  EXPECT_EQ(doneTo("word"), Kinds{});
}

TEST_F(DirectoryWatchTest, CountsWhatIsDoneTwice) {
  directory.write("word", "Default");
  directory.write("word", "game");
  const Kinds kinds = doneTo("word");
  EXPECT_EQ(std::count(kinds.begin(), kinds.end(), FileEvent::kWritten), 2);
}

TEST_F(DirectoryWatchTest, NoticesAFileThatIsPutInThePlaceOfAnother) {
  directory.write("word", "Default");
  watch.take();
  const Replacement open = replaceFile(directory.node("word"), "game");
  EXPECT_EQ(doneTo("word"), Kinds{FileEvent::kReplaced});
  directory.read("word");
  EXPECT_EQ(doneTo("word"), Kinds{FileEvent::kRead});
  std::filesystem::remove(directory.node("word"));
  EXPECT_EQ(doneTo("word"), Kinds{FileEvent::kReplaced});
}

TEST_F(DirectoryWatchTest, DoesNotTakeTheReaderOfAFileThatWasReplacedForOneOfTheNew) {
  std::ifstream reader(directory.write("word", "Default"));
  replaceFile(directory.node("word"), "game");
  watch.take();
  reader.close();
  EXPECT_EQ(doneTo("word"), Kinds{});
}

TEST_F(DirectoryWatchTest, KeepsTheOrderAcrossFiles) {
  directory.write("first", "");
  directory.write("second", "");
  watch.take();
  directory.read("second");
  directory.read("first");
  const std::vector<FileEvent> events = watch.take();
  ASSERT_EQ(events.size(), 2U);
  EXPECT_TRUE(events[0].concerns(directory.node("second")));
  EXPECT_TRUE(events[1].concerns(directory.node("first")));
  EXPECT_FALSE(events[1].concerns(directory.node("the-first")));
}

TEST_F(DirectoryWatchTest, SaysWhyItCannotWatch) {
  EXPECT_EQ(DirectoryWatch(directory.node("missing")).error(),
            std::errc::no_such_file_or_directory);
  EXPECT_EQ(DirectoryWatch(directory.write("file", "")).error(), std::errc::not_a_directory);
  EXPECT_TRUE(DirectoryWatch(directory.node("missing")).take().empty());
}

} // namespace
