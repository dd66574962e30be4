#include <algorithm>
#include <map>
#include <set>
#include <tuple>

#include "base/TextReader.h"
#include "check/configuration/ConfigurationRules.h"
#include "check/configuration/Items.h"
#include "text/Nearest.h"

namespace {

using Names = std::vector<std::string>;
using Sections = std::map<std::string, const Section*>;

// A slip is looked for among so many names at most: it takes a comparison with each of them, and
// nobody writes a longer file by hand.
constexpr size_t kMostNames = 200;

// Of those that the daemon has, to find the one that was meant.
Names namesOf(const Sections& sections) {
  Names names;
  for (const auto& [name, section] : sections)
    if (section) names.push_back(name);
  return names.size() > kMostNames ? Names() : names;
}

enum class Wanted { kSensor, kDevice };

// What to write instead of a name that the daemon does not find.
class Advice {
public:
  Advice(const Environment& environment, Wanted wanted_)
      : wanted(wanted_),
        names(namesOf(wanted == Wanted::kSensor ? environment.sensors : environment.devices)) {
    for (const Section& section : environment.sections)
      sections[section.name] = &section;
  }

  std::string operator()(const std::string& name) const {
    const auto found = sections.find(name);
    if (found == sections.end()) return didYouMean(name, names);
    const Section& section = *found->second;
    if (section.kind != SectionKind::kUnknown && section.isSensor() != (wanted == Wanted::kSensor))
      return quoted(name) + " is no " + (wanted == Wanted::kSensor ? "sensor" : "device");
    if (!section.readByDaemon) return "the daemon never reads the section of " + quoted(name);
    return "the daemon drops the section of " + quoted(name) + ", whose type is unknown";
  }

private:
  Wanted wanted;
  Names names;
  Sections sections;
};

void unknownSensor(const Subject& subject, Findings& findings) {
  const Advice advice(subject.environment, Wanted::kSensor);
  forEachItem(subject, [&](const Configuration& configuration, const Item& item) {
    if (!item.sensor || item.sensor->section || standsAlone(item, "sensor")) return;
    const Word& word = item.sensor->word;
    findings.add(configuration.file, word,
                 "the daemon finds no sensor " + quoted(word.text) + " on the board" +
                     endForWantOf(configuration, item, "sensor"),
                 advice(word.text));
  });
}
constexpr Rule kUnknownSensor = {
    "unknown-sensor", Severity::kError,
    "An item whose 'sensor' is not the name of a sensor of the environment file counts as one "
    "without: the daemon ends with \"There is some missing property for\" and the item's name, "
    "and status 0. A sensor whose section the daemon drops or never reads is not there either.",
    unknownSensor};

void checkRows(const Configuration& configuration, const Item& item, const Advice& advice,
               Findings& findings) {
  for (const DeviceRow& row : item.actions)
    for (const Reference& device : row.pieces)
      if (!device.section)
        findings.add(configuration.file, device.word,
                     "the daemon finds no device " + quoted(device.word.text) +
                         " on the board and drives nothing in its place",
                     advice(device.word.text));
}

void unknownDevice(const Subject& subject, Findings& findings) {
  const Advice advice(subject.environment, Wanted::kDevice);
  forEachItem(subject, [&](const Configuration& configuration, const Item& item) {
    checkRows(configuration, item, advice, findings);
    if (!item.device || item.device->section || standsAlone(item, "device")) return;
    const Word& word = item.device->word;
    findings.add(configuration.file, word,
                 "the daemon finds no device " + quoted(word.text) + " on the board" +
                     endForWantOf(configuration, item, "device"),
                 advice(word.text));
  });
}
constexpr Rule kUnknownDevice = {
    "unknown-device", Severity::kError,
    "An ss item whose 'device' is not the name of a device of the environment file ends the "
    "daemon with \"There is some missing property for\" and the item's name, and status 0. In "
    "the rows of a monitor nothing is reported at all: the device is just never driven.",
    unknownDevice};

// All words that stand behind any key of any item, taken apart at "+". Of any key, since a name
// behind a misspelt one was meant to be used: the slip is the finding.
std::set<std::string> wordsOfItems(const Subject& subject) {
  std::set<std::string> words;
  forEachItem(subject, [&words](const Configuration&, const Item& item) {
    for (const Property& property : item.properties)
      for (const Word& word : property.words) {
        std::vector<std::string> pieces;
        stringTokenizer(word.text, pieces, "+");
        words.insert(pieces.begin(), pieces.end());
      }
  });
  return words;
}

// A name that was probably meant, where a slip for it stands, counts as used.
template <typename Visit>
void addMeantNames(const Subject& subject, const Names& names, Visit visit,
                   std::set<std::string>& used) {
  const auto add = [&](const Reference& reference) {
    if (!reference.section) used.insert(nearest(reference.word.text, names));
  };
  forEachItem(subject, [&](const Configuration&, const Item& item) { visit(item, add); });
}

void addSourcesAndTrips(const Environment& environment, std::set<std::string>& used) {
  for (const Section& section : environment.sections) {
    for (const auto& source : section.sources)
      used.insert(source.word.text);
    if (section.trip) used.insert(section.trip->word.text);
  }
}

// Where no configuration has an item everything is unused, and that is told of the configuration.
bool anyItem(const Subject& subject) {
  return std::any_of(subject.configurations.begin(), subject.configurations.end(),
                     [](const Configuration& each) { return !each.items.empty(); });
}

void reportUnused(const Subject& subject, const Sections& sections,
                  const std::set<std::string>& used, const char* message, Findings& findings) {
  if (!anyItem(subject)) return;
  for (const auto& [name, section] : sections)
    if (section && used.count(name) == 0)
      findings.add(subject.environment.file, section->header, message);
}

void unusedSensor(const Subject& subject, Findings& findings) {
  const Environment& environment = subject.environment;
  std::set<std::string> used = wordsOfItems(subject);
  addSourcesAndTrips(environment, used);
  addMeantNames(
      subject, namesOf(environment.sensors),
      [](const Item& item, const auto& add) {
        if (item.sensor) add(*item.sensor);
      },
      used);
  reportUnused(subject, environment.sensors, used,
               "the daemon samples this sensor for nothing: no item watches it", findings);
}
constexpr Rule kUnusedSensor = {
    "unused-sensor", Severity::kWarning,
    "The daemon reads the node of every real sensor once per period, whether an item watches it "
    "or not. A sensor that no item of any of the configurations watches, that no virtual sensor "
    "computes with and that trips none, costs power for nothing; more often an item was "
    "forgotten.",
    unusedSensor};

void unusedDevice(const Subject& subject, Findings& findings) {
  std::set<std::string> used = wordsOfItems(subject);
  addMeantNames(
      subject, namesOf(subject.environment.devices),
      [](const Item& item, const auto& add) {
        if (item.device) add(*item.device);
        for (const DeviceRow& row : item.actions)
          for (const Reference& device : row.pieces)
            add(device);
      },
      used);
  reportUnused(subject, subject.environment.devices, used,
               "the daemon never drives this device: no item names it", findings);
}
constexpr Rule kUnusedDevice = {
    "unused-device", Severity::kWarning,
    "The daemon opens the node of every device at start, which truncates it, and then writes to "
    "it only when an item asks. A device that no item of any of the configurations names is "
    "never driven; more often an item was forgotten.",
    unusedDevice};

std::set<const Section*> devicesOf(const Item& item) {
  std::set<const Section*> devices;
  if (item.device) devices.insert(item.device->section);
  for (const DeviceRow& row : item.actions)
    for (const Reference& device : row.pieces)
      devices.insert(device.section);
  devices.erase(nullptr);
  return devices;
}

// A device keeps its requests by the names of those who ask: only two items of one name and
// scenario that drive the same device get in each other's way.
void itemNameTwice(const Subject& subject, Findings& findings) {
  // By file, scenario, name and device: the header's line of the first such item.
  std::map<std::tuple<std::string, std::string, std::string, const Section*>, int> first;
  forEachItem(subject, [&](const Configuration& configuration, const Item& item) {
    for (const Section* device : devicesOf(item)) {
      const auto key = std::make_tuple(configuration.file, item.scenario, item.name, device);
      const int line = first.emplace(key, item.header.at.line).first->second;
      if (line == item.header.at.line) continue;
      findings.add(configuration.file, item.header,
                   "at device " + quoted(device->name) +
                       " the daemon cannot tell this item from the one in line " +
                       std::to_string(line) + ": each takes back what the other asks for",
                   "give it another name");
    }
  });
}
constexpr Rule kItemNameTwice = {
    "item-name-twice", Severity::kError,
    "A device files what an item asks for under the item's name. Two items of one name in one "
    "scenario overwrite each other's request, and when one of them withdraws, the device falls "
    "back although the other is still hot. Names of items in different scenarios may be equal.",
    itemNameTwice};

// What the items of one scenario watch.
struct Watched {
  std::set<std::string> sensors;
  // Whether that is all there is to know.
  bool sound = true;
};

using Scenarios = std::map<std::string, Watched>;

// By the configuration's file, and then by scenario.
std::map<std::string, Scenarios> watchedByFile(const Subject& subject) {
  std::map<std::string, Scenarios> files;
  forEachItem(subject, [&files](const Configuration& configuration, const Item& item) {
    Watched& watched = files[configuration.file][item.scenario];
    if (item.sensor && item.sensor->section)
      watched.sensors.insert(item.sensor->word.text);
    else
      watched.sound = false;
  });
  return files;
}

Names missingIn(const Watched& scenario, const Watched& standard) {
  Names missing;
  std::set_difference(standard.sensors.begin(), standard.sensors.end(), scenario.sensors.begin(),
                      scenario.sensors.end(), std::back_inserter(missing));
  return missing;
}

// A scenario shares no item with another, so that whoever copies some of Default's items into one
// forgets the rest easily. What Default itself does not watch nobody can be said to have forgotten.
void sensorUnwatched(const Subject& subject, Findings& findings) {
  std::map<std::string, Scenarios> files = watchedByFile(subject);
  for (const Configuration& configuration : subject.configurations) {
    const Scenarios& scenarios = files[configuration.file];
    const auto standard = scenarios.find("Default");
    if (standard == scenarios.end()) continue;
    std::set<std::string> told;
    for (const ScenarioLine& line : configuration.scenarioLines) {
      const auto scenario = scenarios.find(line.name.text);
      if (scenario == scenarios.end() || !scenario->second.sound) continue;
      const Names missing = missingIn(scenario->second, standard->second);
      if (missing.empty() || !told.insert(line.name.text).second) continue;
      findings.add(configuration.file, line.name,
                   "while " + quoted(line.name.text) + " is in force no item watches " +
                       listed(missing),
                   "scenarios share nothing: repeat the item of 'Default' under another name");
    }
  }
}
constexpr Rule kSensorUnwatched = {
    "sensor-unwatched", Severity::kWarning,
    "Scenarios share nothing: while one is in force, no item of another runs, those of 'Default' "
    "included. A sensor that 'Default' watches and another scenario does not is without "
    "protection there. Repeat the item in each scenario, under another name in each.",
    sensorUnwatched};

} // namespace

const std::vector<Rule>& nameRules() {
  static const std::vector<Rule> rules = {kUnknownSensor, kUnknownDevice, kUnusedSensor,
                                          kUnusedDevice,  kItemNameTwice, kSensorUnwatched};
  return rules;
}
