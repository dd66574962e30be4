#include <sstream>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "report/CsvTrace.h"
#include "report/EventTrace.h"
#include "thermalctl/support/JsonText.h"

namespace {

TraceDescription smallBoard(const std::string& name) {
  TraceDescription run;
  run.name = name;
  run.sensors.push_back({"gpu", SensorTrack::Kind::kReal, 250, {}});
  run.sensors.push_back({"case", SensorTrack::Kind::kPlantNode, 1000, {}});
  run.devices.push_back({"gpu", "gpufreq", {"850", "760"}});
  AlgorithmTrack algorithm;
  algorithm.name = "cap";
  algorithm.scenario = "Default";
  run.algorithms.push_back(algorithm);
  run.sources = {"gpu"};
  return run;
}

void play(TraceSink& sink, const TraceDescription& run) {
  sink.begin(run);
  sink.configuration(0, "day.conf");
  sink.scenario(0, "Default");
  sink.level(0, 0, 0, "850");
  sink.temperature(0, 0, 61250);
  sink.temperature(0, 1, -500);
  sink.power(0, 0, 2'500'001);
  sink.algorithm(250, 0, 0);
  sink.algorithm(250, 0, 1);
  sink.level(250, 0, 1, "760");
  sink.algorithm(500, 0, TraceSink::kAsleep);
  sink.scenario(500, "game");
  sink.end(1000, {});
}

std::string csvOf(const TraceDescription& run) {
  std::ostringstream out;
  CsvTrace trace(out);
  play(trace, run);
  return out.str();
}

TEST(CsvTraceTest, HasALineForEachEvent) {
  EXPECT_EQ(csvOf(smallBoard("day")), "run,time_ms,event,name,value,detail\n"
                                      "day,0,configuration,day.conf,,\n"
                                      "day,0,scenario,Default,,\n"
                                      "day,0,level,gpu,0,850\n"
                                      "day,0,temperature,gpu,61250,\n"
                                      "day,0,plant,case,-500,\n"
                                      "day,0,power,gpu,2500001,\n"
                                      "day,250,algorithm,cap,0,Default\n"
                                      "day,250,algorithm,cap,1,Default\n"
                                      "day,250,level,gpu,1,760\n"
                                      "day,500,algorithm,cap,,Default\n"
                                      "day,500,scenario,game,,\n"
                                      "day,1000,end,,,\n");
}

TEST(CsvTraceTest, TellsThatTheDaemonStandsStill) {
  std::ostringstream out;
  CsvTrace trace(out);
  trace.begin(smallBoard("day"));
  trace.standstill(700);
  trace.end(1000, {});
  EXPECT_EQ(out.str(), csv::header() + "day,700,standstill,,,\nday,1000,end,,,\n");
}

TEST(CsvTraceTest, QuotesNamesThatHoldACommaOrAQuote) {
  TraceDescription run = smallBoard("a,b");
  run.sensors[0].name = "the \"hot\" one";
  const std::string csv = csvOf(run);
  EXPECT_NE(csv.find("\n\"a,b\",0,temperature,\"the \"\"hot\"\" one\",61250,\n"), std::string::npos)
      << csv;
}

TEST(CsvTraceTest, PutsTheRunsBelowEachOtherUnderOneHeader) {
  std::ostringstream out;
  CsvTrace trace(out);
  play(trace, smallBoard("day"));
  play(trace, smallBoard("night"));
  const std::string csv = out.str();
  EXPECT_EQ(csv.find("run,time_ms", 1), std::string::npos);
  EXPECT_NE(csv.find("day,1000,end,,,\nnight,0,configuration,"), std::string::npos);
}

class EventTraceTest : public ::testing::Test {
protected:
  // The members named, of each event of that phase.
  static nlohmann::json pick(const nlohmann::json& trace, const std::string& phase,
                             const std::vector<std::string>& members) {
    nlohmann::json picked = nlohmann::json::array();
    for (const nlohmann::json& event : trace["traceEvents"]) {
      if (event["ph"] != phase) continue;
      nlohmann::json values = nlohmann::json::array();
      for (const std::string& member : members)
        values.push_back(event[member]);
      picked.push_back(values);
    }
    return picked;
  }

  static nlohmann::json played(const std::vector<TraceDescription>& runs) {
    std::ostringstream out;
    EventTrace trace(out);
    for (const TraceDescription& run : runs)
      play(trace, run);
    trace.finish();
    return jsonOf(out.str());
  }
};

TEST_F(EventTraceTest, IsJsonWithoutAnyRun) {
  EXPECT_EQ(played({})["traceEvents"], nlohmann::json::array());
}

TEST_F(EventTraceTest, HasTemperaturesInDegreesLevelsAndWattsAsCounters) {
  const nlohmann::json trace = played({smallBoard("day")});
  EXPECT_EQ(pick(trace, "C", {"ts", "name", "args"}), jsonOf(R"([
      [0, "gpu, level", {"value": 0}],
      [0, "gpu, degrees C", {"value": 61.25}],
      [0, "case of the plant, degrees C", {"value": -0.5}],
      [0, "gpu, W", {"value": 2.500001}],
      [250000, "gpu, level", {"value": 1}]])"));
}

TEST_F(EventTraceTest, HasScenariosConfigurationsAndAlgorithmsAsSlices) {
  const nlohmann::json trace = played({smallBoard("day")});
  EXPECT_EQ(pick(trace, "B", {"ts", "tid", "name"}), jsonOf(R"([
      [0, 1, "day.conf"], [0, 2, "Default"], [250000, 3, "level 0"], [250000, 3, "level 1"],
      [500000, 2, "game"]])"));
  EXPECT_EQ(pick(trace, "E", {"ts", "tid"}), jsonOf(R"([
      [250000, 3], [500000, 3], [500000, 2], [1000000, 1], [1000000, 2]])"));
}

TEST_F(EventTraceTest, GivesEachRunAProcess) {
  const nlohmann::json trace = played({smallBoard("day"), smallBoard("night")});
  nlohmann::json names = nlohmann::json::array();
  for (const nlohmann::json& event : trace["traceEvents"]) {
    if (event.value("name", "") == "process_name")
      names.push_back({event["pid"], event["args"]["name"]});
  }
  EXPECT_EQ(names, jsonOf(R"([[1, "day"], [2, "night"]])"));
}

TEST_F(EventTraceTest, StaysJsonWithNamesThatAreNoUtf8) {
  TraceDescription run = smallBoard("da\xff\"y");
  run.sensors[0].name = "\n\\";
  EXPECT_EQ(pick(played({run}), "C", {"name"})[1][0], "\n\\, degrees C");
}

TEST_F(EventTraceTest, HasGapsAsSlices) {
  std::ostringstream out;
  EventTrace trace(out);
  trace.begin(smallBoard("day"));
  trace.gap(1000, 2000, std::nullopt);
  trace.gap(3000, 4500, 0);
  trace.end(5000, {});
  trace.finish();
  EXPECT_EQ(pick(jsonOf(out.str()), "X", {"ts", "dur", "tid", "name"}), jsonOf(R"([
      [1000000, 1000000, 0, "gap"], [3000000, 1500000, 0, "no sample: gpu"]])"));
}

} // namespace
