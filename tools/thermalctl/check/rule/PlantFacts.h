#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "board/Environment.h"
#include "settings/Settings.h"
#include "simulate/PlantFile.h"

// What a plant lets a sensor feel.
//
// Units: `fullLoad` in millidegrees, where it settles with every source at full load and no device
//        held back; `timeConstant` of its node in seconds; `noise` in millidegrees, a standard
//        deviation.
// Shape: `fall` by device and level: by how many millidegrees a second it begins to fall when the
//        device goes there from the level below; nothing of a virtual sensor.
struct SensorHeat {
  double fullLoad = 0;
  double timeConstant = 0;
  double noise = 0;
  std::map<std::string, std::vector<double>> fall{};
};

// What the plant file says of each sensor of the board. Without one, or where it is wrong, of none.
using PlantFacts = std::map<std::string, SensorHeat>;

// `board` has the names of the indices in the plant.
PlantFacts plantFacts(const PlantDescription& plant, const TraceDescription& board,
                      const Environment& environment, const Settings& settings);
