#pragma once

#include "board/Configuration.h"

// The pieces of a word of "actions" or "action_info" are not what they look like.
bool hasStrayPlus(const Word& word);

// Whether row i of "actions" and "action_info" is word i of its one line.
bool rowsAsWritten(const Item& item);
