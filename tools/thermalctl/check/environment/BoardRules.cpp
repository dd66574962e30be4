#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <map>
#include <optional>
#include <string>

#include <fmt/core.h>

#include "base/Int32.h"
#include "check/environment/EnvironmentRules.h"
#include "check/rule/Numbers.h"
#include "check/rule/Visits.h"
#include "text/Affixes.h"
#include "text/Phrases.h"

namespace {

// With all sources at the same temperature a mean is that temperature. What a skin is cooler than
// its sources, or a correction adds, is less than this.
constexpr double kFarOff = 15000; // millidegrees

// A second section of the same node, where the first is.
using Nodes = std::map<std::string, const Section*>;

void tellOfSharedNode(const Section& section, Nodes& nodes, const char* what, Context& context) {
  if (!section.nodePath || section.nodePath->text.empty() || section.merged()) return;
  const Section* first = nodes.emplace(section.nodePath->text, &section).first->second;
  if (first != &section && first->name != section.name)
    context.tell(*section.nodePath, {what, section.name, first->name, first->header.at.line});
}

// The numbers of a table that the daemon writes as decimal numbers; nothing if one is none.
std::vector<int64_t> decimalsOf(const Section& device) {
  std::vector<int64_t> numbers;
  for (const Level& level : device.levels) {
    if (!isNumber(level.text)) return {};
    numbers.push_back(std::strtoll(level.text.c_str(), nullptr, 10));
  }
  return numbers;
}

bool hasPart(const std::string& text, const char* part) {
  return text.find(part) != std::string::npos;
}

// A number of a cooling state grows with the cooling, and so does a fan's duty.
bool risesByItself(const Section& device, const Settings& settings) {
  const auto entries = settings.entries.find(device.name);
  if (entries != settings.entries.end())
    return entries->second == "duty" || entries->second == "state";
  return device.nodePath &&
         (endsWith(device.nodePath->text, "/cur_state") || hasPart(device.nodePath->text, "pwm"));
}

// Drivers of the kernel take a clock as text; four raw bytes are for a node of one's own.
bool takesText(const std::string& path) {
  return hasPart(path, "/scaling_") || hasPart(path, "/sys/devices/system/cpu/") ||
         hasPart(path, "/sys/class/") || hasPart(path, "/cpufreq/policy");
}

struct Size {
  int64_t least;
  int64_t most;
};

// What entries of a unit can be; 0 may stand for off or for no limit.
const std::map<std::string, Size> kSizes = {{"Hz", {10'000'000, 10'000'000'000}},
                                            {"kHz", {10'000, 10'000'000}},
                                            {"MHz", {10, 10'000}},
                                            {"mA", {10, 20'000}},
                                            {"uA", {10'000, 20'000'000}}};

// What a virtual sensor settles at, in millidegrees, with all of its sources at one temperature.
std::optional<double> settledAt(const Section& sensor, double millidegrees) {
  // What stays as it is from one sample to the next: T = (T + weighted + offsets) / sum, solved
  // for T.
  double weighted = 0;
  for (size_t i = 0; i < std::min(sensor.sources.size(), sensor.weights.size()); ++i) {
    if (!sensor.sources[i].section) return std::nullopt;
    weighted += sensor.weights[i].value * (millidegrees / sensor.sources[i].section->unit);
  }
  double offsets = 0;
  for (const Number& offset : sensor.offsets)
    offsets += 100.0 * offset.value;
  return (weighted + offsets) / (sensor.weightSum() - 1.0) * sensor.unit;
}

bool isWhole(const Section& sensor) {
  const auto isRead = [](const Number& number) { return isNumber(number.word.text); };
  const int64_t sum = sensor.weightSum();
  return !sensor.sources.empty() && sensor.sources.size() == sensor.weights.size() &&
         std::abs(sum - 1) >= kLeastDivisor && sum != 0 &&
         std::all_of(sensor.weights.begin(), sensor.weights.end(), isRead) &&
         std::all_of(sensor.offsets.begin(), sensor.offsets.end(), isRead);
}

void tellOfSettling(const Section& sensor, Context& context) {
  if (!isWhole(sensor)) return;
  // A room, a warm phone and a hot processor: a slip in an offset shows at the first, one in a
  // weight at the last.
  for (const double source : {25000.0, 40000.0, 60000.0}) {
    const std::optional<double> settled = settledAt(sensor, source);
    if (!settled) return;
    // What the daemon adds up before it divides, in its sensor's own unit.
    const double sum = *settled / sensor.unit * sensor.weightSum();
    if (std::abs(sum) > INT32_MAX)
      return context.tell(sensor.place("weights"),
                          {"with all sources at {} °C the daemon's sum is {}, over 32 bits: the "
                           "temperature is nonsense",
                           rounded(source / 1000, 0), rounded(sum, 0)},
                          "divide all weights, and the offsets, by the same number");
    if (std::abs(*settled - source) > kFarOff)
      return context.tell(sensor.place(sensor.offsets.empty() ? "weights" : "offsets"),
                          {"with all sources at {} °C the sensor settles at {} °C",
                           rounded(source / 1000, 0), rounded(*settled / 1000, 1)},
                          "each offset counts a hundred thousandths of a degree, divided by the "
                          "sum of the weights less 1");
  }
}

// Of a number that is cut short, or of one that lost a digit, the item's own rules tell.
bool isSoundHeat(const Action& heat) {
  return heat.at >= kColdRoom && soundTemperature(numberOf(heat.word), *heat.item);
}

// The first heat that an item waits for on the sensor.
std::optional<int64_t> firstOn(const Section& sensor, const Coverage& coverage) {
  std::optional<int64_t> first;
  for (size_t i = 0; i < coverage.columns.size(); ++i)
    if (const auto& heat = coverage.cell(&sensor, i).heat; heat && isSoundHeat(*heat))
      if (!first || heat->at < *first) first = heat->at;
  return first;
}

const Section* tripOf(const Section& sensor) {
  const Section* trip = sensor.trip ? sensor.trip->section : nullptr;
  return trip && trip->kind == SectionKind::kReal ? trip : nullptr;
}

// The hottest that the sensor gets: what the settings say of it, or the plant at full load.
double hottestOf(const Section& sensor, const Context& context) {
  const auto reach = static_cast<double>(context.subject.settings.reachOf(sensor.name));
  const auto heat = context.subject.plant.find(sensor.name);
  return heat == context.subject.plant.end() ? reach : std::min(reach, heat->second.fullLoad);
}

// The temperature that the trip sensor must pass, and that nothing else is to be said against.
std::optional<int64_t> tripTemperatureOf(const Section& sensor) {
  const Section* trip = tripOf(sensor);
  if (!trip || !sensor.last("set_point") || !sound(sensor.setPoint) ||
      beyondAnySensor(sensor.setPoint, trip->unit))
    return std::nullopt;
  return static_cast<int64_t>(sensor.setPoint.value) * trip->unit;
}

bool isNeverOn(const Section& sensor, const Context& context) {
  const std::optional<int64_t> at = tripTemperatureOf(sensor);
  return at && static_cast<double>(*at) >= hottestOf(*tripOf(sensor), context);
}

void tellOfNeverOn(const Section& sensor, Context& context) {
  if (!isNeverOn(sensor, context)) return;
  size_t items = 0;
  for (size_t i = 0; i < context.subject.coverage.columns.size(); ++i)
    items += context.subject.coverage.cell(&sensor, i).items.size();
  const Section& trip = *tripOf(sensor);
  context.tell(
      sensor.setPoint.word,
      {"'{}' never comes above {}: its hottest is {}, so that the sensor is never switched "
       "on{}",
       trip.name, celsius(*tripTemperatureOf(sensor)),
       celsius(static_cast<int64_t>(hottestOf(trip, context))),
       items == 0   ? ""
       : items == 1 ? ", and the item on it sleeps for ever"
                    : fmt::format(", and {} items on it sleep for ever", items)},
      "write a temperature that the trip sensor has long before its sources are hot");
}

Check eachNode(bool (*isOfThem)(const Section&), const char* what) {
  return [=](Context& context) {
    Nodes nodes;
    eachSection([&](const Section& section, Context& within) {
      if (isOfThem(section)) tellOfSharedNode(section, nodes, what, within);
    })(context);
  };
}

} // namespace

const std::vector<Rule> kBoardRules = {
    {"sensor-node-shared",
     Severity::kWarning,
     "Two sensors read one node. They have one temperature, and the part that the second was meant "
     "for has none: whatever watches it goes by another part's heat.",
     eachNode([](const Section& section) { return section.kind == SectionKind::kReal; },
              "'{}' reads the node of '{}' in line {}: the part that it was meant for is not "
              "watched"),
     {"[battery]\ntype real\nsampling 1000\nnode_path /sys/cpu/temp",
      "[battery]\ntype real\nsampling 1000\nnode_path /sys/battery/temperature"}},

    {"device-node-shared",
     Severity::kWarning,
     "Two devices write one node. Each merges what is asked of itself alone and writes over what "
     "the other wrote: when one lets go, the other's limit is gone as well, though it is still "
     "asked for.",
     eachNode([](const Section& section) { return section.isDevice(); },
              "'{}' writes the node of '{}' in line {}: each writes over the other's limit"),
     {"[charger]\ntype charger\nnode_path /sys/clock/max\nlevel_table 3000 2000 1000",
      "[charger]\ntype charger\nnode_path /sys/charger/max\nlevel_table 3000 2000 1000"}},

    {"level-table-rises",
     Severity::kWarning,
     "The table of a clock, a charger or a backlight rises. A higher level holds the device back "
     "more: with heat the limit is lifted. An entry 0 for level 0 may stand for no limit and is "
     "left out of that; numbers of cooling states and a fan's duty rise rightly, which the node's "
     "name or 'entries' in the settings file says. Write the largest entry first.",
     eachSection([](const Section& device, Context& context) {
       const std::string& kind = device.kindWord.text;
       const Settings& settings = context.subject.settings;
       if (device.merged() ||
           (kind != "cpufreq" && kind != "gpufreq" && kind != "charger" && kind != "backlight"))
         return;
       const std::vector<int64_t> numbers = decimalsOf(device);
       size_t from = !numbers.empty() && numbers.front() == 0 ? 1 : 0;
       // Where it begins to rise.
       while (from + 1 < numbers.size() && numbers[from] == numbers[from + 1])
         ++from;
       if (numbers.size() < from + 2 || risesByItself(device, settings) || countsStates(device) ||
           !std::is_sorted(numbers.begin() + static_cast<std::ptrdiff_t>(from), numbers.end()))
         return;
       context.tell(device.levels[from + 1].word,
                    {"the table rises: at level {} '{}' may have {}, more than {} before it",
                     from + 1, device.name, numbers[from + 1], numbers[from]},
                    "write the largest entry first, the tightest limit last");
     }),
     {"[charger]\ntype charger\nnode_path /sys/charger/max\nlevel_table 1000 2000 3000",
      "[charger]\ntype charger\nnode_path /sys/charger/max\nlevel_table 0 3000 2000"}},

    {"cpufreq-on-text-node",
     Severity::kError,
     "A device of kind 'cpufreq' writes each entry as four raw bytes. Its node is one of the "
     "kernel's, which takes text and refuses them: no limit ever comes in force. Give the device "
     "the kind 'gpufreq', which writes the same numbers as text.",
     eachSection([](const Section& device, Context& context) {
       if (device.kindWord.text == "cpufreq" && device.nodePath && takesText(device.nodePath->text))
         context.tell(*device.nodePath,
                      "the node takes text, and the daemon writes four raw bytes to it",
                      "write 'type gpufreq': the same numbers, as text");
     }),
     {"[clock]\ntype cpufreq\n"
      "node_path /sys/devices/system/cpu/cpufreq/policy0/scaling_max_freq\n"
      "level_table 800000 600000 400000 200000",
      "[clock]\ntype gpufreq\n"
      "node_path /sys/devices/system/cpu/cpufreq/policy0/scaling_max_freq\n"
      "level_table 800000 600000 400000 200000"}},

    {"level-table-unit",
     Severity::kWarning,
     "The settings file says what the entries of a device count, and one of them can be no such "
     "number: a clock of 2600 kHz, a current of 3000000 mA. Either has a unit that the other has "
     "not.",
     eachSection([](const Section& device, Context& context) {
       const auto& entries = context.subject.settings.entries;
       const auto unit = entries.find(device.name);
       const auto size = unit == entries.end() ? kSizes.end() : kSizes.find(unit->second);
       if (!device.isDevice() || size == kSizes.end()) return;
       const std::vector<int64_t> numbers = decimalsOf(device);
       for (size_t i = 0; i < numbers.size(); ++i)
         if (numbers[i] != 0 && (numbers[i] < size->second.least || numbers[i] > size->second.most))
           return context.tell(device.levels[i].word,
                               {"'{}' counts {}, of which {} is no likely number", device.name,
                                unit->second, numbers[i]},
                               "write the table, or 'entries' of the settings, in the other's "
                               "unit");
     }),
     {"== thermalctl.toml\n[device.clock]\nentries = \"Hz\"",
      "== thermalctl.toml\n[device.clock]\nentries = \"kHz\""}},

    {"virtual-settles-far-off",
     Severity::kError,
     "With all of its sources at 25, 40 or 60 °C, a virtual sensor settles more than 15 degrees "
     "away from them, or its sum does not fit into 32 bits. The daemon adds the weighted sources, "
     "a hundred times the offsets and the last value, and divides by the sum of the weights: the "
     "value settles at the weighted sum with the offsets, divided by that sum less 1.",
     eachVirtual(tellOfSettling),
     {"[skin]\ntype virtual\nsampling 1000\ntrip_sensor battery\nset_point 25000\n"
      "sensors battery cpu\nweights 28 3\noffsets -6000\n\n"
      "[skin_less]\nalgo_type monitor\nsensor skin\nthresholds 40000\nthresholds_clr 38000\n"
      "actions clock\naction_info 1",
      "[skin]\ntype virtual\nsampling 1000\ntrip_sensor battery\nset_point 25000\n"
      "sensors battery cpu\nweights 28 3\noffsets -600\n\n"
      "[skin_less]\nalgo_type monitor\nsensor skin\nthresholds 40000\nthresholds_clr 38000\n"
      "actions clock\naction_info 1"}},

    {"virtual-never-on",
     Severity::kWarning,
     "A virtual sensor is sampled only once its trip sensor is above 'set_point', and that never "
     "is: it lies beyond the trip sensor's 'range' in the settings file, beyond what full load "
     "makes of the plant, or beyond 150 °C. The sensor reads 0 forever, and every item on it "
     "sleeps for ever.",
     eachVirtual(tellOfNeverOn),
     {"[skin]\ntype virtual\nsampling 1000\ntrip_sensor battery\nset_point 55000\n"
      "sensors battery cpu\nweights 28 3\n\n"
      "[skin_less]\nalgo_type monitor\nsensor skin\nthresholds 58000\nthresholds_clr 56000\n"
      "actions clock\naction_info 1\n\n"
      "== thermalctl.toml\n[sensor.battery]\nrange = [\"-20C\", \"55C\"]",
      "[skin]\ntype virtual\nsampling 1000\ntrip_sensor battery\nset_point 54000\n"
      "sensors battery cpu\nweights 28 3\n\n"
      "[skin_less]\nalgo_type monitor\nsensor skin\nthresholds 58000\nthresholds_clr 56000\n"
      "actions clock\naction_info 1\n\n"
      "== thermalctl.toml\n[sensor.battery]\nrange = [\"-20C\", \"55C\"]"}},

    {"trip-above-thresholds",
     Severity::kWarning,
     "A virtual sensor is sampled only once its trip sensor is above 'set_point', and that lies "
     "above the first threshold of an item on it: until then the item sees no heat at all, however "
     "hot the sources are.",
     eachVirtual([](const Section& sensor, Context& context) {
       const std::optional<int64_t> first = firstOn(sensor, context.subject.coverage);
       const std::optional<int64_t> at = tripTemperatureOf(sensor);
       if (!first || !at || *at <= *first || isNeverOn(sensor, context)) return;
       context.tell(sensor.setPoint.word,
                    {"until '{}' is above {} the sensor stands still: the item that waits for {} "
                     "on it sees nothing",
                     tripOf(sensor)->name, celsius(*at), celsius(*first)},
                    "write a temperature that the trip sensor has long before");
     }),
     {"[skin]\ntype virtual\nsampling 1000\ntrip_sensor battery\nset_point 45000\n"
      "sensors battery cpu\nweights 28 3\n\n"
      "[skin_less]\nalgo_type monitor\nsensor skin\nthresholds 40000\nthresholds_clr 38000\n"
      "actions clock\naction_info 1",
      "[skin]\ntype virtual\nsampling 1000\ntrip_sensor battery\nset_point 25000\n"
      "sensors battery cpu\nweights 28 3\n\n"
      "[skin_less]\nalgo_type monitor\nsensor skin\nthresholds 40000\nthresholds_clr 38000\n"
      "actions clock\naction_info 1"}},

    {"trip-sensor-slower",
     Severity::kWarning,
     "A virtual sensor has a shorter period than its trip sensor, which switches it on only when "
     "it is sampled itself: up to that period late. Give both one period.",
     eachVirtual([](const Section& sensor, Context& context) {
       const Section* trip = tripOf(sensor);
       const auto& sections = context.subject.environment.sections;
       // Where no real sensor has the period of this one, that is the mistake.
       const bool isAlone =
           std::none_of(sections.begin(), sections.end(), [&](const Section& real) {
             return real.kind == SectionKind::kReal && real.sampling.value == sensor.sampling.value;
           });
       if (trip && !isAlone && !context.subject.lost.hasPeriod(sensor.sampling.value) &&
           sound(sensor.sampling) && sound(trip->sampling) && sensor.sampling.value > 0 &&
           trip->sampling.value > sensor.sampling.value)
         context.tell(sensor.trip->word,
                      {"'{}' is sampled every {} ms and switches a sensor of {} ms", trip->name,
                       trip->sampling.value, sensor.sampling.value},
                      {"give both one period"});
     }),
     {"[battery]\ntype real\nsampling 2000\nnode_path /sys/battery/temp\n\n"
      "[battery_less]\nalgo_type monitor\nsensor battery\nsampling 2000\nthresholds 40000\n"
      "thresholds_clr 38000\nactions charger\naction_info 2\n\n"
      "[skin]\ntype virtual\nsampling 1000\ntrip_sensor battery\nset_point 25000\n"
      "sensors battery cpu\nweights 28 3\n\n"
      "[skin_less]\nalgo_type monitor\nsensor skin\nthresholds 40000\nthresholds_clr 38000\n"
      "actions clock+charger\naction_info 1+1",
      "[skin]\ntype virtual\nsampling 1000\ntrip_sensor battery\nset_point 25000\n"
      "sensors battery cpu\nweights 28 3\n\n"
      "[skin_less]\nalgo_type monitor\nsensor skin\nthresholds 40000\nthresholds_clr 38000\n"
      "actions clock\naction_info 1"}},
};
