#include "log/Cast.h"

#include <gtest/gtest.h>

#include "sensor/Algo.h"
#include "support/LogSwitchedOff.h"
#include "support/SysfsDir.h"

namespace {

using TrackKind = SensorTrack::Kind;

constexpr char kTwoScenarios[] =
    "SCEN Default\n[cap]\nalgo_type monitor\nsensor big\nsampling 1000\nthresholds 50000\n"
    "thresholds_clr 45000\nactions cpu\naction_info 1\n\n"
    "SCEN game\n[cap]\nalgo_type monitor\nsensor big\nsampling 1000\nthresholds 60000\n"
    "thresholds_clr 55000\nactions cpu\naction_info 1\n";

// The cast of a record without a board.
class CastTest : public testing::Test {
protected:
  Cast cast{"phone.log", nullptr};
};

// And of one whose board has a configuration.
class BoardsCastTest : public testing::Test {
protected:
  const LogSwitchedOff quiet;
  SysfsDir files;
  std::vector<std::string> problems;
  const BoardFolder board{
      {files.write("board.env", "[big]\ntype real\nsampling 250\nnode_path /big\n\n"
                                "[cpu]\ntype cpufreq\nnode_path /cpu\nlevel_table 2000 1500\n"),
       {files.write("day.conf", kTwoScenarios)}},
      problems};
  Cast cast{"phone.log", &board};
};

TEST_F(CastTest, WhoIsNewComesBehindAndStays) {
  EXPECT_EQ(cast.sensor("big", TrackKind::kReal), 0U);
  EXPECT_EQ(cast.sensor("skin", TrackKind::kVirtual), 1U);
  EXPECT_EQ(cast.sensor("big", TrackKind::kReal), 0U);
  ASSERT_EQ(cast.description().sensors.size(), 2U);
  EXPECT_EQ(cast.description().sensors[1].name, "skin");
  EXPECT_EQ(cast.description().sensors[1].kind, TrackKind::kVirtual);
}

TEST_F(CastTest, ANodeOfThePlantMayBearASensorsName) {
  EXPECT_EQ(cast.sensor("skin", TrackKind::kReal), 0U);
  EXPECT_EQ(cast.sensor("skin", TrackKind::kPlantNode), 1U);
  EXPECT_EQ(cast.sensor("skin", TrackKind::kPlantNode), 1U);
  EXPECT_EQ(cast.sensor("skin", TrackKind::kReal), 0U);
  EXPECT_EQ(cast.description().sensors[1].kind, TrackKind::kPlantNode);
}

TEST_F(CastTest, ADeviceIsAddedOnce) {
  EXPECT_EQ(cast.device("cpu"), 0U);
  EXPECT_EQ(cast.device("gpu"), 1U);
  EXPECT_EQ(cast.device("cpu"), 0U);
  EXPECT_EQ(cast.description().devices[1].name, "gpu");
}

TEST_F(CastTest, AnAlgorithmOfAnotherScenarioIsAnother) {
  EXPECT_EQ(cast.algorithm("cap", "Default", "day.conf"), 0U);
  EXPECT_EQ(cast.algorithm("cap", "game", "day.conf"), 1U);
  EXPECT_EQ(cast.algorithm("cap", "Default", "day.conf"), 0U);
  EXPECT_EQ(cast.description().algorithms[1].scenario, "game");
  EXPECT_EQ(cast.description().algorithms[1].configuration, "day.conf");
}

TEST_F(CastTest, OfNamesakesInOneScenarioAnyWillDoForAnotherConfiguration) {
  EXPECT_EQ(cast.algorithm("cap", "Default", "day.conf"), 0U);
  EXPECT_EQ(cast.algorithm("cap", "Default", "night.conf"), 0U);
}

TEST_F(CastTest, BehindWhatOnlyTheRecordShowsStandsNoItem) {
  EXPECT_EQ(cast.item(cast.algorithm("cap", "Default", "")), nullptr);
}

TEST_F(CastTest, IsNamedAsTheRecord) {
  EXPECT_EQ(cast.description().name, "phone.log");
}

TEST_F(BoardsCastTest, KnowsWhatTheBoardHas) {
  EXPECT_EQ(cast.description().name, "phone.log");
  EXPECT_EQ(cast.sensor("big", TrackKind::kReal), 0U);
  EXPECT_EQ(cast.device("cpu"), 0U);
  EXPECT_EQ(cast.description().sensors.size(), 1U);
  EXPECT_EQ(cast.description().devices.size(), 1U);
}

TEST_F(BoardsCastTest, AConfigurationIsAddedOnceUnderTheRecordsNameForIt) {
  cast.addConfiguration(*board.first(), "shipped.conf");
  cast.addConfiguration(*board.first(), "shipped.conf");
  ASSERT_EQ(cast.description().algorithms.size(), 2U);
  EXPECT_EQ(cast.description().algorithms[0].configuration, "shipped.conf");
  EXPECT_EQ(cast.description().algorithms[1].scenario, "game");
}

TEST_F(BoardsCastTest, OneFileUnderTwoNamesIsTwo) {
  cast.addConfiguration(*board.first(), "a.conf");
  cast.addConfiguration(*board.first(), "b.conf");
  EXPECT_EQ(cast.description().algorithms.size(), 4U);
  EXPECT_EQ(cast.algorithm("cap", "game", "a.conf"), 1U);
  EXPECT_EQ(cast.algorithm("cap", "game", "b.conf"), 3U);
}

TEST_F(BoardsCastTest, WithoutThePreferredConfigurationTheFirstNamesakeIsMeant) {
  cast.addConfiguration(*board.first(), "a.conf");
  cast.addConfiguration(*board.first(), "b.conf");
  EXPECT_EQ(cast.algorithm("cap", "game", "c.conf"), 1U);
}

TEST_F(BoardsCastTest, BehindAnAlgorithmOfTheBoardStandsItsItem) {
  cast.addConfiguration(*board.first(), "day.conf");
  const size_t inGame = cast.algorithm("cap", "game", "day.conf");
  EXPECT_EQ(cast.item(inGame), board.first()->items[1]);
  EXPECT_EQ(cast.item(inGame)->startTemp, 60000);
}

} // namespace
