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

double Powers::share(size_t source) const {
  const auto& cores = plant.sources[source].cores;
  return cores ? cores->values[states[source].cores] : 1;
}

double Powers::full(size_t source) const {
  return share(source) * plant.sources[source].watts[states[source].level];
}

double Powers::load(size_t index) const {
  const PlantDescription::Source& source = plant.sources[index];
  const Source& state = states[index];
  if (!state.measured) return state.load;
  const double most = full(index);
  const double used = most > 0 ? std::clamp((*state.measured - source.idle) / most, 0.0, 1.0) : 0;
  // Of what is asked of it, a throttled source shows no more than it can do.
  return source.work ? used * source.speed[state.level] * share(index) : used;
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
  double time = state.load;
  if (source.work) {
    const double speed = source.speed[state.level] * share(index);
    time = state.load <= 0 ? 0 : speed <= state.load ? 1 : state.load / speed;
  }
  busy[index] = time * full(index);
}
