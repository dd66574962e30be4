#include "board/LostNames.h"

#include <algorithm>

#include "base/TextReader.h"
#include "config/EnvGrammar.h"
#include "text/Characters.h"
#include "text/LookAlikes.h"
#include "text/Nearest.h"
#include "text/Phrases.h"

// A name that an item uses and the daemon does not know is mostly no mistake of the item: the
// section was there, and was lost by a line above it, by its kind or by its header. Here each such
// name is kept with the line that lost it, and whatever counts on it is counted for that line.

namespace {

// The kind that a word behind "type" was meant to be, if it is near one.
SectionKind guessedKind(const std::string& word) {
  const std::string read = lowerCase(asRead(word));
  const SectionKind kind = sectionKind(read);
  return kind == SectionKind::kUnknown ? sectionKind(nearest(read, sectionKindWords())) : kind;
}

// What a header was meant to call its section: without either bracket, whether it is there or not.
std::string meantName(const std::string& header) {
  std::string name = asRead(header);
  if (!name.empty() && name.front() == '[') name.erase(0, 1);
  if (!name.empty() && name.back() == ']') name.pop_back();
  return name;
}

bool mayBeSensor(SectionKind kind) {
  return kind == SectionKind::kReal || kind == SectionKind::kVirtual ||
         kind == SectionKind::kUnknown;
}

bool mayBeDevice(SectionKind kind) {
  return kind == SectionKind::kDevice || kind == SectionKind::kUnknown;
}

// The period of a section that may be that of a real sensor; of one that the daemon drops, it has
// not been read.
std::optional<int32_t> periodOf(const Section& section, SectionKind kind) {
  const Property* line = section.last("sampling");
  if (line && !line->words.empty()) return numberOf(line->words.front()).value;
  if (kind == SectionKind::kReal) return Section().sampling.value;
  return std::nullopt;
}

} // namespace

LostNames::LostNames(const Environment& environment_,
                     const std::vector<Configuration>& configurations)
    : environment(environment_), all(environment_.isForeign()) {
  for (const Section& section : environment.sections) {
    if (!section.readByDaemon)
      loseUnread(section);
    else
      loseDropped(section);
    loseMerged(section);
  }
  for (const EnvironmentBreak& each : environment.breaks) {
    if (each.cause != EnvironmentBreak::kNoHeader) continue;
    if (each.word.text == kSectionTypeKey) nameless = true;
    lose(meantName(each.word.text), SectionKind::kUnknown, environment.breaks.front().word.at.line);
  }
  for (const Section& section : environment.sections)
    if (section.readByDaemon && section.kind == SectionKind::kVirtual) count(section);
  for (const Configuration& configuration : configurations)
    for (const Item* item : configuration.meant)
      count(*item);
}

void LostNames::lose(const std::string& name, SectionKind kind, int line) {
  if (mayBeSensor(kind) && !environment.sensor(name)) sensors.emplace(name, line);
  if (mayBeDevice(kind) && !environment.device(name)) devices.emplace(name, line);
}

void LostNames::loseUnread(const Section& section) {
  const int line = environment.breaks.front().word.at.line;
  const SectionKind kind =
      section.kind == SectionKind::kUnknown ? guessedKind(section.kindWord.text) : section.kind;
  lose(section.name, kind, line);
  lose(meantName(section.header.text), kind, line);
  losePeriod(section, kind);
}

void LostNames::losePeriod(const Section& section, SectionKind kind) {
  if (kind != SectionKind::kReal && kind != SectionKind::kUnknown) return;
  if (const auto period = periodOf(section, kind)) periods.insert(*period);
}

// Either for its kind or for its header.
void LostNames::loseDropped(const Section& section) {
  SectionKind kind = section.kind;
  if (kind == SectionKind::kUnknown) {
    kind = guessedKind(section.kindWord.text);
    lose(section.name, kind, section.kindWord.at.line);
    losePeriod(section, kind);
  }
  lose(meantName(section.header.text), kind, section.header.at.line);
}

void LostNames::loseMerged(const Section& section) {
  for (size_t i = 0; i < section.properties.size(); ++i) {
    const Word& header = section.properties[i].key;
    if (header.text[0] != '[') continue;
    const std::vector<Word>* kind =
        i + 1 < section.properties.size() ? &section.properties[i + 1].words : nullptr;
    // The line below a swallowed header is its "type" line, if there is one.
    lose(headerName(header.text),
         kind && !kind->empty() ? guessedKind(kind->front().text) : SectionKind::kUnknown,
         header.at.line);
  }
}

void LostNames::addLine(std::set<int>& lines, const std::map<std::string, int>& names,
                        const std::string& name) const {
  const auto found = names.find(name);
  if (found != names.end())
    lines.insert(found->second);
  else if (nameless)
    lines.insert(environment.breaks.front().word.at.line);
}

void LostNames::addLines(std::set<int>& lines, const Section& sensor) const {
  for (const Reference& source : sensor.sources)
    if (!source.section) addLine(lines, sensors, source.word.text);
  if (sensor.trip && !sensor.trip->section) addLine(lines, sensors, sensor.trip->word.text);
}

void LostNames::count(const Section& section) {
  std::set<int> lines;
  addLines(lines, section);
  for (const int line : lines)
    ++dependentsByLine[line].sensors;
}

void LostNames::count(const Item& item) {
  std::set<int> lines;
  if (item.sensor && !item.sensor->section) addLine(lines, sensors, item.sensor->word.text);
  if (item.device && !item.device->section) addLine(lines, devices, item.device->word.text);
  // Without its sensor or its device the daemon rejects the item, and ends.
  for (const int line : lines)
    dependentsByLine[line].endTheDaemon = true;
  if (item.sensor && item.sensor->section) addLines(lines, *item.sensor->section);
  for (const DeviceRow& row : item.actions)
    for (const Reference& device : row.pieces)
      if (!device.section) addLine(lines, devices, device.word.text);
  if (all) lines = {0};
  for (const int line : lines)
    ++dependentsByLine[line].items;
}

std::string LostNames::dependents(int line) const {
  const auto found = dependentsByLine.find(all ? 0 : line);
  if (found == dependentsByLine.end()) return "";
  const auto& [items, virtuals, ends] = found->second;
  const size_t number = items > 0 ? items : virtuals;
  return "; " + counted(number, items > 0 ? "item" : "virtual sensor") +
         (number == 1 ? " depends" : " depend") + " on it" +
         (endsTheDaemon(line) ? ", and the daemon ends" : "");
}

bool LostNames::endsTheDaemon(int line) const {
  const auto found = dependentsByLine.find(all ? 0 : line);
  return found != dependentsByLine.end() && (all || found->second.endTheDaemon);
}
