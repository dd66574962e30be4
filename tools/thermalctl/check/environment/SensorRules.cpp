#include <algorithm>

#include "base/Int32.h"
#include "check/environment/EnvironmentRules.h"

namespace {

// Below this a sensor costs more than it tells, in milliseconds: temperatures do not move so fast.
constexpr int32_t kShortestPeriod = 50;

// Calls `visit` with each sensor.
template <typename Visit> void forSensors(const Subject& subject, Visit visit) {
  for (const Section& section : subject.environment.sections)
    if (section.isSensor()) visit(section);
}

bool hasReadableSampling(const Section& section) {
  return section.last("sampling") && isNumber(section.sampling.word.text);
}

void samplingMissing(const Subject& subject, Findings& findings) {
  forSensors(subject, [&](const Section& section) {
    if (!triesToGive(section, "sampling"))
      findings.add(subject.environment.file, section.header,
                   "no 'sampling': the daemon samples the sensor every 1000 ms",
                   "write 'sampling 1000' if that is meant");
  });
}
constexpr Rule kSamplingMissing = {
    "sampling-missing", Severity::kWarning,
    "A sensor has no 'sampling' line. The daemon then samples it every 1000 milliseconds, which "
    "may be too slow for a hot spot. Write the period that is meant.",
    samplingMissing};

std::string readAs(const std::string& key, const Number& number) {
  if (number.word.text.empty())
    return "no value behind " + quoted(key) + ": the daemon reads " + std::to_string(number.value);
  const bool tooLarge = readingOf(number.word.text) == Reading::kTooLarge;
  return quoted(number.word.text) + (tooLarge ? " is beyond 32 bits" : " is no whole number") +
         ": the daemon reads " + std::to_string(number.value);
}

void samplingNotANumber(const Subject& subject, Findings& findings) {
  forSensors(subject, [&](const Section& section) {
    if (section.last("sampling") && !hasReadableSampling(section))
      findings.add(subject.environment.file, section.place("sampling"),
                   readAs("sampling", section.sampling),
                   "write the period in milliseconds, in digits alone");
  });
}
constexpr Rule kSamplingNotANumber = {
    "sampling-not-a-number", Severity::kWarning,
    "The period of a sensor is not a whole number. The daemon takes the digits at the front of "
    "the word and 0 if there are none: \"500ms\" is 500, 'fast' is 0, and 0 samples every "
    "millisecond. Write milliseconds in digits alone.",
    samplingNotANumber};

void samplingNotPositive(const Subject& subject, Findings& findings) {
  forSensors(subject, [&](const Section& section) {
    if (hasReadableSampling(section) && section.sampling.value <= 0)
      findings.add(subject.environment.file, section.sampling.word,
                   "a period of " + std::to_string(section.sampling.value) +
                       " ms: the daemon samples the sensor every millisecond",
                   "write the period in milliseconds");
  });
}
constexpr Rule kSamplingNotPositive = {
    "sampling-not-positive", Severity::kWarning,
    "The period of a sensor is 0 or negative. The daemon samples it every millisecond, which "
    "keeps a processor awake. Write the period in milliseconds.",
    samplingNotPositive};

void samplingTooShort(const Subject& subject, Findings& findings) {
  forSensors(subject, [&](const Section& section) {
    const int32_t period = section.sampling.value;
    if (hasReadableSampling(section) && period > 0 && period < kShortestPeriod)
      findings.add(subject.environment.file, section.sampling.word,
                   "the daemon wakes the processor every " + std::to_string(period) +
                       " ms for this sensor and wastes power",
                   "250 is short for a temperature");
  });
}
constexpr Rule kSamplingTooShort = {
    "sampling-too-short", Severity::kWarning,
    "The period of a sensor is below 50 milliseconds. Temperatures do not change so fast, and "
    "each sample wakes a processor. Write 100 or more, but for a sensor under test.",
    samplingTooShort};

bool takesNumbers(const std::string& key) {
  return key == "set_point" || key == "set_point_clr" || key == "math" || key == "weights" ||
         key == "offsets";
}

void sectionValueNotANumber(const Subject& subject, Findings& findings) {
  for (const Section* section : sectionsOf(subject.environment, SectionKind::kVirtual))
    for (const Property* property : ownProperties(*section)) {
      if (!takesNumbers(property->key.text)) continue;
      const std::string& key = property->key.text;
      const bool isList = key == "weights" || key == "offsets";
      // Of a key with one value the daemon looks at the first word alone.
      const size_t taken = isList ? property->words.size() : 1;
      if (property->words.empty() && !isList)
        findings.add(subject.environment.file, property->key, readAs(key, {}));
      for (size_t i = 0; i < std::min(taken, property->words.size()); ++i)
        if (!isNumber(property->words[i].text))
          findings.add(subject.environment.file, property->words[i],
                       readAs(key, {parseInt32(property->words[i].text), property->words[i]}));
    }
}
constexpr Rule kSectionValueNotANumber = {
    "section-value-not-a-number", Severity::kWarning,
    "A value of a virtual sensor is not a whole number. The daemon takes the digits at the front "
    "of the word and 0 if there are none; a number beyond 32 bits is cut to them. Write digits "
    "alone: temperatures are thousandths of a degree, weights have no fraction.",
    sectionValueNotANumber};

void nodePathMissing(const Subject& subject, Findings& findings) {
  for (const Section& section : subject.environment.sections) {
    const bool isReal = section.kind == SectionKind::kReal;
    if (!isReal && !section.isDevice()) continue;
    const Property* last = section.last("node_path");
    if (section.nodePath || (!last && triesToGive(section, "node_path"))) continue;
    findings.add(subject.environment.file, section.place("node_path"),
                 isReal
                     ? "no node: the sensor reads 0 forever, and nothing that watches it ever acts"
                     : "no node: what the daemon writes to this device goes nowhere",
                 "write 'node_path' and the path of the node");
  }
}
constexpr Rule kNodePathMissing = {
    "node-path-missing", Severity::kError,
    "A real sensor or a device has no 'node_path', or the line has no path. Such a sensor reads "
    "0 at all times, so that nothing that watches it ever acts, and what is written to such a "
    "device goes nowhere. The daemon logs one line at start-up and carries on.",
    nodePathMissing};

void nodePathRelative(const Subject& subject, Findings& findings) {
  for (const Section& section : subject.environment.sections)
    if (section.nodePath && section.nodePath->text[0] != '/')
      findings.add(
          subject.environment.file, *section.nodePath,
          "a path without \"/\" at its beginning: the daemon looks for the node wherever it was "
          "started",
          "write the whole path");
}
constexpr Rule kNodePathRelative = {
    "node-path-relative", Severity::kWarning,
    "A node's path does not begin with \"/\". The daemon looks for it from the directory in "
    "which it was started, which nothing lays down. Write the whole path.",
    nodePathRelative};

} // namespace

const std::vector<Rule>& sensorRules() {
  static const std::vector<Rule> rules = {
      kSamplingMissing,        kSamplingNotANumber, kSamplingNotPositive, kSamplingTooShort,
      kSectionValueNotANumber, kNodePathMissing,    kNodePathRelative};
  return rules;
}
