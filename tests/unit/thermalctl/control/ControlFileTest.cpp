#include "control/ControlFile.h"

#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

#include "file/ReplaceFile.h"
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

TEST(ControlFileTest, ReadsTheDaemonsAnswerInTheFileThatItHasPutThere) {
  const SysfsDir directory;
  ControlFile file(directory.write("word", "Default"));
  file.ask("arcade");
  ScenarioThread().writeToFile(directory.node("word"), "Default");
  EXPECT_EQ(file.word(), "Default");
}

TEST(ControlFileTest, ReadsTheFileThatAnotherHasPutInItsPlace) {
  const SysfsDir directory;
  ControlFile file(directory.write("word", "Default"));
  file.ask("game");
  replaceFile(directory.node("word"), "night");
  EXPECT_EQ(file.word(), "night");
  std::filesystem::rename(directory.node("word"), directory.node("elsewhere"));
  EXPECT_EQ(file.word(), std::nullopt);
  directory.write("word", "day");
  EXPECT_EQ(file.word(), "day");
}

TEST(ControlFileTest, HasDisplacedNothingThatIsUnread) {
  const SysfsDir directory;
  ControlFile file(directory.node("word"));
  file.ask("game");
  EXPECT_EQ(file.displacedWord(), std::nullopt);
  file.word();
  file.ask("night");
  EXPECT_EQ(file.displacedWord(), std::nullopt);
}

TEST(ControlFileTest, TellsTheWordThatCameBetweenItsLookAndItsAsking) {
  for (const bool inPlace : {false, true}) {
    const SysfsDir directory;
    ControlFile file(directory.write("word", "Default"));
    file.word();
    if (inPlace)
      directory.write("word", "night");
    else
      replaceFile(directory.node("word"), "night");
    file.ask("game");
    EXPECT_EQ(file.word(), "game");
    EXPECT_EQ(file.displacedWord(), "night");
  }
}

TEST(ControlFileTest, TellsTheWordOfAWriterWhoHadTheFileOpenStill) {
  const SysfsDir directory;
  ControlFile file(directory.write("word", "Default"));
  std::ofstream emptied(directory.node("word"));
  file.word();
  file.ask("game");
  EXPECT_EQ(file.displacedWord(), std::nullopt);
  emptied << "night" << std::flush;
  EXPECT_EQ(file.word(), "game");
  EXPECT_EQ(file.displacedWord(), "night");
}

TEST(ControlFileTest, TellsAWordThatIsAskedForOnceMore) {
  const SysfsDir directory;
  ControlFile file(directory.write("word", "Default"));
  std::filesystem::last_write_time(file.path, std::filesystem::file_time_type::clock::now() -
                                                  std::chrono::hours(1));
  file.word();
  directory.write("word", "Default");
  file.ask("game");
  EXPECT_EQ(file.displacedWord(), "Default");
}

TEST(ControlFileTest, KnowsForHowLongItHasBeenAsItIs) {
  const SysfsDir directory;
  ControlFile file(directory.write("word", "Default"));
  file.word();
  EXPECT_LT(file.age(), std::chrono::minutes(1));
  std::filesystem::last_write_time(file.path, std::filesystem::file_time_type::clock::now() -
                                                  std::chrono::hours(1));
  file.word();
  EXPECT_GT(file.age(), std::chrono::minutes(59));
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
