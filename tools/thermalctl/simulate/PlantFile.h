#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "toml/Problems.h"
#include "trace/Trace.h"

// The most that a source may give off.
constexpr double kMostWatts = 1e6;

// What a plant file says about the board, its names resolved to indices.
//
// Shape:  in the order of the file. Every real sensor of the board has one probe, and from every
//         node a chain of resistances leads to the ambient.
// Units:  degrees Celsius, J/K, K/W, W, seconds.
// Errors: promised only if `readPlant` has told no problem; otherwise stand-ins may take the place
//         of what was wrong.
// Source: the plant file.
struct PlantDescription {
  // Stores heat.
  //
  // Shape: no other node has its name, and none is called "ambient".
  // Units: its capacity in J/K, above 0; its temperature at the start in degrees Celsius.
  struct Node {
    std::string name;
    double capacity = 0;
    double initial = 0;
  };
  // Lets heat through between two nodes, or a node and the ambient.
  //
  // Shape: two ends that differ; several may lie between the same two.
  // Units: `value` in K/W, above 0.
  struct Resistance {
    size_t from = 0;
    std::optional<size_t> to; // without one: the ambient
    double value = 0;
  };
  // A device with one number for each of its levels.
  //
  // Shape: `device` is an index into TraceDescription::devices; `values` is as long as its level
  //        table.
  struct ByLevel {
    size_t device = 0; // an index into TraceDescription::devices
    std::vector<double> values;
  };
  // Gives off heat: its idle power, and at full load that of the level of its device.
  //
  // Shape: `watts` and `speed` have a number for each level of `device`, or one alone without a
  //        device; the shares of `heats` add up to 1.
  // Units: W; load, speed and shares as parts of 1.
  struct Source {
    std::string name;
    std::vector<std::pair<size_t, double>> heats; // nodes, and their shares of its heat
    double idle = 0;                              // W at no load
    std::optional<size_t> device;                 // which decides about `watts` and `speed`
    std::vector<double> watts;    // at full load, by level; a single one without a device
    bool work = false;            // whether a lower speed delays work
    std::vector<double> speed;    // by level, 1 at its full speed; empty without work
    std::optional<ByLevel> cores; // the share of the source that is switched on
    std::optional<double> load;   // until the workload says otherwise
  };
  // What one real sensor reads of the plant, by way of `lag`, `offset`, `noise` and `step`, in that
  // order.
  //
  // Units: degrees Celsius, `lag` in seconds.
  struct Probe {
    size_t sensor = 0; // an index into TraceDescription::sensors
    size_t node = 0;
    double offset = 0;
    double lag = 0;
    double noise = 0; // standard deviation
    double step = 0;  // of quantisation, 0 for none but that of a millidegree
  };
  double ambient = 25;
  std::vector<Node> nodes;
  std::vector<Resistance> resistances;
  std::vector<Source> sources;
  std::vector<Probe> probes;
};

// Reads a plant for the sensors and devices of `board`. All that is wrong goes to `problems`, with
// its line: what cannot be used is stood in for or left out, so that reading goes on and tells the
// rest.
PlantDescription readPlant(const std::string& text, const std::string& file,
                           const TraceDescription& board, Problems& problems);
