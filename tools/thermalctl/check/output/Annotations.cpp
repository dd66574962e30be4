#include "check/output/Annotations.h"

#include <fmt/core.h>

#include "check/output/Mark.h"
#include "check/output/Overview.h"
#include "check/output/Sentence.h"
#include "text/Characters.h"
#include "text/Phrases.h"

namespace {

// What would end a command, or one of its properties, is written in hexadecimal.
std::string escaped(const std::string& text, std::string_view ends) {
  std::string result;
  for (const char c : text)
    if (ends.find(c) == std::string_view::npos)
      result += c;
    else
      result += fmt::format("%{:02X}", static_cast<unsigned char>(c));
  return result;
}

std::string asData(const std::string& text) {
  return escaped(text, "%\r\n");
}

std::string asProperty(const std::string& text) {
  return escaped(text, "%\r\n:,");
}

void printAnnotation(std::ostream& out, const Finding& finding, const Sources& sources) {
  const Mark mark = markOf(finding, sources);
  out << fmt::format("::{} file={},line={},col={},endColumn={},title={}::{}\n",
                     nameOf(finding.severity), asProperty(finding.file), finding.at.line,
                     mark.column, mark.endColumn, asProperty(finding.rule),
                     asData(visible(sentencesOf(finding))));
}

} // namespace

void printAnnotations(std::ostream& out, const Inspection& inspection) {
  for (const UnreadFile& file : inspection.unread)
    out << "::error title=thermalctl check::" << asData(visible(describe(file))) << '\n';
  const std::vector<const Finding*> shown = mostImportant(inspection.findings);
  for (const Finding* finding : shown)
    printAnnotation(out, *finding, inspection.sources);
  if (shown.size() < inspection.findings.size())
    out << "::notice title=thermalctl check::and "
        << counted(inspection.findings.size() - shown.size(), "more finding")
        << ", which --format json shows\n";
  out << countOf(inspection) << '\n';
}
