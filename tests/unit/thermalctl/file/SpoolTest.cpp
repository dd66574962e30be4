#include "file/Spool.h"

#include <filesystem>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "support/SysfsDir.h"

namespace {

TEST(SpoolTest, GivesAllThatWasWrittenAndIsNowhereToBeSeen) {
  SysfsDir folder;
  Spool spool(folder.node(""));
  const std::string text(300'000, 'x');
  spool.stream() << text << "end";
  EXPECT_TRUE(std::filesystem::is_empty(folder.node("")));
  std::ostringstream out;
  EXPECT_FALSE(spool.moveTo(out));
  EXPECT_EQ(out.str(), text + "end");
}

TEST(SpoolTest, TellsThatItsFolderCannotBeWritten) {
  Spool spool("/nowhere/at/all");
  spool.stream() << "text";
  std::ostringstream out;
  EXPECT_EQ(spool.moveTo(out), std::errc::no_such_file_or_directory);
}

} // namespace
