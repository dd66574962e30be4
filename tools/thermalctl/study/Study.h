#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "simulate/Inputs.h"
#include "study/StudyFile.h"
#include "toml/Problems.h"

// A workload by the word that the user has for it, and its file; of a recording the files, with
// commas between them, and the text that was made of them.
struct NamedWorkload {
  std::string name;
  std::string path;
  std::optional<std::string> text{};
};

// What is to be run: every configuration under every workload with every seed.
//
// Shape:  paths as the user gave them, or put together from the board's folder; what is named twice
//         counts once. Budgets go by the paths of configurations and of workloads.
// Units:  `duration` in milliseconds.
struct StudyRequest {
  std::string environment;
  std::string plant;
  std::string configurationFolder;
  std::vector<std::string> configurations;
  std::vector<NamedWorkload> workloads;
  std::vector<uint64_t> seeds;
  std::vector<SelectedBudget> budgets;
  SensorUnits units{};
  int64_t duration = 0;
};

// The runs that a request makes, each ready to be run by itself.
//
// Shape:  `inputs` holds what differs in more than the seed. The runs stand in the order of the
//         configurations, then of the workloads, then of the seeds. `configurations` are the paths
//         of all that the daemon may come to read.
// Errors: as of SimulationInputs.
struct Study {
  // One run, and where it stands in the matrix.
  struct Cell {
    size_t input = 0;
    std::string name; // of what it does not share with all others
    std::string configuration;
    std::string workload;
    uint64_t seed = 0;
    std::optional<uint64_t> noiseSeed{}; // where it is not the seed
  };

  std::vector<RunInput> inputs;
  std::vector<Cell> cells;
  std::vector<std::string> configurations;

  RunInput inputOf(const Cell& cell) const;
};

Study readStudy(const StudyRequest& request, Problems& problems);
