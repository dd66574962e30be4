#include <algorithm>

#include "base/Int32.h"
#include "check/environment/EnvironmentRules.h"
#include "check/rule/Keys.h"
#include "check/rule/Numbers.h"
#include "check/rule/Visits.h"

namespace {

// Below this a sensor costs more than it tells, in milliseconds: temperatures do not move so fast.
constexpr int32_t kShortestPeriod = 50;

bool hasReadableSampling(const Section& section) {
  return section.last("sampling") && isNumber(section.sampling.word.text);
}

Message readAs(const std::string& key, const Number& number) {
  const std::string& word = number.word.text;
  if (word.empty()) return {"no value behind '{}': the daemon reads {}", key, number.value};
  return {"'{}' is {}: the daemon reads {}", word,
          readingOf(word) == NumberReading::kTooLarge ? "beyond 32 bits" : "no whole number",
          number.value};
}

} // namespace

const std::vector<Rule> kSensorRules = {
    {"sampling-not-a-number", Severity::kWarning,
     "The period of a sensor is not a whole number. The daemon takes the digits at the front of "
     "the word and 0 if there are none: \"500ms\" is 500, 'fast' is 0, and 0 samples every "
     "millisecond. Write milliseconds in digits alone.",
     eachSensor([](const Section& sensor, Context& context) {
       if (sensor.last("sampling") && !hasReadableSampling(sensor))
         context.tell(sensor.place("sampling"), readAs("sampling", sensor.sampling),
                      "write the period in milliseconds, in digits alone");
     })},

    {"sampling-not-positive", Severity::kWarning,
     "The period of a sensor is 0 or negative. The daemon samples it every millisecond, which "
     "keeps a processor awake. Write the period in milliseconds.",
     eachSensor([](const Section& sensor, Context& context) {
       const auto& [period, word] = sensor.sampling;
       if (hasReadableSampling(sensor) && period <= 0)
         context.tell(
             word, {"a period of {} ms: the daemon samples the sensor every millisecond", period},
             "write the period in milliseconds");
     })},

    {"sampling-too-short", Severity::kWarning,
     "The period of a sensor is below 50 milliseconds. Temperatures do not change so fast, and "
     "each sample wakes a processor. Write 100 or more, but for a sensor under test.",
     eachSensor([](const Section& sensor, Context& context) {
       const auto& [period, word] = sensor.sampling;
       if (hasReadableSampling(sensor) && period > 0 && period < kShortestPeriod)
         context.tell(
             word,
             {"the daemon wakes the processor every {} ms for this sensor and wastes power",
              period},
             "250 is short for a temperature");
     })},

    {"section-value-not-a-number", Severity::kWarning,
     "A value of a virtual sensor is not a whole number. The daemon takes the digits at the front "
     "of the word and 0 if there are none; a number beyond 32 bits is cut to them. Write digits "
     "alone: temperatures are thousandths of a degree, weights have no fraction.",
     eachSectionLine([](const SectionLine& line, Context& context) {
       const auto& [key, words, known] = line.property;
       if (line.section.kind != SectionKind::kVirtual || !known || !takesNumbers(key.text)) return;
       // That has rules of its own.
       if (key.text == "sampling") return;
       if (words.empty() && !takesAList(key.text)) context.tell(key, readAs(key.text, {}));
       // Of a key with one value the daemon looks at the first word alone.
       const size_t taken = std::min<size_t>(words.size(), takesAList(key.text) ? words.size() : 1);
       for (size_t i = 0; i < taken; ++i)
         if (!isNumber(words[i].text))
           context.tell(words[i], readAs(key.text, {parseInt32(words[i].text), words[i]}));
     })},

    {"node-path-missing", Severity::kError,
     "A real sensor or a device has no 'node_path', or the line has no path. Such a sensor reads 0 "
     "at all times, so that nothing that watches it ever acts, and what is written to such a "
     "device goes nowhere. The daemon logs one line at start-up and carries on.",
     eachSection([](const Section& section, Context& context) {
       const bool isReal = section.kind == SectionKind::kReal;
       if (!isReal && !section.isDevice()) return;
       if (section.nodePath || hasSlipAlone(section, "node_path")) return;
       context.tell(
           section.place("node_path"),
           isReal ? "no node: the sensor reads 0 forever, and nothing that watches it ever acts"
                  : "no node: what the daemon writes to this device goes nowhere",
           "write 'node_path' and the path of the node");
     })},

    {"node-path-relative", Severity::kWarning,
     "A node's path does not begin with \"/\". The daemon looks for it from the directory in which "
     "it was started, which nothing lays down. Write the whole path.",
     eachSection([](const Section& section, Context& context) {
       if (section.nodePath && section.nodePath->text[0] != '/')
         context.tell(*section.nodePath,
                      "a path without \"/\" at its beginning: the daemon looks for the node "
                      "wherever it was started",
                      "write the whole path");
     })},
};
