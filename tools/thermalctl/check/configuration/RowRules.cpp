#include <algorithm>
#include <map>
#include <set>

#include "check/configuration/ConfigurationRules.h"
#include "check/configuration/Rows.h"
#include "check/rule/Numbers.h"
#include "check/rule/Visits.h"
#include "text/Phrases.h"

// The rows of a monitor stand across several lines of the file, a column for each level:
//   thresholds   60000  70000
//   actions      clock  clock+charger
//   action_info  1      2+1
// At 70 degrees, here, `clock` is asked for level 2 and `charger` for level 1.

namespace {

std::string levelName(size_t row) {
  return "level " + std::to_string(row + 1);
}

bool isOfKind(const Section* device, const char* kind) {
  return device && device->kindWord.text == kind;
}

// The rows of a monitor, where they can be compared.
struct Rows {
  const Item& item;
  // How many have devices as well as levels: the daemon goes no further.
  size_t complete;
  // How many of those a threshold leads to.
  size_t reached;
};

Check eachWithRows(Look<Rows> look) {
  return eachMonitor([look = std::move(look)](const Item& item, Context& context) {
    if (!rowsAsWritten(item)) return;
    const size_t complete = std::min(item.actions.size(), item.actionInfo.size());
    look({item, complete, std::min(complete, item.thresholds.size())}, context);
  });
}

// A device that a row names, and what the row asks of it.
struct Cell {
  const Item& item;
  size_t row;
  const Reference& device;
  const Number& level;
};

std::vector<Cell> cellsOf(const Item& item, size_t row) {
  const std::vector<Reference>& devices = item.actions[row].pieces;
  const std::vector<Number>& levels = item.actionInfo[row].pieces;
  std::vector<Cell> cells;
  for (size_t i = 0; i < std::min(devices.size(), levels.size()); ++i)
    cells.push_back({item, row, devices[i], levels[i]});
  return cells;
}

Check eachCell(Look<Cell> look) {
  return eachWithRows([look = std::move(look)](const Rows& rows, Context& context) {
    for (size_t row = 0; row < rows.complete; ++row)
      for (const Cell& cell : cellsOf(rows.item, row))
        look(cell, context);
  });
}

// What a row asks of each of its devices; of a device that it names twice, the last.
std::map<const Section*, const Number*> requestsOf(const Item& item, size_t row) {
  std::map<const Section*, const Number*> requests;
  for (const Cell& cell : cellsOf(item, row))
    if (cell.device.section && !isOfKind(cell.device.section, "report"))
      requests[cell.device.section] = &cell.level;
  return requests;
}

const char* shorterKey(const Item& item) {
  if (item.actions.size() == item.actionInfo.size()) return "'actions' and 'action_info' have";
  return item.actions.size() < item.actionInfo.size() ? "'actions' has" : "'action_info' has";
}

// The first row behind the last one that a threshold leads to, or null.
template <typename Row> const Word* surplus(const Item& item, const std::vector<Row>& rows) {
  const size_t levels = item.thresholds.size();
  return rows.size() > levels ? &rows[levels].word : nullptr;
}

// The devices that the row before drives, and this one does not name.
std::set<std::string> leftOut(const Item& item, size_t row) {
  std::set<const Section*> named;
  for (const Reference& device : item.actions[row].pieces)
    named.insert(device.section);
  // A name that the daemon does not know may be a slip for the very device that seems to be left
  // out.
  if (named.count(nullptr) > 0) return {};
  std::set<std::string> left;
  for (const auto& [device, level] : requestsOf(item, row - 1))
    if (level->value > 0 && named.count(device) == 0) left.insert(device->name);
  return left;
}

} // namespace

