#include "check/rule/Rule.h"

#include <algorithm>

#include "text/Characters.h"

void Context::tell(const Word& word, Message message, Message hint) {
  tellIn(configuration ? configuration->file : subject.environment.file, word, std::move(message),
         std::move(hint));
}

void Context::tellInSettings(const Word& word, Message message, Message hint) {
  tellIn(subject.settings.file, word, std::move(message), std::move(hint));
}

void Context::tellIn(const std::string& file, const Word& word, Message message, Message hint) {
  if (!marked.emplace(file, word.at.line, word.at.column).second) return;
  const Severity severity = message.end == End::kNone ? rule.severity : Severity::kError;
  findings.push_back({rule.name, severity, file, word.at, std::max<size_t>(1, word.text.size()),
                      withShortWords(message.text), withShortWords(hint.text), message.end});
}
