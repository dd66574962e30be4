#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "simulate/Inputs.h"

// The first moment at which two runs do not show the same.
//
// Shape: `what` differs, such as "level of cpu_big"; of several at that moment what the daemon is
//        told comes before what it does, and that before what is measured. The two values are as
//        a reader takes them.
// Units: `time` in milliseconds.
struct Parting {
  int64_t time = 0;
  std::string what;
  std::string before;
  std::string now;
};

// Lets both run side by side until the configuration, the scenario, the level of a device or a
// temperature differs; nothing if none does before the shorter run ends. What only one of the
// boards has is not looked at.
//
// Errors: as of an Engine.
// Memory: that of a minute of the runs.
std::optional<Parting> partingOf(const RunInput& before, const RunInput& now);
