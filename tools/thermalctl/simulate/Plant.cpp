#include "simulate/Plant.h"

#include <algorithm>
#include <cmath>
#include <limits>

int32_t millidegreesOf(double celsius) {
  return static_cast<int32_t>(std::clamp<double>(std::round(celsius * 1000),
                                                 std::numeric_limits<int32_t>::min(),
                                                 std::numeric_limits<int32_t>::max()));
}

Plant::Plant(const PlantDescription& description, uint64_t seed)
    : plant(description), network(networkOf(description, observed)),
      sources(description.sources.size()) {
  // A stream for each probe, so that none depends on who else is read.
  Random seeds(seed);
  for (size_t i = 0; i < plant.probes.size(); ++i)
    noise.emplace_back(seeds.next());
  for (size_t i = 0; i < sources.size(); ++i) {
    sources[i].load = plant.sources[i].load.value_or(0);
    update(i);
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

void Plant::setAmbient(double celsius) {
  network.setAmbient(celsius);
}

void Plant::setLoad(size_t source, double load) {
  sources[source].load = load;
  update(source);
}

void Plant::setLevel(size_t device, int32_t level) {
  for (size_t i = 0; i < sources.size(); ++i) {
    const PlantDescription::Source& source = plant.sources[i];
    // One device may be the clock of several sources, or of one the clock and of another the cores.
    if (source.device == device) sources[i].level = static_cast<size_t>(level);
    if (source.cores && source.cores->device == device)
      sources[i].cores = static_cast<size_t>(level);
    update(i);
  }
}

void Plant::advanceTo(int64_t time) {
  if (time == now) return;
  updatePowers();
  network.advance(time - now);
  const double seconds = static_cast<double>(time - now) / 1000;
  for (size_t i = 0; i < sources.size(); ++i) {
    sources[i].joules += sources[i].watts * seconds;
    if (!plant.sources[i].work) continue;
    sources[i].demanded += sources[i].load * seconds;
    sources[i].delivered += sources[i].rate * seconds;
  }
  now = time;
}

int32_t Plant::reading(size_t probe) {
  const PlantDescription::Probe& sensor = plant.probes[probe];
  double celsius = network.temperature(observed[probe]) + sensor.offset;
  // As in a sensor: what it has of the heat, noise included, is what it turns into steps.
  if (sensor.noise > 0) celsius += sensor.noise * noise[probe].normal();
  if (sensor.step > 0) celsius = std::round(celsius / sensor.step) * sensor.step;
  return millidegreesOf(celsius);
}

std::vector<Performance> Plant::performance() const {
  std::vector<Performance> all;
  for (size_t i = 0; i < sources.size(); ++i)
    all.push_back(
        {plant.sources[i].name, sources[i].demanded, sources[i].delivered, sources[i].joules});
  return all;
}

// A source gives off its idle power always, and for the share of time that it is busy that of its
// level. Load without work, such as a display's brightness, is busy as told, whatever the level.
void Plant::update(size_t index) {
  const PlantDescription::Source& source = plant.sources[index];
  Source& state = sources[index];
  const double share = source.cores ? source.cores->values[state.cores] : 1;
  double busy = state.load;
  if (source.work) {
    // Work that a lower speed delays keeps the source busy for longer, until it is busy all the
    // time.
    const double speed = source.speed[state.level] * share;
    state.rate = std::min(state.load, speed);
    busy = state.load <= 0 ? 0 : speed <= state.load ? 1 : state.load / speed;
  }
  state.watts = source.idle + busy * share * source.watts[state.level];
  powersChanged = true;
  ++changes;
}

void Plant::updatePowers() {
  if (!powersChanged) return;
  for (size_t i = 0; i < plant.nodes.size(); ++i)
    network.setPower(i, 0);
  for (size_t i = 0; i < sources.size(); ++i) {
    for (const auto& [node, share] : plant.sources[i].heats)
      network.addPower(node, share * sources[i].watts);
  }
  powersChanged = false;
}
