#pragma once

#include <cstdint>
#include <string>

#include "command/ExitStatus.h"
#include "command/SimulateOptions.h"

// What `margin --search` is given.
struct MarginSearchOptions {
  const SimulateOptions& simulate;
  const std::string& tolerances;
  uint64_t simulations = 0;
  const std::string& out; // a folder, or empty
  bool asJunit = false;
};

// Looks for what breaks a limit, tells it, and writes what runs it again.
ExitStatus runMarginSearch(const MarginSearchOptions& options);
