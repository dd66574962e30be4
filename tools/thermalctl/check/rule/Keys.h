#pragma once

#include <optional>
#include <string>
#include <vector>

#include "board/Configuration.h"
#include "board/Environment.h"

bool contains(const std::vector<std::string>& words, const std::string& word);

// What the daemon takes of the words behind a key, of a section or of an item: the first one as a
// name, a number or a flag; or all of them as names or texts, as numbers, or as the rows of levels.
enum class Shape { kName, kNumber, kFlag, kNames, kNumbers, kRows };
// By the type of the field that the key fills; nothing for a key that nothing has.
std::optional<Shape> shapeOf(const std::string& key);

// Whether the key takes all the words behind it, and whether as numbers what it takes.
bool takesAList(const std::string& key);
bool takesNumbers(const std::string& key);

// The block's first line of the same key, if that stands further up; else null.
const Property* firstLike(const Block& block, const Property& property);

// Whether the last line of `key` has no word but the key.
bool standsAlone(const Block& block, const std::string& key);

// Whether the daemon takes the key up in the other kind of items alone.
bool isKeyOfOtherKind(const Item& item, const Property& property);

// The key of the block's kind that an unknown key is a slip for, or an empty text. One of the other
// kind of items is no slip: it was written as it was meant.
std::string meantKey(const Section& section, const Property& property);
std::string meantKey(const Item& item, const Property& property);

// Whether a line has a slip for `key` in its place, or stands behind a blank line that has cut the
// block off.
bool misspelt(const Section& section, const std::string& key);
bool misspelt(const Item& item, const std::string& key);

// Whether the section has the key misspelt alone: the slip is the finding, and not that it lacks.
bool hasSlipAlone(const Section& section, const std::string& key);

// Whether a word begins what is a comment elsewhere. The daemon knows none.
bool isComment(const std::string& word);
