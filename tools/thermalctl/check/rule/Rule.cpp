#include "check/rule/Rule.h"

#include <algorithm>

#include "text/Characters.h"

void Context::tell(const Word& word, const Message& message, const Message& hint) {
  tellIn(configuration ? configuration->file : subject.environment.file, word, message, hint);
}

void Context::tellInSettings(const Word& word, const Message& message, const Message& hint) {
  tellIn(subject.settings.file, word, message, hint);
}

void Context::tellIn(const std::string& file, const Word& word, const Message& message,
                     const Message& hint) {
  if (!marked.emplace(file, word.at.line, word.at.column).second) return;
  const Severity severity = message.end == End::kNone ? rule.severity : Severity::kError;
  findings.push_back({rule.name, severity, file, word.at, std::max<size_t>(1, word.text.size()),
                      withShortWords(message.text), withShortWords(hint.text), message.end});
}
