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
struct InspectionOrder {
  std::string environment;
  std::vector<std::string> configurations;
  std::optional<std::string> nodesRoot;
  std::set<std::string> disabledRules;
};

// A file that could not be read, and the system's reason.
struct UnreadFile {
  std::string name;
  std::string reason;
};

// What one run has seen of its files, each read once.
struct Inspection {
  Sources sources;
  std::vector<UnreadFile> unread;
  // Whether the environment file could be read.
  bool hasBoard = false;
  Environment environment;
  std::vector<Configuration> configurations;
  std::vector<Finding> findings;
};

// "cannot read NAME: REASON".
std::string describe(const UnreadFile& file);

// Without the environment file a configuration is judged for a board that has what it names.
Inspection inspect(const InspectionOrder& order);
