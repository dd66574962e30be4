#include "log/LogRecording.h"

#include <filesystem>
#include <fstream>
#include <optional>

#include <gtest/gtest.h>
#include <stdlib.h>

#include "support/LogSwitchedOff.h"
#include "thermalctl/log/TraceLines.h"

namespace {

using Lines = std::vector<std::string>;

constexpr char kEnvironment[] = "[big]\ntype real\nsampling 250\nnode_path /big\n\n"
                                "[cpu]\ntype cpufreq\nnode_path /cpu\n"
                                "level_table 2000 1500 1000 500\n\n"
                                "[gpu]\ntype gpufreq\nnode_path /gpu\nlevel_table 850 760 670\n\n";
// A monitor of two levels on both devices and a step algorithm on the first, from its level 1 on.
constexpr char kDay[] =
    "SCEN Default\n"
    "[cap]\nalgo_type monitor\nsensor big\nthresholds 50000 60000\nthresholds_clr 45000 55000\n"
    "actions cpu+gpu cpu\naction_info 1+2 2\n\n"
    "[step]\nalgo_type ss\nsensor big\ndevice cpu\nset_point 70000\nset_point_clr 65000\n"
    "start_level 1\n\n"
    "SCEN game\n"
    "[game_cap]\nalgo_type monitor\nsensor big\nthresholds 55000\nthresholds_clr 50000\nactions "
    "gpu\naction_info 1\n\n";
constexpr char kNight[] =
    "SCEN Default\n"
    "[cap]\nalgo_type monitor\nsensor big\nthresholds 40000\nthresholds_clr 35000\nactions gpu\n"
    "action_info 2\n\n"
    "[night_cap]\nalgo_type monitor\nsensor big\nthresholds 41000\nthresholds_clr 36000\nactions "
    "gpu\naction_info 1\n\n";

class LogRecordingTest : public ::testing::Test {
protected:
  LogRecordingTest() {
    std::string name = (std::filesystem::temp_directory_path() / "board-XXXXXX").string();
    folder = ::mkdtemp(name.data());
    write("talmor.env", kEnvironment);
    write("talmor.conf", kDay);
    write("night.conf", kNight);
  }
  ~LogRecordingTest() override { std::filesystem::remove_all(folder); }

  void write(const std::string& name, const std::string& content) {
    std::ofstream(folder / name) << content;
  }

  // Adds a message, a tenth of a second after the one before.
  void log(const std::string& message) {
    text += "1." + std::to_string(tenths++) + "00  1234  5678 V echo-service: [TalmorThermal] " +
            message + "\n";
  }

  void readBoard() {
    std::vector<std::string> problems;
    board.emplace(folder, problems);
    EXPECT_EQ(problems, Lines());
  }

  const Lines& play() {
    counts = playLog(text, "phone.log", board ? &*board : nullptr, trace);
    return trace.lines;
  }

