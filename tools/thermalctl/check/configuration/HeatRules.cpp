#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <map>

#include "base/Names.h"
#include "check/configuration/ConfigurationRules.h"
#include "check/rule/Keys.h"
#include "check/rule/Numbers.h"
#include "check/rule/Visits.h"
#include "coverage/BoardPeriods.h"
#include "coverage/Coverage.h"
#include "text/Phrases.h"

namespace {

// Less than any thermistor of a phone tells from its noise.
constexpr int64_t kLeastHysteresis = 500; // millidegrees
// No room in which a device is used is colder.
constexpr int64_t kColdestRoom = 10000; // millidegrees
// A stuck temperature that takes a device from its first to its strongest level so fast leaves it
// no time to help.
constexpr int64_t kFastestWindUp = 10000; // ms
// Heat goes through a phone's processor in seconds.
constexpr int32_t kSlowestItem = 30000; // ms
// A thread for each of them wakes the processor at its own times.
constexpr size_t kMostPeriods = 4;

// A temperature at which an item begins and the one at which it ends again.
struct Band {
  const Number& begin;
  const Number& end;
};

std::vector<Band> bandsOf(const Item& item) {
  if (item.kind == ItemKind::kSS) return {{item.setPoint, item.setPointClr}};
  std::vector<Band> bands;
  for (size_t i = 0; i < std::min(item.thresholds.size(), item.thresholdsClr.size()); ++i)
    bands.push_back({item.thresholds[i], item.thresholdsClr[i]});
  return bands;
}

bool isSound(const Band& band, const Item& item) {
  return soundTemperature(band.begin, item) && soundTemperature(band.end, item) &&
         !band.begin.word.text.empty() && !band.end.word.text.empty();
}

int64_t widthOf(const Band& band, const Item& item) {
  const int64_t width = millidegreesOf(band.begin, item) - millidegreesOf(band.end, item);
  return item.lowactive ? -width : width;
}

// The first of an item's temperatures, if there is one and nothing else to be said against it.
const Number* startOf(const Item& item) {
  const Number* start = item.kind == ItemKind::kSS ? &item.setPoint
                        : item.thresholds.empty()  ? nullptr
                                                   : &item.thresholds.front();
  const bool isThere = start && !start->word.text.empty() && soundTemperature(*start, item);
  return isThere ? start : nullptr;
}

// Whether lists run down that were to run up, which is told of their order.
bool runsDown(const Item& item) {
  return item.thresholds.size() > 1 &&
         std::is_sorted(item.thresholds.rbegin(), item.thresholds.rend(),
                        [](const Number& a, const Number& b) { return a.value < b.value; });
}

// Where heat is waited for, by sensor.
using Starts = std::map<const Section*, std::vector<int64_t>>;

Starts startsOnHeat(const Context& context) {
  Starts starts;
  for (const Configuration& configuration : context.subject.configurations)
    for (const Item* item : configuration.meant)
      if (const Number* start = startOf(*item);
          start && !item->lowactive && item->sensor && item->sensor->section)
        starts[item->sensor->section].push_back(millidegreesOf(*start, *item));
  for (auto& [sensor, all] : starts)
    std::sort(all.begin(), all.end());
  return starts;
}

// By what factor one number is off another, nothing unless it is about ten: that is what a digit
// too many or too few makes of a temperature.
bool isTenfold(int64_t a, int64_t b) {
  const int64_t less = std::min(std::abs(a), std::abs(b));
  const int64_t more = std::max(std::abs(a), std::abs(b));
  return more >= 6 * less && more <= 16 * less;
}

// What most of the sensor's items begin at, if this one is ten times off.
std::optional<int64_t> othersStart(const Item& item, const Starts& starts) {
  const Number* start = startOf(item);
  if (!start || item.lowactive || !item.sensor || !item.sensor->section || lacksLowactive(item))
    return std::nullopt;
  const std::vector<int64_t>& all = starts.at(item.sensor->section);
  if (all.size() < 2) return std::nullopt;
  const int64_t own = millidegreesOf(*start, item);
  // Of two one is off, and it is the one that no device in use has.
  const bool isOdd = own < kColdRoom || own > 110000;
  // Of an even number there are two in the middle: for an item below them the upper one, for one
  // above them the lower one, so that with two items the other one is the measure.
  const int64_t middle = all[own < all[all.size() / 2] ? all.size() / 2 : (all.size() - 1) / 2];
  return isOdd && isTenfold(own, middle) ? std::optional(middle) : std::nullopt;
}

void tellOfColdItems(Context& context) {
  const Starts starts = startsOnHeat(context);
  eachItem([&starts](const Item& item, Context& within) {
    const Number* start = startOf(item);
    if (!start || item.lowactive.word || misspelt(item, "lowactive") || runsDown(item) ||
        millidegreesOf(*start, item) >= kColdRoom || othersStart(item, starts) ||
        readingOf(start->word.text) != NumberReading::kWhole || start->value == 0)
      return;
    within.tell(start->word,
                {"the item is awake in every room: it acts from {} on and not below it",
                 celsius(millidegreesOf(*start, item))},
                "write 'lowactive true' if the item is to act on cold");
  })(context);
}

void tellOfTenfold(Context& context) {
  const Starts starts = startsOnHeat(context);
  eachItem([&starts](const Item& item, Context& within) {
    if (const std::optional<int64_t> others = othersStart(item, starts))
      within.tell(startOf(item)->word,
                  {"the item begins at {}, and the other items on '{}' at {}",
                   celsius(millidegreesOf(*startOf(item), item)), item.sensor->word.text,
                   celsius(*others)},
                  "a digit too many or too few");
  })(context);
}

bool asksForNothing(const Item& item) {
  bool anyDevice = false;
  for (const DeviceRow& row : item.actions)
    for (const Reference& device : row.pieces) {
      if (!device.section) return false;
      // What a report or a camera makes of level 0 is told of those.
      const std::string& kind = device.section->kindWord.text;
      if (kind == "report" || kind == "camera") return false;
      anyDevice = true;
    }
  bool anyLevel = false;
  for (const LevelRow& row : item.actionInfo)
    for (const Number& level : row.pieces) {
      if (level.value != 0 || !isNumber(level.word.text)) return false;
      anyLevel = true;
    }
  return anyDevice && anyLevel;
}

int64_t lastLevelOf(const Item& item) {
  const Section* device = item.device ? item.device->section : nullptr;
  return device && device->isDevice() && !device->merged()
             ? static_cast<int64_t>(device->levels.size()) - 1
             : 0;
}

// A word in which a control file cannot name it, and why; or nothing.
const char* whyNoRequestNames(const std::string& name) {
  if (name.find_first_of(" \t") != std::string::npos)
    return "a request is one word, so that none can name it";
  if (name.find('/') != std::string::npos)
    return "the daemon looks for it in one folder, and makes none below that";
  if (name == kNoFile || name == kParsed) return "the daemon takes the name for a word of its own";
  return nullptr;
}

void tellOfNames(Context& context) {
  const Word& installed = context.subject.environment.confFileName;
  if (const char* why = whyNoRequestNames(installed.text))
    context.tell(installed, {"'{}' is no name for a configuration: {}", installed.text, why},
                 "write a name of letters, digits, '_', '-' and '.'");
  eachConfiguration([](const Configuration& configuration, Context& within) {
    const std::string name = std::filesystem::path(configuration.file).filename().string();
    if (const char* why = whyNoRequestNames(name))
      within.tell({"", {1, 1}}, {"'{}' is no name for a configuration: {}", name, why},
                  "give the file a name of letters, digits, '_', '-' and '.'");
  })(context);
}

// Where a period is used that fewest share.
void tellOfPeriods(Context& context) {
  const BoardPeriods periods = periodsOf(context.subject.coverage);
  if (distinct(periods).size() <= kMostPeriods) return;
  std::map<uint32_t, size_t> users;
  for (const Section* sensor : context.subject.coverage.sensors)
    ++users[static_cast<uint32_t>(sensor->sampling.value)];
  for (const Configuration& configuration : context.subject.configurations)
    for (const Item* item : configuration.meant)
      ++users[item->period()];
  const auto rarest =
      std::min_element(users.begin(), users.end(), [](const auto& a, const auto& b) {
        return a.second < b.second;
      })->first;
  const Message message = {"the board has {} periods: {}", distinct(periods).size(),
                           describe(periods)};
  // A sensor of that period is told before an item: it is in the file that all configurations
  // share.
  for (const Section* sensor : context.subject.coverage.sensors)
    if (static_cast<uint32_t>(sensor->sampling.value) == rarest)
      return context.tell(sensor->place("sampling"), message, "share periods");
  for (const Configuration& configuration : context.subject.configurations)
    for (const Item* item : configuration.meant)
      if (item->period() == rarest) {
        context.configuration = &configuration;
        return context.tell(item->place("sampling"), message, "share periods");
      }
}

} // namespace

