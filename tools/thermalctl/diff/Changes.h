#pragma once

#include <string>
#include <vector>

#include "coverage/Coverage.h"
#include "diff/Meaning.h"

// One thing that an edit changes.
//
// Shape: `about` is the item, section or sensor; empty for a scenario or a file. `text` goes on
//        from it: "level 2 from 42.0 to 43.0 C".
struct MeaningChange {
  std::string file;
  std::string scenario;
  std::string about;
  std::string text;
};

// What the daemon takes differently.
std::vector<MeaningChange> changesOf(const Meaning& before, const Meaning& after);

// What cools a sensor in a scenario otherwise than before. The names of the files are those of
// `addMeaning`, by configuration.
using FileNames = std::map<const Configuration*, std::string>;
std::vector<MeaningChange> coverageChanges(const Coverage& before, const FileNames& namesBefore,
                                           const Coverage& after, const FileNames& namesAfter);
