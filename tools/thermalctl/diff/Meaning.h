#pragma once

#include <map>
#include <string>
#include <tuple>
#include <vector>

#include "board/Configuration.h"
#include "board/Environment.h"

// What the daemon makes of a section or an item, as facts that can be held against another's.
//
// Shape: by what a fact is about, such as "level 2" or "sampling", its value as a reader takes it:
//        "42.0 C". What the daemon takes alike has one text, in whatever order it was written.
using Facts = std::map<std::string, std::string>;

// Where a block stands: the configuration's file and scenario, both empty for the environment; what
// it is and its name. Two items of one name are told apart by the count behind it.
struct BlockPlace {
  std::string file;
  std::string scenario;
  std::string name;

  bool operator<(const BlockPlace& other) const {
    return std::tie(file, scenario, name) < std::tie(other.file, other.scenario, other.name);
  }
};

using Meaning = std::map<BlockPlace, Facts>;

// The sensors and devices that the daemon has of it, and the name of the configuration.
void addMeaning(Meaning& meaning, const Environment& environment);
// The items that the daemon has of it, its scenarios, and where the daemon ends. `name` stands for
// the file.
void addMeaning(Meaning& meaning, const Configuration& configuration, const std::string& name);

// "42.0 C", with as many digits as it takes.
std::string celsiusText(int64_t millidegrees);
