#include "check/output/Json.h"

#include <string>
#include <utility>

#include <nlohmann/json.hpp>

#include "base/Messages.h"
#include "check/output/Mark.h"
#include "text/Json.h"

namespace {

using Json = nlohmann::ordered_json;

// Raised whenever a field changes its meaning or goes.
constexpr int kFormatVersion = 1;

Json toJson(const Finding& finding, const Sources& sources) {
  const Mark mark = markOf(finding, sources);
  return {{"rule", finding.rule},       {"severity", nameOf(finding.severity)},
          {"file", finding.file},       {"line", finding.at.line},
          {"column", mark.column},      {"end_column", mark.endColumn},
          {"message", finding.message}, {"hint", finding.hint}};
}

Json silencedOf(const Inspection& inspection) {
  Json silenced = Json::array();
  for (const auto& [finding, reason] : inspection.silenced) {
    silenced.push_back(toJson(finding, inspection.sources));
    silenced.back()["reason"] = reason;
  }
  return silenced;
}

Json toJson(const UnreadFile& file) {
  return {{"file", file.name}, {"reason", file.reason}};
}

Json countsOf(const Inspection& inspection) {
  const size_t errors = errorsIn(inspection.findings);
  return {{"errors", errors},
          {"warnings", inspection.findings.size() - errors},
          {"files", inspection.checkedFiles()}};
}

Json sensorModel(const std::string& name, const Section& sensor) {
  return {{"name", name},
          {"kind", sensor.kindWord.text},
          {"sampling", static_cast<uint32_t>(sensor.sampling.value)}};
}

Json deviceModel(const std::string& name, const Section& device) {
  return {{"name", name},
          {"kind", device.kindWord.text},
          {"value_type", device.valueType},
          {"levels", device.levels.size()}};
}

Json environmentModel(const Environment& environment) {
  Json sensors = Json::array();
  for (const auto& [name, sensor] : environment.sensors)
    if (sensor) sensors.push_back(sensorModel(name, *sensor));
  Json devices = Json::array();
  for (const auto& [name, device] : environment.devices)
    devices.push_back(deviceModel(name, *device));
  return {{"file", environment.file},
          {"sensors", sensors},
          {"devices", devices},
          {"conf_file", environment.confFileName.text}};
}

Json itemModel(const Item& item) {
  return {{"name", item.name},         {"kind", item.kind == ItemKind::kSS ? "ss" : "monitor"},
          {"scenario", item.scenario}, {"sensor", item.sensor->word.text},
          {"sampling", item.period()}, {"worker", item.workerKey()}};
}

// Null for a file that the daemon reads to its end.
Json fatalModel(const ConfigurationError* error) {
  if (!error) return nullptr;
  // As the log shows it.
  std::string logged = message::kParseFailure;
  logged.replace(logged.find("%s"), std::string::npos, error->message);
  return {{"line", error->word.at.line}, {"message", logged}};
}

Json configurationModel(const Configuration& configuration) {
  Json items = Json::array();
  for (const Item& item : configuration.items)
    // An item that the daemon rejects, or never comes to, is in the findings and not in its memory.
    if (item.created) items.push_back(itemModel(item));
  return {{"file", configuration.file},
          {"fatal", fatalModel(configuration.fatal())},
          {"scenarios", configuration.scenarios},
          {"items", items}};
}

// Null without the environment file: the daemon needs it for anything.
Json modelOf(const Inspection& inspection) {
  if (!inspection.hasBoard) return nullptr;
  Json configurations = Json::array();
  for (const Configuration& configuration : inspection.configurations)
    configurations.push_back(configurationModel(configuration));
  return {{"environment", environmentModel(inspection.environment)},
          {"configurations", configurations}};
}

// A file may hold any bytes; what is not UTF-8 must not stop the output.
std::string textOf(const Json& json) {
  return jsonText(json, 2);
}

// One at a time: there may be more of them than fit into the memory as a tree.
void printFindings(std::ostream& out, const Inspection& inspection) {
  const char* before = "\n    ";
  for (const Finding& finding : inspection.findings) {
    out << before;
    for (const char c : textOf(toJson(finding, inspection.sources)))
      out << c << (c == '\n' ? "    " : "");
    before = ",\n    ";
  }
  if (!inspection.findings.empty()) out << "\n  ";
}

} // namespace

void printJson(std::ostream& out, const Inspection& inspection) {
  Json unread = Json::array();
  for (const UnreadFile& file : inspection.unread)
    unread.push_back(toJson(file));
  out << "{\n  \"version\": " << kFormatVersion << ",\n  \"findings\": [";
  printFindings(out, inspection);
  Json rest;
  rest["counts"] = countsOf(inspection);
  rest["unread"] = std::move(unread);
  rest["model"] = modelOf(inspection);
  // Of a board without settings nothing is silenced.
  if (!inspection.settings.file.empty()) rest["silenced"] = silencedOf(inspection);
  // Behind the findings, in the same object.
  out << "]," << textOf(rest).substr(1) << '\n';
}
