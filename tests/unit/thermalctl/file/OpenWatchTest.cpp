#include "file/OpenWatch.h"

#include <gtest/gtest.h>

#include "support/SysfsDir.h"

namespace {

TEST(OpenWatchTest, NoticesThatAFileIsOpened) {
  const SysfsDir directory;
  OpenWatch watch(directory.write("file", "text"));
  EXPECT_FALSE(watch.error());
  EXPECT_EQ(watch.times(), 0);
  directory.read("file");
  EXPECT_EQ(watch.times(), 1);
  EXPECT_EQ(watch.times(), 1);
}

TEST(OpenWatchTest, CountsHowOften) {
  const SysfsDir directory;
  OpenWatch watch(directory.write("file", "text"));
  for (int i = 0; i < 100; ++i)
    directory.read("file");
  EXPECT_EQ(watch.times(), 100);
  directory.read("file");
  EXPECT_EQ(watch.times(), 101);
}

TEST(OpenWatchTest, NoticesAnEmptyFileToo) {
  const SysfsDir directory;
  OpenWatch watch(directory.write("file", ""));
  directory.read("file");
  EXPECT_EQ(watch.times(), 1);
}

TEST(OpenWatchTest, DoesNotCareForAnotherFileThatTakesItsPlace) {
  const SysfsDir directory;
  OpenWatch watch(directory.write("file", "text"));
  std::filesystem::rename(directory.write("new", ""), directory.node("file"));
  directory.read("file");
  EXPECT_EQ(watch.times(), 0);
}

TEST(OpenWatchTest, SaysWhyItCannotWatch) {
  const SysfsDir directory;
  EXPECT_EQ(OpenWatch(directory.node("missing")).error(), std::errc::no_such_file_or_directory);
}

} // namespace
