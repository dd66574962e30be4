#include "log/Recording.h"

#include <gtest/gtest.h>

namespace {

using TrackKind = SensorTrack::Kind;

// One run, shown through the limits that were set.
class OneRun : public Recording {
public:
  explicit OneRun(std::vector<SensorTrack> sensors_) { run.sensors = std::move(sensors_); }

  std::optional<std::string> problem() const override { return std::nullopt; }
  std::vector<std::string> remarks() const override { return {}; }
  void play(TraceSink&) override {}
  int64_t duration() const override { return 0; }
  std::set<std::string> subjects() const override {
    std::set<std::string> found;
    addSubjects(run, found);
    return found;
  }

  // The run as it is shown with what it is held to.
  TraceDescription held(const Budget& budget) {
    setBudgets({budget});
    TraceDescription shown = run;
    Recording::setBudgets(shown);
    return shown;
  }

private:
  TraceDescription run;
};

const SensorTrack kSkin{"skin", TrackKind::kReal, std::nullopt, std::nullopt};
const SensorTrack kSkinNode{"skin", TrackKind::kPlantNode, std::nullopt, std::nullopt};
const SensorTrack kCore{"core", TrackKind::kPlantNode, std::nullopt, std::nullopt};

Budget limit(const std::string& name, bool ofNode) {
  Budget budget;
  budget.name = name;
  budget.ofNode = ofNode;
  budget.bound = 43000;
  return budget;
}

TEST(RecordingTest, NamesNodesOfThePlantApartFromSensors) {
  EXPECT_EQ(OneRun({kSkin, kSkinNode, kCore}).subjects(),
            (std::set<std::string>{"skin", "node:skin", "node:core"}));
}

TEST(RecordingTest, ALimitOfASensorIsAlsoOneOfTheNodeThatBearsItsName) {
  const auto sensors = OneRun({kSkin, kSkinNode, kCore}).held(limit("skin", false)).sensors;
  ASSERT_EQ(sensors.size(), 3U);
  EXPECT_EQ(sensors[0].limit, 43000);
  EXPECT_EQ(sensors[1].limit, 43000);
  EXPECT_EQ(sensors[2].limit, std::nullopt);
}

TEST(RecordingTest, ALimitOfANodeLeavesTheSensorOfItsNameAlone) {
  const auto sensors = OneRun({kSkin, kSkinNode}).held(limit("skin", true)).sensors;
  ASSERT_EQ(sensors.size(), 2U);
  EXPECT_EQ(sensors[0].limit, std::nullopt);
  EXPECT_EQ(sensors[1].limit, 43000);
}

TEST(RecordingTest, ASensorThatNeverHadASampleIsThereForItsLimit) {
  const auto sensors = OneRun({kSkin}).held(limit("back", false)).sensors;
  ASSERT_EQ(sensors.size(), 2U);
  EXPECT_EQ(sensors[1].name, "back");
  EXPECT_EQ(sensors[1].kind, TrackKind::kReal);
  EXPECT_EQ(sensors[1].limit, 43000);
}

TEST(RecordingTest, ANodesNameDoesNotStandForTheSensorThatIsMissing) {
  const auto sensors = OneRun({kCore}).held(limit("core", false)).sensors;
  ASSERT_EQ(sensors.size(), 2U);
  EXPECT_EQ(sensors[0].limit, 43000);
  EXPECT_EQ(sensors[1].kind, TrackKind::kReal);
  EXPECT_EQ(sensors[1].limit, 43000);
}

TEST(RecordingTest, ANodeThatThePlantDoesNotShowIsThereForItsLimit) {
  const auto sensors = OneRun({kCore}).held(limit("case", true)).sensors;
  ASSERT_EQ(sensors.size(), 2U);
  EXPECT_EQ(sensors[1].name, "case");
  EXPECT_EQ(sensors[1].kind, TrackKind::kPlantNode);
}

TEST(RecordingTest, WhereNoPlantIsKnownALimitOfANodeSaysNothing) {
  EXPECT_EQ(OneRun({kSkin}).held(limit("case", true)).sensors.size(), 1U);
}

TEST(RecordingTest, WhatIsRequiredOfADeviceAddsNoSensor) {
  Budget quiet = limit("cpu", false);
  quiet.of = Budget::Of::kChanges;
  const TraceDescription run = OneRun({kSkin}).held(quiet);
  EXPECT_EQ(run.sensors.size(), 1U);
  ASSERT_EQ(run.budgets.size(), 1U);
  EXPECT_EQ(run.budgets[0].name, "cpu");
}

} // namespace
