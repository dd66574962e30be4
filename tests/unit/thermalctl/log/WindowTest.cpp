#include "log/Window.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "thermalctl/log/TraceLines.h"

namespace {

using Lines = std::vector<std::string>;

class WindowTest : public ::testing::Test {
protected:
  Lines shown(int64_t from, int64_t to) {
    TraceLines trace;
    Window window({from, to}, trace);
    TraceDescription run;
    run.name = "day";
    run.sensors.push_back({"big", SensorTrack::Kind::kReal, 250, {}});
    run.devices.push_back({"cpu", "cpufreq", {"2000", "1500"}});
    run.algorithms.push_back({"cap", "day.conf", "Default", {}, {}, {}, {}, false});
    run.sources = {"gpu"};
    window.begin(run);
    window.configuration(0, "day.conf");
    window.scenario(0, "Default");
    window.level(0, 0, 0, "2000");
    window.temperature(0, 0, 30000);
    window.power(0, 0, 2000);
    window.power(1000, 0, 3000);
    window.algorithm(1000, 0, 1);
    window.level(1000, 0, 1, "1500");
    window.temperature(1000, 0, 40000);
    window.gap(2000, 4000, std::nullopt);
    window.temperature(4000, 0, 50000);
    window.scenario(5000, "game");
    window.algorithm(5000, 0, TraceSink::kAsleep);
    window.end(6000, {{"cores", 2, 1}});
    return {trace.lines.begin() + 1, trace.lines.end()};
  }
};

TEST_F(WindowTest, BeginsWithWhatIsInForce) {
  EXPECT_EQ(shown(1500, 1800),
            (Lines{"0 configuration day.conf", "0 scenario Default", "0 level cpu 1 1500",
                   "0 temperature big 40000", "0 algorithm cap (day.conf, Default) 1",
                   "0 power gpu 3000", "300 end"}));
}

TEST_F(WindowTest, ShowsWhatHappensWithinIt) {
  EXPECT_EQ(
      shown(4000, 5000),
      (Lines{"0 configuration day.conf", "0 scenario Default", "0 level cpu 1 1500",
             "0 temperature big 50000", "0 algorithm cap (day.conf, Default) 1", "0 power gpu 3000",
             "1000 scenario game", "1000 algorithm cap (day.conf, Default) asleep", "1000 end"}));
}

TEST_F(WindowTest, CutsAGapAndWhatNoSampleTells) {
  EXPECT_EQ(shown(3000, 4500),
            (Lines{"0 configuration day.conf", "0 scenario Default", "0 level cpu 1 1500",
                   "0 algorithm cap (day.conf, Default) 1", "0 power gpu 3000", "1000 gap from 0",
                   "1000 temperature big 50000", "1500 end"}));
  EXPECT_EQ(shown(1500, 3000).back(), "1500 end");
}

TEST_F(WindowTest, IsEmptyBehindTheEndOfARun) {
  EXPECT_EQ(shown(7000, 9000).back(), "0 end");
}

// What a window from 1 to 2 seconds passes on, of a run that each test tells it.
class WindowEdgesTest : public ::testing::Test {
protected:
  // Beside the lines, when the run stands still and how much of the work is known.
  struct Told : TraceLines {
    void standstill(int64_t time) override { lines.push_back(std::to_string(time) + " stands"); }
    void end(int64_t time, const std::vector<Performance>& performance) override {
      lines.push_back(std::to_string(time) + " end of " + std::to_string(performance.size()));
    }
  };

  void begin(Window& shown, const std::string& name = "day") {
    TraceDescription run;
    run.name = name;
    run.sensors.push_back({"big", SensorTrack::Kind::kReal, 250, {}});
    run.sensors.push_back({"skin", SensorTrack::Kind::kReal, 250, {}});
    run.devices.push_back({"cpu", "cpufreq", {"2000", "1500"}});
    run.algorithms.push_back({"cap", "day.conf", "Default", {}, {}, {}, {}, false});
    run.sources = {"gpu"};
    shown.begin(run);
    told.lines.clear();
  }

