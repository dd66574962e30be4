#pragma once

#include <optional>
#include <string>
#include <system_error>
#include <vector>

#include "check/rule/Finding.h"
#include "integrate/BoardNode.h"
#include "text/Source.h"

// A board's integration, made or looked at in a folder.
//
// Source: the environment file's name and text, and its nodes.
struct Integration {
  std::string environmentFile;
  std::string environment;
  std::vector<BoardNode> nodes;
};

// A file and why it could not be read or written.
struct FileTrouble {
  std::string path;
  std::error_code reason;
};

// What was written, or what kept it from being.
//
// Shape:  `written` and `removed` are paths, in order; a file that is right already is among the
//         written. `configurationMissing` is the path at which the Blueprint file will look for the
//         factory's configuration in vain.
// Errors: with `trouble` the files behind the one in trouble are as they were.
struct WrittenFolder {
  std::vector<std::string> written;
  std::vector<std::string> removed;
  std::optional<std::string> configurationMissing;
  std::optional<FileTrouble> trouble;
};

// Makes the folder's files, each at once, and takes away those of devices that the board no longer
// has. A configuration that lies beside the environment file goes along, unless the folder has one.
WrittenFolder writeFolder(const std::string& folder, const Integration& integration);

// How a folder differs from what would be made today.
//
// Shape:  `findings` are about lines of files that are in `sources`; the others are whole files, by
//         their paths.
// Errors: with `trouble` a file could not be read, and there is no answer.
struct ComparedFolder {
  std::vector<Finding> findings;
  Sources sources;
  std::vector<std::string> missing;
  std::vector<std::string> extra;
  std::optional<FileTrouble> trouble;

  bool isSame() const { return findings.empty() && missing.empty() && extra.empty(); }
};

ComparedFolder compareFolder(const std::string& folder, const Integration& integration);
