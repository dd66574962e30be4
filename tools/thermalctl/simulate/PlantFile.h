#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "simulate/Problems.h"
#include "trace/Trace.h"

// What a plant file says about the board, its names resolved to indices.
//
// Units: degrees Celsius, J/K, K/W, W, seconds.
struct PlantDescription {
  struct Node {
    std::string name;
    double capacity = 0;
    double initial = 0;
  };
  struct Resistance {
    size_t from = 0;
    std::optional<size_t> to; // without one: the ambient
    double value = 0;
  };
  // A device with one number for each of its levels.
  struct ByLevel {
    size_t device = 0; // an index into TraceDescription::devices
    std::vector<double> values;
  };
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

// Reads a plant for the sensors and devices of `board`.
PlantDescription readPlant(const std::string& text, const std::string& file,
                           const TraceDescription& board, Problems& problems);
