#pragma once

#include <optional>
#include <string>
#include <vector>

#include "board/Configuration.h"
#include "board/Environment.h"
#include "check/Check.h"
#include "check/rule/Finding.h"
#include "settings/Settings.h"
#include "text/Source.h"
#include "toml/Problems.h"

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
  RuleChoice rules{};
};

// A file that could not be read, and the system's reason.
//
// Errors: the user is told, and the check's exit status is that of a check that could not run,
//         whatever the other files are like.
struct UnreadFile {
  std::string name;
  std::string reason;
};

// A finding of which the settings say that nobody wants to hear, and why.
struct SilencedFinding {
  Finding finding;
  std::string reason;
};

// What one run has seen of its files, each read once.
//
// Shape:  `configurations` are those that could be read, in the user's order; their items point
//         into `environment`, so that an Inspection is moved as a whole. Without a board
//         `environment` is a board that has whatever the configurations name.
// Errors: `unread`, and `problems` of the settings file: with either, this is no answer to what was
//         asked. What is wrong inside of the other files is a finding.
struct Inspection {
  Sources sources;
  std::vector<UnreadFile> unread;
  // Whether the environment file could be read.
  bool hasBoard = false;
  Environment environment;
  std::vector<Configuration> configurations;
  Settings settings;
  Problems problems;
  std::vector<Finding> findings;
  std::vector<SilencedFinding> silenced;

  // Whether all files could be read and the settings be understood.
  bool isWhole() const { return unread.empty() && problems.none(); }
  // The environment file and the configurations that were read; the settings are not checked.
  size_t checkedFiles() const { return sources.size() - sources.count(settings.file); }
};

// "cannot read NAME: REASON", and which file beside it may have been meant.
std::string describe(const UnreadFile& file);

// The settings beside an environment file, as far as they can be read: without what only the rules
// would find.
Settings settingsOf(const std::string& environment);

// Without the environment file a configuration is judged for a board that has what it names. The
// settings are those beside the environment file, if there are any.
Inspection inspect(const InspectionOrder& order);
