#include "check/rule/Visits.h"

#include <gtest/gtest.h>

namespace {

using Names = std::vector<std::string>;

constexpr char kBoard[] = "[cpu]\ntype real\nsampling 1000\nnode_path /cpu\n\n"
                          "[skin]\ntype virtual\nsensors cpu\n\n"
                          "[gpu]\ntype gpufreq\nlevel_table 1 0\n[fan]\ntype cpufreq\n";
constexpr char kDay[] = "SCEN Default\n[m]\nalgo_type monitor\nsensor cpu\n"
                        "[merged]\nalgo_type ss\nset_point 1\n\n"
                        "[s]\nalgo_type ss\nsensor cpu\n";
constexpr char kNight[] = "SCEN Default\n[n]\nalgo_type monitor\n";

// Where a rule comes on its way through a board and two configurations, one after the other.
class VisitsTest : public testing::Test {
protected:
  VisitsTest() {
    configurations.push_back(readConfiguration("day.conf", kDay, environment));
    configurations.push_back(readConfiguration("night.conf", kNight, environment));
  }

  Names visited(const Check& check) {
    const Rule rule{"some-rule", Severity::kError, "The paragraph.", nullptr};
    std::vector<Finding> findings;
    const Subject subject{environment, configurations, std::nullopt};
    Context context{rule, subject, findings};
    check(context);
    return names;
  }
  auto note() {
    return [this](const Block& block, Context&) { names.push_back(block.name); };
  }

  Environment environment = readEnvironment("board.env", kBoard);
  std::vector<Configuration> configurations;
  Names names;
};

TEST_F(VisitsTest, ComesToEachSection) {
  EXPECT_EQ(visited(eachSection(note())), (Names{"cpu", "skin", "gpu"}));
}

TEST_F(VisitsTest, ComesToSensorsOfBothKinds) {
  EXPECT_EQ(visited(eachSensor(note())), (Names{"cpu", "skin"}));
}

TEST_F(VisitsTest, ComesToVirtualSensorsAlone) {
  EXPECT_EQ(visited(eachVirtual(note())), Names{"skin"});
}

TEST_F(VisitsTest, WhatStandsBehindAFurtherHeaderIsNoLineOfTheSection) {
  const Check check = eachSectionLine([this](const SectionLine& line, Context&) {
    names.push_back(line.section.name + " " + line.property.key.text);
  });
  EXPECT_EQ(visited(check),
            (Names{"cpu sampling", "cpu node_path", "skin sensors", "gpu level_table"}));
}

TEST_F(VisitsTest, EachConfigurationIsInHandInItsTurn) {
  const Check check = eachConfiguration([this](const Configuration& one, Context& context) {
    EXPECT_EQ(context.configuration, &one);
    names.push_back(one.file);
  });
  EXPECT_EQ(visited(check), (Names{"day.conf", "night.conf"}));
}

TEST_F(VisitsTest, ItemsAreTakenAsTheyWereMeant) {
  EXPECT_EQ(visited(eachItem(note())), (Names{"m", "merged", "s", "n"}));
}

TEST_F(VisitsTest, ComesToItemsOfOneKind) {
  EXPECT_EQ(visited(eachMonitor(note())), (Names{"m", "n"}));
  names.clear();
  EXPECT_EQ(visited(eachSS(note())), (Names{"merged", "s"}));
}

TEST_F(VisitsTest, ComesToEachLineOfAnItem) {
  const Check check = eachItemLine([this](const ItemLine& line, Context&) {
    names.push_back(line.item.name + " " + line.property.key.text);
  });
  EXPECT_EQ(visited(check), (Names{"m sensor", "merged set_point", "s sensor"}));
}

} // namespace
