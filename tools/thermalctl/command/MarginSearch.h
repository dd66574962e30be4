#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "command/ExitStatus.h"
#include "command/SimulateOptions.h"
#include "margin/PartFile.h"

// What `margin --search` is given.
//
// Shape: `from` is the folder of an earlier round, or empty. `out` is a folder, or empty; the part's
//        file where `shard` says which part is run, of simulations from 1 on.
struct MarginSearchOptions {
  const SimulateOptions& simulate;
  const std::string& tolerances;
  const std::string& from;
  uint64_t simulations = 0;
  const std::optional<Shard>& shard;
  const std::string& out;
  bool asJunit = false;
};

// Looks for what breaks a limit, tells it, and writes what runs it again.
ExitStatus runMarginSearch(const MarginSearchOptions& options);

// Tells and writes what the simulations `asked` have found, `merged.search`.
ExitStatus presentSearch(const MergedParts& merged, const std::string& out, bool asJunit);
