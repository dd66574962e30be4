#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "margin/Attempt.h"
#include "margin/Sampling.h"

// What a search has come to.
//
// Shape:  `worst` by budget; `smallest` is of the first budget that is broken. Nothing is said to
//         be broken but what a simulation has broken.
struct SearchResult {
  // The attempt that came furthest, as a point of the space, with the number of its simulation and
  // that of the first that broke the budget, from 1 on.
  struct Worst {
    std::vector<double> point;
    AttemptOutcome outcome;
    size_t found = 0;
    std::optional<size_t> broken;

    // What breaks it counts more than whatever a score may say.
    bool isLessThan(const AttemptOutcome& other, size_t budget) const;
  };
  // It breaks the budget, too, with as little as could be found.
  struct Smallest {
    size_t budget = 0;
    Attempt attempt;
    AttemptOutcome outcome;
    size_t simulations = 0; // that it took, beside those of the search
  };

  size_t simulations = 0;
  size_t stoodStill = 0;
  size_t unjudged = 0;
  bool complete = false; // nobody ended it before
  std::vector<Worst> worst;
  std::optional<Smallest> smallest;
};

// Which simulations are run: all of a search, those of a part, or those of a later round.
//
// Shape:  what is drawn depends on the seed and on the number of the first one. `from` is what was
//         found before, by budget, or empty: it stays the worst until something is worse.
struct SearchTask {
  uint64_t seed = 1;
  Range simulations;
  std::vector<SearchResult::Worst> from{};
};

// Looks for what breaks each budget most, and then for as little as breaks the first that is
// broken.
//
// Shape:   it depends on the space and the task alone.
// Threads: as many as asked for; `goesOn` is asked before each simulation, by any.
SearchResult searchWorst(const SearchSpace& space, const SearchTask& task, size_t threads,
                         const std::function<bool()>& goesOn);
