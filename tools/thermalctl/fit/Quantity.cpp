#include "fit/Quantity.h"

const char* Quantity::unit() const {
  switch (kind) {
  case Kind::kCapacity:
    return "J/K";
  case Kind::kResistance:
    return "K/W";
  case Kind::kWatts:
  case Kind::kIdle:
    return "W";
  case Kind::kLag:
    return "s";
  case Kind::kOffset:
  case Kind::kAmbient:
    break;
  }
  return "C";
}

namespace {

void set(PlantDescription& plant, const Quantity& quantity, double value) {
  switch (quantity.kind) {
  case Quantity::Kind::kCapacity:
    plant.nodes[quantity.index].capacity = value;
    break;
  case Quantity::Kind::kResistance:
    plant.resistances[quantity.index].value = value;
    break;
  case Quantity::Kind::kWatts:
    for (double& watts : plant.sources[quantity.index].watts)
      watts *= value / quantity.guess;
    break;
  case Quantity::Kind::kIdle:
    plant.sources[quantity.index].idle = value;
    break;
  case Quantity::Kind::kOffset:
    plant.probes[quantity.index].offset = value;
    break;
  case Quantity::Kind::kLag:
    plant.probes[quantity.index].lag = value;
    break;
  case Quantity::Kind::kAmbient:
    plant.ambient = value;
    break;
  }
}

} // namespace

PlantDescription withValues(PlantDescription plant, const std::vector<Quantity>& quantities,
                            const std::vector<double>& values) {
  for (size_t i = 0; i < quantities.size(); ++i)
    set(plant, quantities[i], values[i]);
  return plant;
}
