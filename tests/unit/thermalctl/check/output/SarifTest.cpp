#include "check/output/Sarif.h"

#include <sstream>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "check/Check.h"
#include "check/output/Explanation.h"
#include "check/output/Fingerprints.h"
#include "thermalctl/support/JsonText.h"

namespace {

using Json = nlohmann::json;

Json logOf(const Inspection& inspection) {
  std::ostringstream out;
  printSarif(out, inspection);
  return jsonOf(out.str());
}

Json runOf(const Inspection& inspection) {
  return logOf(inspection).at("runs").at(0);
}

// One error of the last rule, on the word "kee" of a board.
Inspection oneFinding(const std::string& file, const std::string& content, Position at) {
  Inspection inspection;
  inspection.sources.emplace(file, Source(content));
  Finding finding;
  finding.rule = allRules().back().name;
  finding.severity = Severity::kError;
  finding.file = file;
  finding.at = at;
  finding.length = 3;
  finding.message = "the daemon does not know 'kee'";
  inspection.findings = {finding};
  return inspection;
}

std::string uriFor(const std::string& file) {
  const Json run = runOf(oneFinding(file, "kee\n", {1, 1}));
  return run.at("results")
      .at(0)
      .at("locations")
      .at(0)
      .at("physicalLocation")
      .at("artifactLocation")
      .at("uri");
}

TEST(SarifTest, SaysItsVersionAndHowItCountsColumns) {
  const Json log = logOf({});
  EXPECT_EQ(log.at("version"), "2.1.0");
  EXPECT_EQ(log.at("runs").size(), 1U);
  EXPECT_EQ(log.at("runs").at(0).at("columnKind"), "unicodeCodePoints");
  EXPECT_EQ(log.at("runs").at(0).at("results"), Json::array());
}

TEST(SarifTest, DescribesEveryRule) {
  const Json driver = runOf({}).at("tool").at("driver");
  EXPECT_EQ(driver.at("name"), "thermalctl");
  EXPECT_EQ(driver.at("informationUri"), "man:thermalctl(1)");
  EXPECT_NE(driver.at("version"), "");
  ASSERT_EQ(driver.at("rules").size(), allRules().size());
  for (size_t i = 0; i < allRules().size(); ++i) {
    const Rule& rule = allRules()[i];
    const Json& descriptor = driver.at("rules").at(i);
    EXPECT_EQ(descriptor.at("id"), rule.name);
    EXPECT_EQ(descriptor.at("fullDescription").at("text"), rule.explanation);
    EXPECT_EQ(descriptor.at("help").at("text"), rule.explanation);
    EXPECT_EQ(descriptor.at("help").at("markdown"), markdownOf(rule));
    EXPECT_EQ(descriptor.at("defaultConfiguration").at("level"), nameOf(rule.severity));
  }
}

TEST(SarifTest, PlacesAFindingInCharacters) {
  const Json result =
      runOf(oneFinding("board.env", "[a]\n\xC3\xA4\xC3\xA4 kee\n", {2, 6})).at("results").at(0);
  EXPECT_EQ(result.at("ruleId"), allRules().back().name);
  EXPECT_EQ(result.at("ruleIndex"), allRules().size() - 1);
  EXPECT_EQ(result.at("level"), "error");
  const Json expected = jsonOf(R"([{"physicalLocation": {
      "artifactLocation": {"uri": "board.env"},
      "region": {"startLine": 2, "startColumn": 4, "endColumn": 7}}}])");
  EXPECT_EQ(result.at("locations"), expected);
}

TEST(SarifTest, AddsTheHintToTheMessage) {
  Inspection inspection = oneFinding("board.env", "kee\n", {1, 1});
  const auto message = [&] {
    return runOf(inspection).at("results").at(0).at("message").at("text");
  };
  EXPECT_EQ(message(), "the daemon does not know 'kee'.");
  inspection.findings[0].hint = "did you mean 'key'?";
  EXPECT_EQ(message(), "the daemon does not know 'kee'. Hint: did you mean 'key'?");
  inspection.findings[0].hint = "write 'key'";
  EXPECT_EQ(message(), "the daemon does not know 'kee'. Hint: write 'key'.");
}

TEST(SarifTest, GivesEachResultAFingerprintOfItsOwn) {
  Inspection inspection = oneFinding("board.env", "kee\n", {1, 1});
  inspection.findings.push_back(inspection.findings[0]);
  const Json results = runOf(inspection).at("results");
  const Json first = results.at(0).at("partialFingerprints");
  EXPECT_EQ(first.at("finding/v1"), Fingerprints(inspection).of(inspection.findings[0]));
  EXPECT_NE(first, results.at(1).at("partialFingerprints"));
}

TEST(SarifTest, GivesWhatIsSilencedAsSuppressed) {
  Inspection inspection = oneFinding("board.env", "kee\n", {1, 1});
  EXPECT_FALSE(runOf(inspection).at("results").at(0).contains("suppressions"));
  inspection.silenced = {{inspection.findings[0], "known"}};
  inspection.findings.clear();
  const Json result = runOf(inspection).at("results").at(0);
  EXPECT_EQ(result.at("suppressions"),
            jsonOf(R"([{"kind": "external", "justification": "known"}])"));
}

TEST(SarifTest, SaysThatTheSettingsAreWrong) {
  Inspection inspection;
  inspection.settings = readSettings("thermalctl.toml", "a = 1\n", {}, inspection.problems);
  const Json invocation = runOf(inspection).at("invocations").at(0);
  EXPECT_EQ(invocation.at("executionSuccessful"), false);
  EXPECT_EQ(invocation.at("toolExecutionNotifications").at(0).at("message").at("text"),
            "there are errors in thermalctl.toml.");
}

TEST(SarifTest, WritesPathsAsUris) {
  EXPECT_EQ(uriFor("boards/phone/a-b_c.env"), "boards/phone/a-b_c.env");
  EXPECT_EQ(uriFor("/vendor/etc/a.env"), "file:///vendor/etc/a.env");
  EXPECT_EQ(uriFor("a b:100%.env"), "a%20b%3A100%25.env");
  EXPECT_EQ(uriFor("\xC3\xA4\xFF"), "%C3%A4%FF");
}

TEST(SarifTest, TakesFilesThatAreNotUtf8) {
  Inspection inspection = oneFinding("board.env", "\xFF\xFE\n", {1, 1});
  inspection.findings[0].message = "the daemon does not know '\xFF'";
  EXPECT_EQ(runOf(inspection).at("results").at(0).at("message").at("text"),
            "the daemon does not know '\xEF\xBF\xBD'.");
}

TEST(SarifTest, SaysWhichFilesItCouldNotRead) {
  EXPECT_EQ(runOf({}).at("invocations"),
            jsonOf(R"([{"executionSuccessful": true, "toolExecutionNotifications": []}])"));
  Inspection inspection;
  inspection.unread = {{"day.conf", "No such file or directory"}};
  EXPECT_EQ(runOf(inspection).at("invocations"), jsonOf(R"([{
      "executionSuccessful": false,
      "toolExecutionNotifications": [{"level": "error", "message": {
          "text": "cannot read day.conf: No such file or directory."}}]}])"));
}

} // namespace
