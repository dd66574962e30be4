#include "check/Check.h"

#include <algorithm>
#include <map>
#include <tuple>

#include "check/Causes.h"
#include "check/configuration/ConfigurationRules.h"
#include "check/environment/EnvironmentRules.h"

namespace {

std::vector<Rule> joined(std::initializer_list<std::vector<Rule>> lists) {
  std::vector<Rule> all;
  for (const std::vector<Rule>& list : lists)
    all.insert(all.end(), list.begin(), list.end());
  return all;
}

void sortByPlace(std::vector<Finding>& findings, const Subject& subject) {
  std::map<std::string, size_t> ranks = {{subject.environment.file, 0}};
  // In the user's order and not by name, the board first: it is what the others are judged by.
  for (const Configuration& configuration : subject.configurations)
    ranks.emplace(configuration.file, ranks.size());
  const auto place = [&ranks](const Finding& finding) {
    return std::make_tuple(ranks[finding.file], finding.at.line, finding.at.column);
  };
  std::stable_sort(findings.begin(), findings.end(),
                   [&](const Finding& a, const Finding& b) { return place(a) < place(b); });
}

} // namespace

const std::vector<Rule>& environmentRules() {
  static const std::vector<Rule> rules =
      joined({kSectionRules, kSensorRules, kVirtualSensorRules, kLevelTableRules, kNodeRules});
  return rules;
}

const std::vector<Rule>& configurationRules() {
  static const std::vector<Rule> rules =
      joined({kFileRules, kEndRules, kShapeRules, kKeyRules, kNameRules, kNumberRules, kThresholdRules,
              kRowRules, kStepRules});
  return rules;
}

const std::vector<Rule>& allRules() {
  static const std::vector<Rule> rules = joined({environmentRules(), configurationRules()});
  return rules;
}

std::vector<Finding> check(const Subject& subject, const std::set<std::string>& disabled) {
  std::vector<Finding> findings;
  for (const Rule& rule : allRules()) {
    if (disabled.count(rule.name) > 0) continue;
    Context context(rule, subject, findings);
    rule.check(context);
  }
  sortByPlace(findings, subject);
  return withoutWhatFollows(std::move(findings), subject);
}
