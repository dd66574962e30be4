#include <algorithm>
#include <map>
#include <set>

#include "base/Names.h"
#include "check/configuration/ConfigurationRules.h"
#include "check/rule/Numbers.h"
#include "check/rule/Visits.h"
#include "coverage/Coverage.h"
#include "text/Nearest.h"
#include "text/Phrases.h"

// These rules look at which sensor is cooled where: at a table of all sensors by all scenarios of
// all configurations, each cell of which has the first temperature at which something drives a
// device. A scenario shares nothing with another, so that what lacks in one cell is there in no
// other way. Items that have findings of their own count as cooling, or are left out (`counts`):
// one mistake is to give one finding.

namespace {

// A scenario may be hotter than another on purpose, but hardly by more.
constexpr int64_t kMuchLater = 10000; // millidegrees
// A table of which more than a third is unused was taken whole from the driver.
constexpr size_t kPartOfTable = 3;

using Names = std::vector<std::string>;
using Columns = std::vector<size_t>;

// Where a scenario begins: its line, or its first item.
Word placeOf(const CoverageColumn& column) {
  for (const ScenarioLine& line : column.configuration->scenarioLines)
    if (!line.closes() && line.name.text == column.scenario) return line.name;
  for (const Item* item : column.configuration->meant)
    if (item->scenario == column.scenario) return item->header;
  return {"", {1, 1}};
}

bool isWhole(const Configuration& configuration) {
  return !configuration.isForeign() && !configuration.fatal();
}

// What the rules on one board's coverage have in common.
class CoverageLook {
public:
  explicit CoverageLook(Context& context_) : context(context_), all(context_.subject.coverage) {}

  // Of a file that the daemon does not read to its end nobody can say what it leaves out.
  Columns columnsOf(const Configuration& configuration) const {
    Columns columns;
    if (!isWhole(configuration)) return columns;
    for (size_t i = 0; i < all.columns.size(); ++i)
      if (all.columns[i].configuration == &configuration && all.columns[i].items > 0)
        columns.push_back(i);
    return columns;
  }

  bool coolsAnything(size_t column) const {
    return std::any_of(all.sensors.begin(), all.sensors.end(), [&](const Section* sensor) {
      const CoverageCell& cell = all.cell(sensor, column);
      return cell.heat || cell.doubtful;
    });
  }

  // The hottest that the sensor can be.
  int64_t reachOf(const Section* sensor) const {
    return context.subject.settings.reachOf(sensor->name);
  }

  // Whether the heat that a scenario waits for is one that nothing else is to be said against: of
  // an item that waits for heat that every room has, or none, that is told.
  bool counts(const Section* sensor, const CoverageCell& cell) const {
    const auto isSound = [&](const Item* item) {
      const std::optional<Action> action = actionOf(*item);
      return !action || item->lowactive ||
             (action->at <= reachOf(sensor) && action->at >= kColdRoom &&
              soundTemperature(numberOf(action->word), *item));
    };
    return cell.heat && !cell.doubtful &&
           std::all_of(cell.items.begin(), cell.items.end(), isSound);
  }

  // The scenario that first cools the sensor, of those that do so at a temperature that it reaches.
  std::optional<size_t> earliest(const Section* sensor, const Columns& columns) const {
    std::optional<size_t> first;
    for (const size_t i : columns) {
      const CoverageCell& cell = all.cell(sensor, i);
      if (!counts(sensor, cell)) continue;
      if (!first || cell.heat->at < all.cell(sensor, *first).heat->at) first = i;
    }
    return first;
  }

  // "'game'", with its file where that is another.
  std::string nameOf(size_t column, const Configuration* here) const {
    const CoverageColumn& each = all.columns[column];
    const std::string name = quoted(each.scenario);
    return each.configuration == here ? name : name + " of " + each.configuration->file;
  }

