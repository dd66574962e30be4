#include "command/PageOrigin.h"

#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "support/EnvironmentVariable.h"
#include "support/SysfsDir.h"

namespace {

class PageOriginTest : public testing::Test {
protected:
  std::string dateAt(const std::optional<std::string>& epoch) const {
    given.set(epoch);
    return originOf({}, "").date;
  }

  const EnvironmentVariable given{"SOURCE_DATE_EPOCH", std::nullopt};

  SysfsDir files;
};

TEST_F(PageOriginTest, NamesEachFileOnceWithTheDigestOfItsBytes) {
  const std::string day = files.write("day.conf", "abc");
  const std::string empty = files.write("empty", "");
  const Provenance origin = originOf({day, empty, day}, "7");
  ASSERT_EQ(origin.inputs.size(), 2U);
  EXPECT_EQ(origin.inputs[0].path, day);
  EXPECT_EQ(origin.inputs[0].sha256,
            "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
  EXPECT_EQ(origin.inputs[1].sha256,
            "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
  EXPECT_EQ(origin.seed, "7");
}

TEST_F(PageOriginTest, AFileThatCannotBeReadHasNoDigest) {
  const Provenance origin = originOf({files.node("nowhere")}, "");
  ASSERT_EQ(origin.inputs.size(), 1U);
  EXPECT_EQ(origin.inputs[0].sha256, "");
}

TEST_F(PageOriginTest, TheDateMayBeGiven) {
  EXPECT_EQ(dateAt("0"), "1970-01-01T00:00:00Z");
  EXPECT_EQ(dateAt("951827696"), "2000-02-29T12:34:56Z");
  EXPECT_EQ(dateAt("4102444800"), "2100-01-01T00:00:00Z");
}

TEST_F(PageOriginTest, OtherwiseTheDateIsNow) {
  const std::string date = dateAt(std::nullopt);
  ASSERT_EQ(date.size(), 20U);
  EXPECT_GE(date.substr(0, 4), "2024");
  EXPECT_EQ(date.back(), 'Z');
}

TEST_F(PageOriginTest, TheCommandIsTheOneThatRuns) {
  std::ifstream own("/proc/self/cmdline");
  std::string program;
  std::getline(own, program, '\0');
  EXPECT_EQ(originOf({}, "").command.rfind(program, 0), 0U) << originOf({}, "").command;
}

TEST_F(PageOriginTest, WhereThereIsNoRoomAFileIsCalledByItsNameUnlessAnotherHasIt) {
  std::filesystem::create_directory(files.node("night"));
  const std::string day = files.write("board.conf", "abc");
  const std::string night = files.write("night/board.conf", "");
  const std::string plant = files.write("plant.toml", "abc");
  const std::vector<Provenance::Input> inputs = inputsByName({day, night, plant, day});
  ASSERT_EQ(inputs.size(), 3U);
  EXPECT_EQ(inputs[0].path, day);
  EXPECT_EQ(inputs[1].path, night);
  EXPECT_EQ(inputs[2].path, "plant.toml");
  EXPECT_EQ(inputs[2].sha256, inputs[0].sha256);
  EXPECT_NE(inputs[1].sha256, inputs[0].sha256);
}

TEST(ShellWordTest, QuotesWhatAShellWouldTakeApartOrChange) {
  const std::pair<const char*, const char*> words[] = {
      {"boards/phone", "boards/phone"},
      {"aZ09@%+=:,./_-", "aZ09@%+=:,./_-"},
      {"", "''"},
      {"my board", "'my board'"},
      {"rmse<=0.5C", "'rmse<=0.5C'"},
      {"$HOME", "'$HOME'"},
      {"it's", "'it'\\''s'"},
      {"'", "''\\'''"},
      {"a\nb", "'a\nb'"},
      {"\xC3\xA4", "'\xC3\xA4'"},
  };
  for (const auto& [text, word] : words)
    EXPECT_EQ(shellWord(text), word) << text;
}

} // namespace
