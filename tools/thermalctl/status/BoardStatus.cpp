#include "status/BoardStatus.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>
#include <sstream>
#include <thread>

#include "base/Int32.h"
#include "base/TextReader.h"
#include "board/SectionDevice.h"
#include "device/CPUFreqDevice.h"
#include "device/ReportDevice.h"
#include "status/NodeReading.h"
#include "text/Phrases.h"

// The board as its files and nodes show it, without a word to the daemon: what it reads and writes
// there is read as well. A device's level is nowhere written down; it is the entry of the table
// that the node holds.

namespace {

StatusRow faultIn(StatusRow row, const std::string& note) {
  row.note = note;
  row.mood = StatusRow::kFault;
  return row;
}

// It is empty for a moment while the daemon writes its answer.
std::optional<std::string> wordOf(ControlFile file) {
  std::optional<std::string> word = file.word();
  for (int tries = 0; tries < 5 && word && word->empty(); ++tries) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
    word = file.word();
  }
  return word;
}

StatusRow readWord(const std::string& name, const std::string& path) {
  StatusRow row;
  row.name = name;
  const std::optional<std::string> word = wordOf(ControlFile(path));
  if (!word || *word == kNoFile) return faultIn(row, "cannot be opened: " + path);
  if (word->empty()) return faultIn(row, "empty");
  row.value = *word;
  return row;
}

StatusRow readRequest(const std::string& path) {
  StatusRow row = readWord("request", path);
  if (row.value == kParsed)
    row.value = "none";
  else if (!row.value.empty())
    row.note = "pending";
  return row;
}

bool isNumber(const std::string& word) {
  char* end = nullptr;
  std::strtol(word.c_str(), &end, 10);
  return end != word.c_str();
}

// Nothing without a node_path.
std::string nodeOf(const Section& section, const std::string& root) {
  const bool hasNode = section.nodePath && !section.nodePath->text.empty();
  return hasNode ? root + section.nodePath->text : "";
}

StatusRow readSensor(const Section& sensor, const std::string& root) {
  StatusRow row{sensor.name, sensor.kindWord.text, "", "", "", StatusRow::kCalm};
  if (sensor.kind == SectionKind::kVirtual) {
    row.note = "computed, no node";
    return row;
  }
  const std::string path = nodeOf(sensor, root);
  const NodeReading reading = readNode(path);
  // The daemon reads whatever the mode says.
  if (!reading.hasContent())
    return faultIn(row, reading.fault + reading.reserve + (path.empty() ? "" : ": " + path));
  std::string word;
  // The daemon reads the first word, and of that the digits at its front.
  std::istringstream(reading.content) >> word;
  const int64_t millidegrees = int64_t{parseInt32(word)} * sensor.unit;
  row.value =
      degreesInFull(static_cast<int32_t>(std::clamp<int64_t>(millidegrees, INT32_MIN, INT32_MAX))) +
      " C";
  if (word.empty()) return faultIn(row, "empty, which reads as 0");
  if (!isNumber(word)) return faultIn(row, "'" + word + "', which reads as 0");
  return row;
}

// A CPU clock's driver takes four raw bytes, and one that merely keeps them gives them back.
std::optional<std::string> rawNumber(const Device& device, const std::string& bytes) {
  int32_t raw = 0;
  if (!dynamic_cast<const CPUFreqDevice*>(&device) || bytes.size() != sizeof raw)
    return std::nullopt;
  std::memcpy(&raw, bytes.data(), sizeof raw);
  return std::to_string(raw);
}

// Where in the table the value stands, if it does.
std::optional<size_t> levelOf(const Device& device, const std::string& value) {
  for (size_t i = 0; i < device.levelTable.size(); ++i) {
    // A node that merely keeps its text may also hold the entry as the table has it.
    if (value == device.levelTable[i]) return i;
    const std::string output = device.output(static_cast<int32_t>(i));
    if (!output.empty() && value == rawNumber(device, output).value_or(output)) return i;
  }
  return std::nullopt;
}

std::string valueOf(const Device& device, const std::string& content) {
  std::string text = content;
  trim(text);
  const std::optional<std::string> number = rawNumber(device, content);
  if (!number || (!levelOf(device, *number) && isNumber(text))) return text;
  return *number;
}

StatusRow readReport(StatusRow row, std::string content) {
  trim(content);
  row.note =
      content.empty() ? "nothing reported" : "last: " + content.substr(content.rfind('\n') + 1);
  return row;
}

StatusRow readDevice(const Section& section, const std::string& root) {
  StatusRow row{section.name, section.kindWord.text, "", "", "", StatusRow::kCalm};
  const std::string path = nodeOf(section, root);
  const NodeReading reading = readNode(path);
  if (!reading.fault.empty())
    return faultIn(row, reading.fault + (path.empty() ? "" : ": " + path));
  row.note = reading.reserve;
  if (!reading.hasContent()) return row;
  const std::unique_ptr<Device> device = deviceOf(section);
  if (dynamic_cast<const ReportDevice*>(device.get())) return readReport(row, reading.content);
  row.value = valueOf(*device, reading.content);
  const std::optional<size_t> level = levelOf(*device, row.value);
  if (row.value.empty())
    row.note = "empty";
  else if (!level)
    row.note = "not in its level table";
  if (!level) return row;
  row.level = std::to_string(*level) + " of " + std::to_string(section.levels.size() - 1);
  if (*level > 0) row.mood = StatusRow::kCooling;
  return row;
}

} // namespace

bool BoardStatus::hasFault() const {
  const auto isFault = [](const StatusRow& row) { return row.mood == StatusRow::kFault; };
  return isFault(scenario) || isFault(request) ||
         std::any_of(sensors.begin(), sensors.end(), isFault) ||
         std::any_of(devices.begin(), devices.end(), isFault);
}

BoardStatus readStatus(const ControlDirectory& directory, const Environment& environment,
                       const std::string& root) {
  BoardStatus status;
  // Not in the daemon's order: whoever watches the files for its looks shall not take this for one.
  status.request = readRequest(directory.requestFile);
  status.scenario = readWord("scenario", directory.scenarioFile);
  // In the file's order, and without those that the daemon does not know or that another of their
  // name has replaced.
  for (const Section& section : environment.sections) {
    if (section.isSensor() && environment.sensor(section.name) == &section)
      status.sensors.push_back(readSensor(section, root));
    if (section.isDevice() && environment.device(section.name) == &section)
      status.devices.push_back(readDevice(section, root));
  }
  return status;
}
