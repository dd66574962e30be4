#pragma once

#include <set>
#include <string>
#include <vector>

#include "check/rule/Rule.h"

const std::vector<Rule>& environmentRules();
const std::vector<Rule>& configurationRules();
// Those about the environment file, then those about the configurations and the settings.
const std::vector<Rule>& allRules();

// What a user has the rules do other than they would.
//
// Shape:  names of rules; each is in one of the sets at most.
// Errors: a finding that tells of the daemon's end stays, and stays an error, whatever is asked.
// Source: the command line.
struct RuleChoice {
  std::set<std::string> disabled;
  std::set<std::string> errors{};
  std::set<std::string> warnings{};
};

// Every finding of the rules that `choice` leaves, in the order of the files, lines and columns;
// the silenced ones are among them. Those of one place stand in the order of the rules.
std::vector<Finding> check(const Subject& subject, const RuleChoice& choice);
// The same of some rules alone.
std::vector<Finding> check(const std::vector<Rule>& rules, const Subject& subject,
                           const RuleChoice& choice);
