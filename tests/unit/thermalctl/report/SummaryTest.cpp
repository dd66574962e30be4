#include "report/Summary.h"

#include <sstream>

#include <gtest/gtest.h>

namespace {

// A sensor with a monitor on it and a device of three levels.
TraceDescription boardOf(const std::string& name, std::vector<AlgorithmTrack::Threshold> thresholds,
                         bool lowactive = false) {
  TraceDescription run;
  run.name = name;
  run.sensors.push_back({"skin", SensorTrack::Kind::kReal, 1000, {}});
  run.devices.push_back({"cpu", "cpufreq", {"2000", "1500", "500"}});
  AlgorithmTrack algorithm;
  algorithm.name = "item";
  algorithm.sensor = 0;
  algorithm.thresholds = std::move(thresholds);
  algorithm.lowactive = lowactive;
  run.algorithms.push_back(algorithm);
  return run;
}

// Ten minutes: 30 degrees at level 0 for six, 41 at level 2 for three, 35 at level 1 for one.
void play(Summary& summary, const TraceDescription& run) {
  summary.begin(run);
  summary.temperature(0, 0, 30000);
  summary.level(0, 0, 0, "2000");
  summary.temperature(360000, 0, 41000);
  summary.level(360000, 0, 2, "500");
  summary.temperature(540000, 0, 35000);
  summary.level(540000, 0, 1, "1500");
  summary.end(600000, {{"cores", 200, 150, 1234.56}, {"camera", 0, 0, 30}});
}

std::string tableOf(const Summary& summary) {
  std::ostringstream out;
  summary.print(out);
  return out.str();
}

TEST(SummaryTest, TellsTemperaturesLevelsAndWorkOfARun) {
  Summary summary;
  play(summary, boardOf("day", {{40000, 39000}, {41000, 40000}, {42000, 41000}}));
  EXPECT_EQ(tableOf(summary), "                                         day\n"
                              "run     duration, h:mm:ss            0:10:00\n"
                              "skin    peak, degrees C                 41.0\n"
                              "        mean                            33.8\n"
                              "        time >=40                    0:03:00\n"
                              "        time >=41                    0:03:00\n"
                              "        never >=42\n"
                              "cpu     mean level                      0.70\n"
                              "        at level 0 (2000)             60.0 %\n"
                              "        at level 1 (1500)             10.0 %\n"
                              "        at level 2 (500)              30.0 %\n"
                              "        changes a minute                0.20\n"
                              "        mean entry, level 0 = 100 %   75.0 %\n"
                              "cores   work done of that asked for   75.0 %\n"
                              "        energy, J                     1234.6\n"
                              "camera  energy, J                       30.0\n");
}

TEST(SummaryTest, AddsUpTheEnergyOfARunThatTellsItsPowersAlone) {
  TraceDescription run;
  run.name = "day";
  run.sources = {"gpu", "panel"};
  Summary summary;
  summary.begin(run);
  summary.power(0, 0, 2'000'000);
  summary.power(0, 1, 500'000);
  summary.power(30'000, 0, 1'000'000);
  summary.end(60'000, {});
  EXPECT_EQ(tableOf(summary), "                              day\n"
                              "run    duration, h:mm:ss  0:01:00\n"
                              "gpu    energy, J             90.0\n"
                              "panel  energy, J             30.0\n");
}

TEST(SummaryTest, SetsRunsSideBySideAndMeasuresAllByTheThresholdsOfAny) {
  Summary summary;
  play(summary, boardOf("day", {{35000, 34000}}));
  play(summary, boardOf("night", {{30500, 30000}}));
  const std::string table = tableOf(summary);
  EXPECT_NE(table.find("day    night\n"), std::string::npos) << table;
  EXPECT_NE(table.find("time >=30.5                  0:04:00  0:04:00\n"), std::string::npos)
      << table;
  EXPECT_NE(table.find("time >=35                    0:04:00  0:04:00\n"), std::string::npos)
      << table;
}

TEST(SummaryTest, MeasuresTheThresholdsOfAColdItemDownwards) {
  Summary summary;
  play(summary, boardOf("day", {{30000, 31000}, {29999, 31000}}, true));
  const std::string table = tableOf(summary);
  EXPECT_NE(table.find("time <=30                    0:06:00\n"), std::string::npos) << table;
  EXPECT_NE(table.find("never <=29.999\n"), std::string::npos) << table;
}

TEST(SummaryTest, LeavesOutWhatARunDoesNotHave) {
  Summary summary;
  play(summary, boardOf("day", {}));
  TraceDescription other;
  other.name = "other";
  other.sensors.push_back({"skin", SensorTrack::Kind::kReal, {}, {}});
  summary.begin(other);
  summary.end(1000, {});
  const std::string table = tableOf(summary);
  EXPECT_NE(table.find("peak, degrees C                 41.0        -\n"), std::string::npos)
      << table;
  EXPECT_NE(table.find("mean level                      0.70        -\n"), std::string::npos)
      << table;
}

TEST(SummaryTest, KeepsANodeOfThePlantApartFromASensorOfItsName) {
  Summary summary;
  TraceDescription run;
  run.name = "day";
  run.sensors.push_back({"battery", SensorTrack::Kind::kReal, {}, {}});
  run.sensors.push_back({"battery", SensorTrack::Kind::kPlantNode, {}, {}});
  summary.begin(run);
  summary.temperature(0, 0, 20000);
  summary.temperature(0, 1, 30000);
  summary.end(1000, {});
  const std::string table = tableOf(summary);
  EXPECT_NE(table.find("battery          peak, degrees C       20.0\n"), std::string::npos)
      << table;
  EXPECT_NE(table.find("battery (plant)  peak, degrees C       30.0\n"), std::string::npos)
      << table;
}

class SummaryLimitTest : public ::testing::Test {
protected:
  void playAt(int32_t limit) {
    TraceDescription run = boardOf("day", {});
    run.hold(run.sensors[0], limitOf(limit));
    play(summary, run);
  }
  static Budget limitOf(int32_t millidegrees) {
    return {Budget::Of::kPeak, "", false, static_cast<double>(millidegrees)};
  }
  Summary summary;
};

TEST_F(SummaryLimitTest, IsKeptByATemperatureBelowIt) {
  playAt(41001);
  EXPECT_FALSE(summary.passedALimit());
  EXPECT_NE(tableOf(summary).find("limit 41.001                    kept\n"), std::string::npos)
      << tableOf(summary);
}

TEST_F(SummaryLimitTest, IsKeptByATemperatureOnIt) {
  playAt(41000);
  EXPECT_FALSE(summary.passedALimit());
}

TEST_F(SummaryLimitTest, IsPassedByATemperatureAboveIt) {
  playAt(40999);
  EXPECT_TRUE(summary.passedALimit());
  EXPECT_NE(tableOf(summary).find("passed for 0:03:00\n"), std::string::npos) << tableOf(summary);
}

TEST(SummaryTest, LeavesGapsOutOfEverySumOfTimes) {
  Summary summary;
  summary.begin(boardOf("day", {{40000, 39000}}));
  summary.temperature(0, 0, 30000);
  summary.level(0, 0, 0, "2000");
  summary.temperature(60000, 0, 41000);
  summary.level(60000, 0, 2, "500");
  summary.gap(120000, 720000, std::nullopt);
  summary.temperature(720000, 0, 30000);
  summary.gap(730000, 760000, 0);
  summary.temperature(760000, 0, 30000);
  summary.end(780000, {});
  EXPECT_EQ(tableOf(summary), "                                       day\n"
                              "run   duration, h:mm:ss            0:13:00\n"
                              "      of it in gaps                0:10:00\n"
                              "skin  peak, degrees C                 41.0\n"
                              "      mean                            34.4\n"
                              "      time >=40                    0:01:00\n"
                              "cpu   mean level                      1.33\n"
                              "      at level 0 (2000)             33.3 %\n"
                              "      at level 2 (500)              66.7 %\n"
                              "      changes a minute                0.33\n"
                              "      mean entry, level 0 = 100 %   50.0 %\n");
}

TEST_F(SummaryLimitTest, IsToldOfTheSensorAndOfItsNodeApart) {
  TraceDescription run;
  run.name = "day";
  run.sensors.push_back({"battery", SensorTrack::Kind::kReal, {}, {}});
  run.sensors.push_back({"battery", SensorTrack::Kind::kPlantNode, {}, {}});
  for (SensorTrack& sensor : run.sensors)
    run.hold(sensor, limitOf(45000));
  summary.begin(run);
  summary.temperature(0, 0, 30000);
  summary.temperature(0, 1, 52700);
  summary.end(60000, {});
  EXPECT_TRUE(summary.passedALimit());
  EXPECT_EQ(tableOf(summary), "                                                   day\n"
                              "run              duration, h:mm:ss             0:01:00\n"
                              "battery          peak, degrees C                  30.0\n"
                              "                 mean                             30.0\n"
                              "                 limit 45                         kept\n"
                              "battery (plant)  peak, degrees C                  52.7\n"
                              "                 mean                             52.7\n"
                              "                 limit 45           passed for 0:01:00\n");
}

TEST_F(SummaryLimitTest, IsNotKeptByASensorWithoutASample) {
  TraceDescription run = boardOf("day", {});
  run.hold(run.sensors[0], limitOf(45000));
  summary.begin(run);
  summary.end(1000, {});
  EXPECT_FALSE(summary.passedALimit());
  EXPECT_NE(tableOf(summary).find("limit 45           no sample\n"), std::string::npos)
      << tableOf(summary);
  EXPECT_EQ(summary.unjudged(),
            std::vector<std::string>{"day: skin never had a sample: nobody knows whether its limit "
                                     "was kept"});
}

TEST_F(SummaryLimitTest, IsNotKeptWhereTheDaemonStoodStill) {
  TraceDescription run = boardOf("day", {});
  run.hold(run.sensors[0], limitOf(45000));
  summary.begin(run);
  summary.temperature(0, 0, 30000);
  summary.standstill(2000);
  summary.end(10000, {});
  EXPECT_NE(tableOf(summary).find("limit 45           not judged\n"), std::string::npos)
      << tableOf(summary);
  EXPECT_EQ(summary.unjudged(),
            std::vector<std::string>{"day: the daemon stood still from 0:00:02 on: no limit is "
                                     "kept by what samples and decides nothing"});
}

TEST_F(SummaryLimitTest, NothingIsLeftUnjudgedInAnOrdinaryRun) {
  playAt(40999);
  EXPECT_TRUE(summary.unjudged().empty());
}

TEST(SummaryTest, HasARowForEachBudgetBelowWhatItIsOf) {
  Summary summary;
  TraceDescription run = boardOf("day", {});
  for (const char* text : {"skin=40C:3m", "p95:skin=40C"})
    run.hold(*readLimit(text).budget);
  for (const char* text : {"changes:cpu<=0.1/min", "work:cores=70%", "work:camera=50%"})
    run.hold(*readRequirement(text).budget);
  play(summary, run);
  EXPECT_TRUE(summary.passedALimit());
  EXPECT_EQ(tableOf(summary), "                                                          day\n"
                              "run     duration, h:mm:ss                             0:10:00\n"
                              "skin    peak, degrees C                                  41.0\n"
                              "        mean                                             33.8\n"
                              "        limit 40 for 0:03:00 in all             kept: 0:03:00\n"
                              "        limit p95 40                               passed: 41\n"
                              "cpu     mean level                                       0.70\n"
                              "        at level 0 (2000)                              60.0 %\n"
                              "        at level 1 (1500)                              10.0 %\n"
                              "        at level 2 (500)                               30.0 %\n"
                              "        changes a minute                                 0.20\n"
                              "        mean entry, level 0 = 100 %                    75.0 %\n"
                              "        required changes a minute at most 0.1    missed: 0.20\n"
                              "cores   work done of that asked for                    75.0 %\n"
                              "        energy, J                                      1234.6\n"
                              "        required work at least 70 %             kept: 75.00 %\n"
                              "camera  energy, J                                        30.0\n"
                              "        required work at least 50 %            kept: 100.00 %\n");
}

} // namespace
