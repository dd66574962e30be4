#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "text/Word.h"
#include "toml/Problems.h"

// Findings that the board's engineers know and want to hear of no more: those of one rule in one
// file, all of them or those at one place.
//
// Shape:  `file` is relative to the folder of the settings. `item` and `scenario` are for a
//         configuration, `section` is for the environment file.
// Source: a [[silenced]] table of the settings file.
struct Silenced {
  // As a word of the settings file.
  Word rule;
  std::string file;
  std::optional<std::string> item;
  std::optional<std::string> section;
  std::optional<std::string> scenario;
  std::string reason;
};

// What a board's engineers have to say beside the two files, which hold no comments.
//
// Units:  `units` are what the node of a sensor counts in, in thousandths of a degree: 1, 100 or
//         1000. A sensor that is not named counts in thousandths.
// Source: "thermalctl.toml" in the folder of the environment file; where there is none, nothing.
struct Settings {
  // As the user would name it.
  std::string file{};
  std::vector<Silenced> silenced{};
  std::map<std::string, int32_t> units{};
};

// The names that settings may speak of.
//
// Shape: without a board no sensor is known, and any may be named.
struct KnownNames {
  std::vector<std::string> rules;
  std::optional<std::vector<std::string>> sensors;
};

// The name of the settings file of the board that has this environment file.
std::string settingsFileBeside(const std::string& environment);

// What is wrong in the text goes to the problems, and what is right is kept.
Settings readSettings(const std::string& file, const std::string& text, const KnownNames& known,
                      Problems& problems);
