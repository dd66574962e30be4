#pragma once

#include <string>
#include <vector>

#include "board/MeantItems.h"
#include "check/rule/Numbers.h"
#include "check/rule/Rule.h"
#include "text/Phrases.h"

// What the rules of the configurations have in common. They look at items as they were meant, so
// that one mistake gives one finding and does not hide the next: those that the daemon merges one
// by one, and a value that another finding concerns not once more.

// How a sentence on an error begins: the first one ends the daemon, the others would.
std::string ending(bool first);
std::string ending(const Configuration& configuration, const ConfigurationError& error);
// Whether it is for want of `key` in this item that the daemon ends.
bool endsForWantOf(const Configuration& configuration, const Item& item, const std::string& key);
// ", and ends because 'KEY' is missing" where the item is rejected for want of `key`, else nothing.
std::string endForWantOf(const Configuration& configuration, const Item& item,
                         const std::string& key);

// The key of the item's kind that an unknown key is a slip for, or an empty text.
std::string meantKey(const Item& item, const Property& property);
// Whether a line of the item has a slip for `key` in its place.
bool misspelt(const Item& item, const std::string& key);
// Whether the last line of `key` has no word but the key.
bool standsAlone(const Item& item, const std::string& key);
// Whether the item is to act on cold, a word that the daemon does not take for "true" included.
bool meantLowactive(const Item& item);

// A number of an item and the key behind which it stands.
//
// Shape: `key` is a constant; `number` belongs to the item. Those whose key stands alone are not
//        there: they have no word of their own.
struct KeyedNumber {
  const char* key;
  const Number* number;
};
// Every number that a word of the item gives, temperatures or all.
std::vector<KeyedNumber> temperaturesOf(const Item& item);
std::vector<KeyedNumber> numbersOf(const Item& item);

// Without digits a list is likely to be a text in the wrong place: its length then says nothing.
bool haveDigits(const std::vector<Number>& list);

// The pieces of an "actions" word are not what they look like.
bool hasStrayPlus(const Word& word);
// Whether row i of "actions" and "action_info" is word i of its one line.
bool rowsAsWritten(const Item& item);
// How many rows have devices as well as levels: the daemon goes no further.
size_t completeRows(const Item& item);

bool isOfKind(const Section* device, const char* kind);

// Calls `visit` with each item that was meant, and its configuration.
template <typename Visit> void forEachItem(const Subject& subject, Visit visit) {
  for (const Configuration& configuration : subject.configurations)
    for (const Item* item : configuration.meant)
      visit(configuration, *item);
}

template <typename Visit> void forEachOfKind(const Subject& subject, ItemKind kind, Visit visit) {
  forEachItem(subject, [kind, &visit](const Configuration& configuration, const Item& item) {
    if (item.kind == kind) visit(configuration, item);
  });
}
template <typename Visit> void forEachMonitor(const Subject& subject, Visit visit) {
  forEachOfKind(subject, ItemKind::kMonitor, visit);
}
template <typename Visit> void forEachSS(const Subject& subject, Visit visit) {
  forEachOfKind(subject, ItemKind::kSS, visit);
}

template <typename Visit> void forEachProperty(const Subject& subject, Visit visit) {
  forEachItem(subject, [&visit](const Configuration& configuration, const Item& item) {
    for (const Property& property : item.properties)
      visit(configuration, item, property);
  });
}
