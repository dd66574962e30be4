#include "check/configuration/ConfigurationRules.h"
#include "check/configuration/Ends.h"
#include "check/rule/Keys.h"
#include "check/rule/Visits.h"
#include "text/Phrases.h"

namespace {

// Each line that the daemon ignores for its key, of an item whose kind is known.
Check eachIgnored(Look<ItemLine> look) {
  return eachItemLine([look = std::move(look)](const ItemLine& line, Context& context) {
    const auto& [item, property] = line;
    // That has a rule of its own.
    const bool bracketAfterType = &property == &item.properties.front() && property.key.text == "]";
    if (item.kind != ItemKind::kNone && !property.known && !bracketAfterType) look(line, context);
  });
}

const char* kindName(const Item& item) {
  return item.kind == ItemKind::kSS ? "an ss item" : "a monitor";
}

Message effectOfRepeating(const std::string& key) {
  const std::optional<Shape> shape = shapeOf(key);
  if (shape == Shape::kNumbers)
    return {"the daemon adds these values to those of the first '{}' line", key};
  if (shape == Shape::kRows)
    return {
        "the daemon adds these words to the rows of the first '{}' line, from the lowest level on",
        key};
  return {"the daemon forgets the '{}' line above", key};
}

std::string effectOfStandingAlone(const std::string& key) {
  if (takesAList(key)) return "the daemon finds no values here";
  if (shapeOf(key) == Shape::kName)
    return "the daemon takes the word '" + key + "' itself for the name";
  return std::string("the daemon takes this for ") + (shapeOf(key) == Shape::kFlag ? "false" : "0");
}

} // namespace

const std::vector<Rule> kKeyRules = {
    {"item-key-misspelt", Severity::kError,
     "The daemon compares keys letter by letter, capitals included, and ignores a key that it does "
     "not know, without a message. The value of a misspelt key is the default's; where there is "
     "none, the daemon ends with \"There is some missing property for\" and the item's name.",
     eachIgnored([](const ItemLine& line, Context& context) {
       const auto& [item, property] = line;
       const std::string key = meantKey(item, property);
       if (key.empty()) return;
       // A slip beside the right key costs nothing but itself.
       const Ending end = item.last(key) ? Ending() : endForWantOf(key, item, context);
       context.tell(property.key, {"the daemon ignores '{}'{}", property.key.text, end},
                    {"did you mean '{}'?", key});
     })},

    {"item-key-unknown", Severity::kWarning,
     "The daemon ignores a key that it does not know, without a message. A line that begins with a "
     "hash sign or two slashes is such a key: there are no comments.",
     eachIgnored([](const ItemLine& line, Context& context) {
       const auto& [item, property] = line;
       const Word& key = property.key;
       if (isKeyOfOtherKind(item, property) || !meantKey(item, property).empty()) return;
       context.tell(key, {"the daemon ignores '{}'", key.text},
                    isComment(key.text) ? Message("there are no comments: take the line out")
                                        : Message("the keys of {} are {}", kindName(item),
                                                  listed(itemKeys(item.kind))));
     })},

    {"item-key-of-other-kind", Severity::kWarning,
     "A monitor and an ss item have different keys. The daemon ignores a key of the other kind, "
     "without a message: 'set_point' does nothing in a monitor, and 'thresholds' nothing in an ss "
     "item.",
     eachIgnored([](const ItemLine& line, Context& context) {
       const Word& key = line.property.key;
       if (isKeyOfOtherKind(line.item, line.property))
         context.tell(key, {"the daemon ignores '{}', which {} does not have", key.text,
                            kindName(line.item)});
     })},

    {"item-key-repeated", Severity::kWarning,
     "Of a key that takes one value the last line counts. The lists grow instead: a second "
     "'thresholds' line continues the first, but a second 'actions' or 'action_info' line adds its "
     "words to the rows of the lowest levels again and leaves empty rows behind, which drive "
     "nothing.",
     eachItemLine([](const ItemLine& line, Context& context) {
       const auto& [item, property] = line;
       if (property.known && firstLike(item, property))
         context.tell(property.key, effectOfRepeating(property.key.text),
                      "write each key once, with all its values behind it");
     })},

    {"item-key-without-value", Severity::kError,
     "Behind a key that stands alone the daemon finds no word and takes the key itself: 'sensor' "
     "then names a sensor called 'sensor', which ends the daemon, and a number is 0. A list stays "
     "empty.",
     eachItemLine([](const ItemLine& line, Context& context) {
       const auto& [item, property] = line;
       const std::string& key = property.key.text;
       if (!property.known || !property.words.empty()) return;
       // The daemon goes by the last line of a key.
       const bool counts = item.last(key) == &property;
       const Ending end = counts ? endForWantOf(key, item, context) : Ending();
       context.tell(property.key, {"{}{}", effectOfStandingAlone(key), end},
                    {"write a value behind '{}', or take the line out", key});
     })},

    {"lowactive-not-true", Severity::kError,
     "Only the word 'true', in small letters, switches 'lowactive' on. With 'True', 'yes' or '1' "
     "the item acts on heat instead of cold, and its thresholds are in the wrong order for that.",
     eachItem([](const Item& item, Context& context) {
       if (!item.lowactive.word || standsAlone(item, "lowactive")) return;
       const std::string& text = item.lowactive.word->text;
       if (text != "true" && text != "false")
         context.tell(*item.lowactive.word,
                      {"the daemon takes '{}' for false, and the item acts on heat", text},
                      "write 'lowactive true', or take the line out");
     })},
};
