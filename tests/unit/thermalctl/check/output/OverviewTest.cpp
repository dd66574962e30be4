#include "check/output/Overview.h"

#include <gtest/gtest.h>

namespace {

Finding finding(Severity severity, End end = End::kNone) {
  Finding result;
  result.severity = severity;
  result.end = end;
  return result;
}

std::vector<size_t> indicesOfShown(const std::vector<Finding>& findings) {
  std::vector<size_t> indices;
  for (const Finding* each : mostImportant(findings))
    indices.push_back(static_cast<size_t>(each - findings.data()));
  return indices;
}

TEST(OverviewTest, ShowsAHundredFindingsAllOfThem) {
  const std::vector<Finding> findings(100, finding(Severity::kWarning));
  EXPECT_EQ(indicesOfShown(findings).size(), 100U);
  EXPECT_TRUE(indicesOfShown({}).empty());
}

TEST(OverviewTest, ShowsTheFirstHundredOfMore) {
  const std::vector<size_t> shown =
      indicesOfShown(std::vector<Finding>(101, finding(Severity::kWarning)));
  ASSERT_EQ(shown.size(), 100U);
  EXPECT_EQ(shown.front(), 0U);
  EXPECT_EQ(shown.back(), 99U);
}

TEST(OverviewTest, ShowsErrorsBeforeWarningsAndFirstWhatEndsTheDaemonAllInTheirOrder) {
  std::vector<Finding> findings(150, finding(Severity::kWarning));
  findings.insert(findings.end(), 99, finding(Severity::kError));
  findings.push_back(finding(Severity::kError));
  findings.push_back(finding(Severity::kError, End::kNow));
  const std::vector<size_t> shown = indicesOfShown(findings);
  ASSERT_EQ(shown.size(), 100U);
  EXPECT_EQ(shown.front(), 150U);
  EXPECT_EQ(shown[98], 248U);
  EXPECT_EQ(shown.back(), 250U);
}

TEST(OverviewTest, CountsWhatTheSettingsSilence) {
  Inspection inspection;
  inspection.settings.file = "thermalctl.toml";
  for (const char* name : {"board.env", "thermalctl.toml"})
    inspection.sources.emplace(name, Source(""));
  EXPECT_EQ(countOf(inspection), "no problems in 1 file");
  inspection.silenced.resize(2);
  EXPECT_EQ(countOf(inspection), "no problems in 1 file; thermalctl.toml silences 2 findings");
  inspection.findings.push_back(finding(Severity::kError));
  EXPECT_EQ(countOf(inspection), "1 error in 1 file; thermalctl.toml silences 2 findings");
}

} // namespace
