#include "simulate/Plant.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

// A load this close to what a speed can do has reached it: what calculating leaves of the distance.
constexpr double kReached = 1e-13;

double secondsOf(int64_t milliseconds) {
  return static_cast<double>(milliseconds) / 1000;
}

} // namespace

Plant::Plant(const PlantDescription& description, uint64_t seed)
    : plant(description), network(networkOf(description, observed)),
      sources(description.sources.size()) {
  // A stream for each probe, so that none depends on who else is read.
  Random seeds(seed);
  for (size_t i = 0; i < plant.probes.size(); ++i)
    noise.emplace_back(seeds.next());
  for (size_t i = 0; i < sources.size(); ++i) {
    sources[i].sum.source = plant.sources[i].name;
    setLoad(i, plant.sources[i].load.value_or(0));
  }
}

Network Plant::networkOf(const PlantDescription& plant, std::vector<size_t>& observed) {
  Network network(plant.nodes.size());
  std::vector<double> initial;
  for (size_t i = 0; i < plant.nodes.size(); ++i) {
    network.setCapacity(i, plant.nodes[i].capacity);
    initial.push_back(plant.nodes[i].initial);
  }
  for (const PlantDescription::Resistance& resistance : plant.resistances) {
    if (resistance.to)
      network.connect(resistance.from, *resistance.to, resistance.value);
    else
      network.connectToAmbient(resistance.from, resistance.value);
  }
  for (const PlantDescription::Probe& probe : plant.probes)
    observed.push_back(probe.lag > 0 ? network.addObserver(probe.node, probe.lag) : probe.node);
  network.start(initial, plant.ambient);
  return network;
}

void Plant::setAmbient(double celsius, double slope) {
  network.setAmbient(celsius, slope);
}

void Plant::setLoad(size_t source, double load, double slope) {
  give(source, {{load, slope}, now, false});
}

void Plant::setWatts(size_t source, double watts, double slope) {
  give(source, {{watts, slope}, now, true});
}

void Plant::give(size_t source, const Given& given) {
  sources[source].given = given;
  anyRamp = std::any_of(sources.begin(), sources.end(),
                        [](const Source& each) { return each.given.line.slope != 0; });
  change(source);
}

void Plant::setLevel(size_t device, int32_t level) {
  for (size_t i = 0; i < sources.size(); ++i) {
    sources[i].levels.set(plant.sources[i], device, static_cast<size_t>(level));
    change(i);
  }
}

void Plant::advanceTo(int64_t time) {
  if (time == now) return;
  // A load that ramps may come to what its source can do between two milliseconds. There its slope
  // bends, and so the network goes from bend to bend, each step exact, and at last to the time.
  const double length = secondsOf(time - now);
  updatePowers();
  for (double bend = nextBend(); beyond + bend < length; bend = nextBend()) {
    network.advanceBy(bend);
    beyond += bend;
    followRamps();
    updatePowers();
  }
  if (beyond == 0)
    network.advance(time - now);
  else
    network.advanceBy(length - beyond);
  now = time;
  beyond = 0;
  followRamps();
}

double Plant::nextBend() const {
  double next = std::numeric_limits<double>::infinity();
  if (!anyRamp) return next;
  for (const Source& source : sources)
    next = std::min(next, source.bend);
  return next;
}

// What it has given off and done along its lines since they were looked at last.
Performance Plant::upToNow(const Source& source) const {
  const double seconds = secondsOf(now - source.since) + beyond - source.sinceBeyond;
  Performance sum = source.sum;
  sum.joules += source.watts.over(seconds);
  sum.demanded += source.load.over(seconds);
  sum.delivered += source.rate.over(seconds);
  return sum;
}

// The network goes along the slopes by itself, until one changes.
void Plant::followRamps() {
  if (!anyRamp) return;
  for (size_t i = 0; i < sources.size(); ++i) {
    if (sources[i].given.line.slope == 0) continue;
    const double slope = sources[i].watts.slope;
    update(i);
    powersChanged |= sources[i].watts.slope != slope;
  }
}

int32_t Plant::reading(size_t probe) {
  const PlantDescription::Probe& sensor = plant.probes[probe];
  double celsius = network.temperature(observed[probe]) + sensor.offset;
  // As in a sensor: what it has of the heat, noise included, is what it turns into steps.
  if (sensor.noise > 0) celsius += sensor.noise * noise[probe].next();
  if (sensor.step > 0) {
    const double steps = celsius / sensor.step;
    const bool hasFraction = std::abs(steps) < 1e15;
    celsius =
        (hasFraction ? static_cast<double>(nearestWhole<int64_t>(steps)) : steps) * sensor.step;
  }
  return millidegreesOf(celsius);
}

std::vector<Performance> Plant::performance() const {
  std::vector<Performance> all;
  for (const Source& source : sources)
    all.push_back(upToNow(source));
  return all;
}

void Plant::change(size_t source) {
  update(source);
  powersChanged = true;
  ++changes;
}

// A source gives off its idle power always, and for the share of time that it is busy that of its
// level. Load without work, such as a display's brightness, is busy as told, whatever the level.
void Plant::update(size_t index) {
  const PlantDescription::Source& source = plant.sources[index];
  Source& state = sources[index];
  state.sum = upToNow(state);
  state.since = now;
  state.sinceBeyond = beyond;
  const Line& line = state.given.line;
  const double passed = secondsOf(now - state.given.since) + beyond;
  const Line present = {line.value + line.slope * passed, line.slope};
  if (state.given.measured) {
    state.watts = present;
    state.load = state.rate = {};
    return;
  }
  Line busy = present;
  if (source.work) {
    state.load = present;
    busy = work(state, state.levels.speed(source));
  }
  const double full = state.levels.watts(source);
  state.watts = {source.idle + busy.value * full, busy.slope * full};
}

// Work that a lower speed delays keeps the source busy for longer, until it is busy all the time.
// Returns the share of time.
Plant::Line Plant::work(Source& source, double speed) {
  const Line& load = source.load;
  const double left = speed - load.value;
  const bool reached = load.slope != 0 && std::abs(left) <= kReached;
  const bool isFull = reached ? load.slope > 0 : left <= 0;
  const double bend = left / load.slope;
  source.bend = reached || !(bend > 0) ? std::numeric_limits<double>::infinity() : bend;
  source.rate = isFull ? Line{speed, 0} : load;
  if (load.value <= 0 && load.slope <= 0) return {0, 0};
  if (isFull || speed <= 0) return {1, 0};
  return {load.value / speed, load.slope / speed};
}

void Plant::updatePowers() {
  if (!powersChanged) return;
  for (size_t i = 0; i < plant.nodes.size(); ++i)
    network.setPower(i, 0);
  for (size_t i = 0; i < sources.size(); ++i) {
    for (const auto& [node, share] : plant.sources[i].heats)
      network.addPower(node, share * sources[i].watts.value, share * sources[i].watts.slope);
  }
  powersChanged = false;
}
