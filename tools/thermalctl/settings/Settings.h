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

// A sensor that every scenario of every configuration must cool.
//
// Units: `atMost` in millidegrees: the highest temperature at which that may begin.
struct MustCool {
  // As a word of the settings file.
  Word sensor;
  std::optional<int32_t> atMost;
};

// The coldest and the hottest that a sensor can be, in millidegrees.
struct SensorRange {
  int32_t coldest = -50000;
  int32_t hottest = 150000;
};

// What a board's engineers have to say beside the two files, which hold no comments.
//
// Units:  `units` are what the node of a sensor counts in, in thousandths of a degree: 1, 100 or
//         1000. A sensor that is not named counts in thousandths. `noise` is a standard deviation
//         in millidegrees, `entries` what the numbers of a device's table count.
// Source: "thermalctl.toml" in the folder of the environment file; where there is none, nothing.
struct Settings {
  // As the user would name it.
  std::string file{};
  std::vector<Silenced> silenced{};
  std::map<std::string, int32_t> units{};
  std::map<std::string, SensorRange> ranges{};
  std::map<std::string, int32_t> noise{};
  std::map<std::string, std::string> entries{};
  std::vector<MustCool> mustCool{};
  // The plant file, relative to the folder of the settings.
  std::optional<Word> plant{};

  // The hottest and the coldest that the sensor can be, in millidegrees.
  int32_t reachOf(const std::string& sensor) const { return rangeOf(sensor).hottest; }
  int32_t depthOf(const std::string& sensor) const { return rangeOf(sensor).coldest; }
  bool hasToCool(const std::string& sensor) const;

private:
  SensorRange rangeOf(const std::string& sensor) const;
};

// The names that settings may speak of.
//
// Shape: without a board no sensor or device is known, and any may be named.
struct KnownNames {
  std::vector<std::string> rules;
  std::optional<std::vector<std::string>> sensors;
  std::optional<std::vector<std::string>> devices{};
};

// The name of the settings file of the board that has this environment file.
std::string settingsFileBeside(const std::string& environment);

// What is wrong in the text goes to the problems, and what is right is kept.
Settings readSettings(const std::string& file, const std::string& text, const KnownNames& known,
                      Problems& problems);
