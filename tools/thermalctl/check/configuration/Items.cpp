#include "check/configuration/Items.h"

#include <algorithm>
#include <cstdlib>

#include "text/Nearest.h"

namespace {

void addList(std::vector<KeyedNumber>& numbers, const char* key, const std::vector<Number>& list) {
  for (const Number& number : list)
    numbers.push_back({key, &number});
}

void addSingle(std::vector<KeyedNumber>& numbers, const Item& item, const char* key,
               const Number& number) {
  if (!number.word.text.empty() && !standsAlone(item, key)) numbers.push_back({key, &number});
}

bool contains(const std::vector<std::string>& words, const std::string& word) {
  return std::find(words.begin(), words.end(), word) != words.end();
}

size_t linesWith(const Item& item, const char* key) {
  return static_cast<size_t>(
      std::count_if(item.properties.begin(), item.properties.end(),
                    [key](const Property& property) { return property.key.text == key; }));
}

template <typename Row> bool anyStrayPlus(const std::vector<Row>& rows) {
  return std::any_of(rows.begin(), rows.end(),
                     [](const Row& row) { return hasStrayPlus(row.word); });
}

} // namespace

std::string ending(bool first) {
  return first ? "the daemon ends: " : "the daemon would end here too: ";
}

std::string ending(const Configuration& configuration, const ConfigurationError& error) {
  return ending(configuration.fatal() == &error);
}

bool endsForWantOf(const Configuration& configuration, const Item& item, const std::string& key) {
  const ConfigurationError* fatal = configuration.fatal();
  if (!fatal || fatal->failure != ConfigurationError::kMissingProperty) return false;
  if (!contains(fatal->item->missing, key)) return false;
  // Of the items that the daemon merges, the first that lacks the key is to blame.
  const auto guilty =
      std::find_if(configuration.meant.begin(), configuration.meant.end(), [&](const Item* meant) {
        return meant->header.at.line >= fatal->item->header.at.line &&
               contains(meant->missing, key);
      });
  return guilty != configuration.meant.end() && *guilty == &item;
}

std::string endForWantOf(const Configuration& configuration, const Item& item,
                         const std::string& key) {
  if (!contains(item.missing, key)) return "";
  const bool ends = endsForWantOf(configuration, item, key);
  return std::string(ends ? ", and ends because " : ", and would end here too because ") +
         quoted(key) + " is missing";
}

std::string meantKey(const Item& item, const Property& property) {
  if (property.known || item.kind == ItemKind::kNone) return "";
  // A key of the other kind is no slip: it was written as it was meant.
  const ItemKind other = item.kind == ItemKind::kSS ? ItemKind::kMonitor : ItemKind::kSS;
  if (contains(itemKeys(other), property.key.text)) return "";
  return nearest(property.key.text, itemKeys(item.kind));
}

bool misspelt(const Item& item, const std::string& key) {
  return std::any_of(item.properties.begin(), item.properties.end(),
                     [&](const Property& property) { return meantKey(item, property) == key; });
}

bool standsAlone(const Item& item, const std::string& key) {
  const Property* property = item.last(key);
  return property && property->words.empty();
}

bool meantLowactive(const Item& item) {
  if (item.lowactive || misspelt(item, "lowactive")) return true;
  // "yes", "1" or "True" were meant for "true", and the daemon takes them for false.
  return item.lowactive.word && item.lowactive.word->text != "false";
}

std::vector<KeyedNumber> temperaturesOf(const Item& item) {
  std::vector<KeyedNumber> numbers;
  addList(numbers, "thresholds", item.thresholds);
  addList(numbers, "thresholds_clr", item.thresholdsClr);
  addSingle(numbers, item, "set_point", item.setPoint);
  addSingle(numbers, item, "set_point_clr", item.setPointClr);
  return numbers;
}

std::vector<KeyedNumber> numbersOf(const Item& item) {
  std::vector<KeyedNumber> numbers = temperaturesOf(item);
  for (const LevelRow& row : item.actionInfo)
    addList(numbers, "action_info", row.pieces);
  addSingle(numbers, item, "sampling", item.sampling);
  addSingle(numbers, item, "start_level", item.startLevel);
  addSingle(numbers, item, "device_perf_floor", item.devicePerfFloor);
  addSingle(numbers, item, "time_tick_trigger", item.timeTickTrigger);
  return numbers;
}

bool haveDigits(const std::vector<Number>& list) {
  return std::all_of(list.begin(), list.end(), [](const Number& number) {
    return readingOf(number.word.text) != Reading::kNoDigits;
  });
}

bool hasStrayPlus(const Word& word) {
  return word.text.front() == '+' || word.text.back() == '+' ||
         word.text.find("++") != std::string::npos;
}

bool rowsAsWritten(const Item& item) {
  // The daemon puts the pieces of a second line into the rows of the first: what a rule would
  // compare then is nothing that anyone wrote.
  return linesWith(item, "actions") == 1 && linesWith(item, "action_info") == 1 &&
         !anyStrayPlus(item.actions) && !anyStrayPlus(item.actionInfo);
}

size_t completeRows(const Item& item) {
  return std::min(item.actions.size(), item.actionInfo.size());
}

bool isOfKind(const Section* device, const char* kind) {
  return device && device->kindWord.text == kind;
}
