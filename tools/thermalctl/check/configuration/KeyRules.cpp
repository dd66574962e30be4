#include <algorithm>
#include <map>

#include "check/configuration/ConfigurationRules.h"
#include "check/configuration/Items.h"

namespace {

bool isKeyOfOtherKind(const Item& item, const Property& property) {
  const ItemKind other = item.kind == ItemKind::kSS ? ItemKind::kMonitor : ItemKind::kSS;
  const std::vector<std::string>& keys = itemKeys(other);
  return !property.known && std::find(keys.begin(), keys.end(), property.key.text) != keys.end();
}

const char* kindName(ItemKind kind) {
  return kind == ItemKind::kSS ? "an ss item" : "a monitor";
}

bool isComment(const std::string& word) {
  return word[0] == '#' || word[0] == ';' || word.rfind("//", 0) == 0;
}

// Each line that the daemon ignores for its key, of an item whose kind is known.
template <typename Visit> void forEachIgnored(const Subject& subject, Visit visit) {
  forEachProperty(subject, [&](const Configuration& configuration, const Item& item,
                               const Property& property) {
    // That has a rule of its own.
    const bool bracketAfterType = &property == &item.properties.front() && property.key.text == "]";
    if (item.kind == ItemKind::kNone || property.known || bracketAfterType) return;
    visit(configuration, item, property);
  });
}

void itemKeyMisspelt(const Subject& subject, Findings& findings) {
  forEachIgnored(
      subject, [&](const Configuration& configuration, const Item& item, const Property& property) {
        const std::string key = meantKey(item, property);
        if (key.empty()) return;
        // A slip beside the right key costs nothing but itself.
        const bool given = item.last(key) != nullptr;
        findings.add(configuration.file, property.key,
                     "the daemon ignores " + quoted(property.key.text) +
                         (given ? "" : endForWantOf(configuration, item, key)),
                     "did you mean " + quoted(key) + "?");
      });
}
constexpr Rule kItemKeyMisspelt = {
    "item-key-misspelt", Severity::kError,
    "The daemon compares keys letter by letter, capitals included, and ignores a key that it "
    "does not know, without a message. The value of a misspelt key is the default's; where there "
    "is none, the daemon ends with \"There is some missing property for\" and the item's name.",
    itemKeyMisspelt};

void itemKeyOfOtherKind(const Subject& subject, Findings& findings) {
  forEachIgnored(
      subject, [&](const Configuration& configuration, const Item& item, const Property& property) {
        if (!isKeyOfOtherKind(item, property)) return;
        findings.add(configuration.file, property.key,
                     "the daemon ignores " + quoted(property.key.text) + ", which " +
                         kindName(item.kind) + " does not have");
      });
}
constexpr Rule kItemKeyOfOtherKind = {
    "item-key-of-other-kind", Severity::kWarning,
    "A monitor and an ss item have different keys. The daemon ignores a key of the other kind, "
    "without a message: 'set_point' does nothing in a monitor, and 'thresholds' nothing in an ss "
    "item.",
    itemKeyOfOtherKind};

void itemKeyUnknown(const Subject& subject, Findings& findings) {
  forEachIgnored(
      subject, [&](const Configuration& configuration, const Item& item, const Property& property) {
        if (isKeyOfOtherKind(item, property) || !meantKey(item, property).empty()) return;
        const std::string& key = property.key.text;
        findings.add(configuration.file, property.key, "the daemon ignores " + quoted(key),
                     isComment(key) ? "there are no comments: take the line out"
                                    : "the keys of " + std::string(kindName(item.kind)) + " are " +
                                          listed(itemKeys(item.kind)));
      });
}
constexpr Rule kItemKeyUnknown = {
    "item-key-unknown", Severity::kWarning,
    "The daemon ignores a key that it does not know, without a message. A line that begins with "
    "a hash sign or two slashes is such a key: there are no comments.",
    itemKeyUnknown};

std::string effectOfRepeating(const std::string& key) {
  if (key == "thresholds" || key == "thresholds_clr")
    return "the daemon adds these values to those of the first " + quoted(key) + " line";
  if (key == "actions" || key == "action_info")
    return "the daemon adds these words to the rows of the first " + quoted(key) +
           " line, from the lowest level on";
  return "the daemon forgets the " + quoted(key) + " line above";
}

void itemKeyRepeated(const Subject& subject, Findings& findings) {
  forEachItem(subject, [&](const Configuration& configuration, const Item& item) {
    std::map<std::string, size_t> lines;
    for (const Property& property : item.properties) {
      if (!property.known || ++lines[property.key.text] == 1) continue;
      findings.add(configuration.file, property.key, effectOfRepeating(property.key.text),
                   "write each key once, with all its values behind it");
    }
  });
}
constexpr Rule kItemKeyRepeated = {
    "item-key-repeated", Severity::kWarning,
    "Of a key that takes one value the last line counts. The lists grow instead: a second "
    "'thresholds' line continues the first, but a second 'actions' or 'action_info' line adds "
    "its words to the rows of the lowest levels again and leaves empty rows behind, which drive "
    "nothing.",
    itemKeyRepeated};

std::string effectOfStandingAlone(const std::string& key) {
  if (key == "thresholds" || key == "thresholds_clr" || key == "actions" || key == "action_info")
    return "the daemon finds no values here";
  if (key == "sensor" || key == "device")
    return "the daemon takes the word " + quoted(key) + " itself for the name";
  if (key == "lowactive") return "the daemon takes this for false";
  return "the daemon takes this for 0";
}

void itemKeyWithoutValue(const Subject& subject, Findings& findings) {
  forEachProperty(
      subject, [&](const Configuration& configuration, const Item& item, const Property& property) {
        if (!property.known || !property.words.empty()) return;
        const std::string& key = property.key.text;
        // The daemon goes by the last line of a key.
        const bool counts = item.last(key) == &property;
        findings.add(configuration.file, property.key,
                     effectOfStandingAlone(key) +
                         (counts ? endForWantOf(configuration, item, key) : ""),
                     "write a value behind " + quoted(key) + ", or take the line out");
      });
}
constexpr Rule kItemKeyWithoutValue = {
    "item-key-without-value", Severity::kError,
    "Behind a key that stands alone the daemon finds no word and takes the key itself: 'sensor' "
    "then names a sensor called 'sensor', which ends the daemon, and a number is 0. A list stays "
    "empty.",
    itemKeyWithoutValue};

void lowactiveNotTrue(const Subject& subject, Findings& findings) {
  forEachItem(subject, [&](const Configuration& configuration, const Item& item) {
    if (!item.lowactive.word || standsAlone(item, "lowactive")) return;
    const std::string& text = item.lowactive.word->text;
    if (text == "true" || text == "false") return;
    findings.add(configuration.file, *item.lowactive.word,
                 "the daemon takes " + quoted(text) + " for false, and the item acts on heat",
                 "write 'lowactive true', or take the line out");
  });
}
constexpr Rule kLowactiveNotTrue = {
    "lowactive-not-true", Severity::kError,
    "Only the word 'true', in small letters, switches 'lowactive' on. With 'True', 'yes' or '1' "
    "the item acts on heat instead of cold, and its thresholds are in the wrong order for that.",
    lowactiveNotTrue};

} // namespace

const std::vector<Rule>& keyRules() {
  static const std::vector<Rule> rules = {kItemKeyMisspelt,     kItemKeyUnknown,
                                          kItemKeyOfOtherKind,  kItemKeyRepeated,
                                          kItemKeyWithoutValue, kLowactiveNotTrue};
  return rules;
}
