#include <algorithm>
#include <cstdint>

#include "base/Int32.h"
#include "check/environment/EnvironmentRules.h"
#include "check/rule/Keys.h"
#include "check/rule/Numbers.h"
#include "check/rule/Visits.h"

namespace {

// How a device turns an entry into what it writes, if it does.
enum class Form { kNone, kText, kDecimal, kHex, kBinary };

Form formOf(const Section& device) {
  const std::string& kind = device.kindWord.text;
  if (kind == "report") return Form::kNone;
  if (kind == "camera") return Form::kText;
  if (kind == "cpufreq") return Form::kDecimal;
  if (device.valueType == "hex") return Form::kHex;
  if (device.valueType == "bin") return Form::kBinary;
  return device.valueType == "integer" ? Form::kDecimal : Form::kText;
}

struct Entry {
  const Section& device;
  const Level& level;
};

// The devices that look at their level table.
Check eachTable(Look<Section> look) {
  return eachSection([look = std::move(look)](const Section& section, Context& context) {
    // Of merged sections the table is nothing that anyone wrote.
    if (section.isDevice() && formOf(section) != Form::kNone && !section.merged())
      look(section, context);
  });
}

Check eachEntry(Look<Entry> look) {
  return eachTable([look = std::move(look)](const Section& device, Context& context) {
    for (const Level& level : device.levels)
      look({device, level}, context);
  });
}

// The first entry of each table that is wrong in that way: whoever writes one so writes all so.
Check eachFirstEntry(bool (*isWrong)(const Entry&), Look<Entry> look) {
  return eachTable([isWrong, look = std::move(look)](const Section& device, Context& context) {
    const auto wrong =
        std::find_if(device.levels.begin(), device.levels.end(), [&](const Level& level) {
          return isWrong({device, level});
        });
    if (wrong != device.levels.end()) look({device, *wrong}, context);
  });
}

bool isHex(const std::string& entry) {
  // Sixteen digits at most, which is what 64 bits hold.
  return entry.size() > 2 && entry.size() <= 18 && entry[0] == '0' &&
         (entry[1] == 'x' || entry[1] == 'X') &&
         entry.find_first_not_of("0123456789abcdefABCDEF", 2) == std::string::npos;
}

bool isTooLarge(const Entry& entry) {
  return formOf(entry.device) == Form::kDecimal &&
         readingOf(entry.level.text) == NumberReading::kTooLarge;
}

bool isNoNumber(const Entry& entry) {
  return formOf(entry.device) == Form::kDecimal && !isNumber(entry.level.text) &&
         !isTooLarge(entry);
}

bool isCommentInText(const Entry& entry) {
  return formOf(entry.device) == Form::kText && !entry.level.quoted && isComment(entry.level.text);
}

// The entry of a table of hexadecimal numbers that is none: the one that makes such a table of it
// by an "0x" inside of it, else the first.
std::vector<Level>::const_iterator wrongInHex(const Section& device) {
  const auto begin = device.levels.begin();
  const auto end = device.levels.end();
  if (formOf(device) != Form::kHex) return end;
  const auto isWrong = [](const Level& level) { return !level.quoted && !isHex(level.text); };
  const auto misleading = std::find_if(begin, end, [&](const Level& level) {
    return isWrong(level) && level.text.find("0x") != std::string::npos;
  });
  return misleading != end ? misleading : std::find_if(begin, end, isWrong);
}

bool isLoneQuote(const Level& level) {
  return level.quoted && level.word.text == "\"";
}

// The entries' numbers, nothing if one is none.
std::vector<uint64_t> numbersOf(const Section& device) {
  const bool hex = formOf(device) == Form::kHex;
  std::vector<uint64_t> numbers;
  for (const Level& level : device.levels) {
    if (hex ? !isHex(level.text) : !isNumber(level.text) || level.text[0] == '-') return {};
    numbers.push_back(std::stoull(level.text, nullptr, hex ? 16 : 10));
  }
  return numbers;
}

} // namespace

