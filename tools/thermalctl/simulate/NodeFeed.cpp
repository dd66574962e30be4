#include "simulate/NodeFeed.h"

#include <stdexcept>

namespace {

// A node's text always has this length, as a driver's has for all that the daemon reads of it: a
// file that is overwritten keeps what lies behind a shorter text. The longest number has 11
// characters.
constexpr size_t kNodeWidth = 12;

} // namespace

NodeFeed::NodeFeed(const RunInput& input_, Plant& plant_)
    : input(input_), plant(plant_), nodes(input.plant.probes.size()) {}

std::string NodeFeed::make(const std::string& sensor) {
  for (size_t i = 0; i < nodes.size(); ++i) {
    if (input.description.sensors[input.plant.probes[i].sensor].name != sensor) continue;
    nodes[i] = std::make_unique<Node>();
    return nodes[i]->file.path();
  }
  return "";
}

void NodeFeed::refresh(size_t probe) {
  Node* const node = nodes[probe].get();
  if (!node || node->faulty) return;
  const int32_t reading = plant.reading(probe);
  if (reading == node->shown) return;
  show(*node, std::to_string(reading));
  node->shown = reading;
}

void NodeFeed::setFault(const Change& change) {
  Node* const node = nodes[change.index].get();
  if (!node) return;
  node->faulty = change.word != fault::kNone;
  // The reading behind the fault may be the one before it, and must be written all the same.
  node->shown.reset();
  // A stuck node keeps its text. One that has none yet sticks at what would have been its first
  // reading.
  if (change.word == fault::kStuck && node->empty)
    return show(*node, std::to_string(plant.reading(change.index)));
  // A stream that finds nothing fails, and the daemon clears no failure: such a sensor reads 0 to
  // the end of the run, whatever its node holds later.
  if (change.word == fault::kNone || change.word == fault::kStuck) return;
  if (change.word == fault::kUnreadable) return node->file.replace("");
  if (change.word == fault::kNonsense) return show(*node, "nonsense");
  if (change.word == fault::kValue)
    return show(*node, std::to_string(millidegreesOf(change.value)));
  throw std::logic_error("a fault that no node can have: " + change.word);
}

void NodeFeed::show(Node& node, std::string text) {
  text.resize(kNodeWidth - 1, ' ');
  text += '\n';
  node.file.overwrite(text);
  node.empty = false;
}
