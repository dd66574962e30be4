#include "simulate/WorkloadFile.h"

#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "thermalctl/simulate/RunFiles.h"

namespace {

using Kind = Change::Kind;

class WorkloadFileTest : public testing::Test {
protected:
  WorkloadFileTest() { files.plant += "[source.cpu]\nnode = \"die\"\nwatts = 4\n"; }

  Workload workload() {
    const std::vector<RunInput> runs = files.read();
    return runs.empty() ? Workload() : runs[0].workload;
  }

  // Times, kinds, numbers and words.
  std::vector<std::tuple<int64_t, Kind, double, std::string>> changes() {
    std::vector<std::tuple<int64_t, Kind, double, std::string>> all;
    for (const Change& change : workload().changes)
      all.emplace_back(change.time, change.kind, change.value, change.word);
    return all;
  }

  RunFiles files;
};

TEST_F(WorkloadFileTest, AnEmptyCellChangesNothing) {
  files.workload = "# a remark\n"
                   "time, ambient, cpu, fault cpu\n"
                   "0,,0.5\n"
                   "\n"
                   "1m30s,31,,stuck\n"
                   "0.1h,,,none\n";
  EXPECT_EQ(changes(), (decltype(changes()){{0, Kind::kLoad, 0.5, ""},
                                            {90'000, Kind::kAmbient, 31, ""},
                                            {90'000, Kind::kFault, 0, "stuck"},
                                            {360'000, Kind::kFault, 0, "none"}}));
  EXPECT_TRUE(files.problems.none());
  EXPECT_EQ(workload().shortRows, std::vector<int>{3});
}

TEST_F(WorkloadFileTest, TomlSaysTheSameAndMayRepeat) {
  files.workloadName = "workload.toml";
  files.workload = "repeat = \"10m\"\n"
                   "[[at]]\n"
                   "time = 0\n"
                   "load = { cpu = 0.5 }\n"
                   "[[at]]\n"
                   "time = \"1m30s\"\n"
                   "ambient = 31\n"
                   "fault = { cpu = -40.5 }\n";
  EXPECT_EQ(changes(), (decltype(changes()){{0, Kind::kLoad, 0.5, ""},
                                            {90'000, Kind::kAmbient, 31, ""},
                                            {90'000, Kind::kFault, -40.5, "value"}}));
  EXPECT_EQ(workload().repeat, 600'000);
  EXPECT_TRUE(files.problems.none());
}

TEST_F(WorkloadFileTest, ControlFilesGetWordsThatTheConfigurationsKnow) {
  files.configuration =
      "SCEN Default\n" + files.configuration + "\nSCEN game\n" + files.configuration;
  files.add("night.conf", files.configuration);
  files.workload = "time,cpu,scenario,configuration\n0,0,game,\n1,,,night.conf\n";
  EXPECT_EQ(changes(), (decltype(changes()){{0, Kind::kLoad, 0, ""},
                                            {0, Kind::kScenario, 0, "game"},
                                            {1000, Kind::kConfiguration, 0, "night.conf"}}));
  EXPECT_TRUE(files.problems.none());
}

TEST_F(WorkloadFileTest, TellsEverythingThatIsWrongInATable) {
  files.workload = "time,ambient,cpu,modem,fault skin,fault cpu,scenario,configuration\n"
                   "0,warm\n"
                   "soon,20\n"
                   "20,,1.5,,,,,\n"
                   "10,,,,,often,,\n"
                   "30,,,,,,two words,\n"
                   "40,,,,,,fishing,night.conf\n"
                   "50,,,,,,,,1\n";
  EXPECT_EQ(files.wrong(),
            "workload.csv: error: no load at time 0 for the source 'cpu', and the plant gives "
            "none\n"
            "workload.csv:1:18: error: the plant has no source 'modem'\n"
            "workload.csv:1:24: error: the board has no real sensor 'skin'\n"
            "workload.csv:2:3: error: 'warm' is no number\n"
            "workload.csv:3:1: error: 'soon' is no time, such as 90 or 1m30s\n"
            "workload.csv:4:5: error: the load of 'cpu' must lie from 0 to 1\n"
            "workload.csv:5:1: error: the times must not go back\n"
            "workload.csv:5:8: error: 'often' is no fault\n"
            "workload.csv:6:9: error: a control file holds one word, and 'two words' is none\n"
            "workload.csv:7:9: error: no configuration declares the scenario 'fishing'\n"
            "workload.csv:7:17: error: there is no configuration 'night.conf' beside first.conf\n"
            "workload.csv:8:11: error: more cells than columns\n");
}

TEST_F(WorkloadFileTest, MarksACellAndSaysWhatWasMeant) {
  files.workload = "time, cqu, ambeint, fault cpu\n0, 0.5, 25,  stick\n";
  EXPECT_EQ(files.wrongInFull(), "workload.csv:1:7: error: the plant has no source 'cqu'\n"
                                 "    1 | time, cqu, ambeint, fault cpu\n"
                                 "      |       ^~~\n"
                                 "      hint: did you mean 'cpu'?\n"
                                 "workload.csv:1:12: error: no column is called 'ambeint'\n"
                                 "    1 | time, cqu, ambeint, fault cpu\n"
                                 "      |            ^~~~~~~\n"
                                 "      hint: did you mean 'ambient'?\n"
                                 "workload.csv:2:14: error: 'stick' is no fault\n"
                                 "    2 | 0, 0.5, 25,  stick\n"
                                 "      |              ^~~~~\n"
                                 "      hint: did you mean 'stuck'?\n");
}

TEST_F(WorkloadFileTest, ValuesMustBeSuchAsThereCanBe) {
  files.workload = "time,cpu,ambient,fault cpu\n"
                   "0,0,25000,45000\n"
                   "1,,-273.2,-274.1\n"
                   "2,,1000.1,1000.1\n"
                   "3,,0x19,1e-320\n"
                   "4,,-273.15,-274\n"
                   "5,,1000,1000\n";
  EXPECT_EQ(files.wrong(),
            "workload.csv:2:5: error: the ambient must be degrees Celsius from -273.15 to 1000\n"
            "workload.csv:2:11: error: a reading must be degrees Celsius from -274 to 1000\n"
            "workload.csv:3:4: error: the ambient must be degrees Celsius from -273.15 to 1000\n"
            "workload.csv:3:11: error: a reading must be degrees Celsius from -274 to 1000\n"
            "workload.csv:4:4: error: the ambient must be degrees Celsius from -273.15 to 1000\n"
            "workload.csv:4:11: error: a reading must be degrees Celsius from -274 to 1000\n"
            "workload.csv:5:4: error: '0x19' is no number\n"
            "workload.csv:5:9: error: '1e-320' is no fault\n");
}

TEST_F(WorkloadFileTest, AColumnStandsOnce) {
  files.workload = "time,cpu,ambient,cpu\n0,0,25,1\n";
  EXPECT_EQ(files.wrong(), "workload.csv:1:18: error: the column 'cpu' is there twice\n");
}

TEST_F(WorkloadFileTest, AColumnMayRamp) {
  files.workload = "time,ramp ambient,ramp cpu\n0,20,0\n10,,1\n15,,0.5\n15,,0\n20,25,\n";
  std::vector<std::tuple<int64_t, Kind, double, double>> lines;
  for (const Change& change : workload().changes)
    lines.emplace_back(change.time, change.kind, change.value, change.slope);
  EXPECT_EQ(lines, (decltype(lines){{0, Kind::kAmbient, 20, 0.25},
                                    {0, Kind::kLoad, 0, 0.1},
                                    {10'000, Kind::kLoad, 1, -0.1},
                                    {15'000, Kind::kLoad, 0.5, 0},
                                    {15'000, Kind::kLoad, 0, 0},
                                    {20'000, Kind::kAmbient, 25, 0}}));
  EXPECT_TRUE(files.problems.none());
}

TEST_F(WorkloadFileTest, WattsMayTakeThePlaceOfALoad) {
  files.workload = "time,watts cpu\n0,1.5\n10,0\n";
  EXPECT_EQ(changes(),
            (decltype(changes()){{0, Kind::kWatts, 1.5, ""}, {10'000, Kind::kWatts, 0, ""}}));
  EXPECT_TRUE(files.problems.none());
}

TEST_F(WorkloadFileTest, ARampOfARepetitionLeadsUpToItsEnd) {
  files.workloadName = "workload.toml";
  files.workload = "repeat = 20\n"
                   "ramp = [\"ambient\", \"watts cpu\"]\n"
                   "[[at]]\n"
                   "time = 0\n"
                   "ambient = 20\n"
                   "watts = { cpu = 2 }\n"
                   "[[at]]\n"
                   "time = 20\n"
                   "ambient = 30\n";
  const Workload made = workload();
  ASSERT_EQ(made.changes.size(), 2U);
  EXPECT_EQ(made.changes[0].slope, 0.5);
  EXPECT_EQ(made.changes[1].slope, 0) << "a ramp of a single number holds it";
  EXPECT_TRUE(files.problems.none());
}

TEST_F(WorkloadFileTest, TellsWhatIsWrongWithRampsAndWatts) {
  files.plant += "[source.radio]\nnode = \"die\"\nwatts = 4\n"
                 "[source.gps]\nnode = \"die\"\nwatts = 4\n";
  files.workload =
      "time,ramp cpu,ramp scenario,watts cqu,cpu,radio,watts radio,watts gps,ramp ambeint\n"
      "0,,,,,0.5,1e7,,\n"
      "10,1.5,,,,,-1,3,\n";
  EXPECT_EQ(
      files.wrong(),
      "workload.csv: error: no watts at time 0 for the source 'gps', and later they drive it\n"
      "workload.csv:1:6: error: the load of 'cpu' ramps and has no value at time 0\n"
      "workload.csv:1:15: error: 'scenario' cannot ramp\n"
      "workload.csv:1:29: error: no column is called 'watts cqu'\n"
      "workload.csv:1:39: error: the column 'cpu' is there twice\n"
      "workload.csv:1:71: error: no column is called 'ambeint'\n"
      "workload.csv:2:11: error: the watts of 'radio' must lie from 0 to 1000000\n"
      "workload.csv:2:11: error: 'radio' has a load, too\n"
      "workload.csv:3:4: error: the load of 'cpu' must lie from 0 to 1\n"
      "workload.csv:3:12: error: the watts of 'radio' must lie from 0 to 1000000\n");
}

TEST_F(WorkloadFileTest, SaysWhatIsMeantByARamp) {
  files.workload = "time,ramp cpu,ramp fault cpu\n0.5,1,\n";
  EXPECT_EQ(files.wrongInFull(),
            "workload.csv:1:6: error: the load of 'cpu' ramps and has no value at time 0\n"
            "    1 | time,ramp cpu,ramp fault cpu\n"
            "      |      ^~~~~~~~\n"
            "      hint: give it the value from which it leads to the next one\n"
            "workload.csv:1:15: error: 'fault cpu' cannot ramp\n"
            "    1 | time,ramp cpu,ramp fault cpu\n"
            "      |               ^~~~~~~~~~~~~~\n"
            "      hint: only the ambient, loads and watts go along lines\n");
}

TEST_F(WorkloadFileTest, TellsWhatIsWrongWithRampsInToml) {
  files.workloadName = "workload.toml";
  files.workload = "repeat = 60\n"
                   "ramp = [\"cpu\", \"cqu\", \"ambient\", \"cpu\"]\n"
                   "[[at]]\n"
                   "time = 0\n"
                   "load = { cpu = 0.5 }\n"
                   "watts = { cpu = 2e6 }\n"
                   "[[at]]\n"
                   "time = 61\n"
                   "load = { cpu = 1 }\n";
  EXPECT_EQ(files.wrong(),
            "workload.toml:2:16: error: the plant has no source 'cqu'\n"
            "workload.toml:2:23: error: the ambient ramps and has no value at time 0\n"
            "workload.toml:2:34: error: the load of 'cpu' is named twice as a ramp\n"
            "workload.toml:6:17: error: 'cpu' must be a number from 0 to 1000000 W\n"
            "workload.toml:9:16: error: is never reached: the workload starts again before\n");
}

TEST_F(WorkloadFileTest, TellsEverythingThatIsWrongInToml) {
  files.workloadName = "workload.toml";
  files.workload = "repeat = 60\n"
                   "[[at]]\n"
                   "load = { cpu = 0, modem = 1 }\n"
                   "[[at]]\n"
                   "time = \"later\"\n"
                   "weather = \"fine\"\n"
                   "[[at]]\n"
                   "time = 90\n"
                   "fault = { skin = \"stuck\" }\n"
                   "ambient = 20\n";
  EXPECT_EQ(files.wrong(),
            "workload.toml:2:1: error: 'time' is missing: when this begins\n"
            "workload.toml:3:19: error: the plant has no source 'modem'\n"
            "workload.toml:5:8: error: 'time' must be a time, such as 90 or \"1m30s\"\n"
            "workload.toml:6:1: error: 'weather' is no key that is known here\n"
            "workload.toml:9:11: error: the board has no real sensor 'skin'\n"
            "workload.toml:10:11: error: is never reached: the workload starts again before\n");
}

} // namespace
