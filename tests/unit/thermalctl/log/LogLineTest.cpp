#include "log/LogLine.h"

#include <regex>
#include <string>

#include <gtest/gtest.h>

#include "base/Messages.h"

namespace {

using Kind = LogLine::Kind;

LogLine parsed(const std::string& text) {
  const auto line = parseMessage(text);
  EXPECT_TRUE(line) << text;
  return line.value_or(LogLine());
}

TEST(LogLineTest, ReadsASampleOfARealSensor) {
  const std::string text = "[TalmorThermal] Sensor [big], Scen [game] temp(-500)";
  const LogLine line = parsed(text);
  EXPECT_EQ(line.kind, Kind::kSample);
  EXPECT_EQ(line.name, "big");
  EXPECT_EQ(line.scenario, "game");
  EXPECT_EQ(line.value, -500);
}

TEST(LogLineTest, ReadsASampleOfAVirtualSensor) {
  const std::string text = "[TalmorThermal] Sensor[skin] temp(41250)";
  const LogLine line = parsed(text);
  EXPECT_EQ(line.kind, Kind::kVirtual);
  EXPECT_EQ(line.name, "skin");
  EXPECT_EQ(line.value, 41250);
}

TEST(LogLineTest, ReadsWhoWokeAnAlgorithm) {
  const std::string text = "[TalmorThermal] Sensor [big] activate Algo [cap], scen [Default]";
  const LogLine line = parsed(text);
  EXPECT_EQ(line.kind, Kind::kWoken);
  EXPECT_EQ(line.sensor, "big");
  EXPECT_EQ(line.name, "cap");
  EXPECT_EQ(line.scenario, "Default");
}

TEST(LogLineTest, ReadsWhoPutAnAlgorithmToSleep) {
  const std::string text =
      "[TalmorThermal] Sensor [big] deactivate Algo [cap], scen [OLDSCEN_Default]";
  const LogLine line = parsed(text);
  EXPECT_EQ(line.kind, Kind::kPutToSleep);
  EXPECT_EQ(line.scenario, "OLDSCEN_Default");
}

TEST(LogLineTest, ReadsTheLevelsOfAMonitor) {
  const std::string text =
      "[TalmorThermal] [TalmorThermal] Monitor [cap] temp(61000) status(0 -> 2)";
  const LogLine line = parsed(text);
  EXPECT_EQ(line.kind, Kind::kLevel);
  EXPECT_EQ(line.name, "cap");
  EXPECT_EQ(line.before, 0);
  EXPECT_EQ(line.value, 2);
}

TEST(LogLineTest, TellsARequestOfAStepAlgorithmFromItsEnd) {
  const std::string request =
      "[TalmorThermal] [TalmorThermal] SS [cap] temp(61000->62000) status(3)";
  EXPECT_EQ(parsed(request).kind, Kind::kRequest);
  EXPECT_EQ(parsed(request).value, 3);
  const std::string end =
      "[TalmorThermal] [TalmorThermal] SS [cap] temp(61000->52000) status(3 -> 0)";
  EXPECT_EQ(parsed(end).kind, Kind::kReleased);
  EXPECT_EQ(parsed(end).before, 3);
}

TEST(LogLineTest, ReadsTheScenarioThatCameInForce) {
  const std::string text = "[TalmorThermal] All scenChangeDone to game";
  EXPECT_EQ(parsed(text).kind, Kind::kScenario);
  EXPECT_EQ(parsed(text).name, "game");
}

TEST(LogLineTest, KnowsEveryMessageOfTheDaemon) {
  for (const char* format : message::kAll) {
    std::string text = std::regex_replace(format, std::regex("%s"), "name");
    text = std::regex_replace(text, std::regex("%[du]"), "1");
    ASSERT_EQ(text.find('%'), std::string::npos) << "a conversion that the reader does not know";
    ASSERT_EQ(text.rfind(message::kStart, 0), 0U) << format;
    ASSERT_EQ(text.back(), '\n') << format;
    text.pop_back();
    EXPECT_TRUE(parseMessage(text)) << text;
  }
}

TEST(LogLineTest, TakesAnyTextForAPathOrAReason) {
  for (const char* text : {
           "Can't open : /vendor/etc/talmor thermal.conf",
           "Can't open node: ",
           "[CONF PARSE FAIL] There is some missing property for cap",
           "Conf file is copied!(/vendor/etc/a.conf -> /data/vendor/thermal/config/a.conf)",
           "[TalmorThermal] Device [gpu] open failed",
           "There is no scen name: ",
       })
    EXPECT_EQ(parsed("[TalmorThermal] " + std::string(text)).kind, Kind::kOther) << text;
}

TEST(LogLineTest, TakesNoOtherTextBesideAFixedOne) {
  for (const char* text : {
           "No scen file ",
           "No scen",
           "[TalmorThermal] statusApply: Level Table is Empty!",
           "[TalmorThermal] Device [gpu] open",
           "Changing Scenario Start (Default->game",
           "Something else",
       })
    EXPECT_FALSE(parseMessage("[TalmorThermal] " + std::string(text))) << text;
}

TEST(LogLineTest, TakesNoMessageThatIsCutOff) {
  for (const std::string text : {
           "[TalmorThermal] Sensor [big], Scen [game] temp(-500)",
           "[TalmorThermal] Sensor[skin] temp(41250)",
           "[TalmorThermal] Sensor [big] activate Algo [cap], scen [Default]",
           "[TalmorThermal] Sensor [big] deactivate Algo [cap], scen [Default]",
           "[TalmorThermal] [TalmorThermal] Monitor [cap] temp(61000) status(0 -> 2)",
           "[TalmorThermal] [TalmorThermal] SS [cap] temp(61000->62000) status(3)",
           "[TalmorThermal] [TalmorThermal] SS [cap] temp(61000->52000) status(3 -> 0)",
           "[TalmorThermal] Using Env Config!",
       }) {
    for (size_t length = 0; length < text.size(); ++length)
      EXPECT_FALSE(parseMessage(text.substr(0, length))) << text.substr(0, length);
  }
}

TEST(LogLineTest, TakesNoTwoMessagesRunTogether) {
  for (const char* text : {
           "[TalmorThermal] Sensor [big], Scen [ga[TalmorThermal] Sensor [gpu], Scen [game] "
           "temp(3)",
           "[TalmorThermal] Sensor [big], Scen [game] temp(5)[TalmorThermal] No scen file",
           "[TalmorThermal] Sensor [[TalmorThermal] Sensor[skin] temp(41250)",
           "[TalmorThermal] All scenChangeDone to [TalmorThermal] No scen file",
       })
    EXPECT_FALSE(parseMessage(text)) << text;
}

TEST(LogLineTest, TakesNoNumberBeyondWhatTheDaemonCanHold) {
  EXPECT_TRUE(parseMessage("[TalmorThermal] Sensor[skin] temp(-2147483648)"));
  EXPECT_FALSE(parseMessage("[TalmorThermal] Sensor[skin] temp(2147483648)"));
}

} // namespace
