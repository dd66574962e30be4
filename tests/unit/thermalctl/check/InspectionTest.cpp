#include "check/Inspection.h"

#include <gtest/gtest.h>

#include "support/SysfsDir.h"

namespace {

constexpr char kEnvironment[] = "[cpu]\ntype real\nsampling 1000\nnode_path /cpu\n\n"
                                "[gpu]\ntype gpufreq\nnode_path /gpu\nlevel_table 2 1 0\n";
constexpr char kConfiguration[] =
    "SCEN Default\n[hot]\nalgo_type monitor\nsensor cpu\nsampling 1000\nthresholds 50000\n"
    "thresholds_clr 45000\nactions gpu\naction_info 1\n";
constexpr char kUnknownKind[] =
    "SCEN Default\n[hot]\nalgo_type Monitor\nsensor cpu\nsampling 1000\nthresholds 50000\n"
    "thresholds_clr 45000\nactions gpu\naction_info 1\n";

class InspectionTest : public testing::Test {
protected:
  std::vector<std::string> rulesOf(const Inspection& inspection) const {
    std::vector<std::string> rules;
    for (const Finding& finding : inspection.findings)
      rules.push_back(finding.rule);
    return rules;
  }

  SysfsDir files;
  const std::string board = files.write("board.env", kEnvironment);
  const std::string day = files.write("day.conf", kConfiguration);
  const std::string missing = files.node("missing");
};

using Names = std::vector<std::string>;

TEST_F(InspectionTest, FindsNothingInABoardWithoutProblems) {
  const Inspection inspection = inspect({board, {day}, std::nullopt, {}});
  EXPECT_EQ(rulesOf(inspection), Names());
  EXPECT_TRUE(inspection.unread.empty());
  EXPECT_TRUE(inspection.hasBoard);
  EXPECT_EQ(inspection.sources.size(), 2U);
  EXPECT_EQ(inspection.sources.at(day).text(), kConfiguration);
  EXPECT_EQ(inspection.environment.devices.size(), 1U);
  EXPECT_TRUE(inspection.configurations.at(0).items.at(0).created);
}

TEST_F(InspectionTest, NamesFindingsByTheFilesAsGiven) {
  files.write("day.conf", kUnknownKind);
  const Inspection inspection = inspect({board, {day}, std::nullopt, {}});
  ASSERT_EQ(rulesOf(inspection), Names{"unknown-type"});
  EXPECT_EQ(inspection.findings[0].file, day);
}

TEST_F(InspectionTest, ReadsOnBehindAFileThatIsNotThere) {
  files.write("day.conf", kUnknownKind);
  const Inspection inspection = inspect({board, {missing, day}, std::nullopt, {}});
  ASSERT_EQ(inspection.unread.size(), 1U);
  EXPECT_EQ(describe(inspection.unread[0]),
            "cannot read " + missing + ": No such file or directory");
  EXPECT_EQ(rulesOf(inspection), Names{"unknown-type"});
}

TEST_F(InspectionTest, TakesNoDirectoryForAFile) {
  const std::string directory = board.substr(0, board.rfind('/'));
  const Inspection inspection = inspect({board, {directory}, std::nullopt, {}});
  ASSERT_EQ(inspection.unread.size(), 1U);
  EXPECT_EQ(inspection.unread[0].reason, "Is a directory");
}

TEST_F(InspectionTest, ChecksAConfigurationOnceHoweverOftenItIsNamed) {
  const std::string night = files.write("night.conf", kConfiguration);
  const Inspection inspection = inspect({board, {day, day, night}, std::nullopt, {}});
  ASSERT_EQ(inspection.configurations.size(), 2U);
  EXPECT_EQ(inspection.configurations[1].file, night);
}

TEST_F(InspectionTest, TakesAllNamesForGrantedWithoutABoard) {
  const std::string night = files.write("night.conf", kUnknownKind);
  const Inspection inspection = inspect({missing, {day, night}, std::nullopt, {}});
  EXPECT_FALSE(inspection.hasBoard);
  EXPECT_EQ(rulesOf(inspection), Names{"unknown-type"});
  EXPECT_EQ(inspection.findings[0].file, night);
}

TEST_F(InspectionTest, KnowsTheNamesThatItTakesForGranted) {
  const std::string item = std::string(kConfiguration).substr(sizeof("SCEN Default"));
  files.write("day.conf", kConfiguration + ("\n" + item));
  const Inspection inspection = inspect({missing, {day}, std::nullopt, {}});
  ASSERT_EQ(rulesOf(inspection), Names{"item-name-twice"});
  EXPECT_EQ(inspection.findings[0].message.rfind("at device 'gpu' ", 0), 0U);
}

TEST_F(InspectionTest, AsksNothingOfABoardThatIsNotThere) {
  const Inspection inspection = inspect({missing, {}, "/", {}});
  EXPECT_EQ(rulesOf(inspection), Names());
}

} // namespace
