#include <set>

#include "check/configuration/ConfigurationRules.h"
#include "check/configuration/Ends.h"
#include "check/rule/Keys.h"
#include "check/rule/Numbers.h"
#include "check/rule/Visits.h"

namespace {

// A number of an item and the key behind which it stands.
struct KeyedNumber {
  const char* key;
  const Number& number;
};

using Numbers = std::vector<KeyedNumber>;

void add(Numbers& numbers, const Item&, const char* key, const std::vector<Number>& list) {
  for (const Number& number : list)
    numbers.push_back({key, number});
}

// But for one whose key stands alone: it has no word of its own.
void add(Numbers& numbers, const Item& item, const char* key, const Number& number) {
  if (!number.word.text.empty() && !standsAlone(item, key)) numbers.push_back({key, number});
}

void add(Numbers& numbers, const Item& item, const char* key, const std::vector<LevelRow>& rows) {
  for (const LevelRow& row : rows)
    add(numbers, item, key, row.pieces);
}

template <typename NoNumber> void add(Numbers&, const Item&, const char*, const NoNumber&) {}

Numbers temperaturesOf(const Item& item) {
  Numbers numbers;
  add(numbers, item, "thresholds", item.thresholds);
  add(numbers, item, "thresholds_clr", item.thresholdsClr);
  add(numbers, item, "set_point", item.setPoint);
  add(numbers, item, "set_point_clr", item.setPointClr);
  return numbers;
}

Numbers numbersOf(const Item& item) {
  Numbers numbers;
  visitKeys(item, item.kind,
            [&](const char* key, const auto& field, Need) { add(numbers, item, key, field); });
  return numbers;
}

// Whether the daemon reads so little of a temperature that the item is on, or off, for good.
bool cutToNothing(const std::string& key, const Number& number, const Item& item) {
  return contains({"thresholds", "thresholds_clr", "set_point", "set_point_clr"}, key) &&
         readingOf(number.word.text) == NumberReading::kCutShort && outOfUse(number, item);
}

// What becomes of an item whose temperature is next to nothing.
const char* effectOfNothing(const std::string& key, const Item& item) {
  if (item.lowactive) return "";
  return key == "thresholds" || key == "set_point" ? ": the item is always on"
                                                   : ": the item never lets go";
}

// Whether the sensor's period is the one that was meant for it, for all that can be seen.
bool hasItsPeriod(const Section& sensor) {
  return sound(sensor.sampling) && !sensor.merged() && !misspelt(sensor, "sampling");
}

// Two periods that a tenth or less keeps apart are meant to be one.
bool isMuchBelow(int32_t period, int32_t other) {
  return static_cast<int64_t>(period) * 10 < static_cast<int64_t>(other) * 9;
}

// Tells of each number that is read in this way what it is read as.
Check eachNumberRead(NumberReading reading, const char* how, const char* hint) {
  return eachItem([=](const Item& item, Context& context) {
    // The rest of a line behind a word that is no number is seldom better.
    std::set<int> lines;
    for (const auto& [key, number] : numbersOf(item)) {
      if (readingOf(number.word.text) != reading || cutToNothing(key, number, item)) continue;
      if (!lines.insert(number.word.at.line).second) continue;
      context.tell(number.word,
                   {"the daemon reads '{}' as {}{}{}", number.word.text, number.value, how,
                    endForWantOf(key, item, context)},
                   hint);
    }
  });
}

// Whoever writes one temperature of a list with a unit, or in another one, writes all so: the first
// of a line stands for them.
class OncePerLine {
public:
  bool operator()(const Word& word) { return lines.insert(word.at.line).second; }

private:
  std::set<int> lines;
};

} // namespace