  Told told;
  Window window{{1000, 2000}, told};
};

TEST_F(WindowEdgesTest, WhatHappensAtItsEndsBelongsToIt) {
  begin(window);
  for (const int64_t time : {999, 1000, 1001, 2000, 2001})
    window.temperature(time, 0, static_cast<int32_t>(time));
  EXPECT_EQ(told.lines, (Lines{"0 temperature big 1000", "1 temperature big 1001",
                               "1000 temperature big 2000"}));
}

TEST_F(WindowEdgesTest, OfWhatChangedBeforeItTheLastIsInForce) {
  begin(window);
  window.configuration(0, "old.conf");
  window.configuration(500, "day.conf");
  window.scenario(0, "Default");
  window.scenario(1000, "game");
  window.level(0, 0, 0, "2000");
  window.level(1000, 0, 1, "1500");
  window.power(0, 0, 1);
  window.power(999, 0, 2);
  window.algorithm(500, 0, 1);
  window.algorithm(900, 0, TraceSink::kAsleep);
  window.end(3000, {});
  EXPECT_EQ(told.lines, (Lines{"0 configuration day.conf", "0 scenario game", "0 level cpu 1 1500",
                               "0 power gpu 2", "1000 end of 0"}));
}

TEST_F(WindowEdgesTest, BehindItNothingIsPassedOn) {
  begin(window);
  window.configuration(2001, "day.conf");
  window.scenario(2001, "game");
  window.level(2001, 0, 1, "1500");
  window.power(2001, 0, 1);
  window.algorithm(2001, 0, 1);
  window.gap(2000, 3000, 0);
  window.standstill(2001);
  EXPECT_EQ(told.lines, Lines());
  window.end(1500, {});
  EXPECT_EQ(told.lines, Lines{"500 end of 0"});
}

TEST_F(WindowEdgesTest, AStandstillBeforeItHasBegunIsOneFromItsStart) {
  begin(window);
  window.standstill(300);
  window.standstill(1500);
  window.standstill(2000);
  EXPECT_EQ(told.lines, (Lines{"0 stands", "500 stands", "1000 stands"}));
}

TEST_F(WindowEdgesTest, AGapOfOneSensorTakesThatOnesTemperatureAlone) {
  begin(window);
  window.temperature(0, 0, 40000);
  window.temperature(0, 1, 30000);
  window.gap(500, 1500, 0);
  EXPECT_EQ(told.lines, (Lines{"0 temperature skin 30000", "500 gap from 0 of big"}));
}

TEST_F(WindowEdgesTest, AGapThatBeginsWithinItLeavesTheTemperatureBeforeIt) {
  begin(window);
  window.temperature(1000, 0, 40000);
  window.gap(1001, 1500, 0);
  EXPECT_EQ(told.lines, (Lines{"0 temperature big 40000", "500 gap from 1 of big"}));
}

TEST_F(WindowEdgesTest, AGapThatEndsWhereItBeginsIsNone) {
  begin(window);
  window.gap(500, 1000, std::nullopt);
  EXPECT_EQ(told.lines, Lines());
}

TEST_F(WindowEdgesTest, TheNextRunBeginsWithNothingOfTheOneBefore) {
  begin(window);
  window.configuration(0, "day.conf");
  window.scenario(0, "game");
  window.level(0, 0, 1, "1500");
  window.temperature(0, 0, 40000);
  window.power(0, 0, 1);
  window.algorithm(0, 0, 1);
  window.end(2000, {});
  begin(window, "night");
  window.end(2000, {});
  EXPECT_EQ(told.lines, Lines{"1000 end of 0"});
}

TEST_F(WindowEdgesTest, TheWorkIsKnownOfAWholeRunAlone) {
  const std::vector<Performance> work = {{"gpu", 2, 1, 0}};
  begin(window);
  window.end(1500, work);
  EXPECT_EQ(told.lines.back(), "500 end of 0");
  Window upTo({0, 2000}, told);
  begin(upTo);
  upTo.end(2000, work);
  EXPECT_EQ(told.lines.back(), "2000 end of 1");
  begin(upTo);
  upTo.end(2001, work);
  EXPECT_EQ(told.lines.back(), "2000 end of 0");
}

} // namespace
