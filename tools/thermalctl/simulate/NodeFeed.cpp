#include "simulate/NodeFeed.h"

#include <cmath>
#include <stdexcept>
#include <utility>

NodeFeed::NodeFeed(const RunInput& input_, Plant& plant_)
    : input(input_), plant(plant_), nodes(input.plant.probes.size()) {}

std::streambuf* NodeFeed::make(const std::string& sensor) {
  for (size_t i = 0; i < nodes.size(); ++i) {
    const SensorTrack& track = input.description.sensors[input.plant.probes[i].sensor];
    if (track.name != sensor) continue;
    nodes[i] = std::make_unique<Node>();
    nodes[i]->unit = track.unit;
    return &nodes[i]->text;
  }
  return nullptr;
}

void NodeFeed::refresh(size_t probe) {
  Node* const node = nodes[probe].get();
  if (!node || node->faulty) return;
  const int32_t reading = plant.reading(probe);
  if (reading == node->shown) return;
  node->text.show(node->numberOf(reading));
  node->shown = reading;
  node->begun = true;
}

int32_t NodeFeed::Node::numberOf(int32_t millidegrees) const {
  if (unit == 1) return millidegrees;
  return static_cast<int32_t>(std::lround(static_cast<double>(millidegrees) / unit));
}

void NodeFeed::setFault(const Change& change) {
  Node* const node = nodes[change.index].get();
  if (!node) return;
  node->faulty = change.word != fault::kNone;
  // The reading behind the fault may be the one before it, and must be written all the same.
  node->shown.reset();
  if (change.word == fault::kNone) return;
  // A stuck node keeps its text. One that has none yet sticks at what would have been its first
  // reading.
  const bool isNew = !std::exchange(node->begun, true);
  if (change.word == fault::kStuck && isNew)
    return node->text.show(node->numberOf(plant.reading(change.index)));
  if (change.word == fault::kStuck) return;
  // A stream that finds nothing fails, and the daemon clears no failure: such a sensor reads 0 to
  // the end of the run, whatever its node holds later.
  if (change.word == fault::kUnreadable) return node->text.show("");
  if (change.word == fault::kNonsense) return node->text.show("nonsense");
  if (change.word == fault::kValue)
    return node->text.show(node->numberOf(millidegreesOf(change.value)));
  throw std::logic_error("a fault that no node can have: " + change.word);
}