const std::vector<Rule> kNumberRules = {
    {"item-number-without-digits", Severity::kError,
     "A word without digits where a number is due is 0, without a message. At the end of a list it "
     "is one more entry: 'thresholds 60000 70000 # warm' has four thresholds, the last two of them "
     "0, and at 70000 the monitor jumps to a level that has no row.",
     eachNumberRead(NumberReading::kNoDigits, "", "write a number; there are no comments")},

    {"temperature-cut-short", Severity::kError,
     "A number ends at its first character that is no digit, and the rest of the word is ignored "
     "without a message. Of '38C' the daemon reads 38, of '42,000' 42 and of '4e4' 4, thousandths "
     "of a degree: a phone in use is always above that, so that the item is always on, or never "
     "lets go of its devices. Of '0x11170' it reads 0, which for a set point counts as none and "
     "ends the daemon. Write thousandths of a degree in digits alone.",
     eachItem([](const Item& item, Context& context) {
       OncePerLine once;
       for (const auto& [key, number] : numbersOf(item)) {
         if (!cutToNothing(key, number, item) || !once(number.word)) continue;
         const Ending end = endForWantOf(key, item, context);
         context.tell(number.word,
                      {"the daemon reads '{}' as {}{}{}", number.word.text, number.value,
                       end.end == End::kNone ? effectOfNothing(key, item) : "", end},
                      {"write {} in digits alone, such as {} for 42 °C", nameOfUnit(unitOf(item)),
                       42000 / unitOf(item)});
       }
     })},

    {"item-number-cut-short", Severity::kWarning,
     "A number ends at its first character that is no digit, and the rest of the word is ignored "
     "without a message: '60000mC' is 60000, '1s' is 1 and '0x10' is 0.",
     eachNumberRead(NumberReading::kCutShort, "",
                    "write digits alone: no point, no comma, no unit")},

    {"item-number-too-large", Severity::kError,
     "Numbers have 32 bits and a sign. Of a larger one the daemon keeps the lowest 32 bits, "
     "without a message: 3000000000 becomes -1294967296.",
     eachNumberRead(NumberReading::kTooLarge, ", what is left of it in 32 bits",
                    "write a number from -2147483648 to 2147483647")},

    {"degrees", Severity::kError,
     "Temperatures are thousandths of a degree Celsius, as the kernel reports them: 60 °C is "
     "60000. A threshold of 60 is reached in a freezer, so that the item is always on. Every "
     "temperature from -200 to 200 counts as meant in degrees, but for -1, 0 and 1. Where a node "
     "counts in degrees or in tenths of them, say so in the settings file: the temperatures of its "
     "items are then taken as such.",
     eachItem([](const Item& item, Context& context) {
       OncePerLine once;
       for (const auto& [key, number] : temperaturesOf(item))
         if (looksLikeDegrees(number, unitOf(item)) && once(number.word))
           context.tell(number.word,
                        {"the daemon takes this for {} thousandths of a degree",
                         number.value * unitOf(item)},
                        {"write {} for {} °C", number.value * (1000 / unitOf(item)), number.value});
     })},

    {"beyond-any-sensor", Severity::kWarning,
     "Temperatures are thousandths of a degree Celsius: 60 °C is 60000. A threshold above 200 °C "
     "is never reached and one below -200 °C always is, so that the item does nothing, or never "
     "stops.",
     eachItem([](const Item& item, Context& context) {
       OncePerLine once;
       for (const auto& [key, number] : temperaturesOf(item))
         if (beyondAnySensor(number, unitOf(item)) && once(number.word))
           context.tell(number.word,
                        {"no sensor of a phone reads {} °C",
                         static_cast<int64_t>(number.value) * unitOf(item) / 1000},
                        {"write {}", nameOfUnit(unitOf(item))});
     })},

    {"item-sampling-below-1", Severity::kError,
     "An item whose period is 0 or negative decides every millisecond while it is awake, on the "
     "same temperature again and again, and wastes power for nothing.",
     eachItem([](const Item& item, Context& context) {
       const auto& [period, word] = item.sampling;
       // Below 1 a worker still waits a millisecond, so that the message holds for 0 and -5 alike.
       if (period < 1 && !word.text.empty() && sound(item.sampling))
         context.tell(word, "while the item is awake the daemon decides every millisecond",
                      "write the sensor's period in milliseconds");
     })},

    {"period-below-sensors", Severity::kWarning,
     "An item decides once per period on what its sensor read last. With a period below the "
     "sensor's it wakes the processor only to decide on the same number again, and "
     "'time_tick_trigger' counts decisions in which nothing can have changed. A tenth less is no "
     "harm. Without 'sampling' an item's period is 1000 ms.",
     eachItem([](const Item& item, Context& context) {
       if (!item.sensor || !item.sensor->section || item.sampling.value < 1 ||
           !sound(item.sampling) || misspelt(item, "sampling"))
         return;
       // A decision between two samples sees the temperature of the last one.
       const Section& sensor = *item.sensor->section;
       const int32_t sensorPeriod = sensor.sampling.value;
       if (isMuchBelow(item.sampling.value, sensorPeriod) && hasItsPeriod(sensor))
         context.tell(item.place("sampling"),
                      {"the daemon decides every {} ms on the temperature of '{}', which is read "
                       "every {} ms",
                       item.sampling.value, sensor.name, sensorPeriod},
                      {"write 'sampling {}'", sensorPeriod});
     })},

    {"negative-time-tick-trigger", Severity::kWarning,
     "The count of 'time_tick_trigger' has no sign: -1 is 4294967295, which no phone lives to see. "
     "Without the line, or with 0, no level is added for a temperature that stays.",
     eachItem([](const Item& item, Context& context) {
       const auto& [trigger, word] = item.timeTickTrigger;
       if (trigger < 0 && sound(item.timeTickTrigger))
         context.tell(word,
                      {"the daemon counts up to {} decisions before it adds a level",
                       static_cast<uint32_t>(trigger)},
                      "take the line out: without it no level is added");
     })},
};