const std::vector<Rule> kRowRules = {
    {"stray-plus", Severity::kError,
     "Every word behind 'actions' and 'action_info' is the row of one level, and '+' joins the "
     "names or numbers of one row. With a space beside it, 'cpu + gpu' is three rows: 'cpu', "
     "nothing, and 'gpu'.",
     eachItemLine([](const ItemLine& line, Context& context) {
       const auto& [key, words, known] = line.property;
       if (!known || (key.text != "actions" && key.text != "action_info")) return;
       // Whoever writes one so writes all so.
       const auto stray = std::find_if(words.begin(), words.end(), hasStrayPlus);
       if (stray != words.end())
         context.tell(*stray,
                      "the daemon takes this word for the row of one level, with nothing on one "
                      "side of '+'",
                      "write the names of a row without a space: a+b");
     })},

    {"level-without-row", Severity::kError,
     "A monitor that reaches a level for which 'actions' or 'action_info' has no row withdraws "
     "what it asked for and drives nothing, at the highest temperature of all. It needs one row of "
     "each for each threshold.",
     eachWithRows([](const Rows& rows, Context& context) {
       const std::vector<Number>& thresholds = rows.item.thresholds;
       // Without any row the item is rejected, which is told by another rule.
       if (rows.complete > 0 && rows.complete < thresholds.size() && haveDigits(thresholds))
         context.tell(thresholds[rows.complete].word,
                      {"at this temperature the daemon releases every device: {} no row for {}",
                       shorterKey(rows.item), levelName(rows.complete)},
                      "write a row for each threshold");
     })},

    {"row-without-level", Severity::kWarning,
     "A monitor has as many levels as thresholds. A row beyond them is never used; more often a "
     "threshold was forgotten.",
     eachWithRows([](const Rows& rows, Context& context) {
       const Item& item = rows.item;
       // Of two lists that are too long one finding is enough: whoever mends one sees the other.
       const Word* row = surplus(item, item.actions);
       if (!row) row = surplus(item, item.actionInfo);
       if (row && !item.thresholds.empty())
         context.tell(*row,
                      {"the daemon never comes to this row: no threshold leads to {}",
                       levelName(item.thresholds.size())},
                      "write a threshold for each row");
     })},

    {"row-lengths-differ", Severity::kError,
     "The numbers of a row of 'action_info' belong to the devices of the same row of 'actions', "
     "one by one. A device without a number is not driven, and a number without a device is "
     "ignored, both without a message.",
     eachWithRows([](const Rows& rows, Context& context) {
       for (size_t row = 0; row < rows.complete; ++row) {
         const size_t devices = rows.item.actions[row].pieces.size();
         const size_t levels = rows.item.actionInfo[row].pieces.size();
         if (devices != levels)
           context.tell(rows.item.actionInfo[row].word,
                        {"{} names {} and gives {}: the daemon {} the last ones", levelName(row),
                         counted(devices, "device"), counted(levels, "level"),
                         levels < devices ? "does not drive" : "ignores"},
                        "write one level for each device, joined by '+'");
       }
     })},

    {"level-past-table", Severity::kError,
     "A level is an index into the device's table, counted from 0. Of a level past its end the "
     "daemon makes the last one, which is seldom what was meant: either the table or the row lacks "
     "something.",
     eachCell([](const Cell& cell, Context& context) {
       const Section* device = cell.device.section;
       if (!device || isOfKind(device, "report") || device->levels.empty() || device->merged() ||
           !sound(cell.level))
         return;
       const auto last = static_cast<int64_t>(device->levels.size()) - 1;
       if (cell.level.value > last)
         context.tell(cell.level.word,
                      {"the daemon takes level {} instead, the last in the table of '{}'", last,
                       device->name});
     })},

    {"negative-level", Severity::kError,
     "A device takes the highest of all requests, and at least 0. A negative level asks for "
     "nothing.",
     eachCell([](const Cell& cell, Context& context) {
       if (cell.level.value < 0 && sound(cell.level))
         context.tell(cell.level.word, "the daemon takes this for level 0");
     })},

    {"level-falls", Severity::kWarning,
     "Each row is complete in itself. One that asks less of a device than the row before it cools "
     "less where it is hotter, and then it grows hotter still.",
     eachWithRows([](const Rows& rows, Context& context) {
       for (size_t row = 1; row < rows.reached; ++row) {
         const auto before = requestsOf(rows.item, row - 1);
         for (const auto& [device, level] : requestsOf(rows.item, row)) {
           const auto last = before.find(device);
           if (last != before.end() && sound(*level) && sound(*last->second) && level->value >= 0 &&
               level->value < last->second->value)
             context.tell(level->word,
                          {"from {} to {} the daemon lowers '{}' from {} to {}", levelName(row - 1),
                           levelName(row), device->name, last->second->value, level->value},
                          "ask for at least what the row before asks for");
         }
       }
     })},

    {"device-left-out", Severity::kWarning,
     "Each row is complete in itself: a device that a row does not name is released when that "
     "level is reached, although it is hotter then. Name in each row all devices of the row before "
     "it.",
     eachWithRows([](const Rows& rows, Context& context) {
       for (size_t row = 1; row < rows.reached; ++row) {
         const std::set<std::string> left = leftOut(rows.item, row);
         if (!left.empty())
           context.tell(rows.item.actions[row].word,
                        {"from {} to {} the daemon releases {}", levelName(row - 1), levelName(row),
                         listed({left.begin(), left.end()})},
                        "name in each row all devices of the row before");
       }
     })},

    {"device-twice-in-row", Severity::kWarning,
     "A device keeps one request per item. Of a device that a row names twice only the last number "
     "counts, not the highest.",
     eachWithRows([](const Rows& rows, Context& context) {
       for (const DeviceRow& row : rows.item.actions) {
         std::set<const Section*> seen;
         for (const Reference& device : row.pieces)
           if (device.section && !seen.insert(device.section).second)
             context.tell(
                 device.word,
                 {"the row names '{}' twice, and the daemon goes by the last", device.word.text},
                 "name each device of a row once");
       }
     })},

    {"report-level", Severity::kError,
     "A report device has no levels. It writes \"Over Thresholds\" for a request of exactly 1 and "
     "\"Under Thresholds Clear\" for 0; for any other number it writes nothing.",
     eachCell([](const Cell& cell, Context& context) {
       const int32_t level = cell.level.value;
       if (isOfKind(cell.device.section, "report") && sound(cell.level) && level != 1)
         context.tell(cell.level.word,
                      {"the daemon reports {} at {}", level == 0 ? "that all is well" : "nothing",
                       levelName(cell.row)},
                      "write 1");
     })},

    {"report-in-several-levels", Severity::kWarning,
     "A monitor asks anew at each change of level. A report device in its rows writes a further "
     "\"Over Thresholds\" each time, on the way up and on the way down, and \"Under Thresholds "
     "Clear\" at a level that does not name it, though it is hotter there. For one line each way "
     "give the report a monitor of its own with one threshold.",
     eachWithRows([](const Rows& rows, Context& context) {
       if (rows.item.thresholds.size() < 2) return;
       for (size_t row = 0; row < rows.complete; ++row)
         for (const Cell& cell : cellsOf(rows.item, row))
           if (isOfKind(cell.device.section, "report"))
             return context.tell(
                 cell.device.word,
                 "the daemon reports anew whenever the item moves from one level to another",
                 "give the report an item of its own with one threshold");
     })},

    // A camera's fixed frame rate is a switch beside its node: the daemon turns it on whenever it
    // applies a request while it is at level 0, and off again where it stays there.
    {"camera-at-level-0", Severity::kWarning,
     "A camera that is asked for level 0 while it is at level 0 switches its fixed frame rate on "
     "and off again at each change of the monitor's level, which a viewer sees as a stutter. Leave "
     "it out of the rows that do not need it.",
     eachCell([](const Cell& cell, Context& context) {
       if (isOfKind(cell.device.section, "camera") && sound(cell.level) && cell.level.value == 0)
         context.tell(cell.level.word,
                      {"at {} the daemon switches the camera's fixed frame rate on and off again",
                       levelName(cell.row)},
                      {"take '{}' out of this row", cell.device.word.text});
     })},
};
