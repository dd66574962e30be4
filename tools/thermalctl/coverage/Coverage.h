#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "board/Configuration.h"
#include "board/Environment.h"

// Where an item begins to do something.
//
// Shape: `word` is the threshold or set point that leads there.
// Units: `at` in millidegrees, whatever the sensor's node counts in.
struct Onset {
  int64_t at = 0;
  const Item* item = nullptr;
  Word word{};
};

// What acts on devices, but for reports: the first onset of all items, and by device the strongest
// level that any of them asks for.
struct Action : Onset {
  std::map<std::string, int32_t> upTo;
};

// What one scenario does about one sensor.
//
// Shape:  `heat` acts from its onset on upwards, `cold` downwards. A report is no cooling.
// Errors: `doubtful` where an item names a device and yet drives none, or is cold by a slip: what
//         is wrong there is told of the item, and what lacks for it is not said again.
struct CoverageCell {
  std::vector<const Item*> items;
  std::optional<Action> heat;
  std::optional<Action> cold;
  std::optional<Onset> report;
  bool doubtful = false;
};

// A scenario of a configuration.
//
// Shape: `items` counts those that were meant for it; `sound` is false where one of them watches a
//        sensor that is not there.
struct CoverageColumn {
  const Configuration* configuration = nullptr;
  std::string scenario;
  size_t items = 0;
  bool sound = true;
};

// Which sensor is cooled where: sensors by scenarios by configurations.
//
// Shape:  columns in the order of the configurations, "Default" first, the others as they first
//         appear; sensors in the order of the board. Items count as they were meant, those behind
//         the place where the daemon ends included.
// Errors: none is raised. What no finding is wanted for by itself is `doubtful`.
// Source: both files; they must outlive this.
class Coverage {
public:
  Coverage(const Environment& environment, const std::vector<Configuration>& configurations);

  std::vector<CoverageColumn> columns;
  std::vector<const Section*> sensors;

  // An empty one where no item watches the sensor.
  const CoverageCell& cell(const Section* sensor, size_t column) const;
  bool isWatched(const Section* sensor, size_t column) const;

private:
  void addColumns(const Configuration& configuration);
  void add(const Item& item, size_t column);

  std::map<std::pair<const Section*, size_t>, CoverageCell> cells;
};

// The heat, or cold, from which on an item drives a device that is no report, and how far.
std::optional<Action> actionOf(const Item& item);

// The onset of each of a monitor's levels: a level behind a threshold that is out of order waits
// for that.
//
// Units: millidegrees.
std::vector<int64_t> onsetsOf(const Item& item);

bool isReport(const Section& device);

// A temperature of the item in millidegrees.
int64_t millidegreesOf(const Number& temperature, const Item& item);

// Below every room in which a device is used: what waits for heat there is always on.
inline constexpr int64_t kColdRoom = 15000; // millidegrees
// Nothing that acts on cold is to be awake here.
inline constexpr int64_t kWarmRoom = 30000; // millidegrees

// Whether the item acts on heat that every room has, and lets go above that: it was meant for cold.
bool lacksLowactive(const Item& item);

// Whether the item's temperatures run as those of an item that acts on heat do: level by level
// upwards, and each clearing below its threshold.
bool runsLikeHeat(const Item& item);
