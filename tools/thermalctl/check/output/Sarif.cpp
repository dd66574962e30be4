#include "check/output/Sarif.h"

#include <map>
#include <string>
#include <string_view>
#include <utility>

#include <fmt/core.h>
#include <nlohmann/json.hpp>

#include "check/Check.h"
#include "check/output/Explanation.h"
#include "check/output/Fingerprints.h"
#include "check/output/Mark.h"
#include "check/output/Sentence.h"
#include "text/Json.h"

namespace {

using Json = nlohmann::ordered_json;

// A path as a URI; a relative path gives a relative one.
std::string uriOf(const std::string& path) {
  // What a URI may hold without a meaning of its own, and the slash.
  constexpr std::string_view kPlain =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~/";
  std::string uri = path.rfind('/', 0) == 0 ? "file://" : "";
  for (const char c : path)
    uri += kPlain.find(c) != std::string_view::npos
               ? std::string(1, c)
               : fmt::format("%{:02X}", static_cast<unsigned char>(c));
  return uri;
}

Json ruleDescriptor(const Rule& rule) {
  return {{"id", rule.name},
          {"shortDescription", {{"text", summaryOf(rule)}}},
          {"fullDescription", {{"text", rule.explanation}}},
          {"help", {{"text", rule.explanation}, {"markdown", markdownOf(rule)}}},
          {"defaultConfiguration", {{"level", nameOf(rule.severity)}}}};
}

Json locationOf(const Finding& finding, const Sources& sources) {
  const Mark mark = markOf(finding, sources);
  const Json region = {
      {"startLine", finding.at.line}, {"startColumn", mark.column}, {"endColumn", mark.endColumn}};
  const Json artifact = {{"uri", uriOf(finding.file)}};
  return {{"physicalLocation", {{"artifactLocation", artifact}, {"region", region}}}};
}

// The results of a run, each with the index of its rule and a fingerprint of its own.
class Results {
public:
  explicit Results(const Inspection& inspection_) : inspection(inspection_) {
    for (const Rule& rule : allRules())
      ruleIndices.emplace(rule.name, ruleIndices.size());
  }

  Json all() {
    Json results = Json::array();
    for (const Finding& finding : inspection.findings)
      results.push_back(resultOf(finding));
    for (const auto& [finding, reason] : inspection.silenced) {
      Json result = resultOf(finding);
      result["suppressions"] = Json::array({{{"kind", "external"}, {"justification", reason}}});
      results.push_back(std::move(result));
    }
    return results;
  }

private:
  Json resultOf(const Finding& finding) {
    return {{"ruleId", finding.rule},
            {"ruleIndex", ruleIndices[finding.rule]},
            {"level", nameOf(finding.severity)},
            {"message", {{"text", sentencesOf(finding)}}},
            {"locations", Json::array({locationOf(finding, inspection.sources)})},
            {"partialFingerprints", {{"finding/v1", fingerprints.of(finding)}}}};
  }

  const Inspection& inspection;
  std::map<std::string, size_t> ruleIndices;
  Fingerprints fingerprints{inspection};
};

Json notification(const std::string& text) {
  return {{"level", "error"}, {"message", {{"text", sentence(text)}}}};
}

Json invocationOf(const Inspection& inspection) {
  Json notifications = Json::array();
  for (const UnreadFile& file : inspection.unread)
    notifications.push_back(notification(describe(file)));
  if (!inspection.problems.none())
    notifications.push_back(notification("there are errors in " + inspection.settings.file));
  return {{"executionSuccessful", inspection.isWhole()},
          {"toolExecutionNotifications", notifications}};
}

Json toolOf() {
  Json rules = Json::array();
  for (const Rule& rule : allRules())
    rules.push_back(ruleDescriptor(rule));
  return {{"driver",
           {{"name", "thermalctl"},
            {"version", THERMALCTL_VERSION},
            // The manual page, installed with the tool.
            {"informationUri", "man:thermalctl(1)"},
            {"rules", rules}}}};
}

} // namespace

void printSarif(std::ostream& out, const Inspection& inspection) {
  Json run = {{"tool", toolOf()},
              // As marks count, and not in the units of UTF-16 that SARIF knows as well.
              {"columnKind", "unicodeCodePoints"},
              {"invocations", Json::array({invocationOf(inspection)})}};
  run["results"] = Results(inspection).all();
  Json log = {{"$schema", "https://docs.oasis-open.org/sarif/sarif/v2.1.0/errata01/os/schemas/"
                          "sarif-schema-2.1.0.json"},
              {"version", "2.1.0"}};
  // Moved: of many findings a copy would take as much memory again.
  log["runs"] = Json::array();
  log["runs"].push_back(std::move(run));
  // A file may hold any bytes; what is not UTF-8 must not stop the output.
  out << jsonText(log, 2) << '\n';
}
