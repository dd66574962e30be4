#include "simulate/Engine.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/LogSwitchedOff.h"
#include "thermalctl/simulate/RecordedTrace.h"
#include "thermalctl/simulate/RunFiles.h"

namespace {

using Lines = std::vector<std::string>;
using Times = std::vector<int64_t>;

// The workload gives the sensor's readings, so that every change of level has a known time. The
// sensor is sampled every 100 ms, the monitor "hot" decides every 300 ms.
class EngineTest : public testing::Test {
protected:
  SeenRun run() {
    RecordedTrace trace;
    const std::vector<RunInput> runs = files.read();
    std::ostringstream problems;
    files.problems.print(problems);
    EXPECT_EQ(problems.str(), "");
    if (!files.problems.none()) return {};
    Engine(runs[0], trace,
           {[](int64_t) {},
            [this](int64_t time, const std::string& what) {
              warnings.push_back(std::to_string(time) + " " + what);
            }})
        .run();
    return trace.made;
  }

  SeenRun runFor(int64_t duration) {
    files.request.duration = duration;
    return run();
  }

  // Rows of "time,reading".
  void readings(const std::string& rows) { files.workload = "time,fault cpu\n" + rows; }

  static std::string monitor(const std::string& name, const std::string& sampling,
                             const std::string& request) {
    return "[" + name + "]\nalgo_type monitor\nsensor cpu\nsampling " + sampling +
           "\nthresholds 50000\nthresholds_clr 45000\nactions gpu\naction_info " + request + "\n\n";
  }

