#include "board/Block.h"

#include <algorithm>

const Property* Block::last(const std::string& key) const {
  const auto found = std::find_if(properties.rbegin(), properties.rend(),
                                  [&key](const Property& p) { return p.key.text == key; });
  return found == properties.rend() ? nullptr : &*found;
}

const Word& Block::place(const std::string& key) const {
  const Property* property = last(key);
  if (!property) return header;
  return property->words.empty() ? property->key : property->words.front();
}
