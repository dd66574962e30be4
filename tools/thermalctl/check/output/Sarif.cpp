#include "check/output/Sarif.h"

#include <map>
#include <string>
#include <string_view>

#include <fmt/core.h>
#include <nlohmann/json.hpp>

#include "check/Check.h"
#include "check/output/Explanation.h"
#include "check/output/Mark.h"

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

std::string sentence(const std::string& text) {
  const bool ends = !text.empty() && std::string_view(".?!").find(text.back()) != std::string::npos;
  return ends ? text : text + ".";
}

Json ruleDescriptor(const Rule& rule) {
  return {{"id", rule.name},
          {"shortDescription", {{"text", summaryOf(rule)}}},
          {"fullDescription", {{"text", rule.explanation}}},
          {"defaultConfiguration", {{"level", nameOf(rule.severity)}}}};
}

Json locationOf(const Finding& finding, const Sources& sources) {
  const Mark mark = markOf(finding, sources);
  const Json region = {
      {"startLine", finding.at.line}, {"startColumn", mark.column}, {"endColumn", mark.endColumn}};
  const Json artifact = {{"uri", uriOf(finding.file)}};
  return {{"physicalLocation", {{"artifactLocation", artifact}, {"region", region}}}};
}

Json resultOf(const Finding& finding, size_t ruleIndex, const Sources& sources) {
  const std::string hint = finding.hint.empty() ? "" : " Hint: " + sentence(finding.hint);
  return {{"ruleId", finding.rule},
          {"ruleIndex", ruleIndex},
          {"level", nameOf(finding.severity)},
          {"message", {{"text", sentence(finding.message) + hint}}},
          {"locations", Json::array({locationOf(finding, sources)})}};
}

Json invocationOf(const Inspection& inspection) {
  Json notifications = Json::array();
  for (const UnreadFile& file : inspection.unread)
    notifications.push_back(
        {{"level", "error"}, {"message", {{"text", sentence(describe(file))}}}});
  return {{"executionSuccessful", inspection.unread.empty()},
          {"toolExecutionNotifications", notifications}};
}

} // namespace

void printSarif(std::ostream& out, const Inspection& inspection) {
  Json rules = Json::array();
  std::map<std::string, size_t> ruleIndices;
  for (const Rule& rule : allRules()) {
    ruleIndices[rule.name] = rules.size();
    rules.push_back(ruleDescriptor(rule));
  }
  Json results = Json::array();
  for (const Finding& finding : inspection.findings)
    results.push_back(resultOf(finding, ruleIndices[finding.rule], inspection.sources));

  const Json run = {{"tool", {{"driver", {{"name", "thermalctl"}, {"rules", rules}}}}},
                    // As marks count, and not in the units of UTF-16 that SARIF knows as well.
                    {"columnKind", "unicodeCodePoints"},
                    {"invocations", Json::array({invocationOf(inspection)})},
                    {"results", results}};
  const Json log = {{"$schema",
                     "https://docs.oasis-open.org/sarif/sarif/v2.1.0/errata01/os/schemas/"
                     "sarif-schema-2.1.0.json"},
                    {"version", "2.1.0"},
                    {"runs", Json::array({run})}};
  // A file may hold any bytes; what is not UTF-8 must not stop the output.
  out << log.dump(2, ' ', false, Json::error_handler_t::replace) << '\n';
}
