#include <cstdlib>
#include <iomanip>
#include <map>
#include <sstream>

#include "base/Int32.h"
#include "check/environment/EnvironmentRules.h"
#include "text/Nearest.h"

namespace {

// With a sum of weights nearer to 1 than this, a virtual sensor settles more than 5 % off the mean
// of its sources.
constexpr int64_t kLeastDivisor = 20;

std::vector<const Section*> virtualSensors(const Subject& subject) {
  return sectionsOf(subject.environment, SectionKind::kVirtual);
}

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
std::string hintForName(const Environment& environment, const Section& section, const Word& word) {
  const Section* other = environment.named(word.text);
  if (other && other->isSensor())
    return quoted(word.text) + " is defined in line " + std::to_string(other->header.at.line) +
           "; move that section up, above this one";
  if (other)
    return "the section " + quoted(word.text) + " in line " +
           std::to_string(other->header.at.line) + " is no sensor";
  return didYouMean(word.text, sensorNamesAbove(environment, section));
}

void virtualSourceUndefined(const Subject& subject, Findings& findings) {
  for (const Section* section : virtualSensors(subject))
    for (const Reference& source : section->sources)
      if (!source.section)
        findings.add(subject.environment.file, source.word,
                     "no section above defines the sensor " + quoted(source.word.text) +
                         ": the daemon leaves this source out of the sum but keeps its weight",
                     hintForName(subject.environment, *section, source.word));
}
constexpr Rule kVirtualSourceUndefined = {
    "virtual-source-undefined", Severity::kError,
    "A virtual sensor names a source that no section above it defines. The daemon looks the name "
    "up while it reads the line; what it does not find there counts as nothing, while its weight "
    "still counts in the divisor, so that the sensor reads too low. Correct the name, or move "
    "the source's section up.",
    virtualSourceUndefined};

void virtualSourceNotReal(const Subject& subject, Findings& findings) {
  for (const Section* section : virtualSensors(subject))
    for (const Reference& source : section->sources)
      if (source.section && source.section->kind != SectionKind::kReal)
        findings.add(
            subject.environment.file, source.word,
            quoted(source.word.text) +
                " is no real sensor: while its trip sensor has it switched off it stands still, "
                "and the daemon goes on adding its last value",
            "name the real sensors that it combines");
}
constexpr Rule kVirtualSourceNotReal = {
    "virtual-source-not-real", Severity::kWarning,
    "A virtual sensor is a source of another. It changes only while its own trip sensor is warm; "
    "at other times its last value, however old, goes into the sum. Name real sensors.",
    virtualSourceNotReal};

void virtualSourceMissing(const Subject& subject, Findings& findings) {
  for (const Section* section : virtualSensors(subject))
    if (section->sources.empty() && (section->last("sensors") || !triesToGive(*section, "sensors")))
      findings.add(subject.environment.file, section->place("sensors"),
                   "no sources: the sensor never tells a temperature",
                   "write 'sensors' and their names");
}
constexpr Rule kVirtualSourceMissing = {
    "virtual-source-missing", Severity::kError,
    "A virtual sensor has no sources. Its value is made of its offsets and its own last value "
    "alone, and nothing that watches it acts on any heat.",
    virtualSourceMissing};

void tripSensorMissing(const Subject& subject, Findings& findings) {
  for (const Section* section : virtualSensors(subject))
    if (!triesToGive(*section, "trip_sensor"))
      findings.add(subject.environment.file, section->header,
                   "no 'trip_sensor': the daemon never switches the sensor on",
                   "write 'trip_sensor' and the name of a real sensor");
}
constexpr Rule kTripSensorMissing = {
    "trip-sensor-missing", Severity::kError,
    "A virtual sensor has no 'trip_sensor'. Only a trip sensor switches it on: without one it is "
    "never sampled, reads 0 forever, and nothing that watches it ever acts.",
    tripSensorMissing};

void tripSensorUndefined(const Subject& subject, Findings& findings) {
  for (const Section* section : virtualSensors(subject)) {
    if (!section->trip || section->trip->section) continue;
    const Word& word = section->trip->word;
    if (word.text.empty())
      findings.add(subject.environment.file, section->place("trip_sensor"),
                   "no name behind 'trip_sensor': the daemon never switches the sensor on");
    else
      findings.add(subject.environment.file, word,
                   "no section above defines the sensor " + quoted(word.text) +
                       ": the daemon never switches this one on",
                   hintForName(subject.environment, *section, word));
  }
}
constexpr Rule kTripSensorUndefined = {
    "trip-sensor-undefined", Severity::kError,
    "The trip sensor of a virtual sensor is one that no section above defines. The daemon looks "
    "the name up while it reads the line and says nothing when it is not there: the virtual "
    "sensor is never switched on and reads 0 forever.",
    tripSensorUndefined};

void tripSensorNotReal(const Subject& subject, Findings& findings) {
  for (const Section* section : virtualSensors(subject))
    if (section->trip && section->trip->section &&
        section->trip->section->kind != SectionKind::kReal)
      findings.add(
          subject.environment.file, section->trip->word,
          quoted(section->trip->word.text) +
              " is no real sensor, and only those switch others: the daemon never switches this "
              "one on",
          "name a real sensor");
}
constexpr Rule kTripSensorNotReal = {
    "trip-sensor-not-real", Severity::kError,
    "The trip sensor of a virtual sensor is itself a virtual one. Only real sensors switch "
    "others: this one is never switched on and reads 0 forever.",
    tripSensorNotReal};

void virtualWeightsNumber(const Subject& subject, Findings& findings) {
  for (const Section* section : virtualSensors(subject)) {
    const size_t weights = section->weights.size();
    const size_t sources = section->sources.size();
    if (weights == 0 || sources == 0 || weights == sources) continue;
    findings.add(
        subject.environment.file, section->place("weights"),
        std::to_string(weights) + " weight(s) for " + std::to_string(sources) + " source(s): " +
            (weights < sources ? "the daemon leaves the last sources out"
                               : "the daemon divides by the sum of all weights all the same"),
        "write one weight for each name of 'sensors'");
  }
}
constexpr Rule kVirtualWeightsNumber = {
    "virtual-weights-number", Severity::kError,
    "A virtual sensor has another number of weights than of sources. The daemon pairs them by "
    "position: a source without a weight is left out, and a weight without a source still counts "
    "in the divisor. Either way the temperature is wrong.",
    virtualWeightsNumber};

// A sensor that gets its sum of weights from somewhere, or that has none at all.
bool hasWeightSum(const Section& section) {
  return section.last("weights") || !triesToGive(section, "weights");
}

void virtualWeightsSumZero(const Subject& subject, Findings& findings) {
  for (const Section* section : virtualSensors(subject)) {
    if (section->weightSum() != 0 || !hasWeightSum(*section)) continue;
    findings.add(
        subject.environment.file, section->place("weights"),
        section->weights.empty()
            ? "no weights: the sensor reads 0 forever"
            : "the weights sum to 0, by which the daemon does not divide: the sensor reads 0 "
              "forever",
        section->weights.empty() ? "write 'weights', one for each source" : "");
  }
}
constexpr Rule kVirtualWeightsSumZero = {
    "virtual-weights-sum-zero", Severity::kError,
    "The weights of a virtual sensor sum to 0, or there are none. The daemon divides by that "
    "sum, and where it is 0 the sensor reads 0: nothing that watches it ever acts.",
    virtualWeightsSumZero};

void virtualWeightsSumOne(const Subject& subject, Findings& findings) {
  for (const Section* section : virtualSensors(subject)) {
    const int32_t sum = section->weightSum();
    if (sum != 1 && sum != -1) continue;
    findings.add(
        subject.environment.file, section->place("weights"),
        sum == 1 ? "the weights sum to 1: the daemon adds the sensor's last value each time, so "
                   "that it grows without end"
                 : "the weights sum to -1: the daemon adds the sensor's last value each time, so "
                   "that it swings to and fro",
        "multiply all weights, and the offsets, by a number such as 100");
  }
}
constexpr Rule kVirtualWeightsSumOne = {
    "virtual-weights-sum-one", Severity::kError,
    "The weights of a virtual sensor sum to 1 or to -1. The daemon adds the sensor's last value "
    "to the weighted sum before it divides by the sum of the weights. Divided by 1, the value "
    "grows with each sample and never settles; divided by -1 it swings. Multiply all weights by "
    "the same number, such as 100, and the offsets with them.",
    virtualWeightsSumOne};

// But for the offsets, a sample is (last value + sum of the weighted sources) / W, with W the sum
// of the weights. What stays the same under that is the weighted mean times W / (W - 1): the nearer
// W is to 1, the further off.
void virtualWeightsGain(const Subject& subject, Findings& findings) {
  for (const Section* section : virtualSensors(subject)) {
    const int64_t sum = section->weightSum();
    if (sum == 0 || sum == 1 || sum == -1 || std::abs(sum - 1) >= kLeastDivisor) continue;
    std::ostringstream message;
    message
        << "the weights sum to " << sum
        << ", and the daemon adds the sensor's last value before it divides by that: it settles "
           "at "
        << std::setprecision(3) << static_cast<double>(sum) / static_cast<double>(sum - 1)
        << " times the weighted mean of its sources";
    findings.add(subject.environment.file, section->place("weights"), message.str(),
                 "multiply all weights, and the offsets, by a number such as 100");
  }
}
constexpr Rule kVirtualWeightsGain = {
    "virtual-weights-gain", Severity::kWarning,
    "A virtual sensor settles more than 5 % off the weighted mean of its sources. The daemon "
    "adds the last value before it divides by W, the sum of the weights, so that the value "
    "settles at the weighted sum, with 100 times the offsets, divided by W - 1: W / (W - 1) "
    "times the weighted mean, which is twice the mean for W = 2 and near it for W = 100. "
    "Multiply all weights by the same number, and the offsets with them.",
    virtualWeightsGain};

// Whether `real` keeps the worker of `sensor` awake: a section that the daemon does not read never
// does so for one that it reads.
bool sharesWorker(const Section& real, const Section& sensor) {
  return real.sampling.value == sensor.sampling.value &&
         (real.readByDaemon || !sensor.readByDaemon);
}

void virtualPeriodAlone(const Subject& subject, Findings& findings) {
  const std::vector<const Section*> reals = sectionsOf(subject.environment, SectionKind::kReal);
  for (const Section* section : virtualSensors(subject)) {
    bool shared = false;
    for (const Section* real : reals)
      shared = shared || sharesWorker(*real, *section);
    if (shared) continue;
    findings.add(
        subject.environment.file, section->place("sampling"),
        "no real sensor has the period of " + std::to_string(section->sampling.value) +
            " ms: while this sensor is switched off its worker sleeps, and every change of the "
            "scenario or the configuration waits for it",
        "give it the period of a real sensor");
  }
}
constexpr Rule kVirtualPeriodAlone = {
    "virtual-period-alone", Severity::kError,
    "No real sensor has the period of this virtual one. Sensors of one period share a worker, "
    "and a worker of which no sensor is switched on sleeps: until the trip sensor wakes it, each "
    "change of the scenario or of the configuration waits for it and all others with it. Give it "
    "the period of a real sensor.",
    virtualPeriodAlone};

// Whether nothing else is to be said against the value, its default included.
bool hasSound(const Section& section, const char* key, const Number& number) {
  if (!section.last(key)) return !triesToGive(section, key);
  return isNumber(number.word.text) && !looksLikeDegrees(number);
}

void virtualSetPointsReversed(const Subject& subject, Findings& findings) {
  for (const Section* section : virtualSensors(subject)) {
    if (section->setPoint.value >= section->setPointClr.value) continue;
    if (!hasSound(*section, "set_point", section->setPoint)) continue;
    if (!hasSound(*section, "set_point_clr", section->setPointClr)) continue;
    findings.add(subject.environment.file, section->place("set_point_clr"),
                 "'set_point_clr' " + std::to_string(section->setPointClr.value) +
                     " lies above 'set_point' " + std::to_string(section->setPoint.value) +
                     ": between the two the daemon switches the sensor on and off with each sample",
                 "'set_point_clr' belongs a few degrees below 'set_point'");
  }
}
constexpr Rule kVirtualSetPointsReversed = {
    "virtual-set-points-reversed", Severity::kWarning,
    "The 'set_point' of a virtual sensor lies below its 'set_point_clr'. The trip sensor "
    "switches it on above the one and off below the other: between the two that happens in turn, "
    "with each sample. A missing 'set_point' counts as 0.",
    virtualSetPointsReversed};

void virtualSetPointInDegrees(const Subject& subject, Findings& findings) {
  for (const Section* section : virtualSensors(subject))
    for (const Number* number : {&section->setPoint, &section->setPointClr})
      if (looksLikeDegrees(*number))
        findings.add(subject.environment.file, number->word,
                     std::to_string(number->value) + " is " + std::to_string(number->value) +
                         " thousandths of a degree",
                     "did you mean '" + std::to_string(number->value * 1000) + "'?");
}
constexpr Rule kVirtualSetPointInDegrees = {
    "virtual-set-point-in-degrees", Severity::kWarning,
    "A set point of a virtual sensor lies within 200 thousandths of a degree from 0. "
    "Temperatures are thousandths of a degree, so that 45 degrees are 45000.",
    virtualSetPointInDegrees};

void tripSensorShared(const Subject& subject, Findings& findings) {
  std::map<const Section*, const Section*> firsts;
  for (const Section* section : virtualSensors(subject)) {
    if (!section->trip || !section->trip->section) continue;
    if (section->trip->section->kind != SectionKind::kReal) continue;
    const auto [first, isFirst] = firsts.emplace(section->trip->section, section);
    if (isFirst) continue;
    findings.add(
        subject.environment.file, section->trip->word,
        quoted(section->trip->word.text) + " switches " + quoted(first->second->name) +
            ", too: once it has switched all of its sensors on, the daemon never switches any of "
            "them off again",
        "give each virtual sensor a trip sensor of its own");
  }
}
constexpr Rule kTripSensorShared = {
    "trip-sensor-shared", Severity::kWarning,
    "Several virtual sensors have one trip sensor. As soon as it has switched on all of them the "
    "daemon no longer looks whether to switch any off: they are never switched off again. Give "
    "each a trip sensor of its own.",
    tripSensorShared};

void virtualMathIgnored(const Subject& subject, Findings& findings) {
  for (const Section* section : virtualSensors(subject)) {
    const Property* math = section->last("math");
    if (math && !math->words.empty() && parseInt32(math->words.front().text) != 0)
      findings.add(subject.environment.file, math->words.front(),
                   "there is one formula only: the daemon does not look at 'math'");
  }
}
constexpr Rule kVirtualMathIgnored = {
    "virtual-math-ignored", Severity::kWarning,
    "A virtual sensor has a 'math' line with another value than 0. The daemon keeps it and does "
    "not look at it: there is one formula only. Take the line out.",
    virtualMathIgnored};

} // namespace

const std::vector<Rule>& virtualSensorRules() {
  static const std::vector<Rule> rules = {
      kVirtualSourceUndefined,   kVirtualSourceNotReal,  kVirtualSourceMissing,
      kTripSensorMissing,        kTripSensorUndefined,   kTripSensorNotReal,
      kVirtualWeightsNumber,     kVirtualWeightsSumZero, kVirtualWeightsSumOne,
      kVirtualWeightsGain,       kVirtualPeriodAlone,    kVirtualSetPointsReversed,
      kVirtualSetPointInDegrees, kTripSensorShared,      kVirtualMathIgnored};
  return rules;
}
