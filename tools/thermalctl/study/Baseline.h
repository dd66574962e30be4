#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "report/Results.h"
#include "study/Tolerances.h"
#include "toml/Problems.h"

// A figure that differs by more than its tolerance, or a verdict that does.
//
// Shape: all as text; `difference` is empty where there is none to tell.
struct FigureChange {
  std::string run;
  std::string figure;
  std::string before;
  std::string now;
  std::string difference;
  bool worse = false;
};

// What is otherwise than in an earlier study, run by run.
//
// Shape: `compared` counts the runs that both have, `added` those that only the later study has,
//        `gone` those of the earlier alone.
struct ResultChanges {
  std::vector<FigureChange> changes;
  size_t compared = 0;
  size_t added = 0;
  size_t gone = 0;

  // Whether a verdict is: a budget that was kept is broken, not judged or not asked for any more,
  // or one without a verdict is broken.
  bool isWorse() const;
};

// Below each other in columns, each run's name once.
void printChanges(const std::vector<FigureChange>& changes, std::ostream& out);

// An earlier study's results, to hold later ones against.
//
// Source: a results.json, or the study itself.
class Baseline {
public:
  // Nothing, and the problem told, where the file is no whole results.json, or one of a later form.
  static std::optional<Baseline> read(const std::string& path, Problems& problems);
  explicit Baseline(const std::vector<RunResult>& results);

  ResultChanges compare(const std::vector<RunResult>& results, const Tolerances& tolerances) const;
  // As a remark below the later results.
  void print(const ResultChanges& comparison, std::ostream& out) const;

private:
  using Json = RunResult::Json;
  using Figures = std::map<std::string, Json>;

  // A run of the earlier study. Two are the same run if they have the same configuration, workload
  // and seed.
  struct Run {
    std::string key;
    Figures figures;
  };

  Baseline() = default;
  void add(const Json& row);

  std::string path;
  std::vector<Run> runs;
};
