#include "check/Inspection.h"

#include <cerrno>
#include <filesystem>
#include <map>
#include <set>
#include <system_error>

#include "base/TextReader.h"
#include "check/Silencing.h"
#include "daemon/VirtualDaemon.h"
#include "file/Names.h"
#include "text/Nearest.h"

// A whole check: both files are read, the settings beside the environment and the plant that they
// name; then the rules run over all of it, and what the settings silence is put aside. Whatever
// cannot be read is noted, and the rest is checked as far as it goes: a configuration without a
// board is read on a board that has every name which it uses.

namespace {

// The content of a file, which the inspection then holds; or null and a remark that it is unread.
const std::string* readInto(Inspection& inspection, const std::string& name) {
  errno = 0;
  std::optional<std::string> content = readFile(name);
  if (!content) {
    inspection.unread.push_back({name, std::generic_category().message(errno)});
    return nullptr;
  }
  return &inspection.sources.insert_or_assign(name, Source(std::move(*content)))
              .first->second.text();
}

void assume(std::map<std::string, const Section*>& known, Environment& board,
            const std::string& name) {
  if (known.count(name) > 0) return;
  Section& section = board.sections.emplace_back();
  section.name = name;
  section.sampling.value = 0; // no item is faster
  known[name] = &section;
}

// Takes every name that an item uses for that of a sensor or a device of the board.
void assumeNames(Environment& board, const Configuration& configuration) {
  for (const Item& item : configuration.items) {
    if (item.sensor) assume(board.sensors, board, item.sensor->word.text);
    if (item.device) assume(board.devices, board, item.device->word.text);
    for (const DeviceRow& row : item.actions)
      for (const Reference& device : row.pieces)
        assume(board.devices, board, device.word.text);
  }
}

KnownNames knownNames(const Inspection& inspection) {
  KnownNames known;
  for (const Rule& rule : allRules())
    known.rules.emplace_back(rule.name);
  if (!inspection.hasBoard) return known;
  known.sensors.emplace();
  known.devices.emplace();
  for (const Section& section : inspection.environment.sections)
    if (section.isSensor() || section.isDevice())
      (section.isSensor() ? known.sensors : known.devices)->push_back(section.name);
  return known;
}

void takeSettings(Inspection& inspection, const std::string& environment) {
  const std::string name = settingsFileBeside(environment);
  std::error_code error;
  if (!std::filesystem::exists(name, error)) return;
  const std::string* content = readInto(inspection, name);
  if (!content) return;
  inspection.settings = readSettings(name, *content, knownNames(inspection), inspection.problems);
  for (Section& section : inspection.environment.sections)
    if (const auto unit = inspection.settings.units.find(section.name);
        section.isSensor() && unit != inspection.settings.units.end())
      section.unit = unit->second;
}

void takeBoard(Inspection& inspection, const std::string& environment) {
  const std::string* board = readInto(inspection, environment);
  inspection.hasBoard = board != nullptr;
  inspection.environment = readEnvironment(environment, board ? *board : "");
  if (!board) inspection.environment.kind = {};
  takeSettings(inspection, environment);
}

// What the plant that the settings name says of the board. What is wrong in it is told like what is
// wrong in the settings.
PlantFacts readPlantOf(Inspection& inspection) {
  if (!inspection.settings.plant || !inspection.hasBoard) return {};
  const std::filesystem::path folder =
      std::filesystem::path(inspection.settings.file).parent_path();
  const std::string name = (folder / inspection.settings.plant->text).string();
  const std::optional<std::string> text = readFile(name);
  if (!text) {
    inspection.unread.push_back({name, std::generic_category().message(errno)});
    return {};
  }
  const TraceDescription board =
      VirtualDaemon(inspection.sources.at(inspection.environment.file).text()).describe();
  const PlantDescription plant = readPlant(*text, name, board, inspection.problems);
  if (!inspection.problems.none()) return {};
  return plantFacts(plant, board, inspection.environment, inspection.settings);
}

// Takes those out that the settings silence.
void silence(Inspection& inspection, const Subject& subject) {
  std::vector<Finding> left;
  for (Finding& finding : inspection.findings)
    if (const Silenced* silencer = silencerOf(finding, subject))
      inspection.silenced.push_back({std::move(finding), silencer->reason});
    else
      left.push_back(std::move(finding));
  inspection.findings = std::move(left);
}

void readConfigurations(Inspection& inspection, const std::vector<std::string>& names) {
  std::set<std::string> done;
  for (const std::string& name : names) {
    if (!done.insert(name).second) continue;
    const std::string* content = readInto(inspection, name);
    if (!content) continue;
    // Read twice: first for the names that it uses, then on a board that has them.
    if (!inspection.hasBoard)
      assumeNames(inspection.environment, readConfiguration(name, *content, Environment()));
    inspection.configurations.push_back(readConfiguration(name, *content, inspection.environment));
  }
}

} // namespace

std::string describe(const UnreadFile& file) {
  const std::string name = file.name.substr(file.name.rfind('/') + 1);
  const std::string hint = didYouMean(name, namesBeside(file.name));
  return "cannot read " + file.name + ": " + file.reason + (hint.empty() ? "" : "; " + hint);
}

Settings settingsOf(const std::string& environment) {
  // Most boards have none, and need not be read for them.
  std::error_code error;
  if (!std::filesystem::exists(settingsFileBeside(environment), error)) return {};
  Inspection inspection;
  takeBoard(inspection, environment);
  return inspection.settings;
}

Inspection inspect(const InspectionOrder& order) {
  Inspection inspection;
  takeBoard(inspection, order.environment);
  readConfigurations(inspection, order.configurations);

  RuleChoice rules = order.rules;
  // Of a file that could not be read nothing can be said; an empty one has findings of its own.
  if (!inspection.hasBoard) {
    for (const Rule& rule : environmentRules())
      rules.disabled.insert(rule.name);
    rules.disabled.insert(kSettingsRules.front().name);
  }
  // What could not be read may use whatever the others do not.
  if (!inspection.unread.empty())
    rules.disabled.insert({"unused-sensor", "unused-device", "level-unasked"});
  const PlantFacts plant = readPlantOf(inspection);
  const Subject subject{inspection.environment, inspection.configurations, order.nodesRoot,
                        inspection.settings, plant};
  inspection.findings = check(subject, rules);
  silence(inspection, subject);
  return inspection;
}
