#include <algorithm>
#include <cstdlib>
#include <vector>

#include "base/Int32.h"
#include "check/environment/EnvironmentRules.h"
#include "check/rule/Keys.h"
#include "check/rule/Numbers.h"
#include "check/rule/Visits.h"
#include "text/Nearest.h"

// A virtual sensor is sampled while its trip sensor is warm, and each time becomes
//   T = (T before + weight_1 * source_1 + ... + 100 * (offset_1 + ...)) / (weight_1 + ...)
// in whole numbers of 32 bits. So it settles at the weighted sum over the sum of the weights less
// 1: with weights that add up to 1 it only grows, and the smaller they are, the further it is from
// a mean. Sources and trip sensor must stand above it in the file.

namespace {

constexpr char kMultiplyWeights[] =
    "multiply all weights, and the offsets, by a number such as 100";

// The daemon looks a name up while it reads the line: what stands further down is no candidate.
std::vector<std::string> sensorNamesAbove(const Environment& environment, const Section& section) {
  std::vector<std::string> names;
  for (const Section& other : environment.sections) {
    if (&other == &section) break;
    if (other.isSensor()) names.push_back(other.name);
  }
  return names;
}

// What to write for a name that no section above has.
Message hintForName(const Environment& environment, const Section& section,
                    const std::string& name) {
  const Section* other = environment.named(name);
  if (!other) return didYouMean(name, sensorNamesAbove(environment, section));
  return {other->isSensor() ? "'{}' is defined in line {}; move that section up, above this one"
                            : "the section '{}' in line {} is no sensor",
          name, other->header.at.line};
}

// The trip sensor, if there is one and it is real: no other switches.
const Section* switchOf(const Section& sensor) {
  const Section* trip = sensor.trip ? sensor.trip->section : nullptr;
  return trip && trip->kind == SectionKind::kReal ? trip : nullptr;
}

// Of a period that is no number the finding is that.
bool hasSoundPeriod(const Section& sensor) {
  return sound(sensor.sampling) && !standsAlone(sensor, "sampling");
}

// Whether `real` keeps the worker of `sensor` awake: a section that the daemon does not read never
// does so for one that it reads.
bool keepsAwake(const Section& real, const Section& sensor) {
  return real.kind == SectionKind::kReal &&
         (real.sampling.value == sensor.sampling.value || !hasSoundPeriod(real)) &&
         (real.readByDaemon || !sensor.readByDaemon);
}

// Of the sensor that the set points are compared with.
int32_t unitOfTrip(const Section& sensor) {
  const Section* trip = switchOf(sensor);
  return trip ? trip->unit : 1;
}

// A name that leads to no sensor, unless that is told of the section that was meant.
bool isUndefined(const Reference& sensor, const Context& context) {
  return !sensor.section && !context.subject.lost.hasSensor(sensor.word.text);
}

// A name that is nowhere is told of where it is first met, and of a trip sensor rather than of a
// source: without the one nothing else matters.
bool isTripSensor(const std::string& name, const Environment& environment) {
  return std::any_of(
      environment.sections.begin(), environment.sections.end(), [&name](const Section& section) {
        return section.trip && !section.trip->section && section.trip->word.text == name;
      });
}

// The virtual sensors that the same real one switches, this one included.
std::vector<const Section*> switchedBy(const Section& trip, const Environment& environment) {
  std::vector<const Section*> sensors;
  for (const Section& sensor : environment.sections)
    if (sensor.kind == SectionKind::kVirtual && switchOf(sensor) == &trip)
      sensors.push_back(&sensor);
  return sensors;
}

// Whether nothing else is to be said against the value, its default included.
bool hasSound(const Section& section, const char* key, const Number& number) {
  if (!section.last(key)) return !misspelt(section, key);
  return isNumber(number.word.text) && !looksLikeDegrees(number, unitOfTrip(section));
}

} // namespace

