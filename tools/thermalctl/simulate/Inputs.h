#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "simulate/Engine.h"
#include "simulate/Problems.h"

// What a user asks for.
struct SimulationRequest {
  std::string environment;
  std::vector<std::string> configurations; // one run for each
  std::string plant;
  std::string workload;
  // Where the files lie that the workload asks for, beside the folder of a run's own configuration.
  std::string configurationFolder;
  std::map<std::string, int32_t> limits; // in millidegrees, by sensor or node
  int64_t duration = 0;
  uint64_t seed = 0;
};

// Reads all files and checks them against each other. With problems the runs are of no use.
std::vector<RunInput> readInputs(const SimulationRequest& request, Problems& problems);
