#include "control/ControlFile.h"

#include <gtest/gtest.h>

#include "support/SysfsDir.h"
#include "thread/ScenarioThread.h"

namespace {

TEST(ControlFileTest, ReadsTheWordThatTheDaemonReads) {
  const SysfsDir directory;
  const std::string contents[] = {
      "game",   "game\n",   " \t\n\r\v\fgame \n",     "game and more\nlines",         "", " \n\t ",
      "PARSED", "\xFF\xFE", std::string("a\0b c", 5), std::string(100000, 'x') + " y"};
  for (const std::string& content : contents) {
    const std::string path = directory.write("word", content);
    EXPECT_EQ(ControlFile(path).word(), ScenarioThread().checkStringInFile(path)) << content;
  }
}

TEST(ControlFileTest, HasNoWordWithoutAFile) {
  EXPECT_EQ(ControlFile("/no/such/file").word(), std::nullopt);
}

TEST(ControlFileTest, AsksWithTheBareWord) {
  const SysfsDir directory;
  ControlFile file(directory.write("word", "Default"));
  EXPECT_FALSE(file.ask("game"));
  EXPECT_EQ(directory.read("word"), "game");
}

TEST(ControlFileTest, IsNotReplacedByTheDaemonsAnswer) {
  const SysfsDir directory;
  ControlFile file(directory.node("word"));
  file.ask("arcade");
  ScenarioThread().writeToFile(directory.node("word"), "Default");
  EXPECT_EQ(file.word(), "Default");
  EXPECT_FALSE(file.isReplaced());
}

TEST(ControlFileTest, IsReplacedByAnotherWritersFile) {
  const SysfsDir directory;
  ControlFile file(directory.node("word"));
  EXPECT_FALSE(file.isReplaced());
  file.ask("game");
  EXPECT_FALSE(file.isReplaced());
  ControlFile(directory.node("word")).ask("night");
  EXPECT_TRUE(file.isReplaced());
  file.ask("game");
  EXPECT_FALSE(file.isReplaced());
}

TEST(ControlFileTest, TakesForAWordWhatTheDaemonReadsInOnePiece) {
  const struct {
    const char* text;
    bool isWord;
  } cases[] = {
      {"game", true},       {"talmor-thermal_night.conf", true},
      {"[]", true},         {"\xC3\xA4", true},
      {"PARSED", true},     {"ENOFILE.conf", true},
      {"", false},          {"ENOFILE", false},
      {"two words", false}, {" game", false},
      {"game\n", false},    {"a\tb", false},
      {"a\vb", false},      {"a\fb", false},
      {"a\rb", false},
  };
  for (const auto& c : cases)
    EXPECT_EQ(isOneWord(c.text), c.isWord) << c.text;
}

TEST(ControlFileTest, FindsTheDaemonsFilesBelowADirectory) {
  const ControlDirectory directory("/data/vendor/thermal");
  EXPECT_EQ(directory.scenarioFile, "/data/vendor/thermal/talmor-thermal.scen");
  EXPECT_EQ(directory.requestFile, "/data/vendor/thermal/talmor-thermal.dconf");
  EXPECT_EQ(directory.configurations, "/data/vendor/thermal/config/");
}

} // namespace
