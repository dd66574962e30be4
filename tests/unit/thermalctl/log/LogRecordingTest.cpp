#include "log/LogRecording.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <optional>

#include <gtest/gtest.h>
#include <stdlib.h>

#include "support/LogSwitchedOff.h"
#include "thermalctl/log/TextLines.h"
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
    const int time = 1000 + 100 * tenths++;
    text += std::to_string(time / 1000) + "." + std::to_string(1000 + time % 1000).substr(1) +
            "  1234  5678 V echo-service: [TalmorThermal] " + message + "\n";
  }

  void readBoard() {
    std::vector<std::string> problems;
    board.emplace(*BoardFolder::find(folder, problems), problems);
    EXPECT_EQ(problems, Lines());
  }

  const Lines& play() {
    TextLines lines(text);
    LogRecording recording(lines, "phone.log", board ? &*board : nullptr);
    problem = recording.problem();
    remarks = recording.remarks();
    if (!problem) recording.play(trace);
    return trace.lines;
  }

  LogSwitchedOff noLog;
  std::filesystem::path folder;
  std::string text;
  int tenths = 0;
  std::optional<BoardFolder> board;
  TraceLines trace;
  std::optional<std::string> problem;
  Lines remarks;
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
  EXPECT_EQ(problem, "no message of the daemon is in it");
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
            (Lines{"0 configuration talmor.conf", "300 configuration night.conf"}));
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

// A sample of the sensor as one that is in a change, or between two.
#define BIG(scenario, temperature) "Sensor [big], Scen [" scenario "] temp(" temperature ")"

// The messages of a swap in which a namesake takes over from the one that retires.
TEST_F(LogRecordingTest, ShowsTheNewConfigurationAndItsLevelsBehindASwapOfNamesakes) {
  write("night.conf", "SCEN Default\n[cap]\nalgo_type monitor\nsensor big\nthresholds 40000 52000\n"
                      "thresholds_clr 35000 47000\nactions gpu gpu\naction_info 1 2\n\n");
  write("talmor.conf", "SCEN Default\n[cap]\nalgo_type monitor\nsensor big\nthresholds 50000\n"
                       "thresholds_clr 45000\nactions gpu\naction_info 1\n\n");
  readBoard();
  log("Using Env Config!");
  const auto swap = [this](const char* after) {
    log("Start to apply new CONF file");
    log("Changing Scenario Start (Default->Default)");
    log(BIG("OLDSCEN_Default", "56000"));
    log("All scenChangeDone to Default");
    log("Changing Scenario Start (Default->Default)");
    log(BIG("Default", "56000"));
    log("Sensor [big] activate Algo [cap], scen [Default]");
    log(after);
    log("Sensor [big] deactivate Algo [cap], scen [OLDSCEN_Default]");
    log("All scenChangeDone to Default");
    log("Appling new CONF file is completed");
  };
  log(BIG("Default", "56000"));
  log("Sensor [big] activate Algo [cap], scen [Default]");
  log("[TalmorThermal] Monitor [cap] temp(56000) status(0 -> 1)");
  swap("[TalmorThermal] Monitor [cap] temp(56000) status(0 -> 2)");
  swap("[TalmorThermal] Monitor [cap] temp(56000) status(0 -> 1)");
  swap("[TalmorThermal] Monitor [cap] temp(56000) status(0 -> 2)");
  play();
  EXPECT_EQ(trace.ofKind("configuration"),
            (Lines{"0 configuration talmor.conf", "700 configuration night.conf",
                   "1800 configuration talmor.conf", "2900 configuration night.conf"}));
  EXPECT_EQ(trace.ofKind("level gpu"),
            (Lines{"0 level gpu 0 850", "300 level gpu 1 760", "1100 level gpu 2 670",
                   "2200 level gpu 1 760", "3300 level gpu 2 670"}));
}

TEST_F(LogRecordingTest, KnowsAConfigurationByWhatItDoesNotWake) {
  write(
      "night.conf",
      "SCEN Default\n[cap]\nalgo_type monitor\nsensor big\nthresholds 90000\nthresholds_clr 85000\n"
      "actions gpu\naction_info 2\n\n");
  readBoard();
  log("Using Env Config!");
  log(BIG("Default", "56000"));
  log("Sensor [big] activate Algo [cap], scen [Default]");
  log("[TalmorThermal] Monitor [cap] temp(56000) status(0 -> 1)");
  log("Start to apply new CONF file");
  log("Changing Scenario Start (Default->Default)");
  log("All scenChangeDone to Default");
  log("Changing Scenario Start (Default->Default)");
  log(BIG("Default", "56000"));
  log("Sensor [big] deactivate Algo [cap], scen [OLDSCEN_Default]");
  log("All scenChangeDone to Default");
  log("Appling new CONF file is completed");
  log(BIG("Default", "56000"));
  log(BIG("Default", "56000"));
  play();
  EXPECT_EQ(trace.ofKind("configuration").back(), "600 configuration night.conf");
  EXPECT_EQ(trace.ofKind("level gpu").back(), "900 level gpu 0 850");
}

