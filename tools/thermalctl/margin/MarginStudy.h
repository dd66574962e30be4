#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "margin/Measures.h"
#include "margin/Population.h"
#include "report/Provenance.h"
#include "study/Study.h"
#include "trace/Budget.h"

// What was asked of a population: all that makes something of the figures of its units, and nothing
// that differs between the parts of one question.
//
// Shape:  `inputs` are the files by their own names. `replay` is the command that runs a unit, but for
//         its number.
// Units:  `duration` in milliseconds.
// Source: the command line, or the head of a part.
struct MarginStudy {
  // A configuration under a workload.
  struct Run {
    std::string name;
    std::string configuration;
    std::string workload;
    std::vector<Budget> budgets;
    RunMeasures figures;
  };
  // A spread as it is told. `steps` are the summed shares of a list's values, of which units have
  // the same; empty of all others.
  struct Driver {
    std::string name;
    std::string reason;
    std::vector<double> steps;
  };

  std::string title;
  std::vector<Run> runs;
  std::vector<Driver> drivers;
  SquareMatrix factor;
  std::vector<std::vector<size_t>> independent; // drivers, see Population
  uint64_t seed = 0;
  int64_t duration = 0;
  uint64_t sobolSamples = 0;
  std::vector<Provenance::Input> inputs;
  std::string replay;

  // Of a row with the figures of all runs.
  size_t columns() const;
  // Where those of a run begin.
  size_t firstColumn(size_t run) const;
  // How many runs a sample of the Sobol indices takes: the unit, another, and the unit with each
  // independent part of the other.
  size_t sobolRuns() const { return independent.size() + 2; }

  std::string asJson() const;
  // Nothing of a text that `asJson` has not made.
  static std::optional<MarginStudy> fromJson(const std::string& text);
};
