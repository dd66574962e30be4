#include "settings/Settings.h"

#include <algorithm>
#include <filesystem>

#include "text/Nearest.h"
#include "text/Phrases.h"
#include "toml/TomlSection.h"

namespace {

constexpr char kFileName[] = "thermalctl.toml";

const std::map<std::string, int32_t> kUnits = {
    {"millidegrees", 1}, {"tenths", 100}, {"degrees", 1000}};

bool contains(const std::vector<std::string>& words, const std::string& word) {
  return std::find(words.begin(), words.end(), word) != words.end();
}

// Of a text whose quotes begin there.
Position insideQuotes(Position at) {
  return {at.line, at.column + 1};
}

class Reader {
public:
  Reader(Settings& settings_, const KnownNames& known_) : settings(settings_), known(known_) {}

  void read(TomlSection file) {
    for (TomlSection& section : file.list("silenced"))
      takeSilenced(section);
    for (auto& [name, section] : file.named("sensor"))
      takeSensor(name, section);
    file.refuseOtherKeys();
  }

private:
  void takeSilenced(TomlSection& section) {
    const std::optional<std::string> rule = section.text("rule");
    const std::optional<std::string> file = section.text("file");
    const std::optional<std::string> reason = section.text("reason");
    Silenced silenced;
    silenced.item = section.text("item");
    silenced.section = section.text("section");
    silenced.scenario = section.text("scenario");
    section.missing("rule", "the name of the rule whose findings are silenced");
    section.missing("file", "the file, relative to this one, in which they are");
    section.missing("reason", "why nobody needs to hear of them");
    section.refuseOtherKeys();
    if (reason && reason->find_first_not_of(" \t\n") == std::string::npos)
      section.problem(section.at("reason"), "'reason' is empty",
                      "say why nobody needs to hear of them");
    if (silenced.section && (silenced.item || silenced.scenario))
      section.problem(section.at("section"), "'section' stands beside 'item' or 'scenario'",
                      "a section is in the environment file, the others are in a configuration");
    if (!rule || !isRule(section, *rule) || !file || !reason) return;
    silenced.rule = {*rule, insideQuotes(section.at("rule").at)};
    silenced.file = *file;
    silenced.reason = *reason;
    settings.silenced.push_back(std::move(silenced));
  }

  bool isRule(const TomlSection& section, const std::string& rule) const {
    if (contains(known.rules, rule)) return true;
    section.problem(
        section.at("rule"), "there is no rule '" + rule + "'",
        didYouMean(rule, known.rules, "'thermalctl check --list-rules' shows them all"));
    return false;
  }

  void takeSensor(const std::string& name, TomlSection& section) {
    if (known.sensors && !contains(*known.sensors, name))
      section.problem(section.at(), "the board has no sensor '" + name + "'",
                      didYouMean(name, *known.sensors, "write a sensor of the environment file"));
    const std::optional<std::string> unit = section.text("unit");
    section.missing("unit", "what the sensor's node counts in");
    section.refuseOtherKeys();
    if (!unit) return;
    const auto size = kUnits.find(*unit);
    if (size != kUnits.end())
      settings.units[name] = size->second;
    else
      section.problem(section.at("unit"), "no node counts in '" + *unit + "'",
                      didYouMean(*unit, unitNames(), "write one of " + listed(unitNames())));
  }

  static std::vector<std::string> unitNames() {
    std::vector<std::string> names;
    for (const auto& [name, size] : kUnits)
      names.push_back(name);
    return names;
  }

  Settings& settings;
  const KnownNames& known;
};

} // namespace

std::string settingsFileBeside(const std::string& environment) {
  return (std::filesystem::path(environment).parent_path() / kFileName).string();
}

Settings readSettings(const std::string& file, const std::string& text, const KnownNames& known,
                      Problems& problems) {
  Settings settings;
  settings.file = file;
  const auto table = parseToml(text, file, problems);
  if (table) Reader(settings, known).read(TomlSection(*table, file, problems));
  return settings;
}
