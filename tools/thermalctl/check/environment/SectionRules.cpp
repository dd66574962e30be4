#include <algorithm>
#include <map>
#include <set>

#include "check/environment/EnvironmentRules.h"
#include "text/Characters.h"
#include "text/Nearest.h"

namespace {

std::string stopsReading(const Environment& environment, const EnvironmentBreak& each) {
  return &each == &environment.breaks.front()
             ? "the daemon stops reading the file here, without a word"
             : "the daemon would stop reading the file here, too";
}

bool isComment(const std::string& word) {
  return word[0] == '#' || word[0] == ';' || word.rfind("//", 0) == 0;
}

std::string hintForJunk(const std::string& word) {
  if (word.rfind("\xEF\xBB\xBF", 0) == 0) return "save the file without a byte order mark";
  if (isComment(word)) return "there are no comments outside of a section; take the line out";
  if (word.back() == ']') return "did you mean '[" + word + "'?";
  return "a section begins with its name in brackets; a blank line ends it";
}

void junkBeforeHeader(const Subject& subject, Findings& findings) {
  for (const EnvironmentBreak& each : subject.environment.breaks) {
    if (each.cause != EnvironmentBreak::kNoHeader) continue;
    findings.add(subject.environment.file, each.word,
                 quoted(each.word.text) + " stands where a header is expected: " +
                     stopsReading(subject.environment, each),
                 hintForJunk(each.word.text));
  }
}
constexpr Rule kJunkBeforeHeader = {
    "junk-before-header", Severity::kError,
    "Where a section is expected, a line does not begin with \"[\". The daemon stops reading the "
    "environment at that line and says nothing: no sensor and no device below it exists. Mostly "
    "it is a comment, which the file cannot hold between its sections, a blank line in the "
    "middle of a section, a header that lacks its opening bracket, or a byte order mark.",
    junkBeforeHeader};

void typeLineMissing(const Subject& subject, Findings& findings) {
  for (const EnvironmentBreak& each : subject.environment.breaks) {
    const std::string stops = stopsReading(subject.environment, each);
    if (each.cause == EnvironmentBreak::kNothingBelow)
      findings.add(subject.environment.file, each.word,
                   "no 'type' line directly below the header: " + stops,
                   "put the 'type' line there, without a blank line between");
    else if (each.cause == EnvironmentBreak::kNoTypeLine)
      findings.add(subject.environment.file, each.word,
                   quoted(each.word.text) + " stands where 'type' is expected: " + stops,
                   nearest(each.word.text, {"type"}).empty()
                       ? "put the 'type' line directly below the header"
                       : "did you mean 'type'?");
  }
}
constexpr Rule kTypeLineMissing = {
    "type-line-missing", Severity::kError,
    "The line directly below a header must begin with the word 'type'. Where it does not, or "
    "where a blank line comes first, the daemon stops reading the environment and says nothing: "
    "neither this section nor any below it exists. Write the 'type' line as the first one of the "
    "section.",
    typeLineMissing};

void headerWithoutBracket(const Subject& subject, Findings& findings) {
  for (const Section& section : subject.environment.sections) {
    const std::string& header = section.header.text;
    if (header.size() > 1 && header.back() == ']') continue;
    findings.add(
        subject.environment.file, section.header,
        "the header's first word does not end with \"]\": the daemon drops its last character all "
        "the same and takes " +
            quoted(section.name) + " for the name",
        "write the name in brackets and without white space");
  }
}
constexpr Rule kHeaderWithoutBracket = {
    "header-without-bracket", Severity::kError,
    "The first word of a header does not end with \"]\". The daemon takes the first and the last "
    "character off, whatever they are, so that \"[cpu\" makes a section 'cp' and \"[cpu 0]\" one "
    "of the same name, and no item finds it under the name that was meant. Write the name "
    "between brackets, without white space.",
    headerWithoutBracket};

void headerWithoutName(const Subject& subject, Findings& findings) {
  for (const Section& section : subject.environment.sections)
    // Nobody refers to the section of the configuration's name.
    if (section.header.text == "[]" && section.kind != SectionKind::kConfFile)
      findings.add(subject.environment.file, section.header,
                   "the section has an empty name that no other line can name",
                   "write a name between the brackets");
}
constexpr Rule kHeaderWithoutName = {
    "header-without-name", Severity::kWarning,
    "A sensor or device has an empty name. The daemon makes it, but no other line can name it. "
    "Write a name between the brackets.",
    headerWithoutName};

bool hasUnknownKind(const Section& section) {
  return section.kind == SectionKind::kUnknown && !section.kindWord.text.empty();
}

bool isKindInWrongCase(const Section& section) {
  return hasUnknownKind(section) &&
         sectionKind(lowerCase(section.kindWord.text)) != SectionKind::kUnknown;
}

void sectionKindMissing(const Subject& subject, Findings& findings) {
  for (const Section* section : sectionsOf(subject.environment, SectionKind::kUnknown)) {
    if (section->typeWord && section->kindWord.text.empty())
      findings.add(subject.environment.file, *section->typeWord,
                   "no kind behind 'type': the daemon drops the section without a word",
                   "the kinds are " + listed(sectionKindWords()));
  }
}
constexpr Rule kSectionKindMissing = {
    "section-kind-missing", Severity::kError,
    "No kind stands behind 'type'. The daemon reads the section and drops it without a word. "
    "Write one of its kinds, such as 'real' or 'cpufreq'.",
    sectionKindMissing};

void sectionKindWrongCase(const Subject& subject, Findings& findings) {
  for (const Section& section : subject.environment.sections) {
    if (!isKindInWrongCase(section)) continue;
    const std::string& word = section.kindWord.text;
    findings.add(subject.environment.file, section.kindWord,
                 "the daemon knows the kind " + quoted(lowerCase(word)) +
                     " in small letters alone and drops the section without a word",
                 "did you mean '" + lowerCase(word) + "'?");
  }
}
constexpr Rule kSectionKindWrongCase = {
    "section-kind-wrong-case", Severity::kError,
    "The kind of a section is written with capitals. The daemon knows the kinds in small letters "
    "alone; it reads the section and drops it without a word.",
    sectionKindWrongCase};

void sectionKindUnknown(const Subject& subject, Findings& findings) {
  for (const Section& section : subject.environment.sections) {
    if (!hasUnknownKind(section) || isKindInWrongCase(section)) continue;
    findings.add(subject.environment.file, section.kindWord,
                 "unknown kind " + quoted(section.kindWord.text) +
                     ": the daemon drops the section without a word",
                 didYouMean(section.kindWord.text, sectionKindWords()));
  }
}
constexpr Rule kSectionKindUnknown = {
    "section-kind-unknown", Severity::kError,
    "The kind of a section is none of the daemon's. It reads the section and drops it without a "
    "word, so that the sensor or device does not exist. The kinds are real, virtual, conf_file, "
    "camera, report, charger, cpufreq, gpufreq, backlight and cpuhotplug.",
    sectionKindUnknown};

void sectionsMerged(const Subject& subject, Findings& findings) {
  for (const Section& section : subject.environment.sections)
    for (const Property& property : section.properties)
      if (property.key.text[0] == '[')
        findings.add(
            subject.environment.file, property.key,
            "no blank line above this header: the daemon takes it for an unknown key and the lines "
            "below it for those of " +
                quoted(section.name),
            "put a blank line above it");
}
constexpr Rule kSectionsMerged = {
    "sections-merged", Severity::kError,
    "A header stands in the middle of a section, for want of a blank line above it. The daemon "
    "takes the header for an unknown key: the second section does not exist, and its lines "
    "replace values of the first. Put a blank line between the two.",
    sectionsMerged};

bool isKeyOfAnyKind(const std::string& key) {
  static const std::set<std::string> keys = [] {
    std::set<std::string> all;
    for (const std::string& kind : sectionKindWords()) {
      const std::vector<std::string>& own = sectionKeys(sectionKind(kind));
      all.insert(own.begin(), own.end());
    }
    return all;
  }();
  return keys.count(key) > 0;
}

// Calls `visit` for each key that the daemon passes over in a section that it keeps.
template <typename Visit> void forUnknownKeys(const Environment& environment, Visit visit) {
  for (const Section& section : environment.sections) {
    if (section.kind == SectionKind::kUnknown) continue;
    for (const Property* property : ownProperties(section))
      // Inside of a section a comment does no harm: to the daemon it is a key that means nothing.
      if (!property->known && !isComment(property->key.text)) visit(section, *property);
  }
}

void sectionKeyOfOtherKind(const Subject& subject, Findings& findings) {
  forUnknownKeys(subject.environment, [&](const Section& section, const Property& property) {
    if (isKeyOfAnyKind(property.key.text))
      findings.add(subject.environment.file, property.key,
                   quoted(property.key.text) + " means nothing in a section of kind " +
                       quoted(section.kindWord.text) + ": the daemon ignores the line",
                   "its keys are " + listed(sectionKeys(section.kind)));
  });
}
constexpr Rule kSectionKeyOfOtherKind = {
    "section-key-of-other-kind", Severity::kWarning,
    "A key that the daemon knows from sections of another kind. Here it means nothing, and the "
    "daemon ignores the line without a word.",
    sectionKeyOfOtherKind};

void sectionKeyMisspelt(const Subject& subject, Findings& findings) {
  forUnknownKeys(subject.environment, [&](const Section& section, const Property& property) {
    const std::string meant = meantKey(section, property);
    if (!meant.empty() && !isKeyOfAnyKind(property.key.text))
      findings.add(subject.environment.file, property.key,
                   "unknown key " + quoted(property.key.text) + ": the daemon ignores the line",
                   "did you mean '" + meant + "'?");
  });
}
constexpr Rule kSectionKeyMisspelt = {
    "section-key-misspelt", Severity::kError,
    "A key is none of the daemon's, but nearly one. The daemon ignores the line without a word "
    "and works with the value's default: no node, no table, no sources. Write the key as the "
    "hint has it; small letters count.",
    sectionKeyMisspelt};

void sectionKeyUnknown(const Subject& subject, Findings& findings) {
  forUnknownKeys(subject.environment, [&](const Section& section, const Property& property) {
    if (meantKey(section, property).empty() && !isKeyOfAnyKind(property.key.text))
      findings.add(subject.environment.file, property.key,
                   "unknown key " + quoted(property.key.text) + ": the daemon ignores the line",
                   "the keys of a section of kind " + quoted(section.kindWord.text) + " are " +
                       listed(sectionKeys(section.kind)));
  });
}
constexpr Rule kSectionKeyUnknown = {
    "section-key-unknown", Severity::kWarning,
    "A key that the daemon does not know in any section. It ignores the line without a word. A "
    "line that begins with \"#\", \";\" or \"//\" is ignored in the same way and is not reported.",
    sectionKeyUnknown};

bool takesAList(const std::string& key) {
  static const std::set<std::string> lists = {"sensors", "offsets", "weights", "level_table"};
  return lists.count(key) > 0;
}

void sectionKeyRepeated(const Subject& subject, Findings& findings) {
  for (const Section& section : subject.environment.sections) {
    std::map<std::string, int> firstLines;
    for (const Property* property : ownProperties(section)) {
      const Word& key = property->key;
      const auto [first, isFirst] = firstLines.emplace(key.text, key.at.line);
      if (isFirst || !property->known) continue;
      const std::string above = "the key stands in line " + std::to_string(first->second) + ", too";
      findings.add(subject.environment.file, key,
                   takesAList(key.text) ? above + ": the daemon appends these values to those"
                                        : above + ": the daemon takes the last one");
    }
  }
}
constexpr Rule kSectionKeyRepeated = {
    "section-key-repeated", Severity::kWarning,
    "A key stands twice in one section. The daemon takes the last of single values and appends "
    "the values of lists, neither of which the file's look tells. Write the key once.",
    sectionKeyRepeated};

void sectionWordsIgnored(const Subject& subject, Findings& findings) {
  for (const Section& section : subject.environment.sections)
    for (const Property* property : ownProperties(section))
      if (property->known && property->words.size() > 1 && !takesAList(property->key.text))
        findings.add(subject.environment.file, property->words[1],
                     "the daemon takes one word behind " + quoted(property->key.text) +
                         " and ignores the rest of the line",
                     property->key.text == "node_path" ? "a path cannot hold white space" : "");
}
constexpr Rule kSectionWordsIgnored = {
    "section-words-ignored", Severity::kWarning,
    "More words than the key takes. The daemon reads the first and ignores the rest of the line; "
    "a path with a blank in it is cut there.",
    sectionWordsIgnored};

// Marks each name of `wanted` sections that one further up has.
template <typename Wanted>
void checkRepeatedNames(const Subject& subject, Findings& findings, Wanted wanted,
                        const char* loss) {
  std::map<std::string, int> firstLines;
  for (const Section& section : subject.environment.sections) {
    if (!wanted(section)) continue;
    const auto [first, isFirst] = firstLines.emplace(section.name, section.header.at.line);
    if (!isFirst)
      findings.add(subject.environment.file, section.header,
                   quoted(section.name) + " is defined in line " + std::to_string(first->second) +
                       ", too: " + loss);
  }
}

void sensorNameRepeated(const Subject& subject, Findings& findings) {
  checkRepeatedNames(
      subject, findings, [](const Section& section) { return section.isSensor(); },
      "the daemon goes on sampling that sensor, but the name now means this one");
}
constexpr Rule kSensorNameRepeated = {
    "sensor-name-repeated", Severity::kError,
    "Two sensors have one name. Both are sampled, but the name means the later one alone from "
    "its section on: no item can watch the first. Give each sensor a name of its own.",
    sensorNameRepeated};

void deviceNameRepeated(const Subject& subject, Findings& findings) {
  checkRepeatedNames(
      subject, findings, [](const Section& section) { return section.isDevice(); },
      "the name now means this device, and nothing can drive that one");
}
constexpr Rule kDeviceNameRepeated = {
    "device-name-repeated", Severity::kError,
    "Two devices have one name. The name means the later one alone, and no item can drive the "
    "first. Give each device a name of its own.",
    deviceNameRepeated};

void fileNameMissing(const Subject& subject, Findings& findings) {
  for (const Section* section : sectionsOf(subject.environment, SectionKind::kConfFile)) {
    const bool given = std::any_of(
        section->properties.begin(), section->properties.end(), [&](const Property& property) {
          return property.known ? !property.words.empty() : !meantKey(*section, property).empty();
        });
    if (!given)
      findings.add(subject.environment.file, section->place("file_name"),
                   "no file name: the daemon keeps to the name that it had before this section",
                   "write 'file_name' and the name");
  }
}
constexpr Rule kFileNameMissing = {
    "file-name-missing", Severity::kWarning,
    "A section of kind 'conf_file' names no file. The daemon keeps the configuration under its "
    "default name, \"talmor-thermal_default.conf\", or under that of an earlier section. Write "
    "'file_name' and a name, or take the section out.",
    fileNameMissing};

} // namespace

const std::vector<Rule>& sectionRules() {
  static const std::vector<Rule> rules = {
      kJunkBeforeHeader,    kTypeLineMissing,       kHeaderWithoutBracket, kHeaderWithoutName,
      kSectionKindMissing,  kSectionKindWrongCase,  kSectionKindUnknown,   kSectionsMerged,
      kSectionKeyMisspelt,  kSectionKeyOfOtherKind, kSectionKeyUnknown,    kSectionKeyRepeated,
      kSectionWordsIgnored, kSensorNameRepeated,    kDeviceNameRepeated,   kFileNameMissing};
  return rules;
}
