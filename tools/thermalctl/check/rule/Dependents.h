#pragma once

#include "check/rule/Rule.h"

// "; 24 items depend on it, and the daemon ends" for a mistake of the environment in that line;
// nothing where none does.
Ending dependents(const Word& mistake, const Context& context);
