#include "command/Verdict.h"

#include <string>
#include <vector>

ExitStatus verdictOf(const Summary& summary) {
  const std::vector<std::string> unjudged = summary.unjudged();
  for (const std::string& sentence : unjudged)
    complain(kNoVerdict, sentence);
  if (!unjudged.empty()) return kNoVerdict;
  return summary.passedALimit() ? kProblems : kFine;
}
