#include "check/Check.h"

#include <algorithm>
#include <map>
#include <tuple>

namespace {

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

const std::vector<Rule>& allRules() {
  static const std::vector<Rule> rules = [] {
    std::vector<Rule> all = environmentRules();
    all.insert(all.end(), configurationRules().begin(), configurationRules().end());
    return all;
  }();
  return rules;
}

std::vector<Finding> check(const Subject& subject, const std::set<std::string>& disabled) {
  std::vector<Finding> findings;
  for (const Rule& rule : allRules()) {
    if (disabled.count(rule.name) > 0) continue;
    Findings ofRule(rule, findings);
    rule.check(subject, ofRule);
  }
  sortByPlace(findings, subject);
  return findings;
}
