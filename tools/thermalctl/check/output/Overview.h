#pragma once

#include <string>
#include <vector>

#include "check/Inspection.h"

// The findings that a reader gets to see, in their order: all of them, or of too many what ends the
// daemon, then the errors, then the warnings.
std::vector<const Finding*> mostImportant(const std::vector<Finding>& findings);

// "2 errors and 1 warning in 3 files", or "no problems in 3 files".
std::string countOf(const std::vector<Finding>& findings, size_t files);
// The same, and what the settings silence: "no problems in 3 files; thermalctl.toml silences 1
// finding".
std::string countOf(const Inspection& inspection);
