#pragma once

#include <memory>
#include <optional>
#include <streambuf>
#include <string>
#include <vector>

#include "simulate/Inputs.h"
#include "simulate/NodeText.h"
#include "simulate/Plant.h"

// The nodes of the board's real sensors, which show what the plant's probes read, or a fault.
//
// Shape:  a node for each probe, once it is made. `input` and `plant` must outlive the feed.
class NodeFeed {
public:
  NodeFeed(const RunInput& input, Plant& plant);

  // Makes the node of a sensor, which replaces an earlier one; null for a sensor that no probe is
  // of.
  std::streambuf* make(const std::string& sensor);

  // Puts the probe's present reading into its node, unless a fault holds that.
  void refresh(size_t probe);

  void setFault(const Change& change);

private:
  struct Node {
    // What it shows of a temperature.
    int32_t numberOf(int32_t millidegrees) const;

    int32_t unit = 1; // that it counts in
    NodeText text;
    bool begun = false; // whether it has ever been given a text
    bool faulty = false;
    std::optional<int32_t> shown; // of the readings
  };

  const RunInput& input;
  Plant& plant;
  std::vector<std::unique_ptr<Node>> nodes; // by probe; null for a sensor without a node
};
