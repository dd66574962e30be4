#include <set>

#include "check/configuration/ConfigurationRules.h"
#include "check/configuration/Items.h"

namespace {

template <typename Visit> void forEachNumber(const Subject& subject, Reading reading, Visit visit) {
  forEachItem(subject, [&](const Configuration& configuration, const Item& item) {
    for (const KeyedNumber& number : numbersOf(item))
      if (readingOf(number.number->word.text) == reading) visit(configuration, item, number);
  });
}

std::string readAs(const KeyedNumber& number) {
  return "the daemon reads " + quoted(number.number->word.text) + " as " +
         std::to_string(number.number->value);
}

void itemNumberWithoutDigits(const Subject& subject, Findings& findings) {
  // The rest of a line behind a word that is no number is seldom better.
  std::set<std::pair<std::string, int>> told;
  forEachNumber(subject, Reading::kNoDigits,
                [&](const Configuration& configuration, const Item& item, const KeyedNumber& n) {
                  if (!told.emplace(configuration.file, n.number->word.at.line).second) return;
                  findings.add(configuration.file, n.number->word,
                               readAs(n) + endForWantOf(configuration, item, n.key),
                               "write a number; there are no comments");
                });
}
constexpr Rule kItemNumberWithoutDigits = {
    "item-number-without-digits", Severity::kError,
    "A word without digits where a number is due is 0, without a message. At the end of a list "
    "it is one more entry: 'thresholds 60000 70000 # warm' has four thresholds, the last two of "
    "them 0, and at 70000 the monitor jumps to a level that has no row.",
    itemNumberWithoutDigits};

void itemNumberCutShort(const Subject& subject, Findings& findings) {
  forEachNumber(subject, Reading::kCutShort,
                [&](const Configuration& configuration, const Item& item, const KeyedNumber& n) {
                  findings.add(configuration.file, n.number->word,
                               readAs(n) + endForWantOf(configuration, item, n.key),
                               "write digits alone: no point, no comma, no unit");
                });
}
constexpr Rule kItemNumberCutShort = {
    "item-number-cut-short", Severity::kWarning,
    "A number ends at its first character that is no digit, and the rest of the word is ignored "
    "without a message: '60,000' and '60.5' are 60, '1s' is 1 and '0x10' is 0.",
    itemNumberCutShort};

void itemNumberTooLarge(const Subject& subject, Findings& findings) {
  forEachNumber(subject, Reading::kTooLarge,
                [&](const Configuration& configuration, const Item& item, const KeyedNumber& n) {
                  findings.add(configuration.file, n.number->word,
                               readAs(n) + ", what is left of it in 32 bits" +
                                   endForWantOf(configuration, item, n.key),
                               "write a number from -2147483648 to 2147483647");
                });
}
constexpr Rule kItemNumberTooLarge = {
    "item-number-too-large", Severity::kError,
    "Numbers have 32 bits and a sign. Of a larger one the daemon keeps the lowest 32 bits, "
    "without a message: 3000000000 becomes -1294967296.",
    itemNumberTooLarge};

void degrees(const Subject& subject, Findings& findings) {
  // Whoever writes degrees does so for a whole line.
  std::set<std::pair<std::string, int>> told;
  forEachItem(subject, [&](const Configuration& configuration, const Item& item) {
    for (const auto& [key, number] : temperaturesOf(item)) {
      if (!looksLikeDegrees(*number) ||
          !told.emplace(configuration.file, number->word.at.line).second)
        continue;
      const std::string text = std::to_string(number->value);
      findings.add(configuration.file, number->word,
                   "the daemon takes this for " + text + " thousandths of a degree",
                   "write " + text + "000 for " + text + " °C");
    }
  });
}
constexpr Rule kDegrees = {
    "degrees", Severity::kWarning,
    "Temperatures are thousandths of a degree Celsius, as the kernel reports them: 60 °C is "
    "60000. A threshold of 60 is reached in a freezer. Every temperature from -200 to 200 counts "
    "as meant in degrees, but for -1, 0 and 1.",
    degrees};

void checkBeyondAnySensor(const Subject& subject, Findings& findings) {
  forEachItem(subject, [&](const Configuration& configuration, const Item& item) {
    for (const auto& [key, number] : temperaturesOf(item))
      if (beyondAnySensor(*number))
        findings.add(configuration.file, number->word,
                     "no sensor of a phone reads " + std::to_string(number->value / 1000) + " °C",
                     "write thousandths of a degree");
  });
}
constexpr Rule kBeyondAnySensor = {
    "beyond-any-sensor", Severity::kWarning,
    "Temperatures are thousandths of a degree Celsius: 60 °C is 60000. A threshold above 200 °C "
    "is never reached and one below -200 °C always is, so that the item does nothing, or never "
    "stops.",
    checkBeyondAnySensor};

void itemSamplingBelow1(const Subject& subject, Findings& findings) {
  forEachItem(subject, [&](const Configuration& configuration, const Item& item) {
    // Below 1 a worker still waits a millisecond, so that the message holds for 0 and -5 alike.
    if (item.sampling.value >= 1 || item.sampling.word.text.empty() || !sound(item.sampling))
      return;
    findings.add(configuration.file, item.sampling.word,
                 "while the item is awake the daemon decides every millisecond",
                 "write the sensor's period in milliseconds");
  });
}
constexpr Rule kItemSamplingBelow1 = {
    "item-sampling-below-1", Severity::kError,
    "An item whose period is 0 or negative decides every millisecond while it is awake, on the "
    "same temperature again and again, and wastes power for nothing.",
    itemSamplingBelow1};

void periodBelowSensors(const Subject& subject, Findings& findings) {
  forEachItem(subject, [&](const Configuration& configuration, const Item& item) {
    if (!item.sensor || !item.sensor->section || item.sampling.value < 1 || !sound(item.sampling) ||
        misspelt(item, "sampling"))
      return;
    // A decision between two samples sees the temperature of the last one.
    const int32_t sensorPeriod = item.sensor->section->sampling.value;
    if (item.sampling.value >= sensorPeriod) return;
    const std::string period = std::to_string(sensorPeriod);
    findings.add(configuration.file, item.place("sampling"),
                 "the daemon decides every " + std::to_string(item.sampling.value) +
                     " ms on a temperature that is read every " + period + " ms",
                 "write 'sampling " + period + "'");
  });
}
constexpr Rule kPeriodBelowSensors = {
    "period-below-sensors", Severity::kWarning,
    "An item decides once per period on what its sensor read last. With a period below the "
    "sensor's it wakes the processor only to decide on the same number again, and "
    "'time_tick_trigger' counts decisions in which nothing can have changed. Without 'sampling' "
    "an item's period is 1000 ms.",
    periodBelowSensors};

void negativeTimeTickTrigger(const Subject& subject, Findings& findings) {
  forEachItem(subject, [&](const Configuration& configuration, const Item& item) {
    if (item.timeTickTrigger.value >= 0 || !sound(item.timeTickTrigger)) return;
    findings.add(configuration.file, item.timeTickTrigger.word,
                 "the daemon counts up to " +
                     std::to_string(static_cast<uint32_t>(item.timeTickTrigger.value)) +
                     " decisions before it adds a level",
                 "take the line out: without it no level is added");
  });
}
constexpr Rule kNegativeTimeTickTrigger = {
    "negative-time-tick-trigger", Severity::kWarning,
    "The count of 'time_tick_trigger' has no sign: -1 is 4294967295, which no phone lives to "
    "see. Without the line, or with 0, no level is added for a temperature that stays.",
    negativeTimeTickTrigger};

} // namespace

const std::vector<Rule>& numberRules() {
  static const std::vector<Rule> rules = {
      kItemNumberWithoutDigits, kItemNumberCutShort, kItemNumberTooLarge, kDegrees,
      kBeyondAnySensor,         kItemSamplingBelow1, kPeriodBelowSensors, kNegativeTimeTickTrigger};
  return rules;
}
