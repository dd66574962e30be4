#include "file/OpenWatch.h"

#include <gtest/gtest.h>

#include "support/SysfsDir.h"

namespace {

TEST(OpenWatchTest, NoticesThatAFileIsOpened) {
  const SysfsDir directory;
  OpenWatch watch(directory.write("file", "text"));
  EXPECT_FALSE(watch.error());
  EXPECT_FALSE(watch.isOpened());
  directory.read("file");
  EXPECT_TRUE(watch.isOpened());
  EXPECT_TRUE(watch.isOpened());
}

TEST(OpenWatchTest, NoticesAnEmptyFileToo) {
  const SysfsDir directory;
  OpenWatch watch(directory.write("file", ""));
  directory.read("file");
  EXPECT_TRUE(watch.isOpened());
}

TEST(OpenWatchTest, DoesNotCareForAnotherFileThatTakesItsPlace) {
  const SysfsDir directory;
  OpenWatch watch(directory.write("file", "text"));
  std::filesystem::rename(directory.write("new", ""), directory.node("file"));
  directory.read("file");
  EXPECT_FALSE(watch.isOpened());
}

TEST(OpenWatchTest, SaysWhyItCannotWatch) {
  const SysfsDir directory;
  EXPECT_EQ(OpenWatch(directory.node("missing")).error(), std::errc::no_such_file_or_directory);
}

} // namespace
