#include "report/Comparison.h"

#include <cmath>
#include <sstream>

#include <gtest/gtest.h>

namespace {

// A course of temperatures with a hill and a valley, in millidegrees.
int32_t course(int64_t time) {
  const double seconds = static_cast<double>(time) / 1000;
  return static_cast<int32_t>(40000 + 5000 * std::sin(seconds / 40) +
                              3000 * std::sin(seconds / 17));
}

class ComparisonTest : public ::testing::Test {
protected:
  // A run of ten minutes that begins `shift` into the course and is `warmer` by so much.
  void play(Comparison::Origin origin, const std::string& name, int64_t shift, int32_t warmer = 0,
            const std::string& sensor = "skin") {
    TraceDescription run;
    run.name = name;
    run.sensors.push_back({sensor, SensorTrack::Kind::kReal, 250, {}});
    run.sensors.push_back({"case", SensorTrack::Kind::kPlantNode, {}, {}});
    comparison.nextAre(origin);
    comparison.begin(run);
    for (int64_t time = 0; time < 600000; time += 250)
      comparison.temperature(time, 0, course(time + shift) + warmer);
    comparison.end(600000, {});
  }
  std::string text() const {
    std::ostringstream out;
    comparison.print(out);
    return out.str();
  }

  Comparison comparison;
};

constexpr auto kLive = Comparison::Origin::kLive;
constexpr auto kSimulated = Comparison::Origin::kSimulated;

TEST_F(ComparisonTest, SaysNothingUnlessThereAreRunsOfBothKinds) {
  play(kLive, "a.log", 0);
  play(kLive, "b.log", 1000);
  EXPECT_EQ(text(), "");
}

TEST_F(ComparisonTest, FindsThatTheSimulatedRunBeganLater) {
  play(kLive, "phone.log", 0);
  play(kSimulated, "game", 37000);
  EXPECT_EQ(text(), "\ngame compared with phone.log\n"
                    "time offset: 37.0 s, the simulated run begins 37.0 s into phone.log\n"
                    "sensor  RMS, K  largest, K       at  mean, K  compared over\n"
                    "skin      0.00        0.00  0:00:37     0.00        0:09:23\n");
}

TEST_F(ComparisonTest, FindsThatTheSimulatedRunBeganEarlier) {
  play(kLive, "phone.log", 12500);
  play(kSimulated, "game", 0);
  EXPECT_NE(text().find("time offset: -12.5 s, phone.log begins 12.5 s into the simulated run\n"),
            std::string::npos)
      << text();
}

TEST_F(ComparisonTest, TellsAConstantDifferenceFromAnOffset) {
  play(kLive, "phone.log", 0);
  play(kSimulated, "game", 37000, 1500);
  EXPECT_NE(text().find("time offset: 37.0 s"), std::string::npos) << text();
  EXPECT_NE(text().find("skin      1.50        1.50"), std::string::npos) << text();
}

TEST_F(ComparisonTest, ComparesFromTheBeginningWhereNothingMoves) {
  for (const auto origin : {kLive, kSimulated}) {
    TraceDescription run;
    run.name = origin == kLive ? "phone.log" : "idle";
    run.sensors.push_back({"skin", SensorTrack::Kind::kReal, 250, {}});
    comparison.nextAre(origin);
    comparison.begin(run);
    comparison.temperature(0, 0, origin == kLive ? 30000 : 30400);
    comparison.end(60000, {});
  }
  EXPECT_NE(text().find("time offset: none can be found"), std::string::npos) << text();
  EXPECT_NE(text().find("skin      0.40        0.40"), std::string::npos) << text();
}

TEST_F(ComparisonTest, TellsThatNoSensorIsInBoth) {
  play(kLive, "phone.log", 0);
  play(kSimulated, "game", 0, 0, "big");
  EXPECT_EQ(text(), "\ngame compared with phone.log\nno sensor has samples in both\n");
}

} // namespace
