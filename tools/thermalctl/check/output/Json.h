#pragma once

#include <ostream>

#include "check/Inspection.h"

// The findings with their counts, and what the daemon will have once it has read the files.
void printJson(std::ostream& out, const Inspection& inspection);
