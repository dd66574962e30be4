#include <algorithm>
#include <map>
#include <set>
#include <tuple>

#include "base/Names.h"
#include "base/TextReader.h"
#include "check/configuration/ConfigurationRules.h"
#include "check/configuration/Ends.h"
#include "check/rule/Keys.h"
#include "check/rule/Visits.h"
#include "text/LookAlikes.h"
#include "text/Nearest.h"
#include "text/Phrases.h"

namespace {

using Names = std::vector<std::string>;
using References = std::vector<Reference>;
using Sections = std::map<std::string, const Section*>;

// A slip is looked for among so many names at most: it takes a comparison with each of them, and
// nobody writes a longer file by hand.
constexpr size_t kMostNames = 200;

// Of those that the daemon has, to find the one that was meant.
Names namesOf(const Sections& sections) {
  Names names;
  for (const auto& [name, section] : sections) {
    if (section) names.push_back(name);
    if (names.size() > kMostNames) return {};
  }
  return names;
}

bool endsWithSeparator(const std::string& name) {
  return name.back() == ',' || name.back() == ';';
}

// What to write instead of a name that the daemon finds no sensor or device by.
Message hintForName(const std::string& kind, const std::string& name, const Environment& board) {
  const bool isSensor = kind == "sensor";
  if (endsWithSeparator(name)) return "put blanks between the words and no other sign";
  const Section* section = board.named(name);
  if (!section) return didYouMean(name, namesOf(isSensor ? board.sensors : board.devices));
  return {"'{}' is no {}", name, kind};
}

// An unknown name where the daemon ends for it, failing that where it is first met, and how many
// items have it.
struct Unknown {
  const Configuration* configuration;
  const Item* item;
  Word word;
  // By which an item names one thing, or "actions".
  std::string key;
  bool endsTheDaemon = false;
  size_t items = 0;
};

// What the rule of one kind of names goes by.
struct NamesOfKind {
  const char* kind;
  const std::optional<Reference>& (*single)(const Item&);
  bool inRows;
};

// All that items name and the board does not have, each name once: whatever makes it unknown, it is
// one mistake.
class UnknownNames {
public:
  UnknownNames(const Context& context_, const NamesOfKind& names_)
      : context(context_), names(names_) {}

  std::vector<Unknown> collect() {
    for (const Configuration& configuration : context.subject.configurations)
      for (const Item* item : configuration.meant)
        take(configuration, *item);
    return std::move(found);
  }

private:
  void take(const Configuration& configuration, const Item& item) {
    std::set<std::string> counted;
    const auto take = [&](const Reference& name, const std::string& key) {
      if (name.section || isToldElsewhere(name.word.text)) return;
      // Whoever puts commas between the words of a line does so everywhere on it.
      if (endsWithSeparator(name.word.text) &&
          !separated.insert({&configuration, name.word.at.line}).second)
        return;
      const auto [place, isFirst] = places.emplace(name.word.text, found.size());
      const bool ends = endsForWantOf(configuration, item, key);
      if (isFirst) found.push_back({&configuration, &item, name.word, key, ends});
      Unknown& unknown = found[place->second];
      if (ends && !unknown.endsTheDaemon)
        unknown = {&configuration, &item, name.word, key, ends, unknown.items};
      if (counted.insert(name.word.text).second) ++unknown.items;
    };
    const std::optional<Reference>& single = names.single(item);
    if (single && !standsAlone(item, names.kind)) take(*single, names.kind);
    if (!names.inRows) return;
    for (const DeviceRow& row : item.actions)
      for (const Reference& device : row.pieces)
        take(device, "actions");
  }

  // Of the section that was meant, or of a virtual sensor that names it, too.
  bool isToldElsewhere(const std::string& name) const {
    const Subject& subject = context.subject;
    if (names.inRows) return subject.lost.hasDevice(name);
    if (subject.lost.hasSensor(name)) return true;
    const auto& sections = subject.environment.sections;
    return std::any_of(sections.begin(), sections.end(), [&name](const Section& section) {
      const auto isName = [&name](const Reference& each) { return each.word.text == name; };
      return (section.trip && isName(*section.trip)) ||
             std::any_of(section.sources.begin(), section.sources.end(), isName);
    });
  }

