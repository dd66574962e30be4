#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include <fmt/core.h>

#include "check/configuration/ConfigurationRules.h"
#include "check/rule/Numbers.h"
#include "check/rule/Visits.h"
#include "coverage/Coverage.h"
#include "text/Phrases.h"

namespace {

// Of a reading's noise hardly any is further off than so many standard deviations.
constexpr double kFarOff = 3;
// A fifth of the time in which the node follows is soon enough to see it rise.
constexpr double kPartOfTimeConstant = 5;

const SensorHeat* heatOf(const Section* sensor, const Context& context) {
  const PlantFacts& facts = context.subject.plant;
  const auto found = sensor ? facts.find(sensor->name) : facts.end();
  return found == facts.end() ? nullptr : &found->second;
}

const SensorHeat* heatOf(const Item& item, const Context& context) {
  return heatOf(item.sensor ? item.sensor->section : nullptr, context);
}

std::string celsius(double millidegrees) {
  return rounded(millidegrees / 1000, 1) + " °C";
}

// How far a level's threshold lies above its clearing one, and where that stands; of an ss item the
// set point's.
struct Hysteresis {
  double width;
  Word place;
  // What the level asks for, by device.
  std::map<std::string, int32_t> levels;
};

std::vector<Hysteresis> hysteresesOf(const Item& item) {
  std::vector<Hysteresis> all;
  const auto add = [&](const Number& begin, const Number& end) {
    if (!soundTemperature(begin, item) || !soundTemperature(end, item)) return;
    const auto width = static_cast<double>(millidegreesOf(begin, item) - millidegreesOf(end, item));
    all.push_back({item.lowactive ? -width : width, end.word, {}});
  };
  if (item.kind == ItemKind::kSS) {
    add(item.setPoint, item.setPointClr);
    if (!all.empty() && item.device && item.device->section)
      all[0].levels[item.device->section->name] = std::max(1, item.startLevel.value);
    return all;
  }
  for (size_t i = 0; i < std::min(item.thresholds.size(), item.thresholdsClr.size()); ++i) {
    const size_t before = all.size();
    add(item.thresholds[i], item.thresholdsClr[i]);
    if (all.size() == before || i >= item.actions.size() || i >= item.actionInfo.size()) continue;
    for (size_t j = 0;
         j < std::min(item.actions[i].pieces.size(), item.actionInfo[i].pieces.size()); ++j)
      all.back().levels[item.actions[i].pieces[j].word.text] = item.actionInfo[i].pieces[j].value;
  }
  return all;
}

// By how much the sensor falls within one period once the level's devices go there.
double fallOf(const Hysteresis& level, const SensorHeat& heat, uint32_t period) {
  double fall = 0;
  for (const auto& [device, step] : level.levels)
    if (const auto falls = heat.fall.find(device);
        falls != heat.fall.end() && step > 0 && static_cast<size_t>(step) < falls->second.size())
      fall += falls->second[static_cast<size_t>(step)];
  return fall * period / 1000;
}

// The board of the examples with its plant, in which the processor's node and its power may be
// others.
std::string plantWith(const char* cpuCapacity, const char* cpuWatts) {
  return fmt::format("== thermalctl.toml\nplant = \"plant.toml\"\n"
                     "== plant.toml\n"
                     "node.cpu = {{ joules_per_kelvin = {} }}\n"
                     "node.battery = {{ joules_per_kelvin = 50.0 }}\n"
                     "resistance = [\n"
                     "  {{ between = [\"cpu\", \"ambient\"], kelvin_per_watt = 10.0 }},\n"
                     "  {{ between = [\"battery\", \"ambient\"], kelvin_per_watt = 5.0 }},\n"
                     "]\n"
                     "source.cpu = {{ node = \"cpu\", device = \"clock\", watts = [{}] }}\n"
                     "source.charger = {{ node = \"battery\", device = \"charger\", watts = [5.0, "
                     "3.0, 1.0] }}\n"
                     "sensor.cpu = {{ node = \"cpu\", noise = 0.1 }}\n"
                     "sensor.battery = {{ node = \"battery\" }}\n",
                     cpuCapacity, cpuWatts);
}

const std::string kPlant = plantWith("10.0", "8.0, 7.5, 7.0, 6.5");

} // namespace

