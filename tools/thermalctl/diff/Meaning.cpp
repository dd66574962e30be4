#include "diff/Meaning.h"

#include <algorithm>
#include <cstdlib>

#include <fmt/core.h>
#include <fmt/format.h>

#include "base/Int32.h"
#include "coverage/Coverage.h"
#include "text/Phrases.h"

// What the daemon makes of a file, as facts: names with texts, block by block. Two files that
// differ only in the spelling of numbers or in the order of their blocks have the same facts.

namespace {

std::string joined(const std::vector<std::string>& texts) {
  std::string all;
  for (const std::string& text : texts)
    all += (all.empty() ? "" : " ") + text;
  return all.empty() ? "none" : all;
}

std::string milliseconds(const Number& period) {
  return std::to_string(static_cast<uint32_t>(period.value)) + " ms";
}

std::string nameIn(const std::optional<Reference>& reference) {
  return reference && reference->section ? reference->word.text : "none";
}

// What the daemon writes for an entry: two spellings of one number are no change.
std::string written(const Section& device, const Level& level) {
  const std::string& kind = device.kindWord.text;
  if (kind == "camera") return level.text;
  if (kind == "cpufreq" || device.valueType == "integer")
    return std::to_string(parseInt32(level.text));
  if (device.valueType == "hex")
    return fmt::format(
        "0x{:x}", std::strtoul(level.text.size() < 2 ? "" : level.text.c_str() + 2, nullptr, 16));
  return device.valueType == "string" ? quoted(level.text) : "nothing";
}

Facts factsOf(const Section& section) {
  Facts facts = {{"kind", section.kindWord.text}};
  if (section.nodePath) facts["node"] = section.nodePath->text;
  if (section.isDevice()) {
    // It writes a line of its own, whatever the table has.
    if (isReport(section)) return facts;
    facts["levels"] = std::to_string(section.levels.size());
    for (size_t i = 0; i < section.levels.size(); ++i)
      facts[fmt::format("level {}", i)] = written(section, section.levels[i]);
    return facts;
  }
  facts["sampling"] = milliseconds(section.sampling);
  if (section.kind != SectionKind::kVirtual) return facts;
  const Section* trip = section.trip ? section.trip->section : nullptr;
  const int32_t unit = trip ? trip->unit : 1;
  facts["trip sensor"] = nameIn(section.trip);
  facts["set point"] = celsiusText(static_cast<int64_t>(section.setPoint.value) * unit);
  facts["clearing set point"] = celsiusText(static_cast<int64_t>(section.setPointClr.value) * unit);
  // A sum has no order.
  std::vector<std::string> sources;
  for (size_t i = 0; i < std::min(section.sources.size(), section.weights.size()); ++i)
    if (section.sources[i].section)
      sources.push_back(
          fmt::format("{}*{}", section.weights[i].value, section.sources[i].word.text));
  std::sort(sources.begin(), sources.end());
  facts["sources"] = joined(sources);
  facts["sum of the weights"] = std::to_string(section.weightSum());
  // As the daemon adds them up: a sum beyond 32 bits goes around, which a signed number must not.
  uint32_t offsets = 0;
  for (const Number& offset : section.offsets)
    offsets += static_cast<uint32_t>(offset.value);
  facts["offsets"] = std::to_string(static_cast<int32_t>(offsets));
  return facts;
}

std::string temperatureOf(const Number& temperature, const Item& item) {
  return celsiusText(millidegreesOf(temperature, item));
}

// What a row asks of each device; of one named twice the daemon goes by the last.
std::map<std::string, std::string> requestsOf(const Item& item, size_t row) {
  std::map<std::string, std::string> requests;
  if (row >= item.actions.size()) return requests;
  const auto& devices = item.actions[row].pieces;
  for (size_t i = 0; i < devices.size(); ++i) {
    const bool hasLevel = row < item.actionInfo.size() && i < item.actionInfo[row].pieces.size();
    if (devices[i].section)
      requests[devices[i].word.text] =
          hasLevel ? std::to_string(item.actionInfo[row].pieces[i].value) : "no level";
  }
  return requests;
}

void addMonitor(Facts& facts, const Item& item) {
  for (size_t i = 0; i < item.thresholds.size(); ++i) {
    const std::string level = fmt::format("level {}", i + 1);
    facts[level] = temperatureOf(item.thresholds[i], item);
    if (i < item.thresholdsClr.size())
      facts[level + " clearing"] = temperatureOf(item.thresholdsClr[i], item);
    for (const auto& [device, request] : requestsOf(item, i))
      facts[fmt::format("{} {}", level, device)] = request;
  }
}

void addSS(Facts& facts, const Item& item) {
  facts["device"] = nameIn(item.device);
  facts["set point"] = temperatureOf(item.setPoint, item);
  facts["clearing set point"] = temperatureOf(item.setPointClr, item);
  facts["start level"] = std::to_string(item.startLevel.value);
  facts["floor"] =
      item.devicePerfFloor.value == INT32_MAX ? "none" : std::to_string(item.devicePerfFloor.value);
  facts["time tick trigger"] = std::to_string(static_cast<uint32_t>(item.timeTickTrigger.value));
}

Facts factsOf(const Item& item) {
  Facts facts = {{"kind", item.kind == ItemKind::kSS ? "ss" : "monitor"},
                 {"sensor", nameIn(item.sensor)},
                 {"sampling", milliseconds(item.sampling)},
                 {"lowactive", item.lowactive ? "true" : "false"}};
  // Of such an item the daemon has nothing, and what stands there may yet be a change.
  if (!item.created) facts["in force"] = "never: the daemon ends before, or for it";
  if (item.kind == ItemKind::kSS)
    addSS(facts, item);
  else
    addMonitor(facts, item);
  return facts;
}

} // namespace

std::string celsiusText(int64_t millidegrees) {
  const int64_t amount = std::abs(millidegrees);
  std::string text =
      fmt::format("{}{}.{:03}", millidegrees < 0 ? "-" : "", amount / 1000, amount % 1000);
  while (text.back() == '0' && text[text.size() - 2] != '.')
    text.pop_back();
  return text + " C";
}

void addMeaning(Meaning& meaning, const Environment& environment) {
  for (const auto& [name, sensor] : environment.sensors)
    if (sensor) meaning[{"", "", "sensor " + name}] = factsOf(*sensor);
  for (const auto& [name, device] : environment.devices)
    if (device) meaning[{"", "", "device " + name}] = factsOf(*device);
  meaning[{"", "", "configuration"}]["name"] = environment.confFileName.text;
}

void addMeaning(Meaning& meaning, const Configuration& configuration, const std::string& name) {
  for (const std::string& scenario : configuration.scenarios)
    meaning[{name, scenario, ""}]["scenario"] = "declared";
  if (configuration.fatal())
    meaning[{name, "", ""}]["the daemon ends"] = configuration.fatal()->message;
  std::map<std::pair<std::string, std::string>, size_t> seen;
  for (const Item& item : configuration.items) {
    // Namesakes in one scenario are told apart by their order alone: there is nothing else.
    const size_t count = ++seen[{item.scenario, item.name}];
    const std::string itemName = count == 1 ? item.name : fmt::format("{} ({})", item.name, count);
    meaning[{name, item.scenario, itemName}] = factsOf(item);
  }
}
