#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "simulate/PlantFile.h"
#include "simulate/WorkloadFile.h"
#include "toml/Problems.h"
#include "trace/Budget.h"
#include "trace/Trace.h"

// A budget that is asked for, and where.
//
// Shape: `file` and `span` as of a Problem. `configurations` are the paths of those that are held to
//        it; all are, if there is none.
struct AskedBudget {
  Budget budget;
  std::string file;
  Span span{};
  std::vector<std::string> configurations{};
};

// What a user asks for.
//
// Shape:  paths as the user gave them, or put together from the board's folder.
// Units:  `duration` in milliseconds.
// Source: the command line of "simulate", with the board's folder for what it does not name.
struct SimulationRequest {
  std::string environment;
  std::vector<std::string> configurations; // one run for each
  std::string plant;
  std::string workload;
  std::optional<std::string> workloadText{}; // where `workload` is no file but names a recording
  // Where the files lie that the workload asks for, beside the folder of a run's own configuration.
  std::string configurationFolder;
  std::vector<AskedBudget> budgets;
  SensorUnits units{};
  int64_t duration = 0;
  uint64_t seed = 0;
};

// All that one run goes by, read and checked: two runs of one input give the same trace, byte for
// byte.
//
// Shape:  the configurations are the one that the daemon starts with, under the name that the
//         environment has for it, and those that the workload asks for. Indices of plant and
//         workload are those of `description`, whose sensors are the board's by name and then the
//         plant's nodes. A configuration's items stand in it one after the other, in the
//         order in which VirtualDaemon gives them.
// Units:  `duration` in milliseconds.
// Source: `readInputs`.
struct RunInput {
  std::string environment;
  std::map<std::string, std::string> configurations; // texts by name
  PlantDescription plant;
  Workload workload;
  TraceDescription description;
  int64_t duration = 0;
  uint64_t seed = 0;

  // Where the plant's nodes begin among the sensors of the description.
  size_t firstNode() const { return description.sensors.size() - plant.nodes.size(); }
};

// The runs that a request makes.
//
// Shape:  a run for each configuration. `configurations` are the paths of all that the daemon may
//         come to read, in any run; none where a file could not be read, or is another than it was
//         named as.
// Errors: the runs are promised only if `readInputs` has told no problem and the board's files pass
//         the check: a configuration on which the daemon would end has no items here.
struct SimulationInputs {
  std::vector<RunInput> runs;
  std::vector<std::string> configurations;
};

// Reads all files and checks them against each other: the plant against the board, the workload
// against both, the scenarios and configurations that it asks for against what is there. A file
// that is wrong by itself may hide what it would be wrong with beside the others. A configuration
// that is asked for twice is run once.
SimulationInputs readInputs(const SimulationRequest& request, Problems& problems);