  LogSwitchedOff noLog;
  RunFiles files;
  Lines warnings;
};

TEST_F(EngineTest, ASensorIsSampledAtOnceAndThenEveryPeriod) {
  files.environment += "\n[slow]\ntype real\nsampling 400\nnode_path /nowhere/slow\n";
  files.plant += "[sensor.slow]\nnode = \"die\"\n";
  const SeenRun trace = runFor(850);
  EXPECT_EQ(trace.samples("cpu"), (Times{0, 100, 200, 300, 400, 500, 600, 700, 800}));
  EXPECT_EQ(trace.samples("slow"), (Times{0, 400, 800}));
  EXPECT_EQ(trace.ended, 850);
}

TEST_F(EngineTest, AnItemDecidesAtTheSampleThatWakesItAndThenEveryPeriodOfItsOwn) {
  readings("0,20\n0.25,60\n0.35,80\n");
  const SeenRun trace = runFor(1000);
  EXPECT_EQ(trace.levels, (Lines{"0 gpu 0 (100)", "300 gpu 1 (80)", "600 gpu 2 (60)"}));
  EXPECT_EQ(trace.items, (Lines{"300 hot 0", "300 hot 1", "600 hot 2"}));
}

TEST_F(EngineTest, AnItemThatIsWokenInTheMiddleOfItsWorkersPeriodDecidesAtThePeriodsEnd) {
  readings("0,60\n0.15,20\n0.35,60\n");
  const SeenRun trace = runFor(1000);
  EXPECT_EQ(trace.items, (Lines{"0 hot 0", "0 hot 1", "300 hot -1", "400 hot 0", "600 hot 1"}));
}

TEST_F(EngineTest, AWorkerThatSleepsLongerThanItsPeriodIsThereAtOnce) {
  readings("0,60\n0.15,20\n0.75,60\n");
  const SeenRun trace = runFor(1000);
  EXPECT_EQ(trace.items, (Lines{"0 hot 0", "0 hot 1", "300 hot -1", "800 hot 0", "800 hot 1"}));
}

TEST_F(EngineTest, ADecisionComesBeforeTheSampleOfItsTime) {
  readings("0,60\n0.25,80\n");
  EXPECT_EQ(runFor(1000).items, (Lines{"0 hot 0", "0 hot 1", "600 hot 2"}));
}

TEST_F(EngineTest, StepItemsDecideBeforeMonitorsAtTheSameTime) {
  files.configuration += "\n[step]\nalgo_type ss\nsensor cpu\ndevice gpu\nsampling 300\n"
                         "set_point 50000\nset_point_clr 45000\nstart_level 1\n";
  readings("0,50.5\n");
  EXPECT_EQ(runFor(100).items, (Lines{"0 hot 0", "0 step 0", "0 step 1", "0 hot 1"}));
}

TEST_F(EngineTest, TheDevicesLevelChangesTheHeat) {
  files.plant += "[source.gpu]\nnode = \"die\"\ndevice = \"gpu\"\nwatts = [10, 4, 1, 0]\n"
                 "load = 1\n";
  files.request.duration = 600'000;
  const SeenRun trace = run();
  // 10 W would make it 125 degrees, 4 W hold it at 65, where the monitor rests at level 1.
  EXPECT_EQ(trace.levels.size(), 2U);
  EXPECT_EQ(trace.temperatures.back(), "599900 cpu 65000");
}

TEST_F(EngineTest, ASourcesPowerIsToldWhenItChanges) {
  files.plant += "[source.gpu]\nnode = \"die\"\ndevice = \"gpu\"\nwatts = [10, 4, 1, 0]\n"
                 "idle_watts = 0.000002\n[source.radio]\nnode = \"die\"\nwatts = 2\nload = 1\n";
  files.workload = "time,gpu,fault cpu\n0,0.1,20\n0,1,\n0.5,0.5,\n0.7,,60\n1.5,0.5,\n2,0,20\n";
  const SeenRun trace = runFor(2500);
  EXPECT_EQ(trace.powers, (Lines{"0 gpu 10000002", "0 radio 2000000", "500 gpu 5000002",
                                 "700 gpu 2000002", "2000 gpu 2"}));
  ASSERT_EQ(trace.performance.size(), 2U);
  EXPECT_NEAR(trace.performance[0].joules, 5 + 1 + 2.6 + 2.5 * 2e-6, 1e-9);
  EXPECT_NEAR(trace.performance[1].joules, 5, 1e-9);
}

TEST_F(EngineTest, APowerThatRampsIsToldEachSecond) {
  files.plant += "[source.radio]\nnode = \"die\"\nwatts = 2\n";
  files.workload = "time,ramp watts radio\n0,1\n2.5,2\n";
  const SeenRun trace = runFor(5000);
  EXPECT_EQ(trace.powers, (Lines{"0 radio 1000000", "1000 radio 1400000", "2000 radio 1800000",
                                 "2500 radio 2000000"}));
  EXPECT_NEAR(trace.performance[0].joules, 2.5 * 1.5 + 2.5 * 2, 1e-9);
}

TEST_F(EngineTest, AScenarioComesInForceInTheCycleAfterTheOneThatReadsIt) {
  files.configuration =
      "SCEN Default\n" + monitor("day", "300", "1") + "SCEN game\n" + monitor("play", "300", "2");
  files.workload = "time,fault cpu,scenario\n0,60,\n0.5,,game\n";
  const SeenRun trace = runFor(3000);
  EXPECT_EQ(trace.controls, (Lines{"0 configuration talmor-thermal_default.conf",
                                   "0 scenario Default", "2000 scenario game"}));
  EXPECT_EQ(trace.items,
            (Lines{"0 day 0", "0 day 1", "2000 play 0", "2000 play 1", "2000 day -1"}));
  // At no moment is the device let go.
  EXPECT_EQ(trace.levels, (Lines{"0 gpu 0 (100)", "0 gpu 1 (80)", "2000 gpu 2 (60)"}));
}

TEST_F(EngineTest, AScenarioChangeCutsTheSensorsPeriodShort) {
  files.environment.replace(files.environment.find("100\n"), 4, "700\n");
  files.configuration =
      "SCEN Default\n" + monitor("day", "300", "1") + "SCEN game\n" + monitor("play", "300", "2");
  files.workload = "time,scenario\n0.5,game\n";
  // Once as it takes the scenario over and once as in every cycle; then a whole period passes.
  EXPECT_EQ(runFor(3000).samples("cpu"), (Times{0, 700, 1400, 2000, 2000, 2700}));
}

TEST_F(EngineTest, AConfigurationReplacesTheItemsAndKeepsTheScenario) {
  files.configuration =
      "SCEN Default\n" + monitor("day", "300", "1") + "SCEN game\n" + monitor("play", "300", "2");
  files.add("night.conf", "SCEN Default\n" + monitor("rest", "300", "3") + "SCEN game\n" +
                              monitor("late", "300", "1"));
  files.workload = "time,fault cpu,scenario,configuration\n0,60,game,\n2.5,,,night.conf\n";
  const SeenRun trace = runFor(6000);
  EXPECT_EQ(trace.controls,
            (Lines{"0 configuration talmor-thermal_default.conf", "0 scenario Default",
                   "1000 scenario game", "4000 configuration night.conf"}));
  EXPECT_EQ(trace.levels,
            (Lines{"0 gpu 0 (100)", "0 gpu 1 (80)", "1000 gpu 2 (60)", "4000 gpu 1 (80)"}));
  EXPECT_EQ(trace.items, (Lines{"0 day 0", "0 day 1", "1000 play 0", "1000 play 1", "1000 day -1",
                                "4000 late 0", "4000 late 1", "4000 play -1"}));
}

TEST_F(EngineTest, AConfigurationMayBeAskedForAgain) {
  files.environment += "\n[configuration]\ntype conf_file\nfile_name day.conf\n";
  files.add("night.conf", monitor("rest", "300", "3"));
  files.workload =
      "time,fault cpu,configuration\n0,60,\n0.5,,night.conf\n3.5,,day.conf\n6.5,,night.conf\n";
  const SeenRun trace = run();
  EXPECT_EQ(trace.controls, (Lines{"0 configuration day.conf", "0 scenario Default",
                                   "2000 configuration night.conf", "5000 configuration day.conf",
                                   "8000 configuration night.conf"}));
  EXPECT_EQ(trace.levels, (Lines{"0 gpu 0 (100)", "0 gpu 1 (80)", "2000 gpu 3 (40)",
                                 "5000 gpu 1 (80)", "8000 gpu 3 (40)"}));
}

TEST_F(EngineTest, AScenarioThatTheNewConfigurationLacksFallsBackToDefault) {
  files.configuration =
      "SCEN Default\n" + monitor("day", "300", "1") + "SCEN game\n" + monitor("play", "300", "2");
  files.add("night.conf", "SCEN Default\n" + monitor("rest", "300", "3"));
  files.workload = "time,fault cpu,scenario,configuration\n0,60,game,night.conf\n";
  const SeenRun trace = runFor(4000);
  EXPECT_EQ(trace.controls, (Lines{"0 configuration talmor-thermal_default.conf",
                                   "0 scenario Default", "1000 scenario game",
                                   "1000 configuration night.conf", "1000 scenario Default"}));
  EXPECT_EQ(trace.levels.back(), "1000 gpu 3 (40)");
}

TEST_F(EngineTest, TheControlFilesWaitForASleepingWorkerThatIsRetired) {
  files.configuration =
      "SCEN Default\n" + monitor("day", "700", "1") + "SCEN game\n" + monitor("play", "300", "1");
  files.add("night.conf", "SCEN Default\n" + monitor("rest", "400", "1") + "SCEN game\n" +
                              monitor("late", "400", "1"));
  files.workload = "time,scenario,configuration\n0.5,,night.conf\n2.1,game,\n";
  // The swap at 2000 waits 700 and 300 ms; the word is read a second later, at 4000.
  EXPECT_EQ(runFor(6000).controls.back(), "5000 scenario game");
}

TEST_F(EngineTest, ASensorWorkerThatSleepsStopsEveryChange) {
  files.environment += "\n[skin]\ntype virtual\nsampling 500\ntrip_sensor cpu\nset_point 90000\n"
                       "set_point_clr 80000\nsensors cpu\nweights 2\n";
  files.configuration =
      "SCEN Default\n" + monitor("day", "300", "1") + "SCEN game\n" + monitor("play", "300", "2");
  files.workload = "time,fault cpu,scenario\n0,60,game\n2,20,\n";
  const SeenRun trace = runFor(4000);
  EXPECT_EQ(trace.samples("cpu").back(), 1000);
  EXPECT_EQ(trace.levels.back(), "0 gpu 1 (80)") << "the monitor keeps what it saw last";
  EXPECT_EQ(trace.stoodStill, 1000);
  EXPECT_EQ(trace.looks("die"),
            (Times{0, 100, 200, 300, 400, 500, 600, 700, 800, 900, 1000, 2000, 3000}))
      << "what the heat really is goes on to be seen";
  ASSERT_EQ(warnings.size(), 1U);
  EXPECT_EQ(warnings[0].find("1000 the daemon samples nothing any more"), 0U) << warnings[0];
}

TEST_F(EngineTest, AVirtualSensorShowsNothingUntilItIsSwitchedOn) {
  files.environment += "\n[skin]\ntype virtual\nsampling 100\ntrip_sensor cpu\nset_point 50000\n"
                       "set_point_clr 40000\nsensors cpu\nweights 2\noffsets 0\n";
  files.environment += "\n[other]\ntype virtual\nsampling 250\ntrip_sensor cpu\nset_point 99000\n"
                       "set_point_clr 40000\nsensors cpu\nweights 2\noffsets 0\n";
  readings("0,20\n0.15,60\n0.35,20\n");
  const SeenRun trace = runFor(600);
  EXPECT_EQ(trace.samples("skin"), (Times{200, 300}));
  EXPECT_EQ(trace.samples("other"), Times{});
  EXPECT_EQ(trace.temperatures[3], "200 skin 60000");
}

TEST_F(EngineTest, AFaultLastsUntilItIsTakenBack) {
  files.plant.insert(0, "ambient = 30\n");
  files.workload = "time,ambient,fault cpu\n"
                   "0.05,,stuck\n"
                   "0.06,90,\n"
                   "0.25,,none\n"
                   "0.35,,nonsense\n"
                   "0.45,,none\n"
                   "0.55,,-12.5\n"
                   "0.65,,none\n";
  const SeenRun trace = runFor(800);
  const Lines& seen = trace.temperatures;
  ASSERT_EQ(seen.size(), 8U);
  EXPECT_EQ(seen[0], "0 cpu 30000");
  EXPECT_EQ(seen[1], "100 cpu 30000");
  EXPECT_EQ(seen[2], "200 cpu 30000");
  EXPECT_NE(seen[3], "300 cpu 30000");
  EXPECT_EQ(seen[4], "400 cpu 0");
  EXPECT_NE(seen[5], "500 cpu 0");
  EXPECT_EQ(seen[6], "600 cpu -12500");
  EXPECT_NE(seen[7], "700 cpu -12500");
}

TEST_F(EngineTest, ANodeThatWasUnreadableOnceReadsZeroFromThenOn) {
  files.workload = "time,fault cpu\n0.15,unreadable\n0.25,none\n";
  EXPECT_EQ(runFor(500).temperatures,
            (Lines{"0 cpu 25000", "100 cpu 25000", "200 cpu 0", "300 cpu 0", "400 cpu 0"}));
}

TEST_F(EngineTest, ASensorWithoutANodeReadsZero) {
  files.environment.erase(files.environment.find("node_path /nowhere/cpu\n"), 23);
  EXPECT_EQ(runFor(150).temperatures, (Lines{"0 cpu 0", "100 cpu 0"}));
}

TEST_F(EngineTest, AWorkloadThatRepeatsStartsAgain) {
  files.workloadName = "workload.toml";
  files.workload = "repeat = 0.5\n[[at]]\ntime = 0\nfault = { cpu = 20 }\n"
                   "[[at]]\ntime = 0.25\nfault = { cpu = 60 }\n";
  const SeenRun trace = runFor(1100);
  Lines warm;
  for (const std::string& line : trace.temperatures) {
    if (line.find("60000") != std::string::npos) warm.push_back(line.substr(0, line.find(' ')));
  }
  EXPECT_EQ(warm, (Lines{"300", "400", "800", "900"}));
}

TEST_F(EngineTest, ANodeIsShownEverySecondAndWithEverySampleOfIt) {
  files.environment += "\n[slow]\ntype real\nsampling 1500\nnode_path /nowhere/slow\n";
  files.plant += "[sensor.slow]\nnode = \"pack\"\n[node.pack]\njoules_per_kelvin = 5\n"
                 "[[resistance]]\nbetween = [\"pack\", \"ambient\"]\nkelvin_per_watt = 2\n";
  files.environment.replace(files.environment.find("100\n"), 4, "400\n");
  const SeenRun trace = runFor(3100);
  EXPECT_EQ(trace.looks("die"), (Times{0, 400, 800, 1000, 1200, 1600, 2000, 2400, 2800, 3000}));
  EXPECT_EQ(trace.looks("pack"), (Times{0, 1000, 1500, 2000, 3000}));
}

TEST_F(EngineTest, ANodeHasItsTrueTemperatureWhateverItsSensorShows) {
  files.plant += "[source.gpu]\nnode = \"die\"\nwatts = 2\nload = 1\n";
  files.workload = "time,fault cpu\n0.05,stuck\n";
  const SeenRun trace = runFor(100'000);
  EXPECT_EQ(trace.temperatures.back(), "99900 cpu 25000");
  EXPECT_EQ(trace.nodes.back(), "99900 die 44865") << "25 and 20 times 1 - e^(-t / 20 s)";
}

TEST_F(EngineTest, ASensorThatIsStuckFromTheStartKeepsItsFirstReading) {
  files.plant.insert(0, "ambient = 30\n");
  files.workload = "time,ambient,fault cpu\n0,,stuck\n0.1,90,\n0.5,,none\n";
  const SeenRun trace = runFor(600);
  const Lines& seen = trace.temperatures;
  ASSERT_EQ(seen.size(), 6U);
  for (size_t i = 0; i < 5; ++i)
    EXPECT_EQ(seen[i], std::to_string(100 * i) + " cpu 30000");
  EXPECT_NE(seen[5], "500 cpu 30000");
}

TEST_F(EngineTest, ANodeOfThePlantThatNoSensorReadsIsShownEverySecond) {
  files.plant += "[node.case]\njoules_per_kelvin = 70\ncelsius = 33\n"
                 "[[resistance]]\nbetween = [\"case\", \"ambient\"]\nkelvin_per_watt = 1e9\n";
  const SeenRun trace = runFor(2500);
  EXPECT_EQ(trace.looks("case"), (Times{0, 1000, 2000}));
  ASSERT_EQ(trace.run.sensors.size(), 3U);
  EXPECT_EQ(trace.run.sensors[2].kind, SensorTrack::Kind::kPlantNode);
}

TEST_F(EngineTest, TheSameInputGivesTheSameTrace) {
  files.plant += "noise = 3\n";
  const SeenRun first = run();
  const SeenRun second = run();
  EXPECT_EQ(first.temperatures, second.temperatures);
  EXPECT_EQ(first.levels, second.levels);
  files.request.seed = 5;
  EXPECT_NE(run().temperatures, first.temperatures);
}

} // namespace
