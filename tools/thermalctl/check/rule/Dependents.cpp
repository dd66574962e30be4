#include "check/rule/Dependents.h"

Ending dependents(const Word& mistake, const Context& context) {
  const LostNames& lost = context.subject.lost;
  const int line = mistake.at.line;
  return {lost.dependents(line), lost.endTheDaemon(line) ? End::kNow : End::kNone};
}
