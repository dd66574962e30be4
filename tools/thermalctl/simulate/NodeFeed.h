#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "daemon/MemoryFile.h"
#include "simulate/Inputs.h"
#include "simulate/Plant.h"

// The nodes of the board's real sensors: files in memory that show what the plant's probes read, or
// a fault.
//
// Shape:  a node for each probe, once it is made. `input` and `plant` must outlive the feed.
// Errors: std::system_error where the system has no file in memory left.
class NodeFeed {
public:
  NodeFeed(const RunInput& input, Plant& plant);

  // Makes the node of a sensor, which replaces an earlier one. Returns its path; none for a sensor
  // that no probe is of.
  std::string make(const std::string& sensor);

  // Puts the probe's present reading into its node, unless a fault holds that.
  void refresh(size_t probe);

  void setFault(const Change& change);

private:
  struct Node {
    MemoryFile file;
    bool empty = true; // as it is made
    bool faulty = false;
    std::optional<int32_t> shown; // of the readings
  };

  static void show(Node& node, std::string text);

  const RunInput& input;
  Plant& plant;
  std::vector<std::unique_ptr<Node>> nodes; // by probe; null for a sensor without a node
};
