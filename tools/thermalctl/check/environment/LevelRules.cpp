#include <algorithm>
#include <cstdint>

#include "base/Int32.h"
#include "check/environment/EnvironmentRules.h"

namespace {

// How a device turns an entry into what it writes.
enum class Use { kNone, kText, kDecimal, kByType };

Use useOf(const Section& device) {
  const std::string& kind = device.kindWord.text;
  if (kind == "report") return Use::kNone;
  if (kind == "camera") return Use::kText;
  if (kind == "cpufreq") return Use::kDecimal;
  return Use::kByType;
}

// The devices that look at their level table.
std::vector<const Section*> devicesWithTable(const Subject& subject) {
  std::vector<const Section*> devices = sectionsOf(subject.environment, SectionKind::kDevice);
  devices.erase(std::remove_if(devices.begin(), devices.end(),
                               [](const Section* device) { return useOf(*device) == Use::kNone; }),
                devices.end());
  return devices;
}

// Calls `visit` with each entry of each table and its device.
template <typename Visit> void forEntries(const Subject& subject, Visit visit) {
  for (const Section* device : devicesWithTable(subject))
    for (const Level& level : device->levels)
      visit(*device, level);
}

bool writesHex(const Section& device) {
  return useOf(device) == Use::kByType && device.valueType == "hex";
}

bool writesDecimal(const Section& device) {
  return useOf(device) == Use::kDecimal ||
         (useOf(device) == Use::kByType && device.valueType == "integer");
}

bool isHex(const std::string& entry) {
  const auto isDigit = [](char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
  };
  // Sixteen digits at most, which is what 64 bits hold.
  return entry.size() > 2 && entry.size() <= 18 && entry[0] == '0' &&
         (entry[1] == 'x' || entry[1] == 'X') &&
         std::all_of(entry.begin() + 2, entry.end(), isDigit);
}

bool isLoneQuote(const Level& level) {
  return level.quoted && level.word.text == "\"";
}

void levelTableEmpty(const Subject& subject, Findings& findings) {
  for (const Section* device : devicesWithTable(subject))
    if (device->levels.empty() &&
        (device->last("level_table") || !triesToGive(*device, "level_table")))
      findings.add(subject.environment.file, device->place("level_table"),
                   "an empty level table: the daemon never writes anything to this device",
                   "write 'level_table' and the entries, the one for level 0 first");
}
constexpr Rule kLevelTableEmpty = {
    "level-table-empty", Severity::kError,
    "A device has no level table, or one without entries. The daemon logs that the table is "
    "empty each time an item wants a level and never writes anything. A device of kind 'report' "
    "needs no table.",
    levelTableEmpty};

void levelTableBinary(const Subject& subject, Findings& findings) {
  for (const Section* device : devicesWithTable(subject)) {
    if (useOf(*device) != Use::kByType || device->valueType != "bin") continue;
    // The entry that decided about the type; the bare ones before it may have said otherwise.
    const auto last =
        std::find_if(device->levels.rbegin(), device->levels.rend(), [](const Level& level) {
          return !level.quoted && level.text.find("0b") != std::string::npos;
        });
    findings.add(subject.environment.file, last->word,
                 "a table in \"0b\" notation: the daemon never writes it, at any level",
                 "write the entries as \"0x\" or decimal numbers");
  }
}
constexpr Rule kLevelTableBinary = {
    "level-table-binary", Severity::kError,
    "A level table is written in \"0b\" notation. The daemon takes the levels up but never "
    "writes such a table to its node. Write the entries as hexadecimal or decimal numbers.",
    levelTableBinary};

void levelTableHexEntry(const Subject& subject, Findings& findings) {
  forEntries(subject, [&](const Section& device, const Level& level) {
    if (!writesHex(device) || level.quoted || isHex(level.text)) return;
    const std::string rest = level.text.size() < 2 ? "" : level.text.substr(2);
    findings.add(
        subject.environment.file, level.word,
        "not in \"0x\" form in a table of such numbers: the daemon drops the first two characters "
        "and reads " +
            quoted(rest) + " as a hexadecimal number",
        "write all entries of a table in the same form");
  });
}
constexpr Rule kLevelTableHexEntry = {
    "level-table-hex-entry", Severity::kError,
    "One entry with \"0x\" makes the whole table hexadecimal. Of each entry the daemon then "
    "drops the first two characters, whatever they are, and reads the rest as a hexadecimal "
    "number: of \"20\" nothing is left, and 0 is written. Write all entries of a table in the "
    "same form.",
    levelTableHexEntry};

void levelTableEntryNotANumber(const Subject& subject, Findings& findings) {
  forEntries(subject, [&](const Section& device, const Level& level) {
    if (!writesDecimal(device) || isNumber(level.text)) return;
    findings.add(subject.environment.file, level.word,
                 quoted(level.text) + " is no whole number: the daemon writes " +
                     std::to_string(parseInt32(level.text)) + " for it",
                 "write a decimal number");
  });
}
constexpr Rule kLevelTableEntryNotANumber = {
    "level-table-entry-not-a-number", Severity::kError,
    "An entry of a decimal table, or of any table of kind 'cpufreq', is no whole number. The "
    "daemon writes the digits at its front, or 0: \"1.8GHz\" is written as 1 and \"0x10\" as 0. "
    "Write decimal numbers; texts go between quotes, but not for 'cpufreq'.",
    levelTableEntryNotANumber};

void levelTableMixed(const Subject& subject, Findings& findings) {
  for (const Section* device : devicesWithTable(subject)) {
    const std::vector<Level>& levels = device->levels;
    // A lone quote makes bare entries of those behind it: the mixture is its doing.
    if (std::any_of(levels.begin(), levels.end(), isLoneQuote)) continue;
    const auto other = std::find_if(levels.begin(), levels.end(), [&](const Level& level) {
      return level.quoted != levels.front().quoted;
    });
    if (other == levels.end()) continue;
    findings.add(subject.environment.file, other->word,
                 std::string(other->quoted ? "a quoted entry among bare ones"
                                           : "a bare entry among quoted ones") +
                     ": the daemon writes the whole table as " + quoted(device->valueType) +
                     ", which its last entry of a type decides",
                 "quote all entries or none");
  }
}
constexpr Rule kLevelTableMixed = {
    "level-table-mixed", Severity::kWarning,
    "Some entries of a level table are in quotes and some are not. One form is used for the "
    "whole table: the last quoted, \"0x\" or \"0b\" entry decides how every entry is written. "
    "Quote all of them or none.",
    levelTableMixed};

void levelTableUnclosedQuote(const Subject& subject, Findings& findings) {
  forEntries(subject, [&](const Section&, const Level& level) {
    if (level.closed || level.behindQuote) return;
    findings.add(
        subject.environment.file, level.word,
        "the quote is not closed on this line: the daemon takes the rest of the line for one entry",
        "close it with a quote at the end of a word");
  });
}
constexpr Rule kLevelTableUnclosedQuote = {
    "level-table-unclosed-quote", Severity::kError,
    "A quoted entry is not closed on its line. The daemon takes the rest of the line for one "
    "entry, so that the table has fewer levels than it looks. Close the quote at the end of the "
    "entry's last word.",
    levelTableUnclosedQuote};

void levelTableTextBehindQuote(const Subject& subject, Findings& findings) {
  forEntries(subject, [&](const Section&, const Level& level) {
    if (!level.behindQuote) return;
    findings.add(
        subject.environment.file, *level.behindQuote,
        "text right behind a quote: the daemon does not end the entry there, but with the next "
        "word that ends with a quote, or with the line",
        "put a blank behind the closing quote");
  });
}
constexpr Rule kLevelTableTextBehindQuote = {
    "level-table-text-behind-quote", Severity::kError,
    "Text stands right behind a quote in a level table. Only a word's last character closes an "
    "entry, so that the daemon reads on through the following words. Put a blank behind each "
    "closing quote.",
    levelTableTextBehindQuote};

void levelTableLoneQuote(const Subject& subject, Findings& findings) {
  forEntries(subject, [&](const Section&, const Level& level) {
    if (isLoneQuote(level))
      findings.add(subject.environment.file, level.word,
                   "a quote that stands alone: the daemon takes it for an empty entry",
                   "put the quotes right at the text, without a blank between");
  });
}
constexpr Rule kLevelTableLoneQuote = {
    "level-table-lone-quote", Severity::kError,
    "A quote in a level table stands between blanks. The daemon takes it for an entry of its "
    "own, an empty one, and the words behind it for bare entries: all levels shift. Put the "
    "quotes right at the text.",
    levelTableLoneQuote};

// The entries' numbers, nothing if one is none.
std::vector<uint64_t> numbersOf(const Section& device) {
  std::vector<uint64_t> numbers;
  for (const Level& level : device.levels) {
    const bool hex = writesHex(device) && isHex(level.text);
    const bool decimal = !writesHex(device) && isNumber(level.text) && level.text[0] != '-';
    if (!hex && !decimal) return {};
    numbers.push_back(std::stoull(level.text, nullptr, hex ? 16 : 10));
  }
  return numbers;
}

void levelTableDirection(const Subject& subject, Findings& findings) {
  for (const Section* device : devicesWithTable(subject)) {
    const std::vector<uint64_t> numbers = numbersOf(*device);
    int direction = 0;
    for (size_t i = 1; i < numbers.size(); ++i) {
      const int step = numbers[i] == numbers[i - 1] ? 0 : numbers[i] > numbers[i - 1] ? 1 : -1;
      if (step == 0 || direction == 0 || step == direction) {
        if (direction == 0) direction = step;
        continue;
      }
      findings.add(subject.environment.file, device->levels[i].word,
                   "the table " + std::string(direction < 0 ? "falls" : "rises") +
                       " up to here and turns: at level " + std::to_string(i) +
                       " the daemon lets go where it should hold back more",
                   "sort the entries from level 0, without a limit, to the tightest one");
      // What comes behind the first turn runs either way, and only the author knows which was
      // meant.
      break;
    }
  }
}
constexpr Rule kLevelTableDirection = {
    "level-table-direction", Severity::kWarning,
    "The numbers of a level table do not run in one direction. A higher level is taken to hold "
    "the device back more; where the table turns, more heat means less protection. Sort the "
    "entries from level 0 to the tightest one.",
    levelTableDirection};

} // namespace

const std::vector<Rule>& levelTableRules() {
  static const std::vector<Rule> rules = {
      kLevelTableEmpty,           kLevelTableBinary,    kLevelTableHexEntry,
      kLevelTableEntryNotANumber, kLevelTableMixed,     kLevelTableUnclosedQuote,
      kLevelTableTextBehindQuote, kLevelTableLoneQuote, kLevelTableDirection};
  return rules;
}
