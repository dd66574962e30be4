#include "status/StatusTable.h"

#include <gtest/gtest.h>

namespace {

std::string text(const BoardStatus& status) {
  std::string text;
  for (const TerminalLine& line : tableOf(status))
    text += shown(line, Colour::kOff, 1000) + "\n";
  return text;
}

StatusRow word(const std::string& name, const std::string& value, const std::string& note = "") {
  StatusRow row;
  row.name = name;
  row.value = value;
  row.note = note;
  return row;
}

BoardStatus board() {
  BoardStatus status;
  status.scenario = word("scenario", "Default");
  status.request = word("request", "none");
  return status;
}

TEST(StatusTableTest, ShowsTheTwoWords) {
  BoardStatus status = board();
  status.request = word("request", "night.conf", "pending");
  EXPECT_EQ(text(status), "scenario  Default\n"
                          "request   night.conf  pending\n");
}

TEST(StatusTableTest, ShowsAMissingWord) {
  BoardStatus status = board();
  status.scenario = word("scenario", "", "cannot be opened: /x");
  EXPECT_EQ(text(status), "scenario  -  cannot be opened: /x\n"
                          "request   none\n");
}

TEST(StatusTableTest, AlignsItsColumns) {
  BoardStatus status = board();
  status.sensors = {{"little", "real", "45.200 C", "", "", StatusRow::kCalm},
                    {"s\xC3\xA4", "virtual", "", "", "computed, no node", StatusRow::kCalm}};
  status.devices = {{"cpu_big", "cpufreq", "2600000", "0 of 7", "", StatusRow::kCalm},
                    {"gpu", "gpufreq", "900", "", "not in its level table", StatusRow::kCalm}};
  EXPECT_EQ(text(status), "scenario  Default\n"
                          "request   none\n"
                          "\n"
                          "sensor  kind     temperature\n"
                          "little  real     45.200 C\n"
                          "s\xC3\xA4      virtual  -            computed, no node\n"
                          "\n"
                          "device   kind     value    level\n"
                          "cpu_big  cpufreq  2600000  0 of 7\n"
                          "gpu      gpufreq  900      -       not in its level table\n");
}

TEST(StatusTableTest, KeepsControlCharactersFromTheTerminal) {
  BoardStatus status = board();
  status.scenario.value = "a\x1B[2Jb";
  status.devices = {{"d\n", "k", "\x07", "", "\x1B", StatusRow::kCalm}};
  EXPECT_EQ(text(status).find('\x1B'), std::string::npos);
  EXPECT_EQ(text(status).find('\x07'), std::string::npos);
  EXPECT_EQ(tableOf(status).size(), 5U);
}

TEST(StatusTableTest, LooksDifferentWhereSomethingIsUp) {
  BoardStatus status = board();
  status.sensors = {{"cpu", "real", "", "", "missing", StatusRow::kFault}};
  status.devices = {{"gpu", "gpufreq", "1", "1 of 2", "", StatusRow::kCooling}};
  const std::vector<TerminalLine> lines = tableOf(status);
  EXPECT_EQ(shown(lines[0], Colour::kOn, 80), "scenario  Default");
  EXPECT_EQ(shown(lines[2], Colour::kOn, 80), "");
  EXPECT_EQ(shown(lines[3], Colour::kOn, 80), "\x1B[1msensor  kind  temperature\x1B[0m");
  EXPECT_EQ(shown(lines[4], Colour::kOn, 80), "\x1B[31mcpu     real  -            missing\x1B[0m");
  EXPECT_EQ(shown(lines[7], Colour::kOn, 80), "\x1B[33mgpu     gpufreq  1      1 of 2\x1B[0m");
}

TEST(StatusTableTest, CutsALineAtAWholeCharacter) {
  const TerminalLine line = {"a\xC3\xA4z", "31"};
  EXPECT_EQ(shown(line, Colour::kOff, 0), "");
  EXPECT_EQ(shown(line, Colour::kOff, 1), "a");
  EXPECT_EQ(shown(line, Colour::kOff, 2), "a\xC3\xA4");
  EXPECT_EQ(shown(line, Colour::kOn, 2), "\x1B[31ma\xC3\xA4\x1B[0m");
  EXPECT_EQ(shown(line, Colour::kOff, 3), "a\xC3\xA4z");
}

} // namespace
