#include "check/rule/Dependents.h"

Ending dependents(int line, const Context& context) {
  const LostNames& lost = context.subject.lost;
  return {lost.dependents(line), lost.endsTheDaemon(line) ? End::kNow : End::kNone};
}