  const Context& context;
  const NamesOfKind& names;
  std::vector<Unknown> found;
  std::map<std::string, size_t> places;
  std::set<std::pair<const Configuration*, int>> separated;
};

// Whoever mends it mends all of them.
std::string dependents(const Unknown& unknown) {
  return unknown.items > 1 ? fmt::format("; {} items depend on it", unknown.items) : "";
}

const std::optional<Reference>& sensorOf(const Item& item) {
  return item.sensor;
}
const std::optional<Reference>& deviceOf(const Item& item) {
  return item.device;
}

void tellOfUnknown(const NamesOfKind& names, Context& context) {
  for (const Unknown& unknown : UnknownNames(context, names).collect()) {
    context.configuration = unknown.configuration;
    const std::string& name = unknown.word.text;
    const Message hint = hintForName(names.kind, name, context.subject.environment);
    if (unknown.key == "actions")
      context.tell(unknown.word,
                   {"the daemon finds no device '{}' on the board and drives nothing in its "
                    "place{}",
                    name, dependents(unknown)},
                   hint);
    else
      context.tell(unknown.word,
                   {"the daemon finds no {} '{}' on the board{}{}", names.kind, name,
                    endForWantOf(unknown.key, *unknown.item, context), dependents(unknown)},
                   hint);
  }
}

References sensorsOf(const Item& item) {
  return item.sensor ? References{*item.sensor} : References();
}

References devicesOf(const Item& item) {
  References devices;
  if (item.device) devices.push_back(*item.device);
  for (const DeviceRow& row : item.actions)
    devices.insert(devices.end(), row.pieces.begin(), row.pieces.end());
  return devices;
}

// Those sections whose names stand behind any key of the item, taken apart at "+". Of any key,
// since a name behind a misspelt one was meant to be used: the slip is the finding.
void addNamed(const Item& item, const Sections& sections, std::set<std::string>& used) {
  const auto add = [&](const std::string& name) {
    if (sections.count(name) > 0) used.insert(name);
  };
  for (const Property& property : item.properties)
    for (const Word& word : property.words) {
      if (word.text.find('+') == std::string::npos) {
        add(word.text);
        continue;
      }
      Names pieces;
      stringTokenizer(word.text, pieces, "+");
      std::for_each(pieces.begin(), pieces.end(), add);
    }
}

// Tells of those sections that no item refers to, by `used` or otherwise: one item that was
// forgotten, or one configuration, leaves several of them.
void tellOfUnused(const Sections& sections, References (*referencesOf)(const Item&),
                  std::set<std::string> used, const char* message, Context& context) {
  const Names names = namesOf(sections);
  bool anyItem = false;
  for (const Configuration& configuration : context.subject.configurations) {
    // Of one that is none nobody can say what it uses.
    if (configuration.isForeign()) return;
    for (const Item* item : configuration.meant) {
      anyItem = true;
      // What stands behind the blank line may name any of them.
      if (!item->cutOff.empty()) return;
      addNamed(*item, sections, used);
      // A name that was probably meant, where a slip for it stands, counts as used.
      for (const Reference& reference : referencesOf(*item))
        if (!reference.section) {
          const std::string read = asRead(reference.word.text);
          used.insert({read, nearest(read, names)});
        }
    }
  }
  // Where no configuration has an item everything is unused, and that is told of the configuration.
  if (!anyItem) return;
  std::map<int, const Section*> unused; // by line
  for (const auto& [name, section] : sections)
    if (section && used.count(name) == 0) unused.emplace(section->header.at.line, section);
  if (unused.empty()) return;
  Names left;
  for (const auto& [line, section] : unused)
    left.push_back(section->name);
  context.tell(unused.begin()->second->header,
               {message, listedBriefly(left), left.size() == 1 ? "it" : "them"});
}

// What the items of one scenario watch.
struct Watched {
  std::set<std::string> sensors;
  // Whether that is all there is to know.
  bool sound = true;
};

std::map<std::string, Watched> watchedByScenario(const Configuration& configuration) {
  std::map<std::string, Watched> scenarios;
  for (const Item* item : configuration.meant) {
    Watched& watched = scenarios[item->scenario];
    if (item->sensor && item->sensor->section)
      watched.sensors.insert(item->sensor->word.text);
    else
      watched.sound = false;
  }
  return scenarios;
}

} // namespace