  Context& context;
  const Coverage& all;
};

// The hottest that any item waits for: a temperature at which there is something to do.
int64_t hottestOf(const Section* sensor, const CoverageLook& look) {
  int64_t hottest = 0;
  for (size_t i = 0; i < look.all.columns.size(); ++i)
    if (const auto& heat = look.all.cell(sensor, i).heat)
      // An ss item has no list of thresholds: its one onset is that of the cell.
      for (const int64_t onset :
           onsetsOf(*heat->item).empty() ? std::vector{heat->at} : onsetsOf(*heat->item))
        hottest = std::max(hottest, onset);
  return std::min(hottest, look.reachOf(sensor));
}

void tellOfDefault(Context& context) {
  const CoverageLook look(context);
  bool anything = false;
  for (size_t i = 0; i < look.all.columns.size(); ++i)
    for (const Section* sensor : look.all.sensors) {
      const CoverageCell& cell = look.all.cell(sensor, i);
      anything = anything || cell.heat || cell.report;
    }
  // A board that only keeps its battery from cold has nothing to cool.
  if (!anything) return;
  for (size_t i = 0; i < look.all.columns.size(); ++i) {
    const CoverageColumn& column = look.all.columns[i];
    if (column.scenario != kDefaultScenario || column.items == 0 || !column.sound ||
        !isWhole(*column.configuration) || look.coolsAnything(i))
      continue;
    context.configuration = column.configuration;
    context.tell(placeOf(column),
                 "nothing cools in 'Default', which is in force from the start: however hot a "
                 "sensor is, no item acts on it",
                 "scenarios share nothing: repeat the items that cool in 'Default'");
  }
}

// What the scenarios of one configuration leave uncooled that another scenario cools.
class Uncooled {
public:
  Uncooled(CoverageLook look_, const Configuration& configuration_)
      : look(look_), configuration(configuration_), columns(look.columnsOf(configuration)) {}

  void tell() {
    Columns everywhere;
    for (size_t i = 0; i < look.all.columns.size(); ++i)
      if (isWhole(*look.all.columns[i].configuration)) everywhere.push_back(i);
    for (const Section* sensor : look.all.sensors) {
      if (look.context.subject.settings.hasToCool(sensor->name)) continue;
      std::optional<size_t> other = look.earliest(sensor, columns);
      // What another scenario of this file does comes first; failing that, what another file does.
      const bool here = other.has_value();
      if (!here) other = look.earliest(sensor, everywhere);
      if (other) tell(sensor, *other, here);
    }
    for (const auto& [column, sensors] : missing)
      tellOfMissing(column, sensors);
  }

private:
  void tell(const Section* sensor, size_t other, bool here) {
    for (const size_t i : columns) {
      const CoverageCell& cell = look.all.cell(sensor, i);
      if (cell.heat || cell.doubtful || !look.all.columns[i].sound || isToldElsewhere(sensor, i))
        continue;
      // Where an item is there but does not cool, it is the place to mend; where none is, the
      // scenario.
      if (look.all.isWatched(sensor, i))
        tellOfItem(sensor, i, other, cell);
      else
        missing[i].push_back({sensor, other});
      // Of a sensor that no scenario of the file cools the file is what is to be mended.
      if (!here) return;
    }
  }

  // That 'Default' cools nothing at all, or that it watches what this scenario does not.
  bool isToldElsewhere(const Section* sensor, size_t column) const {
    const bool isDefault = look.all.columns[column].scenario == kDefaultScenario;
    if (isDefault) return !look.coolsAnything(column);
    if (look.all.isWatched(sensor, column)) return false;
    return std::any_of(columns.begin(), columns.end(), [&](size_t i) {
      return look.all.columns[i].scenario == kDefaultScenario && look.all.isWatched(sensor, i);
    });
  }

  void tellOfItem(const Section* sensor, size_t column, size_t other, const CoverageCell& cell) {
    const bool reports = cell.report.has_value();
    const Item& item = reports ? *cell.report->item : *cell.cold->item;
    const Word& place = reports ? item.place("actions") : item.place("lowactive");
    const CoverageCell& cooled = look.all.cell(sensor, other);
    look.context.tell(
        place,
        {"at {} nothing of '{}' acts on '{}': the scenario {}, and {} cools from {} on",
         celsius(hottestOf(sensor, look)), look.all.columns[column].scenario, sensor->name,
         reports ? "only reports the heat" : "acts against cold alone",
         look.nameOf(other, &configuration), celsius(cooled.heat->at)},
        {"scenarios share nothing: repeat '{}' here under another name", cooled.heat->item->name});
  }

  using Gap = std::pair<const Section*, size_t>;

  void tellOfMissing(size_t column, const std::vector<Gap>& gaps) {
    Names names;
    for (const auto& [sensor, other] : gaps)
      names.push_back(sensor->name);
    const auto& [first, other] = gaps.front();
    const CoverageCell& cooled = look.all.cell(first, other);
    look.context.tell(
        placeOf(look.all.columns[column]),
        {"at {} nothing of '{}' acts on {}: {} cools from {} on", celsius(hottestOf(first, look)),
         look.all.columns[column].scenario, listedBriefly(names),
         look.nameOf(other, &configuration), celsius(cooled.heat->at)},
        {"scenarios share nothing: repeat '{}' here under another name", cooled.heat->item->name});
  }

