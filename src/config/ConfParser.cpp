#include "config/ConfParser.h"

#include "algo/Monitor.h"
#include "algo/SS.h"
#include "base/Int32.h"
#include "base/Names.h"
#include "base/TextReader.h"
#include "thread/MonitorThread.h"
#include "thread/SSThread.h"

namespace {

template <typename Worker>
Worker& workerFor(std::map<std::string, Worker*>& workers, const std::string& key,
                  uint32_t sampling) {
  Worker*& worker = workers[key];
  if (!worker) worker = new Worker(static_cast<int>(sampling));
  return *worker;
}

std::string missingProperty(const std::string& itemName) {
  // As the C string that the line's format takes: a name ends where it holds a NUL.
  return std::string("There is some missing property for ") + itemName.c_str();
}

} // namespace

ConfParser::ConfParser(std::istream& in_, const Registries& registries_)
    : in(in_), registries(registries_) {}

std::optional<std::string> ConfParser::parse() {
  while (!in.eof()) {
    if (getString(in, line) != 0) continue;
    if (auto error = parseItem()) return error;
  }
  registries.scenarios.clear();
  for (auto& [name, scenario] : scenarios)
    registries.scenarios[name] = scenario.release();
  return std::nullopt;
}

std::optional<std::string> ConfParser::parseItem() {
  if (nextWord() == "]") {
    scenarioName = kDefaultScenario;
    getString(in, line);
    nextWord();
  } else if (word == "SCEN") {
    enterScenario();
    getString(in, line);
    nextWord();
  }
  if (word[0] != '[') return "Each item should be started with 'SCEN' or embraced with [name]";

  Item item;
  item.name = headerName(word);
  getString(in, line);
  if (nextWord() != "algo_type")
    return "Each item's property should contain & start with 'algo_type'";
  if (nextWord() == "monitor") {
    parseProperties(item, monitorKeys());
    return buildMonitor(item);
  }
  if (word == "ss") {
    parseProperties(item, ssKeys());
    return buildSS(item);
  }
  // The capitals are the message's own; only the lower-case word is accepted.
  return "Algo type should be 'monitor' or 'SS'";
}

void ConfParser::enterScenario() {
  scenarioName = nextWord();
  std::unique_ptr<Scenario>& scenario = scenarios[scenarioName];
  if (!scenario)
    scenario = std::make_unique<Scenario>(scenarioName, scenarioName == kDefaultScenario);
}

void ConfParser::parseProperties(Item& item, const KeyTable& keys) {
  // A blank line right after the type line ends nothing: the type word is then taken for a key that
  // means nothing. Nor is the first key tested for the "]" that ends an item.
  getString(in, line);
  nextWord();
  do {
    const auto key = keys.find(word);
    if (key != keys.end()) key->second(*this, item);
  } while (getString(in, line) == 0 && nextWord() != "]");
}

const ConfParser::KeyTable& ConfParser::monitorKeys() {
  static const KeyTable keys = {
      {"sensor",
       [](ConfParser& p, Item& item) { item.sensor = p.registries.sensors[p.nextWord()]; }},
      {"sampling",
       [](ConfParser& p, Item& item) { item.sampling = static_cast<uint32_t>(p.nextNumber()); }},
      {"thresholds", [](ConfParser& p, Item& item) { p.appendNumbers(item.thresholds); }},
      {"thresholds_clr", [](ConfParser& p, Item& item) { p.appendNumbers(item.thresholdsClr); }},
      {"actions",
       [](ConfParser& p, Item& item) {
         p.appendRows(item.actions, [&p](const std::string& name) {
           const auto device = p.registries.devices.find(name);
           return device == p.registries.devices.end() ? nullptr : device->second;
         });
       }},
      {"action_info", [](ConfParser& p, Item& item) { p.appendRows(item.actionInfo, parseInt32); }},
      {"lowactive", [](ConfParser& p, Item& item) { item.lowactive = p.nextWord() == "true"; }},
  };
  return keys;
}

const ConfParser::KeyTable& ConfParser::ssKeys() {
  static const KeyTable keys = {
      {"sensor",
       [](ConfParser& p, Item& item) { item.sensor = p.registries.sensors[p.nextWord()]; }},
      {"device",
       [](ConfParser& p, Item& item) { item.device = p.registries.devices[p.nextWord()]; }},
      {"sampling",
       [](ConfParser& p, Item& item) { item.sampling = static_cast<uint32_t>(p.nextNumber()); }},
      {"set_point", [](ConfParser& p, Item& item) { item.setPoint = p.nextNumber(); }},
      {"set_point_clr", [](ConfParser& p, Item& item) { item.setPointClr = p.nextNumber(); }},
      {"start_level", [](ConfParser& p, Item& item) { item.startLevel = p.nextNumber(); }},
      {"device_perf_floor",
       [](ConfParser& p, Item& item) { item.devicePerfFloor = p.nextNumber(); }},
      {"time_tick_trigger",
       [](ConfParser& p, Item& item) {
         item.timeTickTrigger = static_cast<uint32_t>(p.nextNumber());
       }},
      {"lowactive", [](ConfParser& p, Item& item) { item.lowactive = p.nextWord() == "true"; }},
  };
  return keys;
}

std::optional<std::string> ConfParser::buildMonitor(const Item& item) {
  MonitorThread& worker =
      workerFor(registries.monitorThreads, std::to_string(item.sampling) + scenarioName + "MONITOR",
                item.sampling);
  if (!item.sensor || item.thresholds.empty() || item.thresholdsClr.empty() ||
      item.actions.empty() || item.actionInfo.empty())
    return missingProperty(item.name);
  auto* monitor = new Monitor(item.name, item.sampling, item.thresholds[0], item.thresholdsClr[0],
                              scenarioName, item.lowactive, item.sensor, &worker, item.actions,
                              item.actionInfo, item.thresholds, item.thresholdsClr);
  worker.insert(monitor);
  return std::nullopt;
}

std::optional<std::string> ConfParser::buildSS(const Item& item) {
  SSThread& worker = workerFor(registries.ssThreads,
                               std::to_string(item.sampling) + scenarioName + "SS", item.sampling);
  if (!item.sensor || !item.device || item.setPoint == 0 || item.setPointClr == 0)
    return missingProperty(item.name);
  auto* ss = new SS(item.name, item.sampling, item.setPoint, item.setPointClr, item.startLevel,
                    scenarioName, item.lowactive, item.sensor, &worker, item.device,
                    item.devicePerfFloor, item.timeTickTrigger);
  worker.insert(ss);
  return std::nullopt;
}

const std::string& ConfParser::nextWord() {
  line >> word;
  return word;
}

int32_t ConfParser::nextNumber() {
  return parseInt32(nextWord());
}

void ConfParser::appendNumbers(std::vector<int32_t>& list) {
  while (line >> word)
    list.push_back(parseInt32(word));
}

template <typename T, typename Convert>
void ConfParser::appendRows(std::vector<std::vector<T>>& rows, Convert convert) {
  std::vector<std::string> words;
  while (line >> word)
    words.push_back(word);
  for (size_t i = 0; i < words.size(); ++i) {
    rows.emplace_back();
    std::vector<std::string> pieces;
    stringTokenizer(words[i], pieces, "+");
    for (const std::string& piece : pieces)
      rows[i].push_back(convert(piece));
  }
}
