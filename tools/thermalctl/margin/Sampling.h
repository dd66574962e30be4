#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "margin/MarginStudy.h"
#include "margin/Population.h"
#include "margin/UnitRows.h"
#include "study/Study.h"

// From the first to behind the last.
struct Range {
  uint64_t first = 0;
  uint64_t end = 0;

  uint64_t size() const { return end - first; }
  // The part of it that is the `index`-th of `count` from 1 on, as even as can be.
  Range shard(uint64_t index, uint64_t count) const;
};

// Runs the units of a population, each under all runs of a study.
//
// Shape:   a unit's row depends on nothing but the study, the population, the seed and its number.
//          `study` and `population` must outlive this.
// Memory:  that of a run for each thread.
// Threads: as many as asked for; `told` and `goesOn` are called by one at a time.
class Sampling {
public:
  // How it goes on. Both must be set.
  //
  // Shape: `told` has the row of each unit in order, and says whether one more is wanted;
  //        `goesOn` is asked before each run.
  struct Listener {
    std::function<bool(const std::vector<int32_t>& row)> told;
    std::function<bool()> goesOn;
  };

  Sampling(const Study& study, const Population& population, const MarginStudy& asked,
           size_t threads);

  // Rows of these units in order, up to the first that is not wanted any more, or not run. How
  // many.
  size_t units(const Range& range, const Listener& listener, UnitSpool& rows);
  // The same of samples for Sobol indices: as many rows for each as it has runs.
  size_t samples(const Range& range, const Listener& listener, UnitSpool& rows);

private:
  using Rows = std::vector<std::vector<int32_t>>; // of one unit or sample

  std::vector<int32_t> rowOf(const std::vector<double>& standard, uint64_t noise);
  Rows sampleOf(uint64_t number);
  size_t run(const Range& range, size_t runsEach, const std::function<Rows(uint64_t)>& make,
             const Listener& listener, UnitSpool& rows);

  const Study& study;
  const Population& population;
  const MarginStudy& asked;
  const size_t threads;
  std::vector<std::string> working; // sources
};

// What a study asks of a population: its runs with what is kept of each, its drivers, its seed and
// duration.
MarginStudy askedOf(const Study& study, const Population& population);

// The names of those sources of a plant that do work, which measures are of.
std::vector<std::string> workingSources(const PlantDescription& plant);

// The study of one unit: what `margin` runs of it, to be run by itself.
Study ofUnit(const Study& study, const Population& population, uint64_t unit);
