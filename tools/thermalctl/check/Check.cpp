#include "check/Check.h"

#include <algorithm>
#include <map>
#include <tuple>

#include "check/Causes.h"
#include "check/Silencing.h"
#include "check/configuration/ConfigurationRules.h"
#include "check/environment/EnvironmentRules.h"

namespace {

using Lists = std::vector<const std::vector<Rule>*>;

const Lists kOfEnvironment = {&kSectionRules,    &kSensorRules, &kVirtualSensorRules,
                              &kLevelTableRules, &kBoardRules,  &kNodeRules};
const Lists kOfConfiguration = {&kFileRules,     &kEndRules,    &kShapeRules,     &kKeyRules,
                                &kNameRules,     &kNumberRules, &kThresholdRules, &kRowRules,
                                &kStepRules,     &kHeatRules,   &kCoverageRules,  &kPlantRules,
                                &kUntoldEndRules};

std::vector<Rule> joined(const Lists& lists) {
  std::vector<Rule> all;
  for (const std::vector<Rule>* list : lists)
    all.insert(all.end(), list->begin(), list->end());
  return all;
}

// The disabled ones, too: what ends the daemon is told by whatever rule finds it.
void run(const std::vector<Rule>& rules, const Subject& subject, std::vector<Finding>& findings) {
  for (const Rule& rule : rules) {
    Context context(rule, subject, findings);
    rule.check(context);
  }
}

void sortByPlace(std::vector<Finding>& findings, const Subject& subject) {
  std::map<std::string, size_t> ranks = {{subject.environment.file, 0}};
  // In the user's order and not by name, the board first: it is what the others are judged by.
  for (const Configuration& configuration : subject.configurations)
    ranks.emplace(configuration.file, ranks.size());
  ranks.emplace(subject.settings.file, ranks.size());
  const auto place = [&ranks](const Finding& finding) {
    return std::make_tuple(ranks[finding.file], finding.at.line, finding.at.column);
  };
  std::stable_sort(findings.begin(), findings.end(),
                   [&](const Finding& a, const Finding& b) { return place(a) < place(b); });
}

void leaveOut(const std::set<std::string>& rules, std::vector<Finding>& findings) {
  const auto isLeftOut = [&rules](const Finding& finding) {
    return finding.end == End::kNone && rules.count(finding.rule) > 0;
  };
  findings.erase(std::remove_if(findings.begin(), findings.end(), isLeftOut), findings.end());
}

void setSeverities(const RuleChoice& choice, std::vector<Finding>& findings) {
  for (Finding& finding : findings) {
    if (finding.end != End::kNone) continue;
    if (choice.errors.count(finding.rule) > 0) finding.severity = Severity::kError;
    if (choice.warnings.count(finding.rule) > 0) finding.severity = Severity::kWarning;
  }
}

// Sorted before findings are joined, because the first place tells for the others; severities last,
// because by then a cause has taken over that the daemon ends, which no choice changes.
std::vector<Finding> settled(std::vector<Finding> findings, const Subject& subject,
                             const RuleChoice& choice) {
  leaveOut(choice.disabled, findings);
  sortByPlace(findings, subject);
  findings = withoutWhatFollows(std::move(findings), subject);
  setSeverities(choice, findings);
  return findings;
}

} // namespace

const std::vector<Rule>& environmentRules() {
  static const std::vector<Rule> rules = joined(kOfEnvironment);
  return rules;
}

const std::vector<Rule>& configurationRules() {
  static const std::vector<Rule> rules = joined(kOfConfiguration);
  return rules;
}

const std::vector<Rule>& allRules() {
  static const std::vector<Rule> rules =
      joined({&environmentRules(), &configurationRules(), &kSettingsRules});
  return rules;
}

// The lists as they are: to join them takes a twentieth of a check.
std::vector<Finding> check(const Subject& subject, const RuleChoice& choice) {
  std::vector<Finding> findings;
  for (const Lists& lists : {kOfEnvironment, kOfConfiguration, {&kSettingsRules}})
    for (const std::vector<Rule>* rules : lists)
      run(*rules, subject, findings);
  return settled(std::move(findings), subject, choice);
}

std::vector<Finding> check(const std::vector<Rule>& rules, const Subject& subject,
                           const RuleChoice& choice) {
  std::vector<Finding> findings;
  run(rules, subject, findings);
  return settled(std::move(findings), subject, choice);
}
