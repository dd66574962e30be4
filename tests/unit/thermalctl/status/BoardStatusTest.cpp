#include "status/BoardStatus.h"

#include <sys/stat.h>

#include <gtest/gtest.h>

#include "support/SysfsDir.h"

namespace {

using Mood = StatusRow::Mood;

class BoardStatusTest : public ::testing::Test {
protected:
  BoardStatusTest() {
    write("talmor-thermal.scen", "Default");
    write("talmor-thermal.dconf", "PARSED");
  }

  void write(const std::string& name, const std::string& content) { files.write(name, content); }

  // Of an environment in which "@" is the directory of the nodes.
  BoardStatus status(std::string text) {
    for (size_t at = text.find('@'); at != std::string::npos; at = text.find('@'))
      text.replace(at, 1, files.node(""));
    environment = readEnvironment("board.env", text);
    return readStatus(ControlDirectory(files.node("")), environment);
  }

  StatusRow sensor(const std::string& content) {
    write("temp", content);
    return status("[cpu]\ntype real\nnode_path @temp\n").sensors.at(0);
  }

  StatusRow device(const std::string& kind, const std::string& table, const std::string& content) {
    write("node", content);
    return status("[d]\ntype " + kind + "\nnode_path @node\nlevel_table " + table + "\n")
        .devices.at(0);
  }