TEST_F(LogRecordingTest, TellsThatALogDoesNotShowWhichConfigurationCameInForce) {
  write("night.conf", kDay);
  readBoard();
  log(BIG("Default", "30000"));
  log("Start to apply new CONF file");
  log("All scenChangeDone to Default");
  log("Appling new CONF file is completed");
  play();
  EXPECT_EQ(remarks.back(), "which configuration came in force at 0:00:00 does not show; it is "
                            "taken for talmor.conf");
}

TEST_F(LogRecordingTest, EndsWhatTheDaemonDeletesWithoutAWord) {
  readBoard();
  log("Sensor [big] activate Algo [cap], scen [Default]");
  log("[TalmorThermal] Monitor [cap] temp(56000) status(0 -> 1)");
  log("Start to apply new CONF file");
  log("All scenChangeDone to Default");
  log("All scenChangeDone to Default");
  log("Appling new CONF file is completed");
  play();
  EXPECT_EQ(trace.ofKind("algorithm").back(), "500 algorithm cap (talmor.conf, Default) asleep");
  EXPECT_EQ(trace.ofKind("level gpu").back(), "500 level gpu 0 850");
}

class LogGapTest : public LogRecordingTest {
protected:
  // Quiet samples, one every quarter of a second.
  void samples(double from, double to, const char* scenario = "Default") {
    for (double time = from; time < to; time += 0.25)
      at(time, std::string("Sensor [big], Scen [") + scenario + "] temp(56000)");
  }
  void at(double time, const std::string& message) {
    char stamp[32];
    std::snprintf(stamp, sizeof stamp, "%.3f", 1 + time);
    text += std::string(stamp) + "  1234  5678 V echo-service: [TalmorThermal] " + message + "\n";
  }
};

TEST_F(LogGapTest, TellsAGapToTheSinkAndInWords) {
  readBoard();
  samples(0, 1);
  samples(601, 602);
  play();
  EXPECT_EQ(trace.ofKind("gap"), Lines{"601000 gap from 1000"});
  EXPECT_EQ(remarks[1], "a gap of 0:10:00 from 0:00:01 on: no message");
  EXPECT_EQ(remarks.size(), 3u);
}

TEST_F(LogGapTest, LearnsThePeriodsWhereThereIsNoBoard) {
  samples(0, 5);
  samples(10, 15);
  play();
  EXPECT_EQ(trace.ofKind("gap"), Lines{"10000 gap from 5000"});
}

TEST_F(LogGapTest, TakesTheScenarioBehindAGapFromTheSamples) {
  readBoard();
  at(0, "Sensor [big] activate Algo [cap], scen [Default]");
  at(0, "[TalmorThermal] Monitor [cap] temp(56000) status(0 -> 1)");
  samples(0, 1);
  samples(60, 61, "game");
  play();
  EXPECT_EQ(trace.ofKind("scenario"), (Lines{"0 scenario Default", "60000 scenario game"}));
  EXPECT_EQ(trace.ofKind("level gpu").back(), "60000 level gpu 0 850");
}

TEST_F(LogGapTest, PutsAMonitorToSleepThatIsNotHeardOfBehindAGap) {
  readBoard();
  at(0, "Sensor [big] activate Algo [cap], scen [Default]");
  at(0, "[TalmorThermal] Monitor [cap] temp(56000) status(0 -> 1)");
  samples(0, 1);
  samples(60, 70);
  play();
  EXPECT_EQ(trace.ofKind("algorithm").back().substr(5),
            " algorithm cap (talmor.conf, Default) asleep");
}

TEST_F(LogGapTest, KnowsASwapInAGapByWhatComesBehindIt) {
  readBoard();
  at(0, "Using Env Config!");
  samples(0, 1);
  samples(60, 61);
  at(61, "Sensor [big] activate Algo [night_cap], scen [Default]");
  samples(61, 62);
  play();
  EXPECT_EQ(trace.ofKind("configuration").back(), "60000 configuration night.conf");
}

TEST_F(LogGapTest, TellsTheLongestOfManyGaps) {
  for (int i = 0; i < 8; ++i)
    samples(10 * i * (i + 1), 10 * i * (i + 1) + 1);
  play();
  EXPECT_EQ(trace.ofKind("gap").size(), 7u);
  ASSERT_EQ(remarks.size(), 8u);
  EXPECT_EQ(remarks[1], "a gap of 59.0 s from 0:01:01 on: no message");
  EXPECT_EQ(remarks[6], "and 2 shorter gaps");
}

TEST_F(LogRecordingTest, HasAProblemWhereNothingInItCouldBeShown) {
  log("No scen file");
  play();
  EXPECT_EQ(problem, "it has 1 message of the daemon, but none of a temperature, a level or a "
                     "scenario");
  text = "V/echo-service: [TalmorThermal] Sensor[skin] temp(29\n";
  play();
  EXPECT_EQ(problem, "all 1 message of the daemon in it are torn");
}

} // namespace
