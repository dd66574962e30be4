#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "margin/Attempt.h"

// What a search has come to.
//
// Shape:  `worst` by budget; `smallest` is of the first budget that is broken. Nothing is said to
//         be broken but what a simulation has broken.
struct SearchResult {
  // The attempt that came furthest, with the number of its simulation and that of the first that
  // broke the budget, from 1 on.
  struct Worst {
    Attempt attempt;
    AttemptOutcome outcome;
    size_t found = 0;
    std::optional<size_t> broken;
  };
  // It breaks the budget, too, with as little as could be found.
  struct Smallest {
    size_t budget = 0;
    Attempt attempt;
    AttemptOutcome outcome;
    size_t simulations = 0; // that it took, beside those of the search
  };

  size_t simulations = 0;
  size_t asked = 0;
  size_t stoodStill = 0;
  size_t unjudged = 0;
  bool complete = false; // nobody ended it before
  std::vector<Worst> worst;
  std::optional<Smallest> smallest;
};

// Looks for what breaks each budget most, by so many simulations, and then for as little as breaks
// the first that is broken.
//
// Shape:   it depends on the space, the seed and the number of simulations alone.
// Threads: as many as asked for; `goesOn` is asked before each simulation, by any.
SearchResult searchWorst(const SearchSpace& space, uint64_t seed, size_t simulations,
                         size_t threads, const std::function<bool()>& goesOn);
