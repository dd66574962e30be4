#include "config/EnvParser.h"

#include <string_view>

#include "device/DeviceKinds.h"
#include "sensor/Real.h"
#include "sensor/Virtual.h"
#include "thread/SensorThread.h"

namespace {

// The kinds that are none of a device.
constexpr struct {
  const char* word;
  SectionKind kind;
} kOwnKinds[] = {
    {"real", SectionKind::kReal},
    {"virtual", SectionKind::kVirtual},
    {"conf_file", SectionKind::kConfFile},
};

bool beginsQuoted(const std::string& word) {
  return word.front() == '"';
}
bool endsQuoted(const std::string& word) {
  return word.back() == '"';
}

// The text of the quoted entry whose first word is in hand. A quote that is never closed takes the
// rest of the line.
std::string quotedEntry(TextReader& text) {
  std::string joined = text.word();
  while (!endsQuoted(text.word())) {
    if (!text.nextWord()) return joined.substr(1);
    joined += " " + text.word();
  }
  return headerName(joined);
}

} // namespace

SectionKind sectionKind(const std::string& word) {
  for (const auto& each : kOwnKinds)
    if (each.word == word) return each.kind;
  return deviceMaker(word) ? SectionKind::kDevice : SectionKind::kUnknown;
}

std::vector<std::string> sectionKindWords() {
  std::vector<std::string> words;
  for (const auto& each : kOwnKinds)
    words.emplace_back(each.word);
  for (const DeviceKind& each : deviceKinds())
    words.emplace_back(each.word);
  return words;
}

EnvParser::EnvParser(std::istream& in, Daemon& board_) : text(in), board(board_) {}

void EnvParser::parse() {
  while (!text.ended())
    if (text.advance() && !readSection(text, *this)) return;
}

void EnvParser::beginSection() {
  section = Section();
  section.name = headerName(text.word());
}

void EnvParser::takeKind() {
  if (text.nextWord()) section.kindWord = text.word();
  section.kind = sectionKind(section.kindWord);
}

void EnvParser::takeProperty() {
  const std::string key = text.word();
  visitKeys(section, section.kind, [&](std::string_view known, auto& field) {
    if (key == known) take(field);
  });
}

void EnvParser::endSection() {
  if (section.kind == SectionKind::kReal)
    buildReal();
  else if (section.kind == SectionKind::kVirtual)
    buildVirtual();
  else if (section.kind == SectionKind::kDevice)
    buildDevice();
  else if (!section.fileName.empty())
    board.confFileName = section.fileName;
}

void EnvParser::buildReal() {
  Real* sensor = makeReal(section.name, static_cast<uint32_t>(section.sampling), section.nodePath);
  board.sensors[section.name] = sensor;
  SensorThread& worker = workerFor(section.sampling);
  worker.insert(sensor);
  sensor->thread = &worker;
  sensor->activate();
}

void EnvParser::buildVirtual() {
  SensorThread& worker = workerFor(section.sampling);
  auto* sensor = new Virtual(section.name, static_cast<uint32_t>(section.sampling), &worker,
                             section.setPoint, section.setPointClr, section.sources, section.math,
                             section.offsets, section.weights);
  board.sensors[section.name] = sensor;
  worker.insert(sensor);
  if (auto* real = dynamic_cast<Real*>(section.trip)) real->insertVirtualSensor(sensor);
}

void EnvParser::buildDevice() {
  std::vector<std::string> levels;
  for (const Level& level : section.levels)
    levels.push_back(level.text);
  const std::string type = valueTypeOf(section.levels);
  board.devices[section.name] =
      makeDevice(section.kindWord, section.name, section.nodePath, type, levels);
}

Real* EnvParser::makeReal(const std::string& name, uint32_t sampling, const std::string& nodePath) {
  return new Real(name, sampling, nodePath);
}

Device* EnvParser::makeDevice(const std::string& kind, const std::string& name,
                              const std::string& nodePath, const std::string& type,
                              const std::vector<std::string>& levelTable) {
  return deviceMaker(kind)(name, nodePath, type, levelTable);
}

std::string EnvParser::nextWord() {
  return text.nextWord() ? text.word() : "";
}

void EnvParser::take(std::string& word) {
  if (text.nextWord()) word = text.word();
}

void EnvParser::take(std::vector<int32_t>& list) {
  while (text.nextWord())
    list.push_back(parseInt32(text.word()));
}

void EnvParser::take(std::vector<Sensor*>& sources) {
  // A name that no section above defines gets a null entry, and the sensor a null source.
  while (text.nextWord())
    sources.push_back(board.sensors[text.word()]);
}

void EnvParser::take(std::vector<Level>& levels) {
  while (text.nextWord()) {
    const bool quoted = beginsQuoted(text.word());
    levels.push_back({quoted ? quotedEntry(text) : text.word(), quoted});
  }
}

SensorThread& EnvParser::workerFor(int32_t period) {
  SensorThread*& worker = board.sensorThreads[period];
  if (!worker) worker = new SensorThread(period);
  return *worker;
}