  CoverageLook look;
  const Configuration& configuration;
  Columns columns;
  std::map<size_t, std::vector<Gap>> missing;
};

void tellOfLate(const CoverageLook& look, const Section* sensor, size_t late, size_t early) {
  const CoverageColumn& column = look.all.columns[late];
  const Action& own = *look.all.cell(sensor, late).heat;
  const int64_t other = look.all.cell(sensor, early).heat->at;
  look.context.configuration = column.configuration;
  look.context.tell(
      own.word,
      {"at {} nothing of '{}' acts on '{}': it begins at {}, {} degrees later than {}",
       celsius(own.at - 1000), column.scenario, sensor->name, celsius(own.at),
       degrees(static_cast<int32_t>(own.at - other)), look.nameOf(early, column.configuration)},
      {"write a temperature nearer to {}", celsius(other)});
}

// The latest of some scenarios, if it is much later than the earliest.
bool tellOfLatest(const CoverageLook& look, const Section* sensor, const Columns& columns) {
  const std::optional<size_t> early = look.earliest(sensor, columns);
  if (!early) return false;
  size_t late = *early;
  for (const size_t i : columns) {
    const CoverageCell& cell = look.all.cell(sensor, i);
    const bool isLater = cell.heat && cell.heat->at > look.all.cell(sensor, late).heat->at;
    if (isLater && look.counts(sensor, cell)) late = i;
  }
  const auto at = [&](size_t i) { return look.all.cell(sensor, i).heat->at; };
  if (at(late) - at(*early) <= kMuchLater) return false;
  tellOfLate(look, sensor, late, *early);
  return true;
}

void tellOfLateScenarios(Context& context) {
  const CoverageLook look(context);
  std::map<std::string, Columns> namesakes;
  for (size_t i = 0; i < look.all.columns.size(); ++i)
    if (isWhole(*look.all.columns[i].configuration))
      namesakes[look.all.columns[i].scenario].push_back(i);
  std::vector<Columns> byFile;
  for (const Configuration& configuration : context.subject.configurations)
    byFile.push_back(look.columnsOf(configuration));
  for (const Section* sensor : look.all.sensors) {
    bool told = false;
    // First within each file, where whoever wrote it had all of it before him; across files only
    // where no file is odd by itself.
    for (const Columns& columns : byFile)
      told = tellOfLatest(look, sensor, columns) || told;
    if (told) continue;
    for (const auto& [name, columns] : namesakes)
      if (!told) told = tellOfLatest(look, sensor, columns);
  }
}

// What the settings have cooled everywhere, and where it is not, or too late.
void tellOfDuty(const MustCool& duty, size_t i, Context& context) {
  const Coverage& all = context.subject.coverage;
  const CoverageColumn& column = all.columns[i];
  const Section* sensor = context.subject.environment.sensor(duty.sensor.text);
  if (!sensor || column.items == 0 || !column.sound || !isWhole(*column.configuration)) return;
  const CoverageCell& cell = all.cell(sensor, i);
  context.configuration = column.configuration;
  if (!cell.heat && !cell.doubtful)
    context.tell(placeOf(column),
                 {"nothing of '{}' cools '{}', which every scenario must cool", column.scenario,
                  sensor->name},
                 "scenarios share nothing: each needs an item for it");
  else if (cell.heat && duty.atMost && cell.heat->at > *duty.atMost)
    context.tell(cell.heat->word,
                 {"'{}' begins to cool '{}' at {}, and must at {}", column.scenario, sensor->name,
                  celsius(cell.heat->at), celsius(*duty.atMost)},
                 {"write at most {}", *duty.atMost / sensor->unit});
}

// The scenarios that can be asked for, without the one that is there from the start.
std::set<std::string> askedFor(const Configuration& configuration) {
  std::set<std::string> names;
  for (const ScenarioLine& line : configuration.scenarioLines)
    if (line.named() && line.name.text != kDefaultScenario) names.insert(line.name.text);
  return names;
}

Word placeOf(const std::string& scenario, const Configuration& configuration) {
  for (const ScenarioLine& line : configuration.scenarioLines)
    if (line.named() && line.name.text == scenario) return line.name;
  return {};
}

// What the other has and this one does not.
Names without(const std::set<std::string>& names, const std::set<std::string>& other) {
  Names left;
  std::set_difference(other.begin(), other.end(), names.begin(), names.end(),
                      std::back_inserter(left));
  return left;
}

void tellOfSpelling(const Configuration& configuration, const std::string& name,
                    const std::string& meant, const std::string& where, Context& context) {
  context.configuration = &configuration;
  context.tell(placeOf(name, configuration),
               {"the daemon knows '{}' and '{}' as two scenarios: a request for the other{} does "
                "not put this one in force",
                name, meant, where},
               {"write '{}' in both places", meant});
}

// Scenarios of the one configuration that the other lacks. A slip for one of those that the other
// has alone is told where it stands in the later file.
void compare(const Configuration& first, const Configuration& second, Context& context) {
  const std::set<std::string> own = askedFor(first);
  const std::set<std::string> others = askedFor(second);
  Names onlyFirst = without(others, own);
  Names onlySecond = without(own, others);
  // Of one that each has alone the one is the other by a new name.
  if (onlyFirst.size() == 1 && onlySecond.size() == 1)
    return tellOfSpelling(second, onlySecond.front(), onlyFirst.front(), " of " + first.file,
                          context);
  for (const std::string& name : onlySecond) {
    // Taken out as soon as it is found, so that of two slips each finds a name of its own.
    const std::string meant = nearest(name, onlyFirst);
    if (meant.empty()) continue;
    tellOfSpelling(second, name, meant, " of " + first.file, context);
    onlyFirst.erase(std::find(onlyFirst.begin(), onlyFirst.end(), meant));
  }
  const auto tellOfLack = [&](const Names& names, const Configuration& has,
                              const Configuration& lacks, const Names& meant) {
    for (const std::string& name : names) {
      if (!nearest(name, meant).empty()) continue;
      context.configuration = &has;
      context.tell(placeOf(name, has),
                   {"{} has no scenario '{}': when it is loaded while this one is in force the "
                    "daemon falls back to 'Default', and puts requests for it aside",
                    lacks.file, name},
                   {"declare '{}' there, too", name});
    }
  };
  tellOfLack(onlyFirst, first, second, {});
  tellOfLack(onlySecond, second, first, without(others, own));
}

void tellOfScenarios(Context& context) {
  const std::vector<Configuration>& all = context.subject.configurations;
  for (const Configuration& configuration : all) {
    std::map<std::string, std::string> byLetters;
    for (const ScenarioLine& line : configuration.scenarioLines) {
      if (!line.named()) continue;
      std::string letters = line.name.text;
      std::transform(letters.begin(), letters.end(), letters.begin(),
                     [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
      const std::string& known = byLetters.emplace(letters, line.name.text).first->second;
      if (known != line.name.text)
        tellOfSpelling(configuration, line.name.text, known, "", context);
    }
  }
  // Each is held against the first: of many files each lack would be told of each pair.
  for (size_t i = 1; i < all.size(); ++i)
    if (isWhole(all[0]) && isWhole(all[i]) && !all[0].meant.empty() && !all[i].meant.empty())
      compare(all[0], all[i], context);
}

// Whether the item drives a device, or writes a report, at no temperature that its sensor has.
void tellOfSleeper(const Item& item, Context& context) {
  const std::optional<Action> action = actionOf(item);
  const Section* sensor = item.sensor ? item.sensor->section : nullptr;
  const bool isSS = item.kind == ItemKind::kSS;
  if (!sensor || (!isSS && item.thresholds.empty())) return;
  const Number& start = isSS ? item.setPoint : item.thresholds.front();
  if (!soundTemperature(start, item) || start.word.text.empty()) return;
  const Number& first = start;
  const int64_t at = action ? action->at : millidegreesOf(first, item);
  const int64_t hottest = context.subject.settings.reachOf(sensor->name);
  const int64_t coldest = context.subject.settings.depthOf(sensor->name);
  if (item.lowactive ? at >= coldest : at <= hottest) return;
  context.tell(action ? action->word : first.word,
               {"the item sleeps for ever: '{}' never comes to {}, and at {} nothing of it acts",
                sensor->name, celsius(at), celsius(item.lowactive ? coldest : hottest)},
               "write a temperature that the sensor reaches");
}

// The levels of a device that some item asks for.
void addAsked(std::set<int64_t>& asked, const Item& item, const Section& device) {
  const auto last = static_cast<int64_t>(device.levels.size()) - 1;
  if (item.device && item.device->section == &device) {
    const int64_t floor = std::min<int64_t>(item.devicePerfFloor.value, last);
    for (int64_t level = std::max(1, item.startLevel.value); level <= floor; ++level)
      asked.insert(level);
    if (item.startLevel.value < 1) asked.insert(last);
  }
  for (size_t row = 0; row < std::min(item.actions.size(), item.actionInfo.size()); ++row)
    for (size_t i = 0;
         i < std::min(item.actions[row].pieces.size(), item.actionInfo[row].pieces.size()); ++i)
      if (item.actions[row].pieces[i].section == &device)
        asked.insert(std::min<int64_t>(item.actionInfo[row].pieces[i].value, last));
}

using Asked = std::map<const Section*, std::set<int64_t>>;

// Nothing where a configuration is too broken to tell.
Asked askedLevels(const Context& context) {
  Asked asked;
  for (const Configuration& configuration : context.subject.configurations) {
    if (!isWhole(configuration)) return {};
    for (const Item* item : configuration.meant) {
      if (!item->cutOff.empty()) return {};
      std::set<const Section*> devices;
      if (item->device && item->device->section) devices.insert(item->device->section);
      for (const DeviceRow& row : item->actions)
        for (const Reference& device : row.pieces)
          if (device.section) devices.insert(device.section);
      for (const Section* device : devices)
        addAsked(asked[device], *item, *device);
    }
  }
  return asked;
}

void tellOfUnasked(Context& context) {
  for (const auto& [device, levels] : askedLevels(context)) {
    if (isReport(*device) || device->merged() || device->levels.size() < 3 || countsStates(*device))
      continue;
    Names unasked;
    const Level* first = nullptr;
    for (size_t level = 1; level < device->levels.size(); ++level)
      if (levels.count(static_cast<int64_t>(level)) == 0) {
        unasked.push_back(std::to_string(level));
        if (!first) first = &device->levels[level];
      }
    if (unasked.empty() || unasked.size() * kPartOfTable >= device->levels.size()) continue;
    context.tell(
        first->word,
        {"no item of any configuration asks '{}' for level {}", device->name, enumerated(unasked)},
        "take the entry out, or have an item ask for it");
  }
}

constexpr char kNight[] =
    "== night.conf\nSCEN Default\n[night_cpu]\nalgo_type monitor\nsensor cpu\n"
    "thresholds 55000 65000 75000\nthresholds_clr 52000 62000 72000\n"
    "actions clock clock clock\naction_info 1 2 3\n\n"
    "[night_battery]\nalgo_type monitor\nsensor battery\n"
    "thresholds 38000 43000\nthresholds_clr 36000 41000\n"
    "actions charger charger\naction_info 1 2\n";

} // namespace

const std::vector<Rule> kCoverageRules = {
    {"default-cools-nothing",
     Severity::kWarning,
     "No item of 'Default' drives a device against heat: there are reports, or items against cold, "
     "alone. 'Default' is in force from the start and wherever a scenario is missing; while it is, "
     "no heat is ever answered.",
     tellOfDefault,
     {"[cpu_less]\nalgo_type monitor\nsensor cpu\nthresholds 60000\nthresholds_clr 57000\n"
      "actions alarm\naction_info 1\n\n"
      "[battery_less]\nalgo_type monitor\nsensor battery\nlowactive true\nthresholds 5000\n"
      "thresholds_clr 7000\nactions charger\naction_info 2\n\n"
      "SCEN game\n[game_cpu]\nalgo_type monitor\nsensor cpu\nthresholds 60000 65000 70000\n"
      "thresholds_clr 57000 62000 67000\nactions clock clock clock\naction_info 1 2 3\n\n"
      "[game_battery]\nalgo_type monitor\nsensor battery\nthresholds 40000 45000\n"
      "thresholds_clr 38000 43000\nactions charger charger\naction_info 1 2",
      "SCEN game\n[game_cpu]\nalgo_type monitor\nsensor cpu\nthresholds 60000 65000 70000\n"
      "thresholds_clr 57000 62000 67000\nactions clock clock clock\naction_info 1 2 3\n\n"
      "[game_battery]\nalgo_type monitor\nsensor battery\nthresholds 40000 45000\n"
      "thresholds_clr 38000 43000\nactions charger charger\naction_info 1 2"}},

    {"sensor-uncooled",
     Severity::kWarning,
     "A sensor is cooled in one scenario, and in another it is not watched, or its heat is only "
     "reported, or only its cold is answered. Scenarios share nothing, and neither do "
     "configurations: while that one is in force the sensor is without protection, however hot it "
     "gets. 'sensor-unwatched' tells of what 'Default' of the same file watches.",
     [](Context& context) {
       for (const Configuration& configuration : context.subject.configurations) {
         context.configuration = &configuration;
         Uncooled(CoverageLook(context), configuration).tell();
       }
     },
     {"== night.conf\nSCEN Default\n[night_cpu]\nalgo_type monitor\nsensor cpu\n"
      "thresholds 55000 65000 75000\nthresholds_clr 52000 62000 72000\n"
      "actions clock clock clock\naction_info 1 2 3",
      kNight}},

    {"sensor-cooled-late",
     Severity::kWarning,
     "A scenario begins to cool a sensor more than ten degrees later than another of the same "
     "file, or than the scenario of the same name in another file. Ten degrees are what a phone "
     "has between warm and too hot: most likely the number is a slip.",
     tellOfLateScenarios,
     {"== night.conf\nSCEN Default\n[night_cpu]\nalgo_type monitor\nsensor cpu\n"
      "thresholds 75000 80000 85000\nthresholds_clr 72000 77000 82000\n"
      "actions clock clock clock\naction_info 1 2 3\n\n"
      "[night_battery]\nalgo_type monitor\nsensor battery\n"
      "thresholds 38000 43000\nthresholds_clr 36000 41000\n"
      "actions charger charger\naction_info 1 2",
      kNight}},

    {"must-cool",
     Severity::kError,
     "The settings file says that a sensor must be cooled in every scenario ('must_cool'), and up "
     "to which temperature that has to begin. A scenario does not cool it, or begins later.",
     [](Context& context) {
       for (const MustCool& duty : context.subject.settings.mustCool)
         for (size_t i = 0; i < context.subject.coverage.columns.size(); ++i)
           tellOfDuty(duty, i, context);
     },
     {"== thermalctl.toml\nmust_cool = [\"battery\"]\nbattery = \"39C\"",
      "== thermalctl.toml\nmust_cool = [\"battery\"]\nbattery = \"40C\""}},

    {"scenario-not-everywhere",
     Severity::kWarning,
     "A scenario exists in one configuration and not in another, or is spelt otherwise there: "
     "capitals count. When the other is loaded while the scenario is in force, the daemon falls "
     "back to 'Default'; a request for it is put aside and written over. Declare the same "
     "scenarios in all configurations.",
     tellOfScenarios,
     {"SCEN game\n[game_cpu]\nalgo_type monitor\nsensor cpu\nthresholds 60000 65000 70000\n"
      "thresholds_clr 57000 62000 67000\nactions clock clock clock\naction_info 1 2 3\n\n"
      "[game_battery]\nalgo_type monitor\nsensor battery\nthresholds 40000\n"
      "thresholds_clr 38000\nactions charger\naction_info 1\n\n"
      "== night.conf\nSCEN Default\n[night_cpu]\nalgo_type monitor\nsensor cpu\n"
      "thresholds 55000 65000 75000\nthresholds_clr 52000 62000 72000\n"
      "actions clock clock clock\naction_info 1 2 3\n\n"
      "[night_battery]\nalgo_type monitor\nsensor battery\n"
      "thresholds 38000 43000\nthresholds_clr 36000 41000\n"
      "actions charger charger\naction_info 1 2",
      kNight}},

    {"item-asleep",
     Severity::kWarning,
     "An item begins at a temperature that its sensor never has: above 150 °C, or below -50 °C for "
     "one against cold, or outside of the 'range' that the settings file gives the sensor. It "
     "never wakes, and what it is to protect is without protection.",
     eachItem(tellOfSleeper),
     {"[cpu_more]\nalgo_type monitor\nsensor cpu\nthresholds 160000\nthresholds_clr 157000\n"
      "actions charger\naction_info 2",
      "[cpu_more]\nalgo_type monitor\nsensor cpu\nthresholds 110000\nthresholds_clr 107000\n"
      "actions charger\naction_info 2"}},

    {"level-unasked",
     Severity::kWarning,
     "No item of any configuration asks a device for one of its levels, though items ask for most "
     "of them: a number in 'action_info' or 'device_perf_floor' is too low, or the entry is one "
     "too many. A table of which a third or more is unused is taken as the driver's whole one.",
     tellOfUnasked,
     {"action_info 1 2 2", "action_info 1 2 3"}},
};
