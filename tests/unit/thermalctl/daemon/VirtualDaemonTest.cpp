#include "daemon/VirtualDaemon.h"

#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "device/CameraDevice.h"
#include "sensor/Real.h"
#include "support/LogSwitchedOff.h"
#include "support/SysfsDir.h"

namespace {

class VirtualDaemonTest : public testing::Test {
protected:
  LogSwitchedOff noLog;
  SysfsDir host;
};

TEST_F(VirtualDaemonTest, OpensNothingOfTheHost) {
  const std::string sensor = host.write("temp", "45000\n");
  const std::string knob = host.write("max_freq", "untouched");
  const std::string report = host.write("report", "untouched");
  VirtualDaemon daemon("[cpu]\ntype real\nnode_path " + sensor +
                       "\n\n[gpu]\ntype gpufreq\n  "
                       "node_path\t" +
                       knob + "\nlevel_table 2 1\n\n[log]\ntype report\nnode_path " + report +
                       "\n");
  daemon.sensors.at("cpu")->updateTemp();
  EXPECT_EQ(daemon.sensors.at("cpu")->temperature, 0);
  daemon.devices.at("gpu")->deviceControl("test", 1);
  daemon.devices.at("gpu")->statusApply();
  daemon.devices.at("log")->deviceControl("test", 1);
  daemon.devices.at("log")->statusApply();
  EXPECT_EQ(daemon.devices.at("gpu")->currentLevel, 1);
  EXPECT_EQ(host.read("max_freq"), "untouched");
  EXPECT_EQ(host.read("report"), "untouched");
}

TEST_F(VirtualDaemonTest, ACameraKeepsItsLevelsAndItsNameButNotItsOtherNode) {
  for (const std::string head : {"[camera]\ntype camera\n", "[camera] type camera\n\n"}) {
    const VirtualDaemon daemon(head + "node_path /nowhere/fps\nlevel_table 30 24 15\n");
    Device* const camera = daemon.devices.at("camera");
    EXPECT_EQ(dynamic_cast<CameraDevice*>(camera), nullptr) << head;
    EXPECT_EQ(camera->levelTable, (std::vector<std::string>{"30", "24", "15"})) << head;
    EXPECT_EQ(daemon.describe().devices.at(0).kind, "camera") << head;
  }
}

TEST_F(VirtualDaemonTest, ASensorReadsTheNodeThatItIsGiven) {
  std::stringbuf node("45123\n");
  std::vector<std::string> asked;
  const VirtualDaemon daemon("[cpu]\ntype real\nnode_path /nowhere/temp\n\n[gone]\ntype real\n",
                             [&](const std::string& sensor) {
                               asked.push_back(sensor);
                               return &node;
                             });
  EXPECT_EQ(asked, std::vector<std::string>{"cpu"}) << "a section without a node gets none";
  daemon.sensors.at("cpu")->updateTemp();
  EXPECT_EQ(daemon.sensors.at("cpu")->temperature, 45123);
}

TEST_F(VirtualDaemonTest, PutsAConfigurationInForceThatItIsAskedForByName) {
  VirtualDaemon daemon("[cpu]\ntype real\n\n[fan]\ntype charger\nlevel_table 0 1\n");
  daemon.configurations["night.conf"] = "SCEN game\n[hot]\nalgo_type ss\nsensor cpu\n"
                                        "device fan\nset_point 9\nset_point_clr 8\n";
  EXPECT_FALSE(daemon.findConfFile("day.conf"));
  ASSERT_TRUE(daemon.findConfFile("night.conf"));
  daemon.dynamicConfParse("night.conf");
  EXPECT_EQ(daemon.confFileName, "night.conf");
  EXPECT_EQ(daemon.scenarios.count("game"), 1U);
  EXPECT_EQ(daemon.items().size(), 1U);
}

TEST_F(VirtualDaemonTest, DescribesWhatTheFilesDeclare) {
  VirtualDaemon daemon("[cpu]\ntype real\nsampling 250\nnode_path /nowhere/temp\n\n"
                       "[skin]\ntype virtual\nsampling 1000\ntrip_sensor cpu\nsensors cpu\n"
                       "weights 2\n\n"
                       "[gpu]\ntype gpufreq\nnode_path /nowhere/gpu\nlevel_table 3 2 1\n\n"
                       "[log]\ntype report\nnode_path /nowhere/log\n");
  ASSERT_EQ(daemon.parseConfiguration("SCEN game\n[cold]\nalgo_type monitor\nsensor skin\n"
                                      "lowactive true\nthresholds 10000 0\nthresholds_clr 12000\n"
                                      "actions gpu+log gpu\naction_info 1+1 2\n\n"
                                      "[step]\nalgo_type ss\nsensor cpu\ndevice gpu\n"
                                      "set_point 60000\nset_point_clr 55000\n"),
            std::nullopt);
  const TraceDescription board = daemon.describe();
  ASSERT_EQ(board.sensors.size(), 2U);
  EXPECT_EQ(board.sensors[0].name, "cpu");
  EXPECT_EQ(board.sensors[0].period, 250U);
  EXPECT_EQ(board.sensors[1].kind, SensorTrack::Kind::kVirtual);
  ASSERT_EQ(board.devices.size(), 2U);
  EXPECT_EQ(board.devices[0].levels, (std::vector<std::string>{"3", "2", "1"}));
  EXPECT_EQ(board.devices[1].kind, "report");

  const std::vector<AlgorithmTrack> items = daemon.describeItems(board, "day.conf");
  ASSERT_EQ(items.size(), 2U);
  EXPECT_EQ(items[0].name, "step");
  EXPECT_EQ(items[0].kind, AlgorithmTrack::Kind::kStep);
  ASSERT_EQ(items[0].thresholds.size(), 1U);
  EXPECT_EQ(items[0].thresholds[0].cleared, 55000);
  EXPECT_EQ(items[0].devices, std::vector<size_t>{0});
  EXPECT_EQ(items[1].name, "cold");
  EXPECT_EQ(items[1].scenario, "game");
  EXPECT_EQ(items[1].configuration, "day.conf");
  EXPECT_EQ(items[1].sensor, 1U);
  EXPECT_TRUE(items[1].lowactive);
  ASSERT_EQ(items[1].thresholds.size(), 2U);
  EXPECT_EQ(items[1].thresholds[0].reached, 10000);
  EXPECT_EQ(items[1].thresholds[0].cleared, 12000);
  EXPECT_EQ(items[1].thresholds[1].cleared, 0) << "a missing one is the threshold itself";
  EXPECT_EQ(items[1].devices, (std::vector<size_t>{0, 1}));
  EXPECT_EQ(daemon.items().size(), 2U);
}

TEST_F(VirtualDaemonTest, TellsTheErrorAtWhichTheDaemonWouldEnd) {
  VirtualDaemon daemon("");
  EXPECT_EQ(daemon.parseConfiguration("[x]\nalgo_type other\n"),
            "Algo type should be 'monitor' or 'SS'");
}

// Of an item on "cpu", beside the devices "a", "b" and "c".
std::vector<AlgorithmTrack> tracksOf(const std::string& item, int32_t unit = 1) {
  VirtualDaemon daemon("[cpu]\ntype real\n\n[a]\ntype charger\nlevel_table 0 1 2\n\n"
                       "[b]\ntype charger\nlevel_table 0 1 2\n\n"
                       "[c]\ntype charger\nlevel_table 0 1 2\n");
  EXPECT_EQ(daemon.parseConfiguration(item), std::nullopt);
  TraceDescription board = daemon.describe();
  board.countIn({{"cpu", unit}});
  return daemon.describeItems(board, "day.conf");
}

TEST_F(VirtualDaemonTest, AnItemsThresholdsAreToldInMillidegreesWhateverItsSensorCounts) {
  const std::string monitor = "[m]\nalgo_type monitor\nsensor cpu\nthresholds 600 700\n"
                              "thresholds_clr 550\nactions a a\naction_info 1 2\n";
  const AlgorithmTrack tenths = tracksOf(monitor, 100).at(0);
  EXPECT_EQ(tenths.thresholds.at(0).reached, 60'000);
  EXPECT_EQ(tenths.thresholds.at(0).cleared, 55'000);
  EXPECT_EQ(tenths.thresholds.at(1).cleared, 70'000);
  const AlgorithmTrack step =
      tracksOf("[s]\nalgo_type ss\nsensor cpu\ndevice b\nset_point -5\nset_point_clr -4\n"
               "lowactive true\n",
               1000)
          .at(0);
  EXPECT_EQ(step.thresholds.at(0).reached, -5000);
  EXPECT_EQ(step.thresholds.at(0).cleared, -4000);
  EXPECT_EQ(step.devices, std::vector<size_t>{1});
}

TEST_F(VirtualDaemonTest, ADeviceOfSeveralRowsIsThereOnceInTheOrderOfTheRows) {
  EXPECT_EQ(tracksOf("[m]\nalgo_type monitor\nsensor cpu\nthresholds 1 2 3\n"
                     "thresholds_clr 0 1 2\nactions c c+a a+c\naction_info 1 2+1 2+2\n")
                .at(0)
                .devices,
            (std::vector<size_t>{2, 0}));
}

TEST_F(VirtualDaemonTest, TheItemsOfEveryScenarioAreDescribedInTheOrderOfTheItems) {
  const std::string item = "algo_type ss\nsensor cpu\ndevice a\nset_point 9\nset_point_clr 8\n\n";
  const auto tracks = tracksOf("[x]\n" + item + "SCEN night\n[y]\n" + item + "[z]\n" + item);
  ASSERT_EQ(tracks.size(), 3U);
  EXPECT_EQ(tracks[0].name + tracks[1].name + tracks[2].name, "xyz");
  EXPECT_EQ(tracks[0].scenario, "Default");
  EXPECT_EQ(tracks[2].scenario, "night");
}

TEST_F(VirtualDaemonTest, WhatIsOnlyReferredToIsNotDescribed) {
  const VirtualDaemon daemon("[skin]\ntype virtual\nsampling 1000\ntrip_sensor gone\n"
                             "sensors gone\nweights 1\n");
  const TraceDescription board = daemon.describe();
  ASSERT_EQ(board.sensors.size(), 1U);
  EXPECT_EQ(board.sensors[0].name, "skin");
  EXPECT_EQ(board.sensors[0].period, 1000U);
  EXPECT_TRUE(board.devices.empty());
}

TEST_F(VirtualDaemonTest, AReportHasNoLevelsWhateverItsTableHas) {
  const VirtualDaemon daemon("[log]\ntype report\nlevel_table 1 2\n");
  EXPECT_TRUE(daemon.describe().devices.at(0).levels.empty());
}

TEST_F(VirtualDaemonTest, WhatWasReadBeforeAnErrorStays) {
  VirtualDaemon daemon("[cpu]\ntype real\n\n[fan]\ntype charger\nlevel_table 0 1\n");
  EXPECT_TRUE(daemon.parseConfiguration("[hot]\nalgo_type ss\nsensor cpu\ndevice fan\n"
                                        "set_point 9\nset_point_clr 8\n\n[x]\nalgo_type other\n"));
  EXPECT_EQ(daemon.items().size(), 1U);
}

} // namespace
