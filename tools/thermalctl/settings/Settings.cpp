#include "settings/Settings.h"

#include <algorithm>
#include <filesystem>
#include <iterator>

#include "text/Nearest.h"
#include "text/Phrases.h"
#include "text/Temperature.h"
#include "toml/TomlSection.h"

// What the two files of a board cannot say about themselves, in a file beside them:
//   must_cool = ["skin"]
//   skin = "43C"
//   plant = "plant.toml"
//   [sensor.skin]
//   unit = "tenths"
//   range = ["-20C", "85C"]
//   noise = "0.1C"
//   [device.cpu]
//   entries = "kHz"
//   [[silenced]]
//   rule = "sensor-uncooled"
//   file = "night.conf"
//   reason = "the charger is off at night"

namespace {

constexpr char kFileName[] = "thermalctl.toml";

const std::map<std::string, int32_t> kUnits = {
    {"millidegrees", 1}, {"tenths", 100}, {"degrees", 1000}};

// What the entries of a level table may count.
const std::vector<std::string> kEntries = {"Hz", "kHz", "MHz", "mA", "uA", "duty", "state"};

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
    for (auto& [name, section] : file.named("device"))
      takeDevice(name, section);
    takeMustCool(file);
    if (const std::optional<std::string> plant = file.text("plant"))
      settings.plant = Word{*plant, insideQuotes(file.at("plant").at)};
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
    // Whoever comes later has to decide whether it still holds.
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
    // A table that says nothing of the sensor was hardly meant so.
    if (!section.has("range") && !section.has("noise"))
      section.missing("unit", "what the sensor's node counts in");
    takeRange(name, section);
    takeNoise(name, section);
    section.refuseOtherKeys();
    if (!unit) return;
    const auto size = kUnits.find(*unit);
    if (size != kUnits.end())
      settings.units[name] = size->second;
    else
      section.problem(section.at("unit"), "no node counts in '" + *unit + "'",
                      didYouMean(*unit, unitNames(), "write one of " + listed(unitNames())));
  }

  void takeNoise(const std::string& name, TomlSection& section) {
    const auto noise = section.word("noise");
    if (!noise) return;
    const auto celsius = temperatureOf(section, section.at("noise"), *noise);
    if (celsius && *celsius < 0)
      return section.problem(section.at("noise"), "'noise' is below 0",
                             "write a standard deviation, such as \"0.1C\"");
    if (celsius) settings.noise[name] = *celsius;
  }

  void takeRange(const std::string& name, TomlSection& section) {
    const std::vector<std::string> range = section.words("range");
    if (!section.has("range") || range.empty()) return;
    std::vector<int32_t> ends;
    for (size_t i = 0; i < range.size(); ++i)
      if (const auto end = temperatureOf(section, section.at("range", i), range[i]))
        ends.push_back(*end);
    if (ends.size() < range.size()) return;
    if (ends.size() != 2 || ends[0] >= ends[1])
      return section.problem(section.at("range"), "'range' is no range",
                             "write the coldest and the hottest, such as [\"-20C\", \"85C\"]");
    settings.ranges[name] = {ends[0], ends[1]};
  }

  // A number without a unit is degrees here, as in a plant file.
  static std::optional<int32_t> temperatureOf(const TomlSection& section, const Span& at,
                                              const std::string& text) {
    const bool isBare = text.find_first_not_of("0123456789.-+") == std::string::npos;
    const TemperatureText read = readTemperature(isBare ? text + "C" : text);
    if (!read.millidegrees) section.problem(at, quoted(text) + " " + read.wrong, read.hint);
    return read.millidegrees;
  }

  void takeDevice(const std::string& name, TomlSection& section) {
    if (known.devices && !contains(*known.devices, name))
      section.problem(section.at(), "the board has no device '" + name + "'",
                      didYouMean(name, *known.devices, "write a device of the environment file"));
    const std::optional<std::string> entries = section.text("entries");
    section.missing("entries", "what the numbers of its level table count");
    section.refuseOtherKeys();
    if (!entries) return;
    if (contains(kEntries, *entries))
      settings.entries[name] = *entries;
    else
      section.problem(section.at("entries"), "no table counts '" + *entries + "'",
                      didYouMean(*entries, kEntries, "write one of " + listed(kEntries)));
  }

  void takeMustCool(TomlSection& file) {
    const std::vector<std::string> names = file.texts("must_cool");
    for (size_t i = 0; i < names.size(); ++i) {
      const Span at = file.at("must_cool", i);
      if (known.sensors && !contains(*known.sensors, names[i]))
        file.problem(
            at, "the board has no sensor '" + names[i] + "'",
            didYouMean(names[i], *known.sensors, "write a sensor of the environment file"));
      MustCool rule{{names[i], insideQuotes(at.at)}, std::nullopt};
      // "skin" = "43C" beside the list; a name that is in no list is a key that nobody knows.
      if (const auto limit = file.word(names[i]))
        rule.atMost = temperatureOf(file, file.at(names[i]), *limit);
      settings.mustCool.push_back(std::move(rule));
    }
  }

  static std::vector<std::string> unitNames() {
    std::vector<std::string> names;
    names.reserve(std::size(kUnits));
    for (const auto& [name, size] : kUnits)
      names.push_back(name);
    return names;
  }

  Settings& settings;
  const KnownNames& known;
};

} // namespace

SensorRange Settings::rangeOf(const std::string& sensor) const {
  const auto range = ranges.find(sensor);
  return range == ranges.end() ? SensorRange() : range->second;
}

bool Settings::hasToCool(const std::string& sensor) const {
  return std::any_of(mustCool.begin(), mustCool.end(),
                     [&](const MustCool& rule) { return rule.sensor.text == sensor; });
}

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
