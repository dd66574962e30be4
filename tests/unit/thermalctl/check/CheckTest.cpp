#include "check/Check.h"

#include <algorithm>
#include <tuple>

#include <gtest/gtest.h>

#include "check/configuration/ConfigurationRules.h"

namespace {

// A board with a misspelt key and a short period, and two configurations for it whose items are
// of no kind and have a period in seconds.
class CheckTest : public testing::Test {
protected:
  using Place = std::tuple<std::string, int, int>;

  CheckTest() {
    environment =
        readEnvironment("z.env", "[cpu]\ntype real\nsampling 10\nnode_path /cpu\n\n"
                                 "[gpu]\ntype gpufreq\nnode_path /gpu\nlevel_tabel 1 0\n");
    for (const char* file : {"m.conf", "a.conf"})
      configurations.push_back(readConfiguration(
          file,
          "SCEN Default\n[hot]\nalgo_type Monitor\nsensor cpu\nsampling 1s\nthresholds 2000\n",
          environment));
  }

  std::vector<Finding> findings(const RuleChoice& choice = {}) const {
    return check({environment, configurations, std::nullopt}, choice);
  }

  // Those of one rule.
  std::vector<Severity> severities(const char* rule, const RuleChoice& choice) const {
    std::vector<Severity> found;
    for (const Finding& finding : findings(choice))
      if (finding.rule == rule) found.push_back(finding.severity);
    return found;
  }

  static bool has(const std::vector<Finding>& findings, const char* rule) {
    return std::any_of(findings.begin(), findings.end(),
                       [rule](const Finding& finding) { return finding.rule == rule; });
  }

  Environment environment;
  std::vector<Configuration> configurations;
};

TEST_F(CheckTest, OrdersTheFindingsByFileLineAndColumn) {
  std::vector<Place> places;
  for (const Finding& finding : findings()) {
    const char rank = finding.file == "z.env" ? '1' : finding.file == "m.conf" ? '2' : '3';
    places.emplace_back(std::string(1, rank) + finding.file, finding.at.line, finding.at.column);
  }
  ASSERT_GE(places.size(), 4U);
  EXPECT_EQ(std::get<0>(places.front()), "1z.env");
  EXPECT_EQ(std::get<0>(places.back()), "3a.conf");
  EXPECT_TRUE(std::is_sorted(places.begin(), places.end()));
}

TEST_F(CheckTest, FindsTheSameInEachFile) {
  std::vector<Place> found[2];
  for (const Finding& finding : findings())
    if (finding.file != "z.env")
      found[finding.file == "m.conf"].emplace_back(finding.rule, finding.at.line,
                                                   finding.at.column);
  EXPECT_FALSE(found[0].empty());
  EXPECT_EQ(found[0], found[1]);
}

TEST_F(CheckTest, LeavesOutTheDisabledRulesAlone) {
  const std::vector<Finding> all = findings();
  const std::vector<Finding> some = findings({{"item-number-cut-short", "sampling-too-short"}});
  EXPECT_TRUE(has(all, "item-number-cut-short"));
  EXPECT_TRUE(has(all, "sampling-too-short"));
  EXPECT_FALSE(has(some, "item-number-cut-short"));
  EXPECT_FALSE(has(some, "sampling-too-short"));
  EXPECT_EQ(some.size(), all.size() - 3);
}

TEST_F(CheckTest, HasARuleFindErrorsOrWarningsAsAsked) {
  const std::vector<Severity> warnings(2, Severity::kWarning);
  const std::vector<Severity> errors(2, Severity::kError);
  EXPECT_EQ(severities("item-number-cut-short", {}), warnings);
  EXPECT_EQ(severities("item-number-cut-short", {{}, {"item-number-cut-short"}, {}}), errors);
  EXPECT_EQ(severities("section-key-misspelt", {}), std::vector<Severity>{Severity::kError});
  EXPECT_EQ(severities("section-key-misspelt", {{}, {}, {"section-key-misspelt"}}),
            std::vector<Severity>{Severity::kWarning});
}

TEST_F(CheckTest, NeitherLeavesOutNorLowersWhatEndsTheDaemon) {
  const std::vector<Severity> errors(2, Severity::kError);
  EXPECT_EQ(severities("unknown-type", {{"unknown-type"}, {}, {}}), errors);
  EXPECT_EQ(severities("unknown-type", {{}, {}, {"unknown-type"}}), errors);
}

TEST_F(CheckTest, TellsOfAnEndThatNoOtherRuleTellsOf) {
  const std::vector<Finding> found =
      check(kUntoldEndRules, {environment, configurations, std::nullopt}, {});
  ASSERT_EQ(found.size(), 2U);
  EXPECT_EQ(found[0].file, "m.conf");
  EXPECT_EQ(found[0].at.line, 3);
  EXPECT_EQ(found[0].severity, Severity::kError);
  EXPECT_EQ(found[0].message, "the daemon ends: it logs \"Algo type should be 'monitor' or 'SS'\"");
  EXPECT_EQ(found[0].end, End::kNow);
  EXPECT_FALSE(has(findings(), "ends-the-daemon"));
}

TEST(RulesTest, HaveNamesOfTheirOwnWithoutCapitals) {
  std::set<std::string> names;
  for (const Rule& rule : allRules()) {
    const std::string name = rule.name;
    EXPECT_TRUE(names.insert(name).second) << name;
    EXPECT_EQ(name.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789-"), std::string::npos)
        << name;
  }
}

TEST(RulesTest, AreExplainedInAParagraphOfSentences) {
  for (const Rule& rule : allRules()) {
    const std::string text = rule.explanation;
    EXPECT_GT(text.size(), 80U) << rule.name;
    EXPECT_EQ(text.back(), '.') << rule.name;
    EXPECT_EQ(text.find('\n'), std::string::npos) << rule.name;
    EXPECT_EQ(text.find("  "), std::string::npos) << rule.name;
  }
}

} // namespace
