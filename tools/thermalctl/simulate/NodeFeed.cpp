#include "simulate/NodeFeed.h"

#include <stdexcept>

NodeFeed::NodeFeed(const RunInput& input_, Plant& plant_)
    : input(input_), plant(plant_), nodes(input.plant.probes.size()) {}

std::streambuf* NodeFeed::make(const std::string& sensor) {
  for (size_t i = 0; i < nodes.size(); ++i) {
    if (input.description.sensors[input.plant.probes[i].sensor].name != sensor) continue;
    nodes[i] = std::make_unique<Node>();
    return &nodes[i]->text;
  }
  return nullptr;
}

void NodeFeed::refresh(size_t probe) {
  Node* const node = nodes[probe].get();
  if (!node || node->faulty) return;
  const int32_t reading = plant.reading(probe);
  if (reading == node->shown) return;
  node->text.show(reading);
  node->shown = reading;
}

void NodeFeed::setFault(const Change& change) {
  Node* const node = nodes[change.index].get();
  if (!node) return;
  node->faulty = change.word != fault::kNone;
  // The reading behind the fault may be the one before it, and must be written all the same.
  node->shown.reset();
  // A stream that finds nothing fails, and the daemon clears no failure: such a sensor reads 0 to
  // the end of the run, whatever its node holds later. A stuck node needs nothing done: it keeps
  // its text.
  if (change.word == fault::kNone || change.word == fault::kStuck) return;
  if (change.word == fault::kUnreadable) return node->text.show("");
  if (change.word == fault::kNonsense) return node->text.show("nonsense");
  if (change.word == fault::kValue)
    return node->text.show(static_cast<int32_t>(change.value * 1000));
  throw std::logic_error("a fault that no node can have: " + change.word);
}
