#pragma once

#include <vector>

#include "check/rule/Rule.h"

// Of all that was found, in the order of the places, what is left without that which only follows
// from another finding: in a file that is of the wrong kind whatever else is wrong with it, and on
// a line with a look-alike of a character what comes of that; and what is told in the same words of
// several items, for a reason that is not theirs.
std::vector<Finding> withoutWhatFollows(std::vector<Finding> findings, const Subject& subject);
