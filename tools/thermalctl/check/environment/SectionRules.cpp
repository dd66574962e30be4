#include <algorithm>
#include <map>

#include "check/environment/EnvironmentRules.h"
#include "check/rule/Dependents.h"
#include "check/rule/IgnoredWords.h"
#include "check/rule/Keys.h"
#include "check/rule/Visits.h"
#include "config/EnvGrammar.h"
#include "text/Characters.h"
#include "text/Nearest.h"
#include "text/Phrases.h"

// What a section looks like, and what the daemon is strict about: the header in the first line,
// "type" right below it, and a blank line only at its end.
//   [cpu]
//   type real
//   sampling 1000
//   node_path /sys/class/thermal/thermal_zone0/temp
// Nothing may stand between two sections, not even a comment: there the daemon stops reading.

namespace {

Check eachBreak(Look<EnvironmentBreak> look) {
  return [look = std::move(look)](Context& context) {
    for (const EnvironmentBreak& each : context.subject.environment.breaks)
      look(each, context);
  };
}

Ending dependentsOf(const Word& mistake, const Context& context) {
  return dependents(mistake.at.line, context);
}

Ending stopsReading(const EnvironmentBreak& each, const Context& context) {
  // Only at the first break the daemon is still there. The later ones are told all the same:
  // whoever mends the first one would run into them next.
  if (&each != &context.subject.environment.breaks.front())
    return {"the daemon would stop reading the file here, too"};
  Ending lost = dependentsOf(each.word, context);
  return {"the daemon stops reading the file here, without a word" + lost.words, lost.end};
}

bool hasUnknownKind(const Section& section) {
  return section.kind == SectionKind::kUnknown && !section.kindWord.text.empty();
}

bool isKindInWrongCase(const Section& section) {
  return hasUnknownKind(section) &&
         sectionKind(lowerCase(section.kindWord.text)) != SectionKind::kUnknown;
}

bool isKeyOfAnyKind(const std::string& key) {
  const std::vector<std::string>& kinds = sectionKindWords();
  return std::any_of(kinds.begin(), kinds.end(), [&key](const std::string& kind) {
    return contains(sectionKeys(sectionKind(kind)), key);
  });
}

std::string hintForJunk(const std::string& word) {
  if (isKeyOfAnyKind(word)) return "take out the blank line above: it ended the section";
  if (word == kSectionTypeKey) return "write the section's name in brackets above this line";
  if (isComment(word)) return "there are no comments outside of a section; take the line out";
  if (word.back() == ']') return "did you mean '[" + word + "'?";
  return "a section begins with its name in brackets; a blank line ends it";
}

// The keys that the daemon passes over in the sections that it keeps.
Check eachUnknownKey(Look<SectionLine> look) {
  return eachSectionLine([look = std::move(look)](const SectionLine& line, Context& context) {
    if (line.section.kind == SectionKind::kUnknown || line.property.known) return;
    // Inside of a section a comment does no harm: to the daemon it is a key that means nothing.
    if (!isComment(line.property.key.text)) look(line, context);
  });
}

// Marks each name of `wanted` sections that one further up has.
Check repeatedNames(bool (Section::*wanted)() const, const char* loss) {
  return [wanted, loss](Context& context) {
    std::map<std::string, int> firstLines;
    for (const Section& section : context.subject.environment.sections) {
      if (!(section.*wanted)()) continue;
      const auto [first, isFirst] = firstLines.emplace(section.name, section.header.at.line);
      if (!isFirst)
        context.tell(section.header,
                     {"'{}' is defined in line {}, too: {}", section.name, first->second, loss});
    }
  };
}

// A name, or a slip that is another rule's.
bool triesToNameFile(const Section& section) {
  return !section.cutOff.empty() ||
         std::any_of(section.properties.begin(), section.properties.end(),
                     [&section](const Property& property) {
                       return property.known ? !property.words.empty()
                                             : !meantKey(section, property).empty();
                     });
}

void tellOfWordsBehindHeader(const Section& section, Context& context) {
  const std::vector<std::string>& lines = context.subject.environment.lines;
  const auto tell = [&context](const std::optional<Word>& ignored, const Word& word) {
    if (ignored)
      context.tell(*ignored, {"the daemon ignores what stands behind '{}'", word.text},
                   "take it out");
  };
  if (section.header.text.back() == ']') tell(ignoredBehind(lines, section.header), section.header);
  if (!section.kindWord.text.empty()) tell(wordBehind(lines, section.kindWord), section.kindWord);
}

const std::string& unknownKindExplained() {
  static const std::string text =
      "The kind of a section is none of the daemon's. It reads the section and drops it without a "
      "word, so that the sensor or device does not exist. The kinds are " +
      enumerated(sectionKindWords()) + ".";
  return text;
}

} // namespace