const std::vector<Rule> kVirtualSensorRules = {
    {"virtual-source-undefined", Severity::kError,
     "A virtual sensor names a source that no section above it defines. The daemon looks the name "
     "up while it reads the line; what it does not find there counts as nothing, while its weight "
     "still counts in the divisor, so that the sensor reads too low. Correct the name, or move the "
     "source's section up.",
     eachVirtual([](const Section& sensor, Context& context) {
       for (const Reference& source : sensor.sources)
         if (isUndefined(source, context) &&
             !isTripSensor(source.word.text, context.subject.environment))
           context.tell(source.word,
                        {"no section above defines the sensor '{}': the daemon leaves this source "
                         "out of the sum but keeps its weight",
                         source.word.text},
                        hintForName(context.subject.environment, sensor, source.word.text));
     })},

    {"virtual-source-not-real", Severity::kWarning,
     "A virtual sensor is a source of another. It changes only while its own trip sensor is warm; "
     "at other times its last value, however old, goes into the sum. Name real sensors.",
     eachVirtual([](const Section& sensor, Context& context) {
       for (const Reference& source : sensor.sources)
         if (source.section && source.section->kind != SectionKind::kReal)
           context.tell(source.word,
                        {"'{}' is no real sensor: while its trip sensor has it switched off it "
                         "stands still, and the daemon goes on adding its last value",
                         source.word.text},
                        "name the real sensors that it combines");
     })},

    {"virtual-source-missing", Severity::kError,
     "A virtual sensor has no sources. Its value is made of its offsets and its own last value "
     "alone, and nothing that watches it acts on any heat.",
     eachVirtual([](const Section& sensor, Context& context) {
       if (sensor.sources.empty() && !hasSlipAlone(sensor, "sensors"))
         context.tell(sensor.place("sensors"), "no sources: the sensor never tells a temperature",
                      "write 'sensors' and their names");
     })},

    {"trip-sensor-missing", Severity::kError,
     "A virtual sensor has no 'trip_sensor'. Only a trip sensor switches it on: without one it is "
     "never sampled, reads 0 forever, and nothing that watches it ever acts.",
     eachVirtual([](const Section& sensor, Context& context) {
       if (!sensor.last("trip_sensor") && !misspelt(sensor, "trip_sensor"))
         context.tell(sensor.header, "no 'trip_sensor': the daemon never switches the sensor on",
                      "write 'trip_sensor' and the name of a real sensor");
     })},

    {"trip-sensor-undefined", Severity::kError,
     "The trip sensor of a virtual sensor is one that no section above defines. The daemon looks "
     "the name up while it reads the line and says nothing when it is not there: the virtual "
     "sensor is never switched on and reads 0 forever.",
     eachVirtual([](const Section& sensor, Context& context) {
       if (!sensor.trip || !isUndefined(*sensor.trip, context)) return;
       const std::string& name = sensor.trip->word.text;
       if (name.empty())
         context.tell(sensor.place("trip_sensor"),
                      "no name behind 'trip_sensor': the daemon never switches the sensor on");
       else
         context.tell(
             sensor.trip->word,
             {"no section above defines the sensor '{}': the daemon never switches this one on",
              name},
             hintForName(context.subject.environment, sensor, name));
     })},

    {"trip-sensor-not-real", Severity::kError,
     "The trip sensor of a virtual sensor is itself a virtual one. Only real sensors switch "
     "others: this one is never switched on and reads 0 forever.",
     eachVirtual([](const Section& sensor, Context& context) {
       if (sensor.trip && sensor.trip->section && !switchOf(sensor))
         context.tell(sensor.trip->word,
                      {"'{}' is no real sensor, and only those switch others: the daemon never "
                       "switches this one on",
                       sensor.trip->word.text},
                      "name a real sensor");
     })},

    {"virtual-weights-number", Severity::kError,
     "A virtual sensor has another number of weights than of sources. The daemon pairs them by "
     "position: a source without a weight is left out, and a weight without a source still counts "
     "in the divisor. Either way the temperature is wrong.",
     eachVirtual([](const Section& sensor, Context& context) {
       const size_t weights = sensor.weights.size();
       const size_t sources = sensor.sources.size();
       if (weights == 0 || sources == 0 || weights == sources) return;
       context.tell(sensor.place("weights"),
                    {"{} weight(s) for {} source(s): the daemon {}", weights, sources,
                     weights < sources ? "leaves the last sources out"
                                       : "divides by the sum of all weights all the same"},
                    "write one weight for each name of 'sensors'");
     })},

    {"virtual-weights-sum-zero", Severity::kError,
     "The weights of a virtual sensor sum to 0, or there are none. The daemon divides by that sum, "
     "and where it is 0 the sensor reads 0: nothing that watches it ever acts.",
     eachVirtual([](const Section& sensor, Context& context) {
       if (sensor.weightSum() != 0 || hasSlipAlone(sensor, "weights")) return;
       const Word& place = sensor.place("weights");
       if (sensor.weights.empty())
         context.tell(place, "no weights: the sensor reads 0 forever",
                      "write 'weights', one for each source");
       else
         context.tell(place, "the weights sum to 0, by which the daemon does not divide: the "
                             "sensor reads 0 forever");
     })},

    {"virtual-weights-sum-one", Severity::kError,
     "The weights of a virtual sensor sum to 1 or to -1. The daemon adds the sensor's last value "
     "to the weighted sum before it divides by the sum of the weights. Divided by 1, the value "
     "grows with each sample and never settles; divided by -1 it swings. Multiply all weights by "
     "the same number, such as 100, and the offsets with them.",
     eachVirtual([](const Section& sensor, Context& context) {
       const int32_t sum = sensor.weightSum();
       if (sum == 1 || sum == -1)
         context.tell(sensor.place("weights"),
                      {"the weights sum to {}: the daemon adds the sensor's last value each time, "
                       "so that it {}",
                       sum, sum == 1 ? "grows without end" : "swings to and fro"},
                      kMultiplyWeights);
     })},

    // But for the offsets, a sample is (last value + sum of the weighted sources) / W, with W the
    // sum of the weights. What stays the same under that is the weighted mean times W / (W - 1):
    // the nearer W is to 1, the further off.
    {"virtual-weights-gain", Severity::kWarning,
     "A virtual sensor settles more than 5 % off the weighted mean of its sources. The daemon adds "
     "the last value before it divides by W, the sum of the weights, so that the value settles at "
     "the weighted sum, with 100 times the offsets, divided by W - 1: W / (W - 1) times the "
     "weighted mean, which is twice the mean for W = 2 and near it for W = 100. Multiply all "
     "weights by the same number, and the offsets with them.",
     eachVirtual([](const Section& sensor, Context& context) {
       const int64_t sum = sensor.weightSum();
       if (sum == 0 || sum == 1 || sum == -1 || std::abs(sum - 1) >= kLeastDivisor) return;
       context.tell(sensor.place("weights"),
                    {"the weights sum to {}, and the daemon adds the sensor's last value before it "
                     "divides by that: it settles at {:.3g} times the weighted mean of its sources",
                     sum, static_cast<double>(sum) / static_cast<double>(sum - 1)},
                    kMultiplyWeights);
     })},

    {"virtual-period-alone", Severity::kError,
     "No real sensor has the period of this virtual one. Sensors of one period share a worker, and "
     "a worker of which no sensor is switched on sleeps: until the trip sensor wakes it, each "
     "change of the scenario or of the configuration waits for it and all others with it. Give it "
     "the period of a real sensor.",
     eachVirtual([](const Section& sensor, Context& context) {
       const std::deque<Section>& sections = context.subject.environment.sections;
       // One that is dropped, or whose period is no number, has a finding of its own.
       if (context.subject.lost.hasPeriod(sensor.sampling.value) || !hasSoundPeriod(sensor)) return;
       if (std::any_of(sections.begin(), sections.end(),
                       [&](const Section& other) { return keepsAwake(other, sensor); }))
         return;
       context.tell(
           sensor.place("sampling"),
           {"no real sensor has the period of {} ms: while this sensor is switched off its worker "
            "sleeps, and every change of the scenario or the configuration waits for it",
            sensor.sampling.value},
           "give it the period of a real sensor");
     })},

    {"virtual-set-points-reversed", Severity::kWarning,
     "The 'set_point' of a virtual sensor lies below its 'set_point_clr'. The trip sensor switches "
     "it on above the one. Where it switches several, it switches this one off below the other, as "
     "long as not all of them are on: between the two that happens in turn, with each sample. "
     "Where "
     "it switches this one alone, the sensor stays on for good, and 'set_point_clr' is never "
     "looked "
     "at. A missing 'set_point' counts as 0.",
     eachVirtual([](const Section& sensor, Context& context) {
       if (sensor.setPoint.value >= sensor.setPointClr.value ||
           !hasSound(sensor, "set_point", sensor.setPoint) ||
           !hasSound(sensor, "set_point_clr", sensor.setPointClr))
         return;
       const Section* trip = switchOf(sensor);
       if (!trip) return;
       const bool alone = switchedBy(*trip, context.subject.environment).size() == 1;
       context.tell(sensor.place("set_point_clr"),
                    {"'set_point_clr' {} lies above 'set_point' {}: {}", sensor.setPointClr.value,
                     sensor.setPoint.value,
                     alone ? "once the daemon has switched the sensor on it stays on, and "
                             "'set_point_clr' is never looked at"
                           : "between the two the daemon switches the sensor on and off with each "
                             "sample, as long as another of the same trip sensor is off"},
                    "'set_point_clr' belongs a few degrees below 'set_point'");
     })},

    {"virtual-set-point-in-degrees", Severity::kWarning,
     "A set point of a virtual sensor lies within 200 thousandths of a degree from 0. Temperatures "
     "are thousandths of a degree, so that 45 degrees are 45000.",
     eachVirtual([](const Section& sensor, Context& context) {
       for (const Number* number : {&sensor.setPoint, &sensor.setPointClr})
         if (const int32_t unit = unitOfTrip(sensor); looksLikeDegrees(*number, unit))
           context.tell(number->word,
                        {"{} is {} thousandths of a degree", number->value, number->value * unit},
                        {"did you mean '{}'?", number->value * (1000 / unit)});
     })},

    {"trip-sensor-shared", Severity::kWarning,
     "Several virtual sensors with different set points have one trip sensor. Once all of them are "
     "on they stay on, as one that is alone does. While only some of them are, the daemon switches "
     "those off again below their 'set_point_clr', and a sensor that is off stands still: it keeps "
     "its last temperature, and each item that watches it keeps its level, whatever the phone "
     "does. "
     "A trip sensor of its own lets none be switched off, either. Give all of them the same "
     "'set_point', low enough for a phone in use, so that they go on together and stay on.",
     eachVirtual([](const Section& sensor, Context& context) {
       const Section* trip = switchOf(sensor);
       if (!trip) return;
       const Section& first = *switchedBy(*trip, context.subject.environment).front();
       if (&first == &sensor || first.setPoint.value == sensor.setPoint.value ||
           !hasSound(first, "set_point", first.setPoint) ||
           !hasSound(sensor, "set_point", sensor.setPoint))
         return;
       context.tell(
           sensor.trip->word,
           {"'{}' switches '{}', too, at {} and not at {}: while only some of its sensors "
            "are on the daemon switches them off again, and one that is off keeps its last "
            "temperature, with all that watches it",
            sensor.trip->word.text, first.name, first.setPoint.value, sensor.setPoint.value},
           {"write 'set_point {}' for all of them: they go on together and stay on",
            std::min(first.setPoint.value, sensor.setPoint.value)});
     })},

    {"virtual-math-ignored", Severity::kWarning,
     "A virtual sensor has a 'math' line with another value than 0. The daemon keeps it and does "
     "not look at it: there is one formula only. Take the line out.",
     eachVirtual([](const Section& sensor, Context& context) {
       const Property* math = sensor.last("math");
       if (math && !math->words.empty() && parseInt32(math->words.front().text) != 0)
         context.tell(math->words.front(),
                      "there is one formula only: the daemon does not look at 'math'");
     })},
};
