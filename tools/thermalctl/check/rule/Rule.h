#pragma once

#include <optional>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "board/Configuration.h"
#include "board/Environment.h"
#include "check/rule/Finding.h"

// All that one run looks at: the board, and each configuration meant for it.
struct Subject {
  const Environment& environment;
  const std::vector<Configuration>& configurations;
  // Where the board's nodes are looked for; without it no node is.
  std::optional<std::string> nodesRoot;
};

// Takes the findings of one rule: it knows the rule's name and severity.
class Findings;

// One thing that can be wrong with the files. Each stands right below its check, and in the list at
// the end of its file.
struct Rule {
  // Lower-case words joined by "-", as `--disable` takes them.
  const char* name;
  Severity severity;
  // One paragraph: what the daemon does with such a file, why that hurts, what to write instead.
  const char* explanation;
  void (*check)(const Subject& subject, Findings& findings);
};

class Findings {
public:
  Findings(const Rule& rule_, std::vector<Finding>& findings_) : rule(rule_), findings(findings_) {}

  // Marks `word` in `file`, the first time that the rule comes to this place.
  void add(const std::string& file, const Word& word, std::string message, std::string hint = "");

private:
  const Rule& rule;
  std::vector<Finding>& findings;
  // File, line and column of each.
  std::set<std::tuple<std::string, int, int>> marked;
};

const std::vector<Rule>& environmentRules();
const std::vector<Rule>& configurationRules();