  SysfsDir files;
  Environment environment;
};

TEST_F(BoardStatusTest, ShowsTheScenarioAndThatNothingIsPending) {
  const BoardStatus seen = status("");
  EXPECT_EQ(seen.scenario.value, "Default");
  EXPECT_EQ(seen.request.value, "none");
  EXPECT_FALSE(seen.hasFault());
}

TEST_F(BoardStatusTest, ReadsTheNodesBelowARoot) {
  write("temp", "45000");
  write("limit", "1");
  const std::string root = files.node("").substr(0, files.node("").size() - 1);
  const Environment board = readEnvironment("board.env", "[cpu]\ntype real\nnode_path /temp\n\n"
                                                         "[none]\ntype real\nsampling 1\n\n"
                                                         "[gpu]\ntype gpufreq\nnode_path /limit\n"
                                                         "level_table 0 1\n");
  const BoardStatus seen = readStatus(ControlDirectory(files.node("")), board, root);
  EXPECT_EQ(seen.sensors.at(0).value, "45.000 C");
  EXPECT_EQ(seen.sensors.at(1).note, "no node_path");
  EXPECT_EQ(seen.devices.at(0).level, "1 of 1");
}

TEST_F(BoardStatusTest, ShowsAPendingRequest) {
  write("talmor-thermal.dconf", "night.conf and more");
  const BoardStatus seen = status("");
  EXPECT_EQ(seen.request.value, "night.conf");
  EXPECT_EQ(seen.request.note, "pending");
  EXPECT_FALSE(seen.hasFault());
}

TEST_F(BoardStatusTest, TellsThatAControlFileIsMissingOrEmpty) {
  std::filesystem::remove(files.node("talmor-thermal.scen"));
  write("talmor-thermal.dconf", " \n");
  const BoardStatus seen = status("");
  EXPECT_EQ(seen.scenario.note, "cannot be opened: " + files.node("") + "/talmor-thermal.scen");
  EXPECT_EQ(seen.request.note, "empty");
  EXPECT_TRUE(seen.hasFault());
}

TEST_F(BoardStatusTest, ShowsMillidegreesAsDegrees) {
  const struct {
    const char* content;
    const char* value;
  } cases[] = {
      {"61000\n", "61.000 C"},
      {"45678", "45.678 C"},
      {"  30500 and more\n40000\n", "30.500 C"},
      {"999", "0.999 C"},
      {"7", "0.007 C"},
      {"0", "0.000 C"},
      {"-1", "-0.001 C"},
      {"-12500", "-12.500 C"},
      {"+25000", "25.000 C"},
      {"2147483647", "2147483.647 C"},
      {"2147483648", "-2147483.648 C"},
      {"40000C", "40.000 C"},
  };
  for (const auto& c : cases) {
    const StatusRow row = sensor(c.content);
    EXPECT_EQ(row.value, c.value) << c.content;
    EXPECT_EQ(row.note, "") << c.content;
    EXPECT_EQ(row.mood, Mood::kCalm) << c.content;
  }
}

TEST_F(BoardStatusTest, ShowsANumberInWhatTheNodeCountsIn) {
  write("temp", "381\n");
  environment =
      readEnvironment("board.env", "[cpu]\ntype real\nnode_path " + files.node("temp") + "\n");
  const auto shownIn = [&](int32_t unit) {
    environment.sections.front().unit = unit;
    return readStatus(ControlDirectory(files.node("")), environment).sensors.at(0).value;
  };
  EXPECT_EQ(shownIn(1), "0.381 C");
  EXPECT_EQ(shownIn(100), "38.100 C");
  EXPECT_EQ(shownIn(1000), "381.000 C");
  write("temp", "2147484");
  EXPECT_EQ(shownIn(1000), "2147483.647 C");
}

TEST_F(BoardStatusTest, TellsWhatReadsAsNought) {
  for (const auto& [content, note] :
       {std::pair("", "empty, which reads as 0"), std::pair("\n \n", "empty, which reads as 0"),
        std::pair("off\n", "'off', which reads as 0")}) {
    const StatusRow row = sensor(content);
    EXPECT_EQ(row.value, "0.000 C");
    EXPECT_EQ(row.note, note);
    EXPECT_EQ(row.mood, Mood::kFault);
  }
}

TEST_F(BoardStatusTest, TellsWhereASensorsNodeIsMissing) {
  const StatusRow row = status("[cpu]\ntype real\nnode_path @temp\n").sensors.at(0);
  EXPECT_EQ(row.value, "");
  EXPECT_EQ(row.note, "missing: " + files.node("") + "temp");
  EXPECT_EQ(row.mood, Mood::kFault);
}

TEST_F(BoardStatusTest, TellsThatASensorHasNoNode) {
  EXPECT_EQ(status("[cpu]\ntype real\n").sensors.at(0).note, "no node_path");
}

TEST_F(BoardStatusTest, TakesASensorThatCanOnlyBeWrittenForAFault) {
  ::chmod(files.write("temp", "1").c_str(), 0222);
  const StatusRow row = status("[cpu]\ntype real\nnode_path @temp\n").sensors.at(0);
  EXPECT_EQ(row.note, "write-only: " + files.node("") + "temp");
  EXPECT_EQ(row.mood, Mood::kFault);
}

TEST_F(BoardStatusTest, HasNoValueForAVirtualSensor) {
  const StatusRow row = status("[skin]\ntype virtual\nsensors a b\n").sensors.at(0);
  EXPECT_EQ(row.kind, "virtual");
  EXPECT_EQ(row.value, "");
  EXPECT_EQ(row.note, "computed, no node");
  EXPECT_EQ(row.mood, Mood::kCalm);
}

TEST_F(BoardStatusTest, FindsADevicesLevelInItsTable) {
  const struct {
    const char* kind;
    const char* table;
    const char* content;
    const char* value;
    const char* level;
    Mood mood;
  } cases[] = {
      {"gpufreq", "850 760 670", "850\n", "850", "0 of 2", Mood::kCalm},
      {"gpufreq", "850 760 670", "670\n", "670", "2 of 2", Mood::kCooling},
      {"gpufreq", "850 760 760", "760", "760", "1 of 2", Mood::kCooling},
      {"gpufreq", "0850 +760", "760", "760", "1 of 1", Mood::kCooling},
      {"backlight", "0xff 0x80", "80", "80", "1 of 1", Mood::kCooling},
      {"backlight", "0xff 0x80", "0x80", "0x80", "1 of 1", Mood::kCooling},
      {"charger", "\"full power\" \"low power\"", "low power\n", "low power", "1 of 1",
       Mood::kCooling},
      {"camera", "30 024", "024", "024", "1 of 1", Mood::kCooling},
  };
  for (const auto& c : cases) {
    const StatusRow row = device(c.kind, c.table, c.content);
    EXPECT_EQ(row.value, c.value) << c.table;
    EXPECT_EQ(row.level, c.level) << c.table;
    EXPECT_EQ(row.note, "") << c.table;
    EXPECT_EQ(row.mood, c.mood) << c.table;
  }
}

TEST_F(BoardStatusTest, TellsAValueThatIsNotInTheTable) {
  const StatusRow row = device("gpufreq", "850 760", "900\n");
  EXPECT_EQ(row.value, "900");
  EXPECT_EQ(row.level, "");
  EXPECT_EQ(row.note, "not in its level table");
  EXPECT_EQ(row.mood, Mood::kCalm);
}

TEST_F(BoardStatusTest, ReadsTheRawNumberOfAClock) {
  const int32_t raw = 1200000;
  const std::string bytes(reinterpret_cast<const char*>(&raw), sizeof raw);
  const StatusRow row = device("cpufreq", "2400000 1200000", bytes);
  EXPECT_EQ(row.value, "1200000");
  EXPECT_EQ(row.level, "1 of 1");
}

TEST_F(BoardStatusTest, ReadsAClockThatAnswersInText) {
  EXPECT_EQ(device("cpufreq", "2400000 1200000", "1200000\n").level, "1 of 1");
  EXPECT_EQ(device("cpufreq", "800 600", "600\n").level, "1 of 1");
}

TEST_F(BoardStatusTest, FindsNoLevelWhereTheDaemonWritesNothing) {
  const StatusRow row = device("charger", "0b11 0b01", "");
  EXPECT_EQ(row.level, "");
  EXPECT_EQ(row.note, "empty");
  EXPECT_EQ(device("charger", "0b11 0b01", "1\n").note, "not in its level table");
}

TEST_F(BoardStatusTest, ShowsAnEmptyNode) {
  const StatusRow row = device("charger", "3000 1200", "");
  EXPECT_EQ(row.value, "");
  EXPECT_EQ(row.note, "empty");
  EXPECT_EQ(row.mood, Mood::kCalm);
}

TEST_F(BoardStatusTest, ShowsTheLastLineOfAReport) {
  EXPECT_EQ(device("report", "", "first\nlast one\n").note, "last: last one");
  EXPECT_EQ(device("report", "", "only").note, "last: only");
  EXPECT_EQ(device("report", "", "").note, "nothing reported");
}

TEST_F(BoardStatusTest, DoesNotLookIntoAWriteOnlyDevice) {
  ::chmod(files.write("node", "1").c_str(), 0222);
  const StatusRow row =
      status("[d]\ntype charger\nnode_path @node\nlevel_table 1 2\n").devices.at(0);
  EXPECT_EQ(row.value, "");
  EXPECT_EQ(row.note, "write-only");
  EXPECT_EQ(row.mood, Mood::kCalm);
}

TEST_F(BoardStatusTest, TellsWhereADevicesNodeIsMissing) {
  const StatusRow row = status("[d]\ntype charger\nnode_path @node\n").devices.at(0);
  EXPECT_EQ(row.note, "missing: " + files.node("") + "node");
  EXPECT_EQ(row.mood, Mood::kFault);
}

TEST_F(BoardStatusTest, ShowsWhatTheDaemonKnowsInTheOrderOfTheFile) {
  const BoardStatus seen = status("[b]\ntype real\n\n"
                                  "[a]\ntype real\n\n"
                                  "[lamp]\ntype lamp\n\n"
                                  "[b]\ntype charger\n\n"
                                  "[c]\ntype conf_file\nfile_name x\n\n"
                                  "junk\n\n"
                                  "[late]\ntype real\n");
  ASSERT_EQ(seen.sensors.size(), 2U);
  EXPECT_EQ(seen.sensors[0].name, "b");
  EXPECT_EQ(seen.sensors[1].name, "a");
  ASSERT_EQ(seen.devices.size(), 1U);
  EXPECT_EQ(seen.devices[0].name, "b");
}

TEST_F(BoardStatusTest, ShowsTheLastOfSeveralSectionsOfAName) {
  write("first", "1000");
  write("second", "2000");
  const BoardStatus seen =
      status("[cpu]\ntype real\nnode_path @first\n\n[cpu]\ntype real\nnode_path @second\n");
  ASSERT_EQ(seen.sensors.size(), 1U);
  EXPECT_EQ(seen.sensors[0].value, "2.000 C");
}

} // namespace
