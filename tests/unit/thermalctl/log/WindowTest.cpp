#include "log/Window.h"

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

} // namespace
