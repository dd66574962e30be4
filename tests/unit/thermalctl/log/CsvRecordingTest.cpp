#include "log/CsvRecording.h"

#include <sstream>

#include <gtest/gtest.h>

#include "report/CsvTrace.h"
#include "thermalctl/log/TraceLines.h"

namespace {

using Lines = std::vector<std::string>;

constexpr char kHeader[] = "run,time_ms,event,name,value,detail\n";

TEST(CsvRecordingTest, KnowsATraceByItsFirstLine) {
  EXPECT_TRUE(isCsvTrace(kHeader));
  EXPECT_TRUE(isCsvTrace(std::string(kHeader) + "day,0,end,,,\n"));
  EXPECT_FALSE(isCsvTrace("run,time_ms"));
  EXPECT_FALSE(isCsvTrace("V/echo-service: [TalmorThermal] No scen file\n"));
}

TEST(CsvRecordingTest, PlaysBackWhatWasWritten) {
  TraceDescription run;
  run.name = "day, \"hot\"";
  run.sensors.push_back({"gpu", SensorTrack::Kind::kReal, 250, {}});
  run.sensors.push_back({"gpu", SensorTrack::Kind::kPlantNode, 1000, {}});
  run.devices.push_back({"gpu", "gpufreq", {"850", "760"}});
  AlgorithmTrack algorithm;
  algorithm.name = "cap";
  algorithm.configuration = "day.conf";
  algorithm.scenario = "Default";
  run.algorithms.push_back(algorithm);
  const auto perform = [&run](TraceSink& sink) {
    sink.begin(run);
    sink.configuration(0, "day.conf");
    sink.scenario(0, "Default");
    sink.level(0, 0, 0, "850");
    sink.temperature(0, 0, 61250);
    sink.temperature(0, 1, -500);
    sink.algorithm(250, 0, 1);
    sink.configuration(400, "night.conf");
    sink.algorithm(500, 0, TraceSink::kAsleep);
    sink.end(1000, {});
  };
  TraceLines original;
  perform(original);
  std::ostringstream csv;
  {
    CsvTrace writer(csv);
    perform(writer);
  }
  TraceLines played;
  const CsvCounts counts = playCsv(csv.str(), "", nullptr, played);
  EXPECT_EQ(played.lines, original.lines);
  EXPECT_EQ(counts.torn, 0u);
  EXPECT_EQ(counts.runs, 1u);
  EXPECT_EQ(played.run.sensors[1].kind, SensorTrack::Kind::kPlantNode);
}

TEST(CsvRecordingTest, PlaysEachOfSeveralRunsUnderItsName) {
  TraceLines trace;
  const CsvCounts counts =
      playCsv(std::string(kHeader) + "day,0,temperature,big,1,\nday,9,end,,,\n" +
                  "night,0,temperature,big,2,\nnight,8,end,,,\n",
              "a.csv: ", nullptr, trace);
  EXPECT_EQ(counts.runs, 2u);
  EXPECT_EQ(trace.lines, (Lines{"begin a.csv: day", "0 temperature big 1", "9 end",
                                "begin a.csv: night", "0 temperature big 2", "8 end"}));
}

TEST(CsvRecordingTest, CountsTornLinesAndNamesTheFirst) {
  TraceLines trace;
  const CsvCounts counts = playCsv(std::string(kHeader) + "day,0,temperature,big,1,\n"
                                                          "day,10,temperature,big,x,\n"
                                                          "day,5x,temperature,big,1,\n"
                                                          "day,10,humidity,big,1,\n"
                                                          "day,10,temperature,big,1,,\n"
                                                          "day,20,temperature,big,2,\n"
                                                          "day,10,temperature,big,3,\n"
                                                          "day,30,temper",
                                   "", nullptr, trace);
  EXPECT_EQ(counts.torn, 6u);
  EXPECT_EQ(counts.firstTorn, 3u);
  EXPECT_EQ(trace.ofKind("temperature"), (Lines{"0 temperature big 1", "20 temperature big 2"}));
}

} // namespace
