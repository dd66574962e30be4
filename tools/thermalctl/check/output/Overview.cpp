#include "check/output/Overview.h"

#include <algorithm>
#include <tuple>

#include "text/Characters.h"
#include "text/Phrases.h"

namespace {

// Whoever has more of them to mend has one cause for most, and reads no further.
constexpr size_t kMostShown = 100;

bool mattersMore(const Finding* a, const Finding* b) {
  return std::tie(a->end, a->severity) > std::tie(b->end, b->severity);
}

} // namespace

std::vector<const Finding*> mostImportant(const std::vector<Finding>& findings) {
  std::vector<const Finding*> shown;
  shown.reserve(findings.size());
  for (const Finding& finding : findings)
    shown.push_back(&finding);
  if (shown.size() <= kMostShown) return shown;
  std::stable_sort(shown.begin(), shown.end(), mattersMore);
  shown.resize(kMostShown);
  // They stand in one list: where one is tells its place in the order.
  std::sort(shown.begin(), shown.end());
  return shown;
}

std::string countOf(const std::vector<Finding>& findings, size_t files) {
  // None could be read: that is no green answer.
  if (files == 0) return "nothing was checked";
  const size_t errors = errorsIn(findings);
  const size_t warnings = findings.size() - errors;
  std::string problems;
  if (errors > 0) problems = counted(errors, "error");
  if (errors > 0 && warnings > 0) problems += " and ";
  if (warnings > 0) problems += counted(warnings, "warning");
  return (findings.empty() ? "no problems" : problems) + " in " + counted(files, "file");
}

std::string countOf(const Inspection& inspection) {
  std::string count = countOf(inspection.findings, inspection.checkedFiles());
  const size_t silenced = inspection.silenced.size();
  if (silenced == 0) return count;
  return count + "; " + visible(inspection.settings.file) + " silences " +
         counted(silenced, "finding");
}
