#include "check/rule/PlantFacts.h"

#include <algorithm>

#include "simulate/Network.h"

namespace {

// Longer than any device takes to settle.
constexpr int64_t kForever = int64_t{1000} * 60 * 60 * 24 * 365; // ms

// At full load, with the device at a level. Without one its power has one number.
double wattsOf(const PlantDescription::Source& source, size_t level) {
  if (source.watts.empty()) return source.idle;
  return source.watts[std::min(level, source.watts.size() - 1)];
}

// Where every node settles with all sources at full load.
std::vector<double> settledNodes(const PlantDescription& plant) {
  Network network(plant.nodes.size());
  std::vector<double> initial;
  for (size_t i = 0; i < plant.nodes.size(); ++i) {
    network.setCapacity(i, plant.nodes[i].capacity);
    initial.push_back(plant.nodes[i].initial);
  }
  for (const PlantDescription::Resistance& resistance : plant.resistances)
    if (resistance.to)
      network.connect(resistance.from, *resistance.to, resistance.value);
    else
      network.connectToAmbient(resistance.from, resistance.value);
  network.start(initial, plant.ambient);
  for (const PlantDescription::Source& source : plant.sources)
    for (const auto& [node, share] : source.heats)
      network.addPower(node, share * wattsOf(source, 0));
  // One step is exact however long it is, so that nothing has to be solved here.
  network.advance(kForever);
  std::vector<double> settled;
  for (size_t i = 0; i < plant.nodes.size(); ++i)
    settled.push_back(network.temperature(i));
  return settled;
}

// The time in which a node by itself follows its neighbours.
double timeConstantOf(size_t node, const PlantDescription& plant) {
  double conductance = 0;
  for (const PlantDescription::Resistance& resistance : plant.resistances)
    if (resistance.from == node || resistance.to == node) conductance += 1 / resistance.value;
  return conductance > 0 ? plant.nodes[node].capacity / conductance : 0;
}

void addFalls(SensorHeat& heat, size_t node, const PlantDescription& plant,
              const TraceDescription& board) {
  for (const PlantDescription::Source& source : plant.sources) {
    if (!source.device) continue;
    for (const auto& [heated, share] : source.heats) {
      if (heated != node) continue;
      std::vector<double>& falls = heat.fall[board.devices[*source.device].name];
      falls.resize(std::max(falls.size(), source.watts.size()));
      for (size_t level = 1; level < source.watts.size(); ++level)
        // In millidegrees a second: what is given off less, into the heat capacity of the node.
        falls[level] += share * (source.watts[level - 1] - source.watts[level]) * 1000 /
                        plant.nodes[node].capacity;
    }
  }
}

// Of a virtual sensor, once its sources are known.
void addVirtual(PlantFacts& facts, const Section& sensor) {
  // As what a virtual sensor settles at: its weighted sources over the sum of the weights less 1.
  double sum = 0;
  for (size_t i = 0; i < sensor.sources.size(); ++i) {
    const auto source = facts.find(sensor.sources[i].word.text);
    if (i >= sensor.weights.size() || source == facts.end() || !sensor.sources[i].section) return;
    sum += sensor.weights[i].value * source->second.fullLoad / sensor.sources[i].section->unit;
  }
  for (const Number& offset : sensor.offsets)
    sum += 100.0 * offset.value;
  // It grows without an end, or jumps to and fro.
  if (sensor.weightSum() >= -1 && sensor.weightSum() <= 1) return;
  facts[sensor.name].fullLoad = sum / (sensor.weightSum() - 1.0) * sensor.unit;
}

} // namespace

PlantFacts plantFacts(const PlantDescription& plant, const TraceDescription& board,
                      const Environment& environment, const Settings& settings) {
  PlantFacts facts;
  const std::vector<double> settled = settledNodes(plant);
  for (const PlantDescription::Probe& probe : plant.probes) {
    const std::string& name = board.sensors[probe.sensor].name;
    const auto noise = settings.noise.find(name);
    SensorHeat& heat = facts[name];
    heat.fullLoad = (settled[probe.node] + probe.offset) * 1000;
    heat.timeConstant = timeConstantOf(probe.node, plant);
    heat.noise = noise != settings.noise.end() ? noise->second : probe.noise * 1000;
    addFalls(heat, probe.node, plant, board);
  }
  for (const Section& section : environment.sections)
    if (section.kind == SectionKind::kVirtual) addVirtual(facts, section);
  return facts;
}
