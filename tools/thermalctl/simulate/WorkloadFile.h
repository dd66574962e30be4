#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "simulate/PlantFile.h"
#include "toml/Problems.h"
#include "trace/Trace.h"

// One thing that changes at one time, and then holds or goes on along its slope until it is changed
// again.
//
// Shape:  `kind` says which of `index`, `value`, `slope` and `word` have a meaning.
// Units:  `time` in milliseconds since the workload's start, or that of its present repetition;
//         `value` in degrees Celsius, as a share of 1 or in watts, `slope` in these per second.
//         `at` is the place in the file.
// Errors: whether there is a scenario or a configuration of that name is for `readInputs` to say.
struct Change {
  enum class Kind { kAmbient, kLoad, kWatts, kScenario, kConfiguration, kFault };
  int64_t time = 0; // in milliseconds
  Kind kind = Kind::kAmbient;
  size_t index = 0; // of a source of the plant (kLoad, kWatts) or of one of its probes (kFault)
  double value = 0; // degrees Celsius (kAmbient, kFault), a share (kLoad) or watts (kWatts)
  double slope = 0; // of a value that ramps
  std::string word; // of a control file, or the kind of a fault
  Span at{};
};

// What a fault's `word` may be. "stuck" leaves the node as the last sample found it, "unreadable"
// empties it, "nonsense" puts a word without digits there, and "value" stands for a reading given
// as a number. "none" ends all of them; but to the daemon a sensor that could not be read once
// reads 0 from then on.
namespace fault {
constexpr char kNone[] = "none";
constexpr char kStuck[] = "stuck";
constexpr char kUnreadable[] = "unreadable";
constexpr char kNonsense[] = "nonsense";
constexpr char kValue[] = "value";
// Those that a workload gives.
constexpr std::array<const char*, 4> kWords = {kNone, kStuck, kUnreadable, kNonsense};
} // namespace fault

// What happens on the device in the course of a run.
//
// Shape:  in the order of the times, and at one time in that of the file. Every source has a load
//         from time 0 on, from here or from the plant, or watts in its place. A cell that a short
//         row lacks is an empty one, or the row has lost a comma: whoever shows the run tells so.
// Units:  milliseconds; `repeat` lies behind every change.
// Errors: promised only if `readWorkload` has told no problem.
// Source: a file of the board's workloads, or one of the user's.
struct Workload {
  std::vector<Change> changes;   // in the order of their times
  std::optional<int64_t> repeat; // starts again after this time
  std::vector<int> shortRows;    // lines with fewer cells than there are columns
};

// Reads a workload for the sources and probes of `plant`: TOML if the file's name ends in ".toml",
// otherwise comma-separated values.
Workload readWorkload(const std::string& text, const std::string& file,
                      const PlantDescription& plant, const TraceDescription& board,
                      Problems& problems);
