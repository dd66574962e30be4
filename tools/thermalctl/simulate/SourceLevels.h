#pragma once

#include <algorithm>
#include <cstddef>

#include "simulate/PlantFile.h"

// At what levels the devices of a source stand, and what that makes of it.
//
// Shape: a level behind the last of a table counts as the last. `source` is the same in all calls.
// Units: W, and shares of 1.
class SourceLevels {
public:
  // One device may be the clock of several sources, or of one the clock and of another the cores.
  void set(const PlantDescription::Source& source, size_t device, size_t to) {
    if (source.device == device) level = std::min(to, source.watts.size() - 1);
    if (source.cores && source.cores->device == device)
      cores = std::min(to, source.cores->values.size() - 1);
  }

  // What it gives off beyond its idle power while it is busy.
  double watts(const PlantDescription::Source& source) const {
    return switchedOn(source) * source.watts[level];
  }
  // How fast it works. Only of one that does.
  double speed(const PlantDescription::Source& source) const {
    return source.speed[level] * switchedOn(source);
  }

private:
  double switchedOn(const PlantDescription::Source& source) const {
    return source.cores ? source.cores->values[cores] : 1;
  }

  size_t level = 0;
  size_t cores = 0;
};
