#pragma once

#include "check/rule/Rule.h"

// What counts on the section that is lost by a mistake in that line of the environment, and whether
// the daemon ends for want of it: "; 24 items depend on it, and the daemon ends".
Ending dependents(int line, const Context& context);
