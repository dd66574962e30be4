#include "file/Names.h"

#include <gtest/gtest.h>

#include "support/SysfsDir.h"

namespace {

TEST(NamesTest, AFileIsCalledByItsOwnName) {
  EXPECT_EQ(shortName("a/day.conf", {"a/day.conf", "a/night.conf"}), "day.conf");
  EXPECT_EQ(shortName("day.conf", {"day.conf"}), "day.conf");
}

TEST(NamesTest, NamesakesAreCalledByTheirPaths) {
  const std::vector<std::string> all = {"a/day.conf", "b/day.conf", "b/night.conf"};
  EXPECT_EQ(shortName("a/day.conf", all), "a/day.conf");
  EXPECT_EQ(shortName("b/day.conf", all), "b/day.conf");
  EXPECT_EQ(shortName("b/night.conf", all), "night.conf");
}

TEST(NamesTest, KnowsWhatLiesBesideAFileThatIsMissing) {
  const SysfsDir directory;
  for (const char* name : {"night.conf", "day.conf", "board.env"})
    directory.write(name, "");
  EXPECT_EQ(namesBeside(directory.node("nigth.conf")),
            (std::vector<std::string>{"board.env", "day.conf", "night.conf"}));
  EXPECT_TRUE(namesBeside(directory.node("no/night.conf")).empty());
}

} // namespace