  LogSwitchedOff noLog;
  std::filesystem::path folder;
  std::string text;
  int tenths = 0;
  std::optional<BoardFolder> board;
  TraceLines trace;
  LogReader::Counts counts;
};

TEST_F(LogRecordingTest, FindsSensorsAndAlgorithmsWithoutABoard) {
  log("Sensor [big], Scen [Default] temp(51000)");
  log("Sensor [big] activate Algo [cap], scen [Default]");
  log("[TalmorThermal] Monitor [cap] temp(51000) status(0 -> 1)");
  log("[TalmorThermal] Monitor [cap] temp(51000) status(1 -> 1)");
  log("Sensor[skin] temp(30000)");
  log("[TalmorThermal] Monitor [cap] temp(44000) status(1 -> 0)");
  EXPECT_EQ(play(), (Lines{"begin phone.log", "0 scenario Default", "0 temperature big 51000",
                           "100 algorithm cap (, Default) 0", "200 algorithm cap (, Default) 1",
                           "400 temperature skin 30000", "500 algorithm cap (, Default) asleep",
                           "500 end"}));
  EXPECT_EQ(trace.run.sensors[0].kind, SensorTrack::Kind::kReal);
  EXPECT_EQ(trace.run.sensors[1].kind, SensorTrack::Kind::kVirtual);
  EXPECT_EQ(trace.run.algorithms[0].sensor, 0u);
}

TEST_F(LogRecordingTest, PlaysNothingOfALogWithoutTheDaemon) {
  text = "01-30 14:03:22.123   700   700 I ActivityManager: Start proc\n";
  EXPECT_EQ(play(), Lines());
  EXPECT_EQ(counts.ours, 0u);
}

TEST_F(LogRecordingTest, TakesThresholdsTablesAndPeriodsFromTheBoard) {
  readBoard();
  log("Sensor [big], Scen [Default] temp(30000)");
  play();
  EXPECT_EQ(trace.run.sensors.at(0).period, 250u);
  EXPECT_EQ(trace.run.devices.at(0).levels, (Lines{"2000", "1500", "1000", "500"}));
  const AlgorithmTrack& cap = trace.run.algorithms.at(1); // behind those of night.conf
  EXPECT_EQ(trace.ofKind("configuration"), (Lines{"0 configuration talmor.conf"}));
  EXPECT_EQ(trace.ofKind("level"), (Lines{"0 level cpu 0 2000", "0 level gpu 0 850"}));
  EXPECT_EQ(cap.configuration, "night.conf");
}

TEST_F(LogRecordingTest, DerivesTheLevelsOfTheDevicesFromTheRequests) {
  readBoard();
  log("Sensor [big] activate Algo [cap], scen [Default]");
  log("[TalmorThermal] Monitor [cap] temp(51000) status(0 -> 1)");
  log("Sensor [big] activate Algo [step], scen [Default]");
  log("[TalmorThermal] SS [step] temp(0->72000) status(3)");
  log("[TalmorThermal] Monitor [cap] temp(61000) status(1 -> 2)");
  log("[TalmorThermal] SS [step] temp(72000->64000) status(3 -> 0)");
  log("[TalmorThermal] Monitor [cap] temp(44000) status(2 -> 0)");
  play();
  EXPECT_EQ(trace.ofKind("level"),
            (Lines{"0 level cpu 0 2000", "0 level gpu 0 850", "100 level cpu 1 1500",
                   "100 level gpu 2 670", "300 level cpu 3 500", "400 level gpu 0 850",
                   "500 level cpu 2 1000", "600 level cpu 0 2000"}));
}

TEST_F(LogRecordingTest, CountsTheStepsOfAStepAlgorithmFromItsStartLevel) {
  write("talmor.conf", "SCEN Default\n[step]\nalgo_type ss\nsensor big\ndevice cpu\n"
                       "set_point 70000\nset_point_clr 65000\nstart_level 2\n\n");
  readBoard();
  log("Sensor [big] activate Algo [step], scen [Default]");
  log("[TalmorThermal] SS [step] temp(0->70000) status(2)");
  log("[TalmorThermal] SS [step] temp(70000->71000) status(3)");
  log("[TalmorThermal] SS [step] temp(71000->69000) status(1)");
  play();
  EXPECT_EQ(trace.ofKind("algorithm"), (Lines{"0 algorithm step (talmor.conf, Default) 0",
                                              "100 algorithm step (talmor.conf, Default) 1",
                                              "200 algorithm step (talmor.conf, Default) 2",
                                              "300 algorithm step (talmor.conf, Default) 0"}));
}

TEST_F(LogRecordingTest, TakesUpALogThatBeginsInTheMiddle) {
  readBoard();
  log("[TalmorThermal] Monitor [game_cap] temp(56000) status(1 -> 1)");
  log("Sensor [big], Scen [game] temp(56000)");
  play();
  EXPECT_EQ(trace.ofKind("scenario"), (Lines{"0 scenario game"}));
  EXPECT_EQ(trace.ofKind("algorithm"), (Lines{"0 algorithm game_cap (talmor.conf, game) 1"}));
  EXPECT_EQ(trace.ofKind("level"),
            (Lines{"0 level cpu 0 2000", "0 level gpu 0 850", "0 level gpu 1 760"}));
}

TEST_F(LogRecordingTest, FollowsASwitchOfTheScenario) {
  readBoard();
  log("Sensor [big], Scen [Default] temp(56000)");
  log("Sensor [big] activate Algo [cap], scen [Default]");
  log("[TalmorThermal] Monitor [cap] temp(56000) status(0 -> 1)");
  log("Changing Scenario Start (Default->game)");
  log("Sensor [big] activate Algo [game_cap], scen [game]");
  log("[TalmorThermal] Monitor [game_cap] temp(56000) status(0 -> 1)");
  log("Sensor [big] deactivate Algo [cap], scen [Default]");
  log("All scenChangeDone to game");
  play();
  EXPECT_EQ(trace.ofKind("scenario"), (Lines{"0 scenario Default", "700 scenario game"}));
  EXPECT_EQ(trace.ofKind("algorithm"), (Lines{"100 algorithm cap (talmor.conf, Default) 0",
                                              "200 algorithm cap (talmor.conf, Default) 1",
                                              "400 algorithm game_cap (talmor.conf, game) 0",
                                              "500 algorithm game_cap (talmor.conf, game) 1",
                                              "600 algorithm cap (talmor.conf, Default) asleep"}));
  EXPECT_EQ(trace.ofKind("level"),
            (Lines{"0 level cpu 0 2000", "0 level gpu 0 850", "200 level cpu 1 1500",
                   "200 level gpu 2 670", "600 level cpu 0 2000", "600 level gpu 1 760"}));
}

TEST_F(LogRecordingTest, LeavesAMonitorAtLevelZeroAwakeInASwitch) {
  log("Sensor [big], Scen [Default] temp(50000)");
  log("Sensor [big] activate Algo [cap], scen [Default]");
  log("[TalmorThermal] Monitor [cap] temp(49000) status(0 -> 0)");
  log("Sensor [big] deactivate Algo [cap], scen [Default]");
  play();
  EXPECT_EQ(trace.ofKind("algorithm"), (Lines{"100 algorithm cap (, Default) 0"}));
}

TEST_F(LogRecordingTest, RecognisesAConfigurationByTheItemsThatWake) {
  readBoard();
  log("Sensor [big], Scen [Default] temp(56000)");
  log("Start to apply new CONF file");
  log("Changing Scenario Start (Default->Default)");
  log("All scenChangeDone to Default");
  log("Sensor [big] activate Algo [night_cap], scen [Default]");
  log("All scenChangeDone to Default");
  log("Appling new CONF file is completed");
  play();
  EXPECT_EQ(trace.ofKind("configuration"),
            (Lines{"0 configuration talmor.conf", "400 configuration night.conf"}));
  EXPECT_EQ(trace.ofKind("scenario"), (Lines{"0 scenario Default"}));
}

TEST_F(LogRecordingTest, KeepsASuccessorAwakeWhenItsRetiredNamesakeSleeps) {
  readBoard();
  log("Sensor [big], Scen [Default] temp(56000)");
  log("Sensor [big] activate Algo [cap], scen [Default]");
  log("[TalmorThermal] Monitor [cap] temp(56000) status(0 -> 1)");
  log("Start to apply new CONF file");
  log("Sensor [big], Scen [OLDSCEN_Default] temp(56000)");
  log("Sensor [big] activate Algo [cap], scen [Default]");
  log("[TalmorThermal] Monitor [cap] temp(56000) status(0 -> 1)");
  log("Sensor [big] deactivate Algo [cap], scen [OLDSCEN_Default]");
  log("Appling new CONF file is completed");
  play();
  EXPECT_EQ(trace.ofKind("algorithm").back(), "200 algorithm cap (talmor.conf, Default) 1");
  EXPECT_EQ(trace.ofKind("level").back(), "200 level gpu 2 670");
}

TEST_F(LogRecordingTest, PutsAllToSleepWhereTheDaemonStartsAnew) {
  readBoard();
  log("Sensor [big], Scen [game] temp(56000)");
  log("Sensor [big] activate Algo [game_cap], scen [game]");
  log("[TalmorThermal] Monitor [game_cap] temp(56000) status(0 -> 1)");
  log("Using Env Config!");
  play();
  EXPECT_EQ(trace.ofKind("algorithm").back(), "300 algorithm game_cap (talmor.conf, game) asleep");
  EXPECT_EQ(trace.ofKind("level").back(), "300 level gpu 0 850");
  EXPECT_EQ(trace.ofKind("scenario").back(), "300 scenario Default");
}

class BoardFolderTest : public LogRecordingTest {};

TEST_F(BoardFolderTest, BeginsWithTheConfigurationThatBearsTheEnvironmentsName) {
  readBoard();
  EXPECT_EQ(board->first()->name, "talmor.conf");
  EXPECT_EQ(board->configurations().size(), 2u);
}

TEST_F(BoardFolderTest, BeginsWithAnyConfigurationWhereNoneBearsThatName) {
  std::filesystem::remove(folder / "talmor.conf");
  readBoard();
  EXPECT_EQ(board->first()->name, "night.conf");
}

TEST_F(BoardFolderTest, TellsAllThatStandsInItsWay) {
  write("talmor.conf", "SCEN Default\n[cap]\nalgo_type nothing\n\n");
  write("night.conf", "SCEN Default\n[cap]\nalgo_type monitor\n\n");
  std::vector<std::string> problems;
  board.emplace(folder, problems);
  ASSERT_EQ(problems.size(), 2u);
  EXPECT_EQ(problems[0].find((folder / "night.conf").string() + ": the daemon ends with it: "), 0u)
      << problems[0];
}

TEST_F(BoardFolderTest, NeedsExactlyOneEnvironment) {
  write("second.env", "");
  std::vector<std::string> problems;
  board.emplace(folder, problems);
  EXPECT_EQ(problems,
            (Lines{folder.string() + ": a board's folder has one *.env file, this one has 2"}));
}

} // namespace