const std::vector<Rule> kPlantRules = {
    {"threshold-above-full-load",
     Severity::kWarning,
     "With a plant: with every source at full load, and no device held back, the sensor settles "
     "below a threshold. The level behind it is never asked for: there is less protection than it "
     "looks, or more than is needed.",
     eachItem([](const Item& item, Context& context) {
       const SensorHeat* heat = heatOf(item, context);
       if (!heat || item.lowactive) return;
       const std::vector<Number> starts =
           item.kind == ItemKind::kSS ? std::vector{item.setPoint} : item.thresholds;
       for (const Number& start : starts)
         if (soundTemperature(start, item) && !start.word.text.empty() &&
             static_cast<double>(millidegreesOf(start, item)) > heat->fullLoad)
           return context.tell(start.word,
                               {"at full load '{}' settles at {} and never comes to {}",
                                item.sensor->word.text, celsius(heat->fullLoad),
                                celsius(static_cast<double>(millidegreesOf(start, item)))},
                               "write a temperature that the plant reaches");
     }),
     {plantWith("10.0", "6.0, 5.5, 5.0, 4.5"), kPlant}},

    {"sampled-too-slowly",
     Severity::kWarning,
     "With a plant: a sensor's period is more than a fifth of the time in which its node follows "
     "the heat. Between two samples it rises by degrees that nothing sees.",
     eachSensor([](const Section& sensor, Context& context) {
       const SensorHeat* heat = heatOf(&sensor, context);
       if (!heat || heat->timeConstant <= 0 || !sound(sensor.sampling)) return;
       const double most = heat->timeConstant * 1000 / kPartOfTimeConstant;
       if (sensor.sampling.value > most)
         context.tell(sensor.place("sampling"),
                      {"the node of '{}' follows the heat within {} s, and is read every {} s",
                       sensor.name, rounded(heat->timeConstant, 1),
                       rounded(sensor.sampling.value / 1000.0, 1)},
                      {"write at most {}", static_cast<int64_t>(most)});
     }),
     {plantWith("0.4", "8.0, 7.5, 7.0, 6.5"), kPlant}},

    {"hysteresis-within-noise",
     Severity::kWarning,
     "With a plant, or the sensor's 'noise' in the settings file: a level is left less than three "
     "standard deviations of the sensor's noise below where it is entered. The noise alone has the "
     "device swing.",
     eachItem([](const Item& item, Context& context) {
       const SensorHeat* heat = heatOf(item, context);
       const auto& said = context.subject.settings.noise;
       const auto own = item.sensor ? said.find(item.sensor->word.text) : said.end();
       const double noise = own != said.end() ? own->second : heat ? heat->noise : 0;
       for (const Hysteresis& each : hysteresesOf(item))
         // What is narrower than half a degree is told without a plant.
         if (each.width >= 500 && each.width < kFarOff * noise)
           return context.tell(each.place,
                               {"the band is {} degrees wide, and the noise of '{}' has a standard "
                                "deviation of {}",
                                rounded(each.width / 1000, 2), item.sensor->word.text,
                                rounded(noise / 1000, 2)},
                               {"leave {} degrees or more", rounded(kFarOff * noise / 1000, 2)});
     }),
     {"== thermalctl.toml\n[sensor.battery]\nnoise = \"0.8C\"",
      "== thermalctl.toml\n[sensor.battery]\nnoise = \"0.2C\""}},

    {"hysteresis-within-one-step",
     Severity::kWarning,
     "With a plant: when a level is entered, the sensor falls through the whole band within one "
     "period of the item. The next decision lets go, the one behind it holds back again, and so "
     "forth: the device swings as fast as the item decides.",
     eachItem([](const Item& item, Context& context) {
       const SensorHeat* heat = heatOf(item, context);
       if (!heat || item.lowactive || item.period() == 0) return;
       for (const Hysteresis& each : hysteresesOf(item)) {
         const double fall = fallOf(each, *heat, item.period());
         if (each.width >= 500 && each.width < fall)
           return context.tell(
               each.place,
               {"within {} ms the level cools '{}' by {} degrees, and the band is {}: it swings {} "
                "times a second",
                item.period(), item.sensor->word.text, rounded(fall / 1000, 1),
                rounded(each.width / 1000, 1), rounded(500.0 / item.period(), 2)},
               "a wider band, a weaker level or a shorter period");
       }
     }),
     {plantWith("1.0", "8.0, 3.0, 2.5, 2.0"), kPlant}},
};
