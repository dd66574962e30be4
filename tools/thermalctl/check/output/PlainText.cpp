#include "check/output/PlainText.h"

#include <fmt/core.h>

#include "check/output/Mark.h"
#include "check/output/Overview.h"
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

void printFindings(std::ostream& out, const std::vector<Finding>& findings, const Sources& sources,
                   Colour colour) {
  const std::vector<const Finding*> shown = mostImportant(findings);
  for (const Finding* finding : shown)
    printFinding(out, *finding, sources, colour);
  if (shown.size() < findings.size())
    out << "and " << counted(findings.size() - shown.size(), "more finding")
        << ", which --format json shows\n";
}

} // namespace

void printText(std::ostream& out, const std::vector<Finding>& findings, const Sources& sources,
               Colour colour) {
  printFindings(out, findings, sources, colour);
  out << countOf(findings, sources.size()) << '\n';
}

void printText(std::ostream& out, const Inspection& inspection, Colour colour) {
  printFindings(out, inspection.findings, inspection.sources, colour);
  out << countOf(inspection) << '\n';
}
