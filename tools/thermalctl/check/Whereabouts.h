#pragma once

#include <string>
#include <vector>

#include "board/Configuration.h"
#include "board/Environment.h"
#include "check/rule/Finding.h"

// What a finding stands in, by the names that its file's author knows: these stay when lines are
// put in above.
//
// Shape: `block` is the section, or the item as it was meant; empty above the first one and on a
//        scenario's own line. `scenario` is empty in the environment file.
struct Whereabouts {
  std::string block;
  std::string scenario;
};

Whereabouts whereaboutsOf(const Finding& finding, const Environment& environment,
                          const std::vector<Configuration>& configurations);
