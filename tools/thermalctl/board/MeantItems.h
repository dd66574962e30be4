#pragma once

#include <deque>

#include "board/Configuration.h"

// Whether the property is a header or a "SCEN" line that an item swallowed, for want of a blank
// line above.
bool beginsAnother(const Property& property);

// Whether the item swallowed another one.
bool merged(const Item& item);

// The items that a merged one was meant to be, each with its own lines and in the scenario of the
// "SCEN" line above it.
std::deque<Item> meantItems(const Item& whole, const Environment& environment);
