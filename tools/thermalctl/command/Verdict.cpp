#include "command/Verdict.h"

#include <algorithm>
#include <string>

#include "text/Phrases.h"

namespace {

// One cause mostly makes them all.
constexpr size_t kTold = 20;

} // namespace

ExitStatus verdictOf(const std::vector<RunResult>& results) {
  size_t unjudged = 0;
  for (const RunResult& result : results) {
    for (const std::string& sentence : result.unjudged)
      if (++unjudged <= kTold) complain(kNoVerdict, sentence);
  }
  if (unjudged > kTold) complain(kNoVerdict, "and " + counted(unjudged - kTold, "more sentence"));
  if (unjudged > 0) return kNoVerdict;
  const bool broken = std::any_of(results.begin(), results.end(),
                                  [](const RunResult& result) { return result.passedABudget(); });
  return broken ? kProblems : kFine;
}
