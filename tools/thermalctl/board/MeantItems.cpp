#include "board/MeantItems.h"

#include <algorithm>

#include "base/TextReader.h"

namespace {

Item begunBy(const Word& header, const std::string& scenario) {
  Item item;
  item.header = header;
  item.name = headerName(header.text);
  item.readByDaemon = false;
  item.scenario = scenario;
  return item;
}

// The first of them, without any lines.
Item headOf(const Item& whole) {
  Item item = begunBy(whole.header, whole.scenario);
  item.readByDaemon = whole.readByDaemon;
  item.kind = whole.kind;
  item.kindWord = whole.kindWord;
  item.scenarioLine = whole.scenarioLine;
  return item;
}

bool isTypeLine(const Property& property, const Item& item) {
  return property.key.text == kItemTypeKey && item.kindWord.text.empty() && !property.words.empty();
}

} // namespace

bool beginsAnother(const Property& property) {
  return property.key.text[0] == '[' || property.key.text == kScenarioKey;
}

bool merged(const Item& item) {
  return std::any_of(item.properties.begin(), item.properties.end(), beginsAnother);
}

// For want of a blank line the daemon read several items as one. Their lines are parted again at
// each header, and what "SCEN" says among them holds for those behind it.
std::deque<Item> meantItems(const Item& whole, const Environment& environment) {
  std::deque<Item> items = {headOf(whole)};
  std::string scenario = whole.scenario;
  for (const Property& property : whole.properties) {
    Item& item = items.back();
    if (property.key.text == kScenarioKey) {
      // As the daemon has it where no name stands behind the word.
      scenario = property.words.empty() ? kScenarioKey : property.words.front().text;
    } else if (beginsAnother(property)) {
      items.push_back(begunBy(property.key, scenario));
    } else if (isTypeLine(property, item)) {
      item.kindWord = property.words.front();
      item.kind = meantKind(item.kindWord.text);
    } else {
      item.properties.push_back(property);
    }
  }
  for (Item& item : items)
    interpret(item, environment);
  items.back().cutOff = whole.cutOff;
  return items;
}
