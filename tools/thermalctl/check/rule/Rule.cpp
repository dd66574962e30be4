#include "check/rule/Rule.h"

#include <algorithm>

void Context::tell(const Word& word, Message message, Message hint) {
  const std::string& file = configuration ? configuration->file : subject.environment.file;
  if (!marked.emplace(file, word.at.line, word.at.column).second) return;
  const Severity severity = message.end == End::kNone ? rule.severity : Severity::kError;
  findings.push_back({rule.name, severity, file, word.at, std::max<size_t>(1, word.text.size()),
                      std::move(message.text), std::move(hint.text), message.end});
}
