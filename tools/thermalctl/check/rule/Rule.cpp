#include "check/rule/Rule.h"

#include <algorithm>

void Findings::add(const std::string& file, const Word& word, std::string message,
                   std::string hint) {
  if (!marked.emplace(file, word.at.line, word.at.column).second) return;
  findings.push_back({rule.name, rule.severity, file, word.at,
                      std::max<size_t>(1, word.text.size()), std::move(message), std::move(hint)});
}
