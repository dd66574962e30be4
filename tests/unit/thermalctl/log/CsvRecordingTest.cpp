#include "log/CsvRecording.h"

#include <sstream>

#include <gtest/gtest.h>

#include "report/CsvTrace.h"
#include "thermalctl/log/TextLines.h"
#include "thermalctl/log/TraceLines.h"

namespace {

using Lines = std::vector<std::string>;

constexpr char kHeader[] = "run,time_ms,event,name,value,detail\n";

// What it tells of a text that it plays.
Lines played(const std::string& text, const std::string& prefix, TraceSink& sink) {
  TextLines lines(text);
  CsvRecording recording(lines, prefix, nullptr);
  EXPECT_EQ(recording.problem(), std::nullopt);
  recording.play(sink);
  return recording.remarks();
}

TEST(CsvRecordingTest, KnowsATraceByItsFirstLine) {
  EXPECT_TRUE(isCsvTrace("run,time_ms,event,name,value,detail"));
  EXPECT_FALSE(isCsvTrace("run,time_ms"));
  EXPECT_FALSE(isCsvTrace("V/echo-service: [TalmorThermal] No scen file"));
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
  run.sources = {"gpu", "the panel"};
  const auto perform = [&run](TraceSink& sink) {
    sink.begin(run);
    sink.configuration(0, "day.conf");
    sink.scenario(0, "Default");
    sink.level(0, 0, 0, "850");
    sink.temperature(0, 0, 61250);
    sink.temperature(0, 1, -500);
    sink.power(0, 1, 3'000'000'000);
    sink.algorithm(250, 0, 1);
    sink.configuration(400, "night.conf");
    sink.algorithm(500, 0, TraceSink::kAsleep);
    sink.gap(600, 700, std::nullopt);
    sink.gap(700, 900, 0);
    sink.end(1000, {});
  };
  TraceLines original;
  perform(original);
  std::ostringstream csv;
  {
    CsvTrace writer(csv);
    perform(writer);
  }
  TraceLines again;
  EXPECT_EQ(played(csv.str(), "", again), Lines{"1 simulated run in 12 lines"});
  EXPECT_EQ(again.lines, original.lines);
  EXPECT_EQ(again.run.sensors[1].kind, SensorTrack::Kind::kPlantNode);
}

TEST(CsvRecordingTest, PlaysEachOfSeveralRunsUnderItsName) {
  TraceLines trace;
  EXPECT_EQ(played(std::string(kHeader) + "day,0,temperature,big,1,\nday,9,end,,,\n" +
                       "night,0,temperature,big,2,\nnight,8,end,,,\n",
                   "a.csv: ", trace),
            Lines{"2 simulated runs in 4 lines"});
  EXPECT_EQ(trace.lines, (Lines{"begin a.csv: day", "0 temperature big 1", "9 end",
                                "begin a.csv: night", "0 temperature big 2", "8 end"}));
}

TEST(CsvRecordingTest, CountsTornLinesAndNamesTheFirst) {
  TraceLines trace;
  const Lines told = played(std::string(kHeader) + "day,0,temperature,big,1,\n"
                                                   "day,10,temperature,big,x,\n"
                                                   "day,5x,temperature,big,1,\n"
                                                   "day,10,humidity,big,1,\n"
                                                   "day,10,temperature,big,1,,\n"
                                                   "day,20,temperature,big,2,\n"
                                                   "day,10,temperature,big,3,\n"
                                                   "day,30,temper",
                            "", trace);
  EXPECT_EQ(told, Lines{"1 simulated run in 8 lines, 6 torn lines (the first is line 3)"});
  EXPECT_EQ(trace.ofKind("temperature"), (Lines{"0 temperature big 1", "20 temperature big 2"}));
}

TEST(CsvRecordingTest, HasAProblemWhereNoLineIsOne) {
  TextLines none(kHeader);
  EXPECT_EQ(CsvRecording(none, "", nullptr).problem(), "it holds no run");
  TextLines damaged(std::string(kHeader) + "day,x,temperature,big,1,\nday,0,tem\n");
  EXPECT_EQ(CsvRecording(damaged, "", nullptr).problem(),
            "none of its 2 lines is one that thermalctl writes");
}

} // namespace
