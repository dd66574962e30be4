#include "check/Inspection.h"

#include <cerrno>
#include <map>
#include <system_error>

#include "base/TextReader.h"
#include "check/Check.h"

namespace {

// The content of a file, which the inspection then holds; or null and a remark that it is unread.
const std::string* readInto(Inspection& inspection, const std::string& name) {
  errno = 0;
  std::optional<std::string> content = readFile(name);
  if (!content) {
    inspection.unread.push_back({name, std::generic_category().message(errno)});
    return nullptr;
  }
  return &inspection.sources.insert_or_assign(name, Source(std::move(*content)))
              .first->second.text();
}

void assume(std::map<std::string, const Section*>& known, Environment& board,
            const std::string& name) {
  if (known.count(name) > 0) return;
  Section& section = board.sections.emplace_back();
  section.name = name;
  section.sampling.value = 0; // no item is faster
  known[name] = &section;
}

// Takes every name that an item uses for that of a sensor or a device of the board.
void assumeNames(Environment& board, const Configuration& configuration) {
  for (const Item& item : configuration.items) {
    if (item.sensor) assume(board.sensors, board, item.sensor->word.text);
    if (item.device) assume(board.devices, board, item.device->word.text);
    for (const DeviceRow& row : item.actions)
      for (const Reference& device : row.pieces)
        assume(board.devices, board, device.word.text);
  }
}

void readConfigurations(Inspection& inspection, const std::vector<std::string>& names) {
  std::set<std::string> done;
  for (const std::string& name : names) {
    if (!done.insert(name).second) continue;
    const std::string* content = readInto(inspection, name);
    if (!content) continue;
    // Read twice: first for the names that it uses, then on a board that has them.
    if (!inspection.hasBoard)
      assumeNames(inspection.environment, readConfiguration(name, *content, Environment()));
    inspection.configurations.push_back(readConfiguration(name, *content, inspection.environment));
  }
}

} // namespace

std::string describe(const UnreadFile& file) {
  return "cannot read " + file.name + ": " + file.reason;
}

Inspection inspect(const InspectionOrder& order) {
  Inspection inspection;
  const std::string* board = readInto(inspection, order.environment);
  inspection.hasBoard = board != nullptr;
  inspection.environment = readEnvironment(order.environment, board ? *board : "");
  if (!board) inspection.environment.kind = {};
  readConfigurations(inspection, order.configurations);

  std::set<std::string> disabled = order.disabledRules;
  // Of a file that could not be read nothing can be said; an empty one has findings of its own.
  if (!inspection.hasBoard)
    for (const Rule& rule : environmentRules())
      disabled.insert(rule.name);
  // What could not be read may use whatever the others do not.
  if (!inspection.unread.empty()) disabled.insert({"unused-sensor", "unused-device"});
  inspection.findings =
      check({inspection.environment, inspection.configurations, order.nodesRoot}, disabled);
  return inspection;
}
