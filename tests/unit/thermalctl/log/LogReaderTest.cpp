#include "log/LogReader.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "thermalctl/log/TextLines.h"

namespace {

const Periods kNoPeriods;

// The time and the name of each message.
std::vector<std::string> messagesOf(LogReader& reader) {
  std::vector<std::string> messages;
  while (const auto line = reader.next())
    messages.push_back(std::to_string(reader.time()) + " " + std::string(line->name));
  return messages;
}

std::vector<std::string> messagesOf(const std::string& text) {
  TextLines lines(text);
  LogReader reader(lines, kNoPeriods);
  return messagesOf(reader);
}

LogReader::Counts countsOf(const std::string& text) {
  TextLines lines(text);
  LogReader reader(lines, kNoPeriods);
  messagesOf(reader);
  return reader.counts();
}

struct Format {
  const char* name;
  const char* text;
  bool hasTime;
};

class LogReaderFormatTest : public ::testing::TestWithParam<Format> {};

TEST_P(LogReaderFormatTest, IsReadWithItsTimes) {
  using ReadLines = std::vector<std::string>;
  // A host writes whole seconds.
  const char* skin = GetParam().name == std::string("Host") ? "1000 skin" : "1002 skin";
  EXPECT_EQ(messagesOf(GetParam().text),
            GetParam().hasTime ? (ReadLines{"0 big", skin}) : (ReadLines{"0 big", "0 skin"}));
  EXPECT_EQ(countsOf(GetParam().text).torn, 0u);
  EXPECT_EQ(countsOf(GetParam().text).ours, 2u);
  EXPECT_EQ(countsOf(GetParam().text).withoutTime, GetParam().hasTime ? 0u : 2u);
}

#define BIG_LINE "[TalmorThermal] Sensor [big], Scen [Default] temp(30000)\n"
#define SKIN "[TalmorThermal] Sensor[skin] temp(29000)\n"

INSTANTIATE_TEST_SUITE_P(
    Logcat, LogReaderFormatTest,
    ::testing::Values(
        Format{"Brief", "V/echo-service( 1234): " BIG_LINE "V/echo-service( 1234): " SKIN, false},
        Format{"Process",
               "V( 1234) [TalmorThermal] Sensor [big], Scen [Default] temp(30000)  "
               "(echo-service)\n"
               "V( 1234) [TalmorThermal] Sensor[skin] temp(29000)  (echo-service)\n",
               false},
        Format{"ProcessWithUser",
               "V(system: 1234) [TalmorThermal] Sensor [big], Scen [Default] "
               "temp(30000)  (echo-service)\n"
               "V(10123: 1234) [TalmorThermal] Sensor[skin] temp(29000)  "
               "(echo-service)\n",
               false},
        Format{"Thread", "V( 1234: 5678) " BIG_LINE "V( 1234: 5678) " SKIN, false},
        Format{"BriefWithUser",
               "V/echo-service(root: 1234): " BIG_LINE "V/echo-service( 1000: 1234): " SKIN, false},
        Format{"Host",
               "echo-service V 01-30 14:03:22  1234  5678 " BIG_LINE "\n"
               "echo-service V 01-30 14:03:23  1234  5678 " SKIN "\n",
               true},
        Format{"Monotonic",
               "   82.123  1234  5678 V echo-service: " BIG_LINE
               "   83.125  1234  5678 V echo-service: " SKIN,
               true},
        Format{"Tag", "V/echo-service: " BIG_LINE "V/echo-service: " SKIN, false},
        Format{"Raw", BIG_LINE SKIN, false},
        Format{"Time",
               "01-30 14:03:22.123 V/echo-service( 1234): " BIG_LINE
               "01-30 14:03:23.125 V/echo-service( 1234): " SKIN,
               true},
        Format{"Threadtime",
               "01-30 14:03:22.123  1234  5678 V echo-service: " BIG_LINE
               "01-30 14:03:23.125  1234  5678 V echo-service: " SKIN,
               true},
        Format{"ThreadtimeWithYearZoneAndMicroseconds",
               "2024-01-30 14:03:22.123456 +0100  1234  5678 V echo-service: " BIG_LINE
               "2024-01-30 14:03:23.125456 +0100  1234  5678 V echo-service: " SKIN,
               true},
        Format{"ThreadtimeWithUser",
               "01-30 14:03:22.123  root  1234  5678 V echo-service: " BIG_LINE
               "01-30 14:03:23.125  root  1234  5678 V echo-service: " SKIN,
               true},
        Format{"Epoch",
               "         1706623402.123  1234  5678 V echo-service: " BIG_LINE
               "         1706623403.125  1234  5678 V echo-service: " SKIN,
               true},
        Format{"Long",
               "[ 01-30 14:03:22.123  1234: 5678 V/echo-service ]\n" BIG_LINE "\n\n"
               "[ 01-30 14:03:23.125  1234: 5678 V/echo-service ]\n" SKIN "\n\n",
               true}),
    [](const auto& format) { return format.param.name; });

TEST(LogReaderTest, PassesOverTheLinesOfOthers) {
  const LogReader::Counts counts =
      countsOf("--------- beginning of main\n"
               "01-30 14:03:22.123   700   700 I ActivityManager: Start proc\n"
               "01-30 14:03:22.124  1234  5678 V echo-service: " BIG_LINE
               "01-30 14:03:22.125   700   700 W echo-service: somebody else's echo\n"
               "01-30 14:03:22.126   700   700 I watchdog: saw [TalmorThermal] No scen file\n"
               "01-30 14:03:22.127     1     1 I init: starting service 'echo-service'...\n");
  EXPECT_EQ(counts.lines, 6u);
  EXPECT_EQ(counts.ours, 1u);
  EXPECT_EQ(counts.torn, 0u);
}

TEST(LogReaderTest, PassesOverWhatOthersWroteInTheLongFormat) {
  EXPECT_EQ(countsOf("[ 01-30 14:03:22.123   700:  700 I/watchdog ]\n" BIG_LINE "\n").ours, 0u);
}

TEST(LogReaderTest, CountsTornLinesAndNamesTheFirst) {
  const LogReader::Counts counts =
      countsOf("01-30 14:03:22.123  1234  5678 V echo-service: " BIG_LINE
               "01-30 14:03:22.373  1234  5678 V echo-service: [TalmorThermal] Sensor [big], Sc\n"
               "01-30 14:03:22.623  1234  5678 V echo-service: [TalmorTh\n"
               "01-30 14:03:22.873  1234  5678 V echo-service: [TalmorThermal] Sensor [big], Scen "
               "[De01-30 14:03:22.874  1234  5678 V echo-service: " SKIN
               "01-30 14:03:23.123  1234  5678 V echo-service: " SKIN);
  EXPECT_EQ(counts.ours, 2u);
  EXPECT_EQ(counts.torn, 3u);
  EXPECT_EQ(counts.firstTorn, 2u);
}

TEST(LogReaderTest, ReadsALastLineWithoutItsLineFeed) {
  EXPECT_EQ(countsOf("V/echo-service: [TalmorThermal] No scen file").ours, 1u);
  EXPECT_EQ(countsOf("V/echo-service: [TalmorThermal] Sensor[skin] temp(29").torn, 1u);
}

TEST(LogReaderTest, LetsTheSamplesOfTheRealSensorsTellTheTimeWhereTheLogDoesNot) {
  const Periods periods = {{"big", 250}, {"battery", 1000}};
  std::string text;
  for (int i = 0; i < 5; ++i)
    text += "V/echo-service( 1234): " BIG_LINE;
  text += "V/echo-service( 1234): [TalmorThermal] Sensor [battery], Scen [Default] temp(1)\n";
  text += "V/echo-service( 1234): [TalmorThermal] Sensor [battery], Scen [Default] temp(2)\n";
  text += "V/echo-service( 1234): [TalmorThermal] Sensor [battery], Scen [Default] temp(3)\n";
  TextLines lines(text);
  LogReader reader(lines, periods);
  EXPECT_EQ(messagesOf(reader),
            (std::vector<std::string>{"0 big", "250 big", "500 big", "750 big", "1000 big",
                                      "1000 battery", "1000 battery", "2000 battery"}));
}

} // namespace
