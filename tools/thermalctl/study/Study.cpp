#include "study/Study.h"

#include <algorithm>
#include <iterator>

#include "file/Names.h"
#include "text/Phrases.h"

namespace {

// More are a slip, and what is left of each would fill the memory.
constexpr size_t kMostRuns = 100'000;

bool selects(const std::vector<std::string>& paths, const std::string& path) {
  return paths.empty() || std::any_of(paths.begin(), paths.end(), [&](const std::string& other) {
           return isSameFile(path, other);
         });
}

SimulationRequest requestOf(const StudyRequest& study, const NamedWorkload& workload) {
  SimulationRequest request;
  request.environment = study.environment;
  request.configurations = study.configurations;
  request.plant = study.plant;
  request.workload = workload.path;
  request.workloadText = workload.text;
  request.configurationFolder = study.configurationFolder;
  request.units = study.units;
  request.duration = study.duration;
  for (const SelectedBudget& budget : study.budgets) {
    if (!selects(budget.workloads, workload.path)) continue;
    request.budgets.push_back(budget.asked);
    request.budgets.back().configurations = budget.configurations;
  }
  return request;
}

// What tells a run from the others, and at least its configuration.
std::string nameOf(const Study::Cell& cell, const StudyRequest& request, size_t configurations) {
  std::vector<std::string> parts;
  const bool severalWorkloads = request.workloads.size() > 1;
  const bool severalSeeds = request.seeds.size() > 1;
  if (configurations > 1 || !(severalWorkloads || severalSeeds))
    parts.push_back(cell.configuration);
  if (severalWorkloads) parts.push_back(cell.workload);
  if (severalSeeds) parts.push_back("seed " + std::to_string(cell.seed));
  std::string name;
  for (const std::string& part : parts)
    name += (name.empty() ? "" : ", ") + part;
  return name;
}

} // namespace

RunInput Study::inputOf(const Cell& cell) const {
  RunInput input = inputs[cell.input];
  input.seed = cell.noiseSeed.value_or(cell.seed);
  input.description.name = cell.name;
  return input;
}

Study readStudy(const StudyRequest& request, Problems& problems) {
  Study study;
  for (const NamedWorkload& workload : request.workloads) {
    SimulationInputs inputs = readInputs(requestOf(request, workload), problems);
    std::move(inputs.runs.begin(), inputs.runs.end(), std::back_inserter(study.inputs));
    for (const std::string& path : inputs.configurations) {
      const auto known = [&](const std::string& other) { return isSameFile(path, other); };
      if (std::none_of(study.configurations.begin(), study.configurations.end(), known))
        study.configurations.push_back(path);
    }
  }
  if (!problems.none()) return study;
  // Each workload has as many runs as there are configurations, each in the same order.
  const size_t workloads = request.workloads.size();
  const size_t configurations = study.inputs.size() / workloads;
  const size_t runs = study.inputs.size() * request.seeds.size();
  if (runs > kMostRuns) {
    problems.add({"simulate",
                  {},
                  counted(runs, "run") + " are more than " + std::to_string(kMostRuns),
                  "take fewer seeds, or several studies"});
    return study;
  }
  for (size_t configuration = 0; configuration < configurations; ++configuration) {
    for (size_t workload = 0; workload < workloads; ++workload) {
      // Inputs stand workload by workload, as they were read; runs go configuration by
      // configuration, as a reader compares them.
      const size_t input = workload * configurations + configuration;
      for (const uint64_t seed : request.seeds) {
        Study::Cell cell{input, "", study.inputs[input].description.name,
                         request.workloads[workload].name, seed};
        cell.name = nameOf(cell, request, configurations);
        study.cells.push_back(std::move(cell));
      }
    }
  }
  return study;
}
