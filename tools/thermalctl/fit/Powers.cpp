#include "fit/Powers.h"

#include <algorithm>

Powers::Powers(const PlantDescription& plant_)
    : plant(plant_), states(plant.sources.size()), busy(plant.sources.size()), air(plant.ambient) {
  for (size_t i = 0; i < states.size(); ++i) {
    states[i].load = plant.sources[i].load.value_or(0);
    update(i);
  }
}

void Powers::take(const RecordedChange& change) {
  using Kind = RecordedChange::Kind;
  if (change.kind == Kind::kAmbient) {
    air = change.value;
    return;
  }
  if (change.kind == Kind::kLevel) return setLevel(change.index, static_cast<size_t>(change.value));
  Source& source = states[change.index];
  if (change.kind == Kind::kWatts)
    source.measured = change.value;
  else
    source.load = change.value;
  update(change.index);
}

double Powers::ofIdle(size_t source) const {
  return states[source].measured ? 0 : plant.sources[source].idle;
}

// Measured watts turned back into a load, for a replay in which the simulator throttles anew.
double Powers::load(size_t index) const {
  const PlantDescription::Source& source = plant.sources[index];
  const Source& state = states[index];
  if (!state.measured) return state.load;
  const double most = state.levels.watts(source);
  const double used = most > 0 ? std::clamp((*state.measured - source.idle) / most, 0.0, 1.0) : 0;
  // Of what is asked of it, a throttled source shows no more than it can do.
  return source.work ? used * state.levels.speed(source) : used;
}

void Powers::setLevel(size_t device, size_t level) {
  for (size_t i = 0; i < states.size(); ++i) {
    states[i].levels.set(plant.sources[i], device, level);
    update(i);
  }
}

// As in Plant: work that a lower level delays keeps its source busy for longer.
void Powers::update(size_t index) {
  const PlantDescription::Source& source = plant.sources[index];
  const Source& state = states[index];
  busy[index] = 0;
  if (state.measured) return;
  double time = state.load;
  if (source.work) {
    const double speed = state.levels.speed(source);
    time = state.load <= 0 ? 0 : speed <= state.load ? 1 : state.load / speed;
  }
  busy[index] = time * state.levels.watts(source);
}
