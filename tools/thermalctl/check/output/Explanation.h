#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "check/rule/Rule.h"

// The first sentence of a rule's explanation.
std::string summaryOf(const Rule& rule);

// Each rule's name, severity and explanation.
void printExplanations(std::ostream& out, const std::vector<Rule>& rules);

// One object, or a list of them.
void printExplanationAsJson(std::ostream& out, const Rule& rule);
void printExplanationsAsJson(std::ostream& out, const std::vector<Rule>& rules);

// The severity and the explanation as a paragraph of Markdown.
std::string markdownOf(const Rule& rule);

// The same as a page of Markdown about all rules.
void printRulesPage(std::ostream& out);
