#pragma once

#include <string>
#include <vector>

#include "text/Word.h"

// One line of a section or an item below its type line.
//
// Shape: `words` holds all that stands behind the key, what the daemon does not look at included;
//        it is empty for a key that stands alone.
struct Property {
  Word key;
  // All words behind the key, those that the daemon does not look at included.
  std::vector<Word> words;
  // Whether the daemon takes the key up in a block of this kind.
  bool known = false;
};

// What a section and an item have in common: a header and the lines that belong to it.
//
// Shape:  in the order of the file, with the places of all words, so that whatever is to be said
//         about a block can be marked where it stands.
// Errors: a block is never refused. What the daemon does not make of it is marked as such.
// Source: one of the two files, up to the line at which the daemon takes the block to end.
struct Block {
  // The header's first word, brackets included.
  Word header;
  // What the daemon makes of it: the word without its first and its last character.
  std::string name;
  // In the file's order, the unknown keys included.
  std::vector<Property> properties;
  // The first words of the lines that a blank one has cut off from it; none unless the first of
  // them is a key of such a block. The daemon stops there, or ends.
  std::vector<std::string> cutOff;
  // False behind the place where the daemon stops reading, and for a section that it stops at: no
  // one but this tool makes anything of the block.
  bool readByDaemon = true;

  // The last line of that key, the one that counts; null without any.
  const Property* last(const std::string& key) const;

  // What to mark for something about `key`: the first value of its last line, failing that the key,
  // failing that the header.
  const Word& place(const std::string& key) const;
};

// Calls `take(field, property)` for each property whose key a block of this kind has, and marks it
// as known.
template <typename KindOfBlock, typename Take> void fillFields(KindOfBlock& block, Take take) {
  for (Property& property : block.properties) {
    property.known = false;
    visitKeys(block, block.kind, [&](const char* key, auto& field, auto...) {
      if (property.key.text != key) return;
      property.known = true;
      take(field, property);
    });
  }
}

// The keys that the daemon takes up in a block of that kind.
template <typename KindOfBlock, typename Kind> std::vector<std::string> keysOf(Kind kind) {
  std::vector<std::string> keys;
  KindOfBlock any;
  visitKeys(any, kind, [&keys](const char* key, auto...) { keys.emplace_back(key); });
  return keys;
}
