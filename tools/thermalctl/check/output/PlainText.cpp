#include "check/output/PlainText.h"

#include <fmt/core.h>

#include "check/output/Mark.h"
#include "terminal/MarkedLine.h"
#include "text/Characters.h"
#include "text/Phrases.h"

namespace {

constexpr char kBold[] = "1";
constexpr char kRed[] = "1;31";
constexpr char kMagenta[] = "1;35";
constexpr char kCyan[] = "1;36";

void printFinding(std::ostream& out, const Finding& finding, const Sources& sources,
                  Colour colour) {
  const char* severityColour = finding.severity == Severity::kError ? kRed : kMagenta;
  const Mark mark = markOf(finding, sources);
  const std::string place =
      fmt::format("{}:{}:{}:", visible(finding.file), finding.at.line, mark.column);
  out << fmt::format("{} {} {} [{}]\n", painted(colour, kBold, place),
                     painted(colour, severityColour, nameOf(finding.severity) + std::string(":")),
                     visible(finding.message), finding.rule);
  printMarkedLine(out, finding.at.line, mark.line, static_cast<size_t>(mark.column) - 1,
                  static_cast<size_t>(mark.endColumn) - 1, colour);
  if (!finding.hint.empty())
    out << fmt::format("      {} {}\n", painted(colour, kCyan, "hint:"), visible(finding.hint));
}

std::string summary(const std::vector<Finding>& findings, size_t files) {
  const size_t errors = errorsIn(findings);
  const size_t warnings = findings.size() - errors;
  std::string problems;
  if (errors > 0) problems = counted(errors, "error");
  if (errors > 0 && warnings > 0) problems += " and ";
  if (warnings > 0) problems += counted(warnings, "warning");
  return (findings.empty() ? "no problems" : problems) + " in " + counted(files, "file");
}

} // namespace

void printText(std::ostream& out, const std::vector<Finding>& findings, const Sources& sources,
               Colour colour) {
  for (const Finding& finding : findings)
    printFinding(out, finding, sources, colour);
  out << summary(findings, sources.size()) << '\n';
}
