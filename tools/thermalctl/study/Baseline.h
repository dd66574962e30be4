#pragma once

#include <map>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "report/Results.h"
#include "study/Tolerances.h"
#include "toml/Problems.h"

// An earlier study's results, to hold later ones against.
//
// Source: a results.json.
class Baseline {
public:
  // Nothing, and the problem told, where the file is no whole results.json, or one of a later form.
  static std::optional<Baseline> read(const std::string& path, Problems& problems);

  // Prints what differs by more than its tolerance, run by run. Whether a verdict is worse: a
  // budget that was kept is broken, not judged or not asked for any more, or one without a verdict
  // is broken.
  bool compare(const std::vector<RunResult>& results, const Tolerances& tolerances,
               std::ostream& out) const;

private:
  using Json = RunResult::Json;
  using Figures = std::map<std::string, Json>;

  // A run of the earlier study. Two are the same run if they have the same configuration, workload
  // and seed.
  struct Run {
    std::string key;
    Figures figures;
  };

  std::string path;
  std::vector<Run> runs;
};
