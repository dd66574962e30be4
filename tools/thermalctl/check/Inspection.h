#pragma once

#include <optional>
#include <set>
#include <string>
#include <vector>

#include "board/Configuration.h"
#include "board/Environment.h"
#include "check/rule/Finding.h"
#include "text/Source.h"

// What to look at, and for what.
//
// Shape:  paths as the user gave them, and as the findings will have them. A configuration named
//         twice is looked at once. Without `nodesRoot` no node is looked for; with one, a node's
//         path is taken below it.
// Source: the command line; "reload" asks for its one file in the same way.
struct InspectionOrder {
  std::string environment;
  std::vector<std::string> configurations;
  std::optional<std::string> nodesRoot;
  std::set<std::string> disabledRules;
};

// A file that could not be read, and the system's reason.
//
// Errors: the user is told, and the check's exit status is that of a check that could not run,
//         whatever the other files are like.
struct UnreadFile {
  std::string name;
  std::string reason;
};

// What one run has seen of its files, each read once.
//
// Shape:  `configurations` are those that could be read, in the user's order; their items point
//         into `environment`, so that an Inspection is moved as a whole. Without a board
//         `environment` is a board that has whatever the configurations name.
// Errors: `unread`. What is wrong inside of a file is a finding.
struct Inspection {
  Sources sources;
  std::vector<UnreadFile> unread;
  // Whether the environment file could be read.
  bool hasBoard = false;
  Environment environment;
  std::vector<Configuration> configurations;
  std::vector<Finding> findings;
};

// "cannot read NAME: REASON", and which file beside it may have been meant.
std::string describe(const UnreadFile& file);

// Without the environment file a configuration is judged for a board that has what it names.
Inspection inspect(const InspectionOrder& order);
