#include "fit/Powers.h"

#include <algorithm>

Powers::Powers(const PlantDescription& plant_)
    : plant(plant_), states(plant.sources.size()), busy(plant.sources.size()), air(plant.ambient) {
  for (size_t i = 0; i < states.size(); ++i) {
    states[i].load = plant.sources[i].load.value_or(0);
    update(i);
  }
}

bool Powers::take(const RecordedChange& change) {
  if (change.kind == RecordedChange::Kind::kAmbient) {
    const bool changes = air != change.value;
    air = change.value;
    return changes;
  }
  if (change.kind == RecordedChange::Kind::kLevel)
    return setLevel(change.index, static_cast<size_t>(change.value));
  Source& source = states[change.index];
  if (change.kind == RecordedChange::Kind::kWatts) {
    const bool changes = source.measured != change.value;
    source.measured = change.value;
    update(change.index);
    return changes;
  }
  const bool changes = source.load != change.value;
  source.load = change.value;
  update(change.index);
  return changes;
}

double Powers::ofIdle(size_t source) const {
  return states[source].measured ? 0 : plant.sources[source].idle;
}

bool Powers::setLevel(size_t device, size_t level) {
  bool changes = false;
  for (size_t i = 0; i < states.size(); ++i) {
    const PlantDescription::Source& source = plant.sources[i];
    if (source.device == device) {
      changes |= states[i].level != level;
      states[i].level = std::min(level, source.watts.size() - 1);
    }
    if (source.cores && source.cores->device == device) {
      changes |= states[i].cores != level;
      states[i].cores = std::min(level, source.cores->values.size() - 1);
    }
    update(i);
  }
  return changes;
}

// As in Plant: work that a lower level delays keeps its source busy for longer.
void Powers::update(size_t index) {
  const PlantDescription::Source& source = plant.sources[index];
  const Source& state = states[index];
  busy[index] = 0;
  if (state.measured) return;
  const double share = source.cores ? source.cores->values[state.cores] : 1;
  double time = state.load;
  if (source.work) {
    const double speed = source.speed[state.level] * share;
    time = state.load <= 0 ? 0 : speed <= state.load ? 1 : state.load / speed;
  }
  busy[index] = time * share * source.watts[state.level];
}
