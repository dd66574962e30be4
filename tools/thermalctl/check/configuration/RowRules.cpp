#include <algorithm>
#include <map>
#include <set>

#include "check/configuration/ConfigurationRules.h"
#include "check/configuration/Items.h"

namespace {

std::string levelName(size_t row) {
  return "level " + std::to_string(row + 1);
}

// A device that a row names, and what the row asks of it.
struct Cell {
  size_t row;
  const Reference& device;
  const Number& level;
};

template <typename Visit> void forEachCell(const Subject& subject, Visit visit) {
  forEachMonitor(subject, [&](const Configuration& configuration, const Item& item) {
    if (!rowsAsWritten(item)) return;
    for (size_t i = 0; i < completeRows(item); ++i) {
      const std::vector<Reference>& devices = item.actions[i].pieces;
      const std::vector<Number>& levels = item.actionInfo[i].pieces;
      for (size_t j = 0; j < std::min(devices.size(), levels.size()); ++j)
        visit(configuration, item, Cell{i, devices[j], levels[j]});
    }
  });
}

template <typename Row>
void checkForPlus(const Configuration& configuration, const std::vector<Row>& rows,
                  Findings& findings) {
  for (const Row& row : rows)
    if (hasStrayPlus(row.word))
      findings.add(
          configuration.file, row.word,
          "the daemon takes this word for the row of one level, with nothing on one side of '+'",
          "write the names of a row without a space: a+b");
}

void strayPlus(const Subject& subject, Findings& findings) {
  forEachMonitor(subject, [&](const Configuration& configuration, const Item& item) {
    checkForPlus(configuration, item.actions, findings);
    checkForPlus(configuration, item.actionInfo, findings);
  });
}
constexpr Rule kStrayPlus = {
    "stray-plus", Severity::kError,
    "Every word behind 'actions' and 'action_info' is the row of one level, and '+' joins the "
    "names or numbers of one row. With a space beside it, 'cpu + gpu' is three rows: 'cpu', "
    "nothing, and 'gpu'.",
    strayPlus};

std::string shorterKey(const Item& item) {
  if (item.actions.size() == item.actionInfo.size()) return "'actions' and 'action_info' have";
  return item.actions.size() < item.actionInfo.size() ? "'actions' has" : "'action_info' has";
}

void levelWithoutRow(const Subject& subject, Findings& findings) {
  forEachMonitor(subject, [&](const Configuration& configuration, const Item& item) {
    const size_t rows = completeRows(item);
    // Without any row the item is rejected, which is told by another rule.
    if (rows == 0 || !rowsAsWritten(item) || !haveDigits(item.thresholds)) return;
    if (rows >= item.thresholds.size()) return;
    findings.add(configuration.file, item.thresholds[rows].word,
                 "at this temperature the daemon releases every device: " + shorterKey(item) +
                     " no row for " + levelName(rows),
                 "write a row for each threshold");
  });
}
constexpr Rule kLevelWithoutRow = {
    "level-without-row", Severity::kError,
    "A monitor that reaches a level for which 'actions' or 'action_info' has no row withdraws "
    "what it asked for and drives nothing, at the highest temperature of all. It needs one row "
    "of each for each threshold.",
    levelWithoutRow};

template <typename Row>
void checkForSurplus(const Configuration& configuration, const Item& item,
                     const std::vector<Row>& rows, Findings& findings) {
  const size_t levels = item.thresholds.size();
  if (rows.size() <= levels) return;
  findings.add(configuration.file, rows[levels].word,
               "the daemon never comes to this row: no threshold leads to " + levelName(levels),
               "write a threshold for each row");
}

void rowWithoutLevel(const Subject& subject, Findings& findings) {
  forEachMonitor(subject, [&](const Configuration& configuration, const Item& item) {
    if (item.thresholds.empty() || !rowsAsWritten(item)) return;
    // Of two lists that are too long one finding is enough: whoever mends one sees the other.
    if (item.actions.size() > item.thresholds.size())
      checkForSurplus(configuration, item, item.actions, findings);
    else
      checkForSurplus(configuration, item, item.actionInfo, findings);
  });
}
constexpr Rule kRowWithoutLevel = {
    "row-without-level", Severity::kWarning,
    "A monitor has as many levels as thresholds. A row beyond them is never used; more often a "
    "threshold was forgotten.",
    rowWithoutLevel};

std::string effectOfLengths(size_t row, size_t devices, size_t levels) {
  const std::string names = levelName(row) + " names " + std::to_string(devices) +
                            (devices == 1 ? " device" : " devices");
  const std::string values = std::to_string(levels) + (levels == 1 ? " level" : " levels");
  return names + " and gives " + values +
         (levels < devices ? ": the daemon does not drive the last ones"
                           : ": the daemon ignores the last ones");
}

void rowLengthsDiffer(const Subject& subject, Findings& findings) {
  forEachMonitor(subject, [&](const Configuration& configuration, const Item& item) {
    if (!rowsAsWritten(item)) return;
    for (size_t i = 0; i < completeRows(item); ++i) {
      const size_t devices = item.actions[i].pieces.size();
      const size_t levels = item.actionInfo[i].pieces.size();
      if (devices != levels)
        findings.add(configuration.file, item.actionInfo[i].word,
                     effectOfLengths(i, devices, levels),
                     "write one level for each device, joined by '+'");
    }
  });
}
constexpr Rule kRowLengthsDiffer = {
    "row-lengths-differ", Severity::kError,
    "The numbers of a row of 'action_info' belong to the devices of the same row of 'actions', "
    "one by one. A device without a number is not driven, and a number without a device is "
    "ignored, both without a message.",
    rowLengthsDiffer};

void levelPastTable(const Subject& subject, Findings& findings) {
  forEachCell(subject, [&](const Configuration& configuration, const Item&, const Cell& cell) {
    const Section* device = cell.device.section;
    if (!device || isOfKind(device, "report") || device->levels.empty() || !sound(cell.level))
      return;
    const auto last = static_cast<int64_t>(device->levels.size()) - 1;
    if (cell.level.value <= last) return;
    findings.add(configuration.file, cell.level.word,
                 "the daemon takes level " + std::to_string(last) +
                     " instead, the last in the table of " + quoted(device->name));
  });
}
constexpr Rule kLevelPastTable = {
    "level-past-table", Severity::kError,
    "A level is an index into the device's table, counted from 0. Of a level past its end the "
    "daemon makes the last one, which is seldom what was meant: either the table or the row "
    "lacks something.",
    levelPastTable};

void negativeLevel(const Subject& subject, Findings& findings) {
  forEachCell(subject, [&](const Configuration& configuration, const Item&, const Cell& cell) {
    if (cell.level.value < 0 && sound(cell.level))
      findings.add(configuration.file, cell.level.word, "the daemon takes this for level 0");
  });
}
constexpr Rule kNegativeLevel = {
    "negative-level", Severity::kError,
    "A device takes the highest of all requests, and at least 0. A negative level asks for "
    "nothing.",
    negativeLevel};

// What a row asks of each of its devices; of a device that it names twice, the last.
std::map<const Section*, const Number*> requestsOf(const Item& item, size_t row) {
  std::map<const Section*, const Number*> requests;
  const std::vector<Reference>& devices = item.actions[row].pieces;
  const std::vector<Number>& levels = item.actionInfo[row].pieces;
  for (size_t j = 0; j < std::min(devices.size(), levels.size()); ++j)
    if (devices[j].section && !isOfKind(devices[j].section, "report"))
      requests[devices[j].section] = &levels[j];
  return requests;
}

// Calls `visit` with each row but the first that a threshold leads to.
template <typename Visit> void forEachRise(const Subject& subject, Visit visit) {
  forEachMonitor(subject, [&](const Configuration& configuration, const Item& item) {
    if (!rowsAsWritten(item)) return;
    const size_t rows = std::min(completeRows(item), item.thresholds.size());
    for (size_t row = 1; row < rows; ++row)
      visit(configuration, item, row);
  });
}

void levelFalls(const Subject& subject, Findings& findings) {
  forEachRise(subject, [&](const Configuration& configuration, const Item& item, size_t row) {
    const auto before = requestsOf(item, row - 1);
    for (const auto& [device, level] : requestsOf(item, row)) {
      const auto last = before.find(device);
      if (last == before.end() || !sound(*level) || !sound(*last->second) || level->value < 0)
        continue;
      if (level->value >= last->second->value) continue;
      findings.add(configuration.file, level->word,
                   "from " + levelName(row - 1) + " to " + levelName(row) + " the daemon lowers " +
                       quoted(device->name) + " from " + std::to_string(last->second->value) +
                       " to " + std::to_string(level->value),
                   "ask for at least what the row before asks for");
    }
  });
}
constexpr Rule kLevelFalls = {
    "level-falls", Severity::kWarning,
    "Each row is complete in itself. One that asks less of a device than the row before it cools "
    "less where it is hotter, and then it grows hotter still.",
    levelFalls};

bool namesOnlyKnownDevices(const DeviceRow& row) {
  return std::all_of(row.pieces.begin(), row.pieces.end(),
                     [](const Reference& device) { return device.section != nullptr; });
}

bool names(const DeviceRow& row, const Section* device) {
  return std::any_of(row.pieces.begin(), row.pieces.end(),
                     [device](const Reference& reference) { return reference.section == device; });
}

void deviceLeftOut(const Subject& subject, Findings& findings) {
  forEachRise(subject, [&](const Configuration& configuration, const Item& item, size_t row) {
    // A name that the daemon does not know may be a slip for the very device that seems to be left
    // out.
    if (!namesOnlyKnownDevices(item.actions[row])) return;
    std::vector<std::string> left;
    for (const auto& [device, level] : requestsOf(item, row - 1))
      if (level->value > 0 && !names(item.actions[row], device)) left.push_back(device->name);
    if (left.empty()) return;
    std::sort(left.begin(), left.end());
    findings.add(configuration.file, item.actions[row].word,
                 "from " + levelName(row - 1) + " to " + levelName(row) + " the daemon releases " +
                     listed(left),
                 "name in each row all devices of the row before");
  });
}
constexpr Rule kDeviceLeftOut = {
    "device-left-out", Severity::kWarning,
    "Each row is complete in itself: a device that a row does not name is released when that "
    "level is reached, although it is hotter then. Name in each row all devices of the row "
    "before it.",
    deviceLeftOut};

void deviceTwiceInRow(const Subject& subject, Findings& findings) {
  forEachMonitor(subject, [&](const Configuration& configuration, const Item& item) {
    if (!rowsAsWritten(item)) return;
    for (const DeviceRow& row : item.actions) {
      std::set<const Section*> seen;
      for (const Reference& device : row.pieces)
        if (device.section && !seen.insert(device.section).second)
          findings.add(configuration.file, device.word,
                       "the row names " + quoted(device.word.text) +
                           " twice, and the daemon goes by the last",
                       "name each device of a row once");
    }
  });
}
constexpr Rule kDeviceTwiceInRow = {
    "device-twice-in-row", Severity::kWarning,
    "A device keeps one request per item. Of a device that a row names twice only the last "
    "number counts, not the highest.",
    deviceTwiceInRow};

void reportLevel(const Subject& subject, Findings& findings) {
  forEachCell(subject, [&](const Configuration& configuration, const Item&, const Cell& cell) {
    if (!isOfKind(cell.device.section, "report") || !sound(cell.level) || cell.level.value == 1)
      return;
    findings.add(configuration.file, cell.level.word,
                 cell.level.value == 0
                     ? "the daemon reports that all is well at " + levelName(cell.row)
                     : "the daemon reports nothing at " + levelName(cell.row),
                 "write 1");
  });
}
constexpr Rule kReportLevel = {
    "report-level", Severity::kError,
    "A report device has no levels. It writes \"Over Thresholds\" for a request of exactly 1 and "
    "\"Under Thresholds Clear\" for 0; for any other number it writes nothing.",
    reportLevel};

void reportInSeveralLevels(const Subject& subject, Findings& findings) {
  std::set<std::pair<std::string, int>> told;
  forEachCell(subject, [&](const Configuration& configuration, const Item& item, const Cell& cell) {
    if (!isOfKind(cell.device.section, "report") || item.thresholds.size() < 2) return;
    if (!told.emplace(configuration.file, item.header.at.line).second) return;
    findings.add(configuration.file, cell.device.word,
                 "the daemon reports anew whenever the item moves from one level to another",
                 "give the report an item of its own with one threshold");
  });
}
constexpr Rule kReportInSeveralLevels = {
    "report-in-several-levels", Severity::kWarning,
    "A monitor asks anew at each change of level. A report device in its rows writes a further "
    "\"Over Thresholds\" each time, on the way up and on the way down, and \"Under Thresholds "
    "Clear\" at a level that does not name it, though it is hotter there. For one line each way "
    "give the report a monitor of its own with one threshold.",
    reportInSeveralLevels};

// A camera's fixed frame rate is a switch beside its node: the daemon turns it on whenever it
// applies a request while it is at level 0, and off again where it stays there.
void cameraAtLevel0(const Subject& subject, Findings& findings) {
  forEachCell(subject, [&](const Configuration& configuration, const Item&, const Cell& cell) {
    if (!isOfKind(cell.device.section, "camera") || !sound(cell.level) || cell.level.value != 0)
      return;
    findings.add(configuration.file, cell.level.word,
                 "at " + levelName(cell.row) +
                     " the daemon switches the camera's fixed frame rate on and off again",
                 "take " + quoted(cell.device.word.text) + " out of this row");
  });
}
constexpr Rule kCameraAtLevel0 = {
    "camera-at-level-0", Severity::kWarning,
    "A camera that is asked for level 0 while it is at level 0 switches its fixed frame rate on "
    "and off again at each change of the monitor's level, which a viewer sees as a stutter. "
    "Leave it out of the rows that do not need it.",
    cameraAtLevel0};

} // namespace

const std::vector<Rule>& rowRules() {
  static const std::vector<Rule> rules = {
      kStrayPlus,        kLevelWithoutRow,       kRowWithoutLevel,
      kRowLengthsDiffer, kLevelPastTable,        kNegativeLevel,
      kLevelFalls,       kDeviceLeftOut,         kDeviceTwiceInRow,
      kReportLevel,      kReportInSeveralLevels, kCameraAtLevel0};
  return rules;
}
