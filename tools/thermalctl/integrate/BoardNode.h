#pragma once

#include <optional>
#include <string>
#include <vector>

#include "board/Environment.h"
#include "check/rule/Finding.h"

// A node that the daemon opens on the board, and what init and the policy have to know of it.
//
// Shape:  `path` is absolute and plain. `atLevelZero` is nothing where the daemon writes nothing at
//         that level: at a sensor, a report, an empty table.
// Source: a sensor's or device's section, and what the daemon's own device of that kind writes.
struct BoardNode {
  enum Place { kSys, kDev, kData };

  std::string path;
  Place place = kSys;
  // Else it is read.
  bool isWritten = false;
  // The bytes.
  std::optional<std::string> atLevelZero;
  // For those that are no text: the name of the file in which they are installed.
  std::string levelZeroFile;
};

// The nodes of a board in the order of its environment file, each path once.
//
// Errors: a node that no label can be given is an error, and not among the nodes; one whose label
//         may miss it is a warning.
struct BoardNodes {
  std::vector<BoardNode> nodes;
  std::vector<Finding> findings;
};

BoardNodes nodesOf(const Environment& environment);
