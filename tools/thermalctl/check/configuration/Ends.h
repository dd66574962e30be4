#pragma once

#include <string>

#include "check/rule/Rule.h"

// How a sentence on an error begins: the first one ends the daemon, the others would.
Ending ending(bool first);
Ending ending(const ConfigurationError& error, const Context& context);

// Whether it is for want of `key` in this item that the daemon ends.
bool endsForWantOf(const Configuration& configuration, const Item& item, const std::string& key);

// ", and ends because 'KEY' is missing" where the item is rejected for want of `key`, else nothing.
Ending endForWantOf(const std::string& key, const Item& item, const Context& context);