const std::vector<Rule> kNameRules = {
    {"unknown-sensor", Severity::kError,
     "An item whose 'sensor' is not the name of a sensor of the environment file counts as one "
     "without: the daemon ends with \"There is some missing property for\" and the item's name, "
     "and status 0. A sensor whose section the daemon drops or never reads is not there either.",
     [](Context& context) {
       tellOfUnknown({"sensor", sensorOf, false}, context);
     }},

    {"unknown-device", Severity::kError,
     "An ss item whose 'device' is not the name of a device of the environment file ends the "
     "daemon with \"There is some missing property for\" and the item's name, and status 0. In the "
     "rows of a monitor nothing is reported at all: the device is just never driven.",
     [](Context& context) {
       tellOfUnknown({"device", deviceOf, true}, context);
     }},

    {"unused-sensor", Severity::kWarning,
     "The daemon reads the node of every real sensor once per period, whether an item watches it "
     "or not. A sensor that no item of any of the configurations watches, that no virtual sensor "
     "computes with and that trips none, costs power for nothing; more often an item was "
     "forgotten.",
     [](Context& context) {
       const Environment& board = context.subject.environment;
       std::set<std::string> used;
       for (const Section& section : board.sections) {
         for (const Reference& source : section.sources)
           used.insert(source.word.text);
         if (section.trip) used.insert(section.trip->word.text);
       }
       tellOfUnused(board.sensors, sensorsOf, used,
                    "the daemon samples {} for nothing: no item watches {}", context);
     }},

    {"unused-device", Severity::kWarning,
     "The daemon opens the node of every device at start, which truncates it, and then writes to "
     "it only when an item asks. A device that no item of any of the configurations names is never "
     "driven; more often an item was forgotten.",
     [](Context& context) {
       tellOfUnused(context.subject.environment.devices, devicesOf, {},
                    "the daemon never drives {}: no item names {}", context);
     }},

    // A device keeps its requests by the names of those who ask: only two items of one name and
    // scenario that drive the same device get in each other's way.
    {"item-name-twice", Severity::kError,
     "A device files what an item asks for under the item's name. Two items of one name in one "
     "scenario overwrite each other's request, and when one of them withdraws, the device falls "
     "back although the other is still hot. Names of items in different scenarios may be equal.",
     eachConfiguration([](const Configuration& configuration, Context& context) {
       // By scenario, name and device: the header's line of the first such item.
       std::map<std::tuple<std::string, std::string, const Section*>, int> first;
       for (const Item* item : configuration.meant) {
         std::set<const Section*> devices;
         for (const Reference& device : devicesOf(*item))
           if (device.section) devices.insert(device.section);
         for (const Section* device : devices) {
           const int here = item->header.at.line;
           const int line =
               first.emplace(std::tuple(item->scenario, item->name, device), here).first->second;
           if (line != here)
             context.tell(item->header,
                          {"at device '{}' the daemon cannot tell this item from the one in line "
                           "{}: each takes back what the other asks for",
                           device->name, line},
                          "give it another name");
         }
       }
     })},

    // A scenario shares no item with another, so that whoever copies some of Default's items into
    // one forgets the rest easily. What Default itself does not watch nobody can be said to have
    // forgotten.
    {"sensor-unwatched", Severity::kWarning,
     "Scenarios share nothing: while one is in force, no item of another runs, those of 'Default' "
     "included. A sensor that 'Default' watches and another scenario does not is without "
     "protection there. Repeat the item in each scenario, under another name in each.",
     eachConfiguration([](const Configuration& configuration, Context& context) {
       const auto scenarios = watchedByScenario(configuration);
       const auto standard = scenarios.find(kDefaultScenario);
       if (standard == scenarios.end()) return;
       std::set<std::string> told;
       for (const ScenarioLine& line : configuration.scenarioLines) {
         const std::string& name = line.name.text;
         const auto scenario = scenarios.find(name);
         if (scenario == scenarios.end() || !scenario->second.sound) continue;
         Names missing;
         for (const std::string& sensor : standard->second.sensors)
           // What has to be cooled everywhere another rule tells of.
           if (scenario->second.sensors.count(sensor) == 0 &&
               !context.subject.settings.hasToCool(sensor))
             missing.push_back(sensor);
         if (!missing.empty() && told.insert(name).second)
           context.tell(line.name,
                        {"while '{}' is in force no item watches {}", name, listedBriefly(missing)},
                        "scenarios share nothing: repeat the item of 'Default' under another name");
       }
     })},
};
