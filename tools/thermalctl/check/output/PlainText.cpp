#include "check/output/PlainText.h"

#include <algorithm>

#include <fmt/core.h>

#include "check/output/Mark.h"
#include "check/output/Overview.h"
#include "text/Characters.h"
#include "text/Phrases.h"

namespace {

// What is shown of a line, and how much of it at least before the marked text.
constexpr size_t kWidth = 100;
constexpr size_t kContext = 40;
constexpr char kCut[] = "...";

constexpr char kBold[] = "1";
constexpr char kRed[] = "1;31";
constexpr char kMagenta[] = "1;35";
constexpr char kGreen[] = "1;32";
constexpr char kCyan[] = "1;36";

// A line as it is shown, and the marked characters of that.
struct Excerpt {
  std::string text;
  size_t from = 0;
  size_t to = 0;
};

// The characters `from` to `to` of a line.
std::string_view slice(const Line& line, size_t from, size_t to) {
  const size_t start = from < line.starts.size() ? line.starts[from] : line.text.size();
  const size_t end = to < line.starts.size() ? line.starts[to] : line.text.size();
  return std::string_view(line.text).substr(start, end - start);
}

// White space at the end of a line means nothing and is not shown.
size_t shownLength(const Line& line) {
  const size_t bytes = line.text.find_last_not_of("\t\v\f\r ") + 1;
  return line.charactersBefore(bytes);
}

Excerpt excerptOf(const Mark& mark) {
  const auto from = static_cast<size_t>(mark.column) - 1;
  const auto to = static_cast<size_t>(mark.endColumn) - 1;
  const size_t length = shownLength(mark.line);
  // A line is shown from its start if the marked text is then in sight, since it reads best so.
  const bool fits = length <= kWidth || to <= kWidth;
  const size_t first = fits ? 0 : from - std::min(from, kContext);
  const size_t last = std::min(length, first + kWidth);

  Excerpt excerpt;
  excerpt.from = from - first;
  excerpt.to = std::max(excerpt.from + 1, std::min(to, std::max(last, from)) - first);
  if (first > 0) {
    excerpt.text = kCut;
    excerpt.from += excerpt.text.size();
    excerpt.to += excerpt.text.size();
  }
  excerpt.text += visible(slice(mark.line, first, std::max(first, last)));
  if (last < length) excerpt.text += kCut;
  return excerpt;
}

void printMarkedLine(std::ostream& out, int number, const Excerpt& excerpt, Colour colour) {
  const std::string underline = "^" + std::string(excerpt.to - excerpt.from - 1, '~');
  out << fmt::format("{:5} | {}\n{:5} | {:{}}{}\n", number, excerpt.text, "", "", excerpt.from,
                     painted(colour, kGreen, underline));
}

void printFinding(std::ostream& out, const Finding& finding, const Sources& sources,
                  Colour colour) {
  const char* severityColour = finding.severity == Severity::kError ? kRed : kMagenta;
  const Mark mark = markOf(finding, sources);
  const std::string place =
      fmt::format("{}:{}:{}:", visible(finding.file), finding.at.line, mark.column);
  out << fmt::format("{} {} {} [{}]\n", painted(colour, kBold, place),
                     painted(colour, severityColour, nameOf(finding.severity) + std::string(":")),
                     visible(finding.message), finding.rule);
  printMarkedLine(out, finding.at.line, excerptOf(mark), colour);
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
