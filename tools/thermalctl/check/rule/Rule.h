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
//
// Shape:  references into an Inspection, which must outlive it. Everything has been read: a rule
//         looks at no file, but for those about the nodes themselves.
// Source: the files as they are; in what order the rules run makes no difference.
struct Subject {
  const Environment& environment;
  const std::vector<Configuration>& configurations;
  // Where the board's nodes are looked for; without it no node is.
  std::optional<std::string> nodesRoot;
};

class Findings;

// One thing that can be wrong with the files. Each stands right below its check, and in the list at
// the end of its file.
//
// Shape:  constants, told apart by `name`, which users and their scripts know: it is never given to
//         another rule.
// Errors: a check raises none. Where a file is too broken for its question it finds nothing, and
//         leaves the cause to the rule that tells of it.
struct Rule {
  // Lower-case words joined by "-", as `--disable` takes them.
  const char* name;
  Severity severity;
  // One paragraph: what the daemon does with such a file, why that hurts, what to write instead.
  const char* explanation;
  void (*check)(const Subject& subject, Findings& findings);
};

// Takes the findings of one rule, whose name and severity it gives them, in any order.
//
// Shape: each place is marked once: a rule that comes there again, by another item or another way,
//        has nothing new to tell.
// Units: the marked text is the word, in bytes; of an empty word the byte at its place.
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

// The two lists that `allRules` is made of, in the order in which their findings are gathered.
const std::vector<Rule>& environmentRules();
const std::vector<Rule>& configurationRules();
