#include "check/rule/Finding.h"

#include <algorithm>

const char* nameOf(Severity severity) {
  return severity == Severity::kError ? "error" : "warning";
}

size_t errorsIn(const std::vector<Finding>& findings) {
  return static_cast<size_t>(
      std::count_if(findings.begin(), findings.end(),
                    [](const Finding& finding) { return finding.severity == Severity::kError; }));
}