const std::vector<Rule> kHeatRules = {
    {"hysteresis-too-narrow",
     Severity::kWarning,
     "A level is left less than half a degree below where it is entered, or an ss item stops where "
     "it starts. Any sensor's noise, and the cooling itself, then has the device swing with each "
     "decision. Leave a degree or more between the two.",
     eachItem([](const Item& item, Context& context) {
       for (const Band& band : bandsOf(item)) {
         // A digit that lacks makes a tenth of everything.
         if (!isSound(band, item) ||
             (!item.lowactive && millidegreesOf(band.begin, item) < kColdRoom))
           continue;
         const int64_t width = widthOf(band, item);
         // Of monitors another rule tells what has no width at all.
         if (width < 0 || width >= kLeastHysteresis || (width == 0 && item.kind != ItemKind::kSS))
           continue;
         return context.tell(band.end.word,
                             {"{} thousandths of a degree below {} the daemon lets go again: its "
                              "device swings with the noise of the sensor",
                              width, band.begin.value},
                             "leave a degree or more between the two");
       }
     }),
     {"thresholds_clr 59800 67000 77000", "thresholds_clr 59500 67000 77000"}},

    {"clearing-below-every-room",
     Severity::kWarning,
     "A clearing value lies below 10 °C, and the item acts on heat. No room in which a phone is "
     "used is that cold: once the item has its device at a level it keeps it there, until another "
     "scenario comes in force. Write a value a few degrees below the threshold.",
     eachItem([](const Item& item, Context& context) {
       const Number* start = startOf(item);
       if (!start || item.lowactive.word || misspelt(item, "lowactive") || runsDown(item) ||
           millidegreesOf(*start, item) < kColdRoom)
         return;
       for (const Band& band : bandsOf(item))
         if (isSound(band, item) && isNumber(band.end.word.text) && band.end.value != 0 &&
             millidegreesOf(band.end, item) < kColdestRoom)
           return context.tell(
               band.end.word,
               {"no room cools '{}' below {}: what the item holds back it holds until another "
                "scenario comes in force",
                item.sensor ? item.sensor->word.text : "", celsius(millidegreesOf(band.end, item))},
               "write a value a few degrees below the threshold");
     }),
     {"thresholds_clr 5700 67000 77000", "thresholds_clr 57000 67000 77000"}},

    {"thresholds-tenfold",
     Severity::kWarning,
     "An item begins at ten times, or a tenth of, the temperature at which the other items on its "
     "sensor do, and at one that no device in use has: a digit was lost or typed twice, or the "
     "item was written in another unit. It is always on, or never.",
     tellOfTenfold,
     {"[cpu_more]\nalgo_type monitor\nsensor cpu\nthresholds 6500\nthresholds_clr 6200\n"
      "actions charger\naction_info 1",
      "[cpu_more]\nalgo_type monitor\nsensor cpu\nthresholds 65000\nthresholds_clr 62000\n"
      "actions charger\naction_info 1"}},

    {"lowactive-on-heat",
     Severity::kError,
     "An item with 'lowactive true' has the temperatures of one that acts on heat: they ascend, "
     "and each clearing value lies below its threshold. The daemon turns all of them around: it "
     "holds the device back while it is cool, and lets go where it gets hot. Take the line out.",
     eachMonitor([](const Item& item, Context& context) {
       if (item.lowactive && runsLikeHeat(item))
         context.tell(*item.lowactive.word,
                      {"the daemon acts below {} and lets go above: the temperatures are those of "
                       "an item that acts on heat",
                       celsius(millidegreesOf(item.thresholds.front(), item))},
                      "take the line out");
     }),
     {"lowactive true", "lowactive false"}},

    {"lowactive-awake-in-a-room",
     Severity::kWarning,
     "An item with 'lowactive true' acts at 30 °C and below, which is any room: its device is held "
     "back most of the time. An item against cold begins near the freezing point.",
     eachItem([](const Item& item, Context& context) {
       const Number* start = startOf(item);
       // A set point above its clearing value is told as that.
       if (!start || !item.lowactive || runsLikeHeat(item) ||
           millidegreesOf(*start, item) < kWarmRoom)
         return;
       context.tell(start->word,
                    {"at 30 °C in a room the item is awake: it acts at {} and below",
                     celsius(millidegreesOf(*start, item))},
                    "write the cold at which it is to act");
     }),
     {"[battery_cold]\nalgo_type monitor\nsensor battery\nlowactive true\nthresholds 50000\n"
      "thresholds_clr 52000\nactions charger\naction_info 2",
      "[battery_cold]\nalgo_type monitor\nsensor battery\nlowactive true\nthresholds 5000\n"
      "thresholds_clr 7000\nactions charger\naction_info 2"}},

    {"lowactive-missing",
     Severity::kWarning,
     "An item without 'lowactive true' begins below 15 °C. It acts on heat, and every room has as "
     "much: it is always on. One that is to act on cold needs the line.",
     tellOfColdItems,
     {"[battery_cold]\nalgo_type monitor\nsensor battery\nthresholds 5000\nthresholds_clr 7000\n"
      "actions charger\naction_info 2",
      "[battery_cold]\nalgo_type monitor\nsensor battery\nlowactive true\nthresholds 5000\n"
      "thresholds_clr 7000\nactions charger\naction_info 2"}},

    {"floor-at-start-level",
     Severity::kWarning,
     "An ss item begins with 'start_level' and goes up to 'device_perf_floor'. Where the second is "
     "not above the first, there is one level and nothing to step through: however hot it gets, "
     "the item asks for no more.",
     eachSS([](const Item& item, Context& context) {
       const Number& floor = item.devicePerfFloor;
       const Number& start = item.startLevel;
       if (floor.word.text.empty() || !sound(floor) || !sound(start) || floor.value < 1 ||
           start.value < 1 || floor.value > start.value || start.value > lastLevelOf(item) ||
           floor.value >= lastLevelOf(item))
         return;
       context.tell(floor.word,
                    {"from the first degree on the item asks for level {} and never for more, "
                     "however hot '{}' is",
                     floor.value, item.sensor ? item.sensor->word.text : ""},
                    {"write a level above 'start_level {}'", start.value});
     }),
     {"[cpu_steps]\nalgo_type ss\nsensor cpu\ndevice clock\nset_point 65000\nset_point_clr 60000\n"
      "start_level 2\ndevice_perf_floor 2",
      "[cpu_steps]\nalgo_type ss\nsensor cpu\ndevice clock\nset_point 65000\nset_point_clr 60000\n"
      "start_level 1\ndevice_perf_floor 2"}},

    {"action-info-all-zero",
     Severity::kError,
     "All levels of a monitor are 0, which is no cooling: the item wakes, decides and asks for "
     "nothing. Write the levels that its devices are to be held at.",
     eachMonitor([](const Item& item, Context& context) {
       if (asksForNothing(item))
         context.tell(item.place("action_info"),
                      {"the item asks for level 0 alone: however hot '{}' is, it cools nothing",
                       item.sensor ? item.sensor->word.text : ""},
                      "write the level of each device");
     }),
     {"action_info 0 0 0", "action_info 1 2 3"}},

    {"ss-on-camera",
     Severity::kWarning,
     "An ss item drives a camera. It changes the level with each degree, and the camera's rate "
     "with it, under the eyes of whoever films; where the level comes by 0 the fixed rate is "
     "switched off and on. Give the camera a monitor with one or two levels.",
     eachSS([](const Item& item, Context& context) {
       if (item.device && item.device->section && item.device->section->kindWord.text == "camera")
         context.tell(item.device->word,
                      "the camera's rate changes with each degree: the daemon steps it as it does "
                      "a clock",
                      "give the camera a monitor with one or two levels");
     }),
     {"[camera]\ntype camera\nnode_path /sys/camera/fps\nlevel_table 30 24 15\n\n"
      "[cpu_camera]\nalgo_type ss\nsensor cpu\ndevice camera\nset_point 75000\n"
      "set_point_clr 70000\nstart_level 1",
      "[camera]\ntype camera\nnode_path /sys/camera/fps\nlevel_table 30 24 15\n\n"
      "[cpu_camera]\nalgo_type monitor\nsensor cpu\nthresholds 75000 80000\n"
      "thresholds_clr 70000 75000\nactions camera camera\naction_info 1 2"}},

    {"tick-winds-up",
     Severity::kWarning,
     "'time_tick_trigger' adds a level each time the temperature has stayed within one degree for "
     "so many decisions. At this count and period it goes from the first level to the strongest "
     "within ten seconds, before what the first one does can reach the sensor, and the device "
     "swings between its ends. Write a larger number.",
     eachSS([](const Item& item, Context& context) {
       const int64_t trigger = item.timeTickTrigger.value;
       if (trigger < 1 || !sound(item.timeTickTrigger) || item.sampling.value < 1) return;
       const int64_t floor = std::min<int64_t>(item.devicePerfFloor.value, lastLevelOf(item));
       const int64_t levels = floor - std::max(1, item.startLevel.value);
       // A level more after each `trigger` decisions, of which there is one each period.
       const int64_t time = levels * trigger * item.sampling.value;
       if (levels < 2 || time > kFastestWindUp) return;
       context.tell(item.timeTickTrigger.word,
                    {"at a steady temperature the daemon goes from level {} to {} within {} s",
                     std::max(1, item.startLevel.value), floor,
                     rounded(static_cast<double>(time) / 1000, 1)},
                    "write a larger number");
     }),
     {"[cpu_steps]\nalgo_type ss\nsensor cpu\ndevice clock\nset_point 65000\nset_point_clr 60000\n"
      "start_level 1\ntime_tick_trigger 5",
      "[cpu_steps]\nalgo_type ss\nsensor cpu\ndevice clock\nset_point 65000\nset_point_clr 60000\n"
      "start_level 1\ntime_tick_trigger 30"}},

    {"item-too-slow",
     Severity::kWarning,
     "An item decides less than twice a minute. A processor is too hot seconds after its work "
     "begins, and a pack within a minute: the item comes too late, and lets go too late.",
     eachItem([](const Item& item, Context& context) {
       if (item.sampling.value > kSlowestItem && sound(item.sampling))
         context.tell(item.place("sampling"),
                      {"for {} s after the heat '{}' may go unheeded: the item decides no sooner",
                       item.sampling.value / 1000, item.sensor ? item.sensor->word.text : ""},
                      "write milliseconds, at most 30000");
     }),
     {"sampling 60000", "sampling 30000"}},

    {"scenario-never-in-force",
     Severity::kError,
     "A scenario is called 'ENOFILE'. A control file with that word counts as one that is not "
     "there: the daemon writes the scenario in force over it, and the items of this one never "
     "run. Give it another name.",
     eachConfiguration([](const Configuration& configuration, Context& context) {
       for (const ScenarioLine& line : configuration.scenarioLines)
         if (line.named() && line.name.text == kNoFile)
           return context.tell(line.name,
                               "the daemon takes this word for a control file that is not there: "
                               "the scenario never comes in force",
                               "give it another name");
     }),
     {"SCEN ENOFILE\n[cpu_other]\nalgo_type monitor\nsensor cpu\nthresholds 60000\n"
      "thresholds_clr 57000\nactions clock\naction_info 1\n\n"
      "[battery_other]\nalgo_type monitor\nsensor battery\nthresholds 40000\n"
      "thresholds_clr 38000\nactions charger\naction_info 1",
      "SCEN NOFILE\n[cpu_other]\nalgo_type monitor\nsensor cpu\nthresholds 60000\n"
      "thresholds_clr 57000\nactions clock\naction_info 1\n\n"
      "[battery_other]\nalgo_type monitor\nsensor battery\nthresholds 40000\n"
      "thresholds_clr 38000\nactions charger\naction_info 1"}},

    {"configuration-name",
     Severity::kError,
     "A configuration has a name that no request can use. The request file holds one word, so that "
     "a name with white space is never read to its end; a name with a slash leads to a folder that "
     "the daemon does not make, so that the factory's file is not copied there.",
     tellOfNames,
     {"[configuration]\ntype conf_file\nfile_name day/thermal.conf",
      "[configuration]\ntype conf_file\nfile_name day-thermal.conf"}},

    {"many-periods",
     Severity::kWarning,
     "The sensors and items of the board have more than four different periods. Each period is a "
     "thread of its own, for sensors and for each kind of items, and threads of different periods "
     "wake the processor at different times. Give sensors and items a few common ones.",
     tellOfPeriods,
     {"[gpu]\ntype real\nsampling 300\nnode_path /sys/gpu/temp\n\n"
      "[skin]\ntype real\nsampling 700\nnode_path /sys/skin/temp\n\n"
      "[gpu_less]\nalgo_type monitor\nsensor gpu\nsampling 1700\nthresholds 60000\n"
      "thresholds_clr 57000\nactions clock\naction_info 1\n\n"
      "[skin_less]\nalgo_type monitor\nsensor skin\nsampling 2100\nthresholds 40000\n"
      "thresholds_clr 38000\nactions clock\naction_info 1",
      "[gpu]\ntype real\nsampling 500\nnode_path /sys/gpu/temp\n\n"
      "[skin]\ntype real\nsampling 1000\nnode_path /sys/skin/temp\n\n"
      "[gpu_less]\nalgo_type monitor\nsensor gpu\nsampling 1000\nthresholds 60000\n"
      "thresholds_clr 57000\nactions clock\naction_info 1\n\n"
      "[skin_less]\nalgo_type monitor\nsensor skin\nsampling 2000\nthresholds 40000\n"
      "thresholds_clr 38000\nactions clock\naction_info 1"}},
};
