#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "check/rule/Rule.h"

// The first sentence of a rule's explanation.
std::string summaryOf(const Rule& rule);

// Each rule's name, severity and explanation.
void printExplanations(std::ostream& out, const std::vector<Rule>& rules);

// The same as a page of Markdown about all rules.
void printRulesPage(std::ostream& out);
