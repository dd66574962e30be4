#include "check/rule/Keys.h"

#include <algorithm>
#include <map>
#include <optional>
#include <string>
#include <type_traits>

#include "text/LookAlikes.h"
#include "text/Nearest.h"

namespace {

// What the words of a line are is told by the type of the field that they fill: the daemon's own
// list of keys is all that is asked.
template <typename Field> constexpr Shape kShape = Shape::kName;
template <> constexpr Shape kShape<Number> = Shape::kNumber;
template <> constexpr Shape kShape<Flag> = Shape::kFlag;
template <typename Entry> constexpr Shape kShape<std::vector<Entry>> = Shape::kNames;
template <> constexpr Shape kShape<std::vector<Number>> = Shape::kNumbers;
template <> constexpr Shape kShape<std::vector<DeviceRow>> = Shape::kRows;
template <> constexpr Shape kShape<std::vector<LevelRow>> = Shape::kRows;

// The key that an unknown one is a slip for: with a look-alike in it, another word right behind it,
// or letters that are wrong.
std::string slipFor(const std::string& key, const std::vector<std::string>& keys) {
  const std::string read = asRead(key);
  const std::string first = read.substr(0, read.find_first_of(" =:;,"));
  return contains(keys, first) ? first : nearest(first, keys);
}

template <typename Of> bool hasSlipFor(const Of& block, const std::string& key) {
  return contains(block.cutOff, key) ||
         std::any_of(block.properties.begin(), block.properties.end(),
                     [&](const Property& property) { return meantKey(block, property) == key; });
}

// Of every key of items and sections.
std::map<std::string, Shape> shapesOfKeys() {
  std::map<std::string, Shape> shapes;
  const auto take = [&](const char* key, const auto& field, auto...) {
    shapes[key] = kShape<std::decay_t<decltype(field)>>;
  };
  const Item item;
  for (const ItemKind kind : {ItemKind::kMonitor, ItemKind::kSS})
    visitKeys(item, kind, take);
  const Section section;
  for (const std::string& word : sectionKindWords())
    visitKeys(section, sectionKind(word), take);
  return shapes;
}

} // namespace

bool contains(const std::vector<std::string>& words, const std::string& word) {
  return std::find(words.begin(), words.end(), word) != words.end();
}

std::optional<Shape> shapeOf(const std::string& key) {
  static const std::map<std::string, Shape> shapes = shapesOfKeys();
  const auto found = shapes.find(key);
  return found == shapes.end() ? std::nullopt : std::optional(found->second);
}

bool takesAList(const std::string& key) {
  return shapeOf(key) >= Shape::kNames;
}

bool takesNumbers(const std::string& key) {
  const std::optional<Shape> shape = shapeOf(key);
  return shape == Shape::kNumber || shape == Shape::kNumbers;
}

const Property* firstLike(const Block& block, const Property& property) {
  const auto first = std::find_if(
      block.properties.begin(), block.properties.end(),
      [&property](const Property& each) { return each.key.text == property.key.text; });
  return &*first == &property ? nullptr : &*first;
}

bool standsAlone(const Block& block, const std::string& key) {
  const Property* property = block.last(key);
  return property && property->words.empty();
}

std::string meantKey(const Section& section, const Property& property) {
  // A line that was taken out with a comment sign was meant to be gone.
  const bool isSlip = !property.known && !isComment(property.key.text);
  return isSlip ? slipFor(property.key.text, sectionKeys(section.kind)) : "";
}

std::string meantKey(const Item& item, const Property& property) {
  if (property.known || item.kind == ItemKind::kNone || isKeyOfOtherKind(item, property)) return "";
  return slipFor(property.key.text, itemKeys(item.kind));
}

bool isKeyOfOtherKind(const Item& item, const Property& property) {
  const ItemKind other = item.kind == ItemKind::kSS ? ItemKind::kMonitor : ItemKind::kSS;
  return !property.known && contains(itemKeys(other), property.key.text);
}

bool misspelt(const Section& section, const std::string& key) {
  return hasSlipFor(section, key);
}

bool misspelt(const Item& item, const std::string& key) {
  return hasSlipFor(item, key);
}

bool hasSlipAlone(const Section& section, const std::string& key) {
  return !section.last(key) && misspelt(section, key);
}

bool isComment(const std::string& word) {
  return word[0] == '#' || word[0] == ';' || word.rfind("//", 0) == 0;
}
