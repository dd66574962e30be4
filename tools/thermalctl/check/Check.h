#pragma once

#include <set>
#include <string>
#include <vector>

#include "check/rule/Rule.h"

const std::vector<Rule>& environmentRules();
const std::vector<Rule>& configurationRules();
// Those about the environment file, then those about the configurations.
const std::vector<Rule>& allRules();

// Every finding of every rule but the `disabled` ones, in the order of the files, lines and
// columns. Those of one place stand in the order of the rules.
std::vector<Finding> check(const Subject& subject, const std::set<std::string>& disabled);
