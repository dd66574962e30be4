#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "margin/Measures.h"
#include "margin/Population.h"
#include "margin/SearchBounds.h"
#include "simulate/Inputs.h"

// A workload and a unit that may break a limit.
//
// Shape:  the first step begins at 0; each has the `loads` of all sources. `unit` has what is drawn
//         for each spread of the population; without a number it is nominal.
// Units:  milliseconds, degrees Celsius, shares of 1.
struct Attempt {
  // All that holds from a time on; nothing is requested where a word is empty.
  struct Step {
    int64_t time = 0;
    std::optional<double> ambient{};
    std::vector<double> loads{};
    std::string scenario{};
    std::string configuration{};
    std::optional<SearchBounds::Fault> fault{};

    bool operator==(const Step& other) const;
  };

  std::vector<std::optional<double>> unit;
  std::vector<Step> steps;
  int64_t duration = 0;

  bool operator==(const Attempt& other) const;
};

// What came of one, by budget.
//
// Shape:  the greater a score, the nearer to being broken; those of one budget can be compared, and
//         nothing else. `measured` as a run's measures have it. All empty where it was not run.
struct AttemptOutcome {
  std::vector<double> scores;
  std::vector<bool> broken;
  std::vector<int32_t> measured;
  bool stoodStill = false;
  bool unjudged = false; // some budget
};

// All attempts within bounds, as points of a cube, and what comes of them.
//
// Shape:   a coordinate lies from 0 to 1; what is chosen from a list has an even share of it for
//          each choice. Numbers are taken with few digits, so that an attempt can be written down.
// Threads: any.
class SearchSpace {
public:
  // A run with all the configurations that may be asked for. A unit's numbers that the bounds
  // decide on stay nominal: those of the workload, and of the ambient where that has bounds.
  SearchSpace(RunInput nominal, Population population, SearchBounds bounds);

  size_t dimensions() const { return choices.size(); }
  // Of a coordinate, how many there are to choose from; 0 of a number.
  const std::vector<size_t>& choicesOf() const { return choices; }
  // Which of the coordinates are loads.
  const std::vector<bool>& areLoads() const { return loads; }

  Attempt at(const std::vector<double>& point) const;
  bool holds(const Attempt& attempt) const;

  AttemptOutcome outcomeOf(const Attempt& attempt) const;

  // An attempt as files: a workload, and tolerances that have one unit alone.
  std::string workloadOf(const Attempt& attempt) const;
  std::string tolerancesOf(const Attempt& attempt) const;

  const std::vector<Budget>& budgets() const { return nominal.description.budgets; }
  // What is searched, in lines.
  std::string described() const;

  const SearchBounds& within() const { return bounds; }
  int64_t duration() const { return nominal.duration; }

private:
  double drawn(size_t spread, double number) const;
  Attempt::Step stepAt(const std::vector<double>& point, size_t& next) const;
  RunInput runOf(const Attempt& attempt) const;
  double score(size_t budget, const std::vector<int32_t>& values, int64_t duration) const;
  std::string sensorOf(const SearchBounds::Fault& fault) const;

  const RunInput nominal;
  const Population population;
  const SearchBounds bounds;
  const std::vector<std::string> working; // sources
  const RunMeasures measures;
  std::vector<size_t> varied; // spreads
  std::vector<size_t> choices;
  std::vector<bool> loads;
  std::optional<double> ambient; // at the workload's start
};