const std::vector<Rule> kLevelTableRules = {
    {"level-table-empty", Severity::kError,
     "A device has no level table, or one without entries. The daemon logs that the table is empty "
     "each time an item wants a level and never writes anything. A device of kind 'report' needs "
     "no table.",
     eachTable([](const Section& device, Context& context) {
       if (device.levels.empty() && !hasSlipAlone(device, "level_table"))
         context.tell(device.place("level_table"),
                      "an empty level table: the daemon never writes anything to this device",
                      "write 'level_table' and the entries, the one for level 0 first");
     })},

    {"level-table-binary", Severity::kError,
     "A level table is written in \"0b\" notation. The daemon takes the levels up but never writes "
     "such a table to its node. Write the entries as hexadecimal or decimal numbers.",
     eachTable([](const Section& device, Context& context) {
       if (formOf(device) != Form::kBinary) return;
       // The entry that decided about the type; the bare ones before it may have said otherwise.
       const auto last =
           std::find_if(device.levels.rbegin(), device.levels.rend(), [](const Level& level) {
             return !level.quoted && level.text.find("0b") != std::string::npos;
           });
       context.tell(last->word,
                    "a table in \"0b\" notation: the daemon never writes it, at any level",
                    "write the entries as \"0x\" or decimal numbers");
     })},

    {"level-table-hex-entry", Severity::kError,
     "One entry with \"0x\" makes the whole table hexadecimal. Of each entry the daemon then drops "
     "the first two characters, whatever they are, and reads the rest as a hexadecimal number: of "
     "\"20\" nothing is left, and 0 is written. Write all entries of a table in the same form.",
     eachTable([](const Section& device, Context& context) {
       const auto wrong = wrongInHex(device);
       if (wrong == device.levels.end()) return;
       context.tell(wrong->word,
                    {"not in \"0x\" form in a table of such numbers: the daemon drops the first "
                     "two characters and reads '{}' as a hexadecimal number",
                     wrong->text.substr(std::min<size_t>(2, wrong->text.size()))},
                    "write all entries of a table in the same form");
     })},

    {"level-table-entry-not-a-number", Severity::kError,
     "An entry of a decimal table, or of any table of kind 'cpufreq', is no whole number. The "
     "daemon writes the digits at its front, or 0: \"1.8GHz\" is written as 1 and \"0x10\" as 0. "
     "Write decimal numbers; texts go between quotes, but not for 'cpufreq'.",
     eachFirstEntry(isNoNumber,
                    [](const Entry& entry, Context& context) {
                      const std::string& text = entry.level.text;
                      context.tell(entry.level.word,
                                   {"'{}' is no whole number: the daemon writes {} for it", text,
                                    parseInt32(text)},
                                   "write a decimal number");
                    })},

    {"level-table-entry-too-large", Severity::kError,
     "An entry of a decimal table, or of any table of kind 'cpufreq', does not fit into 32 bits "
     "with a sign. The daemon keeps the lowest 32 bits: of 2850000000 it makes -1444967296. An "
     "entry in quotes is written as it stands, if all entries of the table are in quotes; a "
     "'cpufreq' node gets four bytes whatever stands there, so that its table needs a smaller "
     "unit.",
     eachFirstEntry(
         isTooLarge,
         [](const Entry& entry, Context& context) {
           const auto& [device, level] = entry;
           const bool bytes = device.kindWord.text == "cpufreq";
           context.tell(
               level.word,
               {"'{}' is over {}: the daemon writes {} for it, what is left of it in 32 bits",
                level.text, level.text[0] == '-' ? "-2147483648" : "2147483647",
                parseInt32(level.text)},
               bytes ? Message("write the table in the unit of the driver, such as kHz: four "
                               "bytes hold no more")
                     : Message("write each entry of the table in quotes, and it is written as "
                               "it stands: \"{}\"",
                               level.text));
         })},

    {"level-table-comment", Severity::kError,
     "A word that begins a comment elsewhere stands in a level table that is written as text, such "
     "as a camera's. There are no comments: the daemon takes it, and each word behind it, for a "
     "further entry, the strongest cooling of all. Take it out, or put it between quotes if it is "
     "meant.",
     eachFirstEntry(
         isCommentInText,
         [](const Entry& entry, Context& context) {
           context.tell(
               entry.level.word,
               {"there are no comments: the daemon takes '{}' and each word behind it for an "
                "entry of the table",
                entry.level.text},
               "take it out");
         })},

    {"level-table-mixed", Severity::kWarning,
     "Some entries of a level table are in quotes and some are not. One form is used for the whole "
     "table: the last quoted, \"0x\" or \"0b\" entry decides how every entry is written. Quote all "
     "of them or none.",
     eachTable([](const Section& device, Context& context) {
       const std::vector<Level>& levels = device.levels;
       // A lone quote makes bare entries of those behind it: the mixture is its doing.
       if (std::any_of(levels.begin(), levels.end(), isLoneQuote)) return;
       const auto other = std::find_if(levels.begin(), levels.end(), [&](const Level& level) {
         return level.quoted != levels.front().quoted;
       });
       if (other == levels.end()) return;
       context.tell(
           other->word,
           {"{}: the daemon writes the whole table as '{}', which its last entry of a type decides",
            other->quoted ? "a quoted entry among bare ones" : "a bare entry among quoted ones",
            device.valueType},
           "quote all entries or none");
     })},

    {"level-table-unclosed-quote", Severity::kError,
     "A quoted entry is not closed on its line. The daemon takes the rest of the line for one "
     "entry, so that the table has fewer levels than it looks. Close the quote at the end of the "
     "entry's last word.",
     eachEntry([](const Entry& entry, Context& context) {
       if (!entry.level.closed && !entry.level.behindQuote)
         context.tell(entry.level.word,
                      "the quote is not closed on this line: the daemon takes the rest of the line "
                      "for one entry",
                      "close it with a quote at the end of a word");
     })},

    {"level-table-text-behind-quote", Severity::kError,
     "Text stands right behind a quote in a level table. Only a word's last character closes an "
     "entry, so that the daemon reads on through the following words. Put a blank behind each "
     "closing quote.",
     eachEntry([](const Entry& entry, Context& context) {
       if (entry.level.behindQuote)
         context.tell(*entry.level.behindQuote,
                      "text right behind a quote: the daemon does not end the entry there, but "
                      "with the next word that ends with a quote, or with the line",
                      "put a blank behind the closing quote");
     })},

    {"level-table-lone-quote", Severity::kError,
     "A quote in a level table stands between blanks. The daemon takes it for an entry of its own, "
     "an empty one, and the words behind it for bare entries: all levels shift. Put the quotes "
     "right at the text.",
     eachEntry([](const Entry& entry, Context& context) {
       if (isLoneQuote(entry.level))
         context.tell(entry.level.word,
                      "a quote that stands alone: the daemon takes it for an empty entry",
                      "put the quotes right at the text, without a blank between");
     })},

    {"level-table-direction", Severity::kWarning,
     "The numbers of a level table do not run in one direction. A higher level is taken to hold "
     "the device back more; where the table turns, more heat means less protection. An entry 0 for "
     "level 0 may stand for no limit at all, and is left out of that. Sort the entries from level "
     "0 "
     "to the tightest one.",
     eachTable([](const Section& device, Context& context) {
       const std::vector<uint64_t> numbers = numbersOf(device);
       const bool noLimit = !numbers.empty() && numbers.front() == 0;
       int direction = 0;
       for (size_t i = noLimit ? 2 : 1; i < numbers.size(); ++i) {
         const int step = (numbers[i] > numbers[i - 1]) - (numbers[i] < numbers[i - 1]);
         if (direction == 0) direction = step;
         if (step * direction >= 0) continue;
         // What comes behind the first turn runs either way, and only the author knows which was
         // meant.
         return context.tell(device.levels[i].word,
                             {"the table {} up to here and turns: at level {} the daemon lets go "
                              "where it should hold back more",
                              direction < 0 ? "falls" : "rises", i},
                             "sort the entries from level 0, without a limit, to the tightest one");
       }
     })},
};
