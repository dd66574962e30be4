#include "config/ConfParser.h"

#include <string_view>

#include "algo/Monitor.h"
#include "algo/SS.h"
#include "base/Names.h"
#include "thread/MonitorThread.h"
#include "thread/SSThread.h"

namespace {

// Whether each mandatory key has given something. A set point of 0 is none.
template <typename Item> bool isComplete(const Item& item) {
  bool complete = true;
  visitKeys(item, item.kind, [&complete](const char*, const auto& field, Need need) {
    if (need == Need::kMandatory && field == std::decay_t<decltype(field)>()) complete = false;
  });
  return complete;
}

} // namespace

ConfParser::ConfParser(std::istream& in, const Registries& registries_)
    : text(in), registries(registries_) {}

std::string ConfParser::messageOf(ConfError::Failure failure, const std::string& itemName) {
  switch (failure) {
  case ConfError::kNoItem:
    return "Each item should be started with 'SCEN' or embraced with [name]";
  case ConfError::kNoType:
    return "Each item's property should contain & start with 'algo_type'";
  case ConfError::kBadType:
    // The capitals are the message's own; only the lower-case word is accepted.
    return "Algo type should be 'monitor' or 'SS'";
  default:
    // As the C string that the line's format takes: a name ends where it holds a NUL.
    return std::string("There is some missing property for ") + itemName.c_str();
  }
}

std::optional<std::string> ConfParser::parse() {
  while (!text.ended()) {
    if (!text.advance()) continue;
    if (const auto failure = readItem(text, *this)) return messageOf(*failure, item.name);
  }
  registries.scenarios.clear();
  for (auto& [name, scenario] : scenarios)
    registries.scenarios[name] = scenario.release();
  return std::nullopt;
}

void ConfParser::leaveScenario() {
  scenarioName = kDefaultScenario;
}

void ConfParser::enterScenario() {
  scenarioName = nextWord();
  std::unique_ptr<Scenario>& scenario = scenarios[scenarioName];
  if (!scenario)
    scenario = std::make_unique<Scenario>(scenarioName, scenarioName == kDefaultScenario);
}

void ConfParser::beginItem() {
  item = Item();
  item.name = headerName(text.word());
}

bool ConfParser::takeKind() {
  item.kind = itemKind(nextWord());
  return item.kind != ItemKind::kNone;
}

void ConfParser::takeProperty() {
  const std::string key = text.word();
  visitKeys(item, item.kind, [&](std::string_view known, auto& field, Need) {
    if (key == known) take(field);
  });
}

std::optional<ConfError::Failure> ConfParser::endItem() {
  return item.kind == ItemKind::kMonitor ? buildMonitor() : buildSS();
}

std::optional<ConfError::Failure> ConfParser::buildMonitor() {
  const auto sampling = static_cast<uint32_t>(item.sampling);
  MonitorThread& worker = workerFor(registries.monitorThreads, sampling);
  if (!isComplete(item)) return ConfError::kMissingProperty;
  auto* monitor = new Monitor(item.name, sampling, item.thresholds[0], item.thresholdsClr[0],
                              scenarioName, item.lowactive, item.sensor, &worker, item.actions,
                              item.actionInfo, item.thresholds, item.thresholdsClr);
  worker.insert(monitor);
  return std::nullopt;
}

std::optional<ConfError::Failure> ConfParser::buildSS() {
  const auto sampling = static_cast<uint32_t>(item.sampling);
  SSThread& worker = workerFor(registries.ssThreads, sampling);
  if (!isComplete(item)) return ConfError::kMissingProperty;
  auto* ss = new SS(item.name, sampling, item.setPoint, item.setPointClr, item.startLevel,
                    scenarioName, item.lowactive, item.sensor, &worker, item.device,
                    item.devicePerfFloor, static_cast<uint32_t>(item.timeTickTrigger));
  worker.insert(ss);
  return std::nullopt;
}

template <typename Worker>
Worker& ConfParser::workerFor(std::map<std::string, Worker*>& workers, uint32_t sampling) {
  Worker*& worker = workers[workerKey(item.kind, sampling, scenarioName)];
  if (!worker) worker = new Worker(static_cast<int>(sampling));
  return *worker;
}

const std::string& ConfParser::nextWord() {
  text.nextWord();
  return text.word();
}

void ConfParser::take(std::vector<int32_t>& list) {
  while (text.nextWord())
    list.push_back(parseInt32(text.word()));
}

void ConfParser::take(Monitor::DeviceRows& rows) {
  appendRows(rows, [this](const std::string& name) {
    const auto device = registries.devices.find(name);
    return device == registries.devices.end() ? nullptr : device->second;
  });
}

void ConfParser::take(Monitor::LevelRows& rows) {
  appendRows(rows, parseInt32);
}

template <typename T, typename Convert>
void ConfParser::appendRows(std::vector<std::vector<T>>& rows, Convert convert) {
  std::vector<std::string> words;
  while (text.nextWord())
    words.push_back(text.word());
  for (size_t i = 0; i < words.size(); ++i) {
    rows.emplace_back();
    std::vector<std::string> pieces;
    stringTokenizer(words[i], pieces, "+");
    for (const std::string& piece : pieces)
      rows[i].push_back(convert(piece));
  }
}
