#include "check/output/Mark.h"

#include <algorithm>

Mark markOf(const Finding& finding, const Sources& sources) {
  static const Source kEmpty("");
  const auto source = sources.find(finding.file);
  const Line& line = (source == sources.end() ? kEmpty : source->second).line(finding.at.line);
  const auto before = static_cast<size_t>(std::max(1, finding.at.column) - 1);
  const size_t from = line.charactersBefore(before);
  const size_t to = line.charactersBefore(before + finding.length);
  return {line, static_cast<int>(from) + 1, static_cast<int>(std::max(to, from + 1)) + 1};
}
