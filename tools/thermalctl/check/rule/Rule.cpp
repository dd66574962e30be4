#include "check/rule/Rule.h"

#include <algorithm>

#include "text/Characters.h"

void Context::tell(const Word& word, Message message, Message hint) {
  const std::string& file = configuration ? configuration->file : subject.environment.file;
  if (!marked.emplace(file, word.at.line, word.at.column).second) return;
  findings.push_back({rule.name, rule.severity, file, word.at,
                      std::max<size_t>(1, word.text.size()), withShortWords(message.text),
                      withShortWords(hint.text)});
}