const std::vector<Rule> kSectionRules = {
    {"empty-environment", Severity::kError,
     "The environment file has no section of a sensor or a device. To the daemon that is no error: "
     "it reads no temperature, drives nothing and says nothing, and every item of every "
     "configuration ends it. Mostly it is the wrong file, or one that was cut short.",
     [](Context& context) {
       const Environment& board = context.subject.environment;
       // What the daemon stops at or drops was to be a sensor or a device: that is told there.
       const bool asWritten =
           board.breaks.empty() &&
           std::none_of(board.sections.begin(), board.sections.end(), [](const Section& section) {
             return section.isSensor() || section.isDevice() ||
                    section.kind == SectionKind::kUnknown;
           });
       if (asWritten) context.tell({"", {1, 1}}, "the daemon finds no sensor and no device here");
     }},

    {"junk-before-header", Severity::kError,
     "Where a section is expected, a line does not begin with \"[\". The daemon stops reading the "
     "environment at that line and says nothing: no sensor and no device below it exists. Mostly "
     "it is a comment, which the file cannot hold between its sections, a blank line in the middle "
     "of a section, or a header that lacks its opening bracket.",
     eachBreak([](const EnvironmentBreak& each, Context& context) {
       if (each.cause == EnvironmentBreak::kNoHeader)
         context.tell(each.word,
                      {"'{}' stands where a header is expected: {}", each.word.text,
                       stopsReading(each, context)},
                      hintForJunk(each.word.text));
     })},

    {"type-line-missing", Severity::kError,
     "The line directly below a header must begin with the word 'type'. Where it does not, or "
     "where a blank line comes first, the daemon stops reading the environment and says nothing: "
     "neither this section nor any below it exists. Write the 'type' line as the first one of the "
     "section.",
     eachBreak([](const EnvironmentBreak& each, Context& context) {
       const Ending stops = stopsReading(each, context);
       if (each.cause == EnvironmentBreak::kNothingBelow)
         context.tell(each.word, {"no 'type' line directly below the header: {}", stops},
                      "put the 'type' line there, without a blank line between");
       if (each.cause == EnvironmentBreak::kNoTypeLine)
         context.tell(
             each.word, {"'{}' stands where 'type' is expected: {}", each.word.text, stops},
             didYouMean(each.word.text, {"type"}, "put the 'type' line directly below the header"));
     })},

    {"header-without-bracket", Severity::kError,
     "The first word of a header does not end with \"]\". The daemon takes the first and the last "
     "character off, whatever they are, so that \"[cpu\" makes a section 'cp' and \"[cpu 0]\" one "
     "of the same name, and no item finds it under the name that was meant. Write the name between "
     "brackets, without white space.",
     eachSection([](const Section& section, Context& context) {
       const std::string& header = section.header.text;
       if (header.size() > 1 && header.back() == ']') return;
       context.tell(section.header,
                    {"the header's first word does not end with \"]\": the daemon drops its last "
                     "character all the same and takes '{}' for the name{}",
                     section.name, dependentsOf(section.header, context)},
                    "write the name in brackets and without white space");
     })},

    {"header-without-name", Severity::kWarning,
     "A sensor or device has an empty name. The daemon makes it, but no other line can name it. "
     "Write a name between the brackets.",
     eachSection([](const Section& section, Context& context) {
       // Nobody refers to the section of the configuration's name.
       if (section.header.text == "[]" && section.kind != SectionKind::kConfFile)
         context.tell(section.header, "the section has an empty name that no other line can name",
                      "write a name between the brackets");
     })},

    {"section-kind-missing", Severity::kError,
     "No kind stands behind 'type'. The daemon reads the section and drops it without a word. "
     "Write one of its kinds, such as 'real' or 'cpufreq'.",
     eachSection([](const Section& section, Context& context) {
       if (section.typeWord && section.kindWord.text.empty())
         context.tell(*section.typeWord,
                      {"no kind behind 'type': the daemon drops the section without a word{}",
                       dependentsOf(*section.typeWord, context)},
                      "the kinds are " + listed(sectionKindWords()));
     })},

    {"section-kind-wrong-case", Severity::kError,
     "The kind of a section is written with capitals. The daemon knows the kinds in small letters "
     "alone; it reads the section and drops it without a word.",
     eachSection([](const Section& section, Context& context) {
       if (!isKindInWrongCase(section)) return;
       const std::string kind = lowerCase(section.kindWord.text);
       context.tell(section.kindWord,
                    {"the daemon knows the kind '{}' in small letters alone and drops the section "
                     "without a word{}",
                     kind, dependentsOf(section.kindWord, context)},
                    {"did you mean '{}'?", kind});
     })},

    {"section-kind-unknown", Severity::kError, unknownKindExplained().c_str(),
     eachSection([](const Section& section, Context& context) {
       const std::string& kind = section.kindWord.text;
       if (hasUnknownKind(section) && !isKindInWrongCase(section))
         context.tell(section.kindWord,
                      {"unknown kind '{}': the daemon drops the section without a word{}", kind,
                       dependentsOf(section.kindWord, context)},
                      didYouMean(kind, sectionKindWords()));
     })},

    {"sections-merged", Severity::kError,
     "A header stands in the middle of a section, for want of a blank line above it. The daemon "
     "takes the header for an unknown key: the second section does not exist, and its lines "
     "replace values of the first. Put a blank line between the two.",
     eachSection([](const Section& section, Context& context) {
       // The daemon knows no header inside of a section; here it is the key of a line.
       for (const Property& property : section.properties)
         if (property.key.text[0] == '[')
           context.tell(property.key,
                        {"no blank line above this header: the daemon takes it for an unknown key "
                         "and the lines below it for those of '{}'{}",
                         section.name, dependentsOf(property.key, context)},
                        "put a blank line above it");
     })},

    {"section-key-misspelt", Severity::kError,
     "A key is none of the daemon's, but nearly one. The daemon ignores the line without a word "
     "and works with the value's default: no node, no table, no sources. Write the key as the hint "
     "has it; small letters count.",
     eachUnknownKey([](const SectionLine& line, Context& context) {
       const Word& key = line.property.key;
       const std::string meant = meantKey(line.section, line.property);
       if (!meant.empty() && !isKeyOfAnyKind(key.text))
         context.tell(key, {"unknown key '{}': the daemon ignores the line", key.text},
                      {"did you mean '{}'?", meant});
     })},

    {"section-key-of-other-kind", Severity::kWarning,
     "A key that the daemon knows from sections of another kind. Here it means nothing, and the "
     "daemon ignores the line without a word.",
     eachUnknownKey([](const SectionLine& line, Context& context) {
       const Word& key = line.property.key;
       if (isKeyOfAnyKind(key.text))
         context.tell(key,
                      {"'{}' means nothing in a section of kind '{}': the daemon ignores the line",
                       key.text, line.section.kindWord.text},
                      "its keys are " + listed(sectionKeys(line.section.kind)));
     })},

    {"section-key-unknown", Severity::kWarning,
     "A key that the daemon does not know in any section. It ignores the line without a word. A "
     "line that begins with \"#\", \";\" or \"//\" is ignored in the same way and is not reported.",
     eachUnknownKey([](const SectionLine& line, Context& context) {
       const Word& key = line.property.key;
       if (meantKey(line.section, line.property).empty() && !isKeyOfAnyKind(key.text))
         context.tell(key, {"unknown key '{}': the daemon ignores the line", key.text},
                      {"the keys of a section of kind '{}' are {}", line.section.kindWord.text,
                       listed(sectionKeys(line.section.kind))});
     })},

    {"section-key-repeated", Severity::kWarning,
     "A key stands twice in one section. The daemon takes the last of single values and appends "
     "the values of lists, neither of which the file's look tells. Write the key once.",
     eachSectionLine([](const SectionLine& line, Context& context) {
       const Word& key = line.property.key;
       if (!line.property.known) return;
       if (const Property* first = firstLike(line.section, line.property))
         context.tell(
             key, {"the key stands in line {}, too: the daemon {}", first->key.at.line,
                   takesAList(key.text) ? "appends these values to those" : "takes the last one"});
     })},

    {"section-words-ignored", Severity::kWarning,
     "More words than the key takes, or further ones behind a header or a kind. The daemon reads "
     "the "
     "first and ignores the rest of the line; a path with a blank in it is cut there.",
     [](Context& context) {
       eachSection(tellOfWordsBehindHeader)(context);
       eachSectionLine([](const SectionLine& line, Context& of) {
         const auto& [key, words, known] = line.property;
         if (known && words.size() > 1 && !takesAList(key.text))
           of.tell(
               words[1],
               {"the daemon takes one word behind '{}' and ignores the rest of the line", key.text},
               key.text == "node_path" ? "a path cannot hold white space" : "");
       })(context);
     }},

    {"sensor-name-repeated", Severity::kError,
     "Two sensors have one name. Both are sampled, but the name means the later one alone from its "
     "section on: no item can watch the first. Give each sensor a name of its own.",
     repeatedNames(&Section::isSensor,
                   "the daemon goes on sampling that sensor, but the name now means this one")},

    {"device-name-repeated", Severity::kError,
     "Two devices have one name. The name means the later one alone, and no item can drive the "
     "first. Give each device a name of its own.",
     repeatedNames(&Section::isDevice,
                   "the name now means this device, and nothing can drive that one")},

    {"file-name-missing", Severity::kWarning,
     "A section of kind 'conf_file' names no file. The daemon keeps the configuration under its "
     "default name, \"talmor-thermal_default.conf\", or under that of an earlier section. Write "
     "'file_name' and a name, or take the section out.",
     eachSection([](const Section& section, Context& context) {
       if (section.kind == SectionKind::kConfFile && !triesToNameFile(section))
         context.tell(section.place("file_name"),
                      "no file name: the daemon keeps to the name that it had before this section",
                      "write 'file_name' and the name");
     })},
};
