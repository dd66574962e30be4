#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "margin/Attempt.h"
#include "margin/Search.h"

// What is told of a search, of one of its parts, or of all of them together. Nothing of it needs
// the board any more.
//
// Shape:  `within` is what was searched, in lines. `from` is the digest of what an earlier round has
//         found, from which this one goes on, or empty; the earlier one's numbers are counted in.
//         `worst` by budget.
struct SearchReport {
  // What is worth running again, as the texts of two files: the smallest attempt that breaks a
  // budget, or what came nearest to breaking the first.
  //
  // Shape: `simulations` made it small. `unit` is empty for the nominal one.
  // Units: `duration` in milliseconds; `measured` as a run's measures have it.
  struct Told {
    std::optional<size_t> broken; // budget
    int32_t measured = 0;
    size_t simulations = 0;
    int64_t duration = 0;
    std::string workload;
    std::string unit;
  };

  std::string within;
  std::string from;
  size_t simulations = 0;
  size_t stoodStill = 0;
  size_t unjudged = 0;
  bool complete = true; // of a part it always is
  std::vector<SearchResult::Worst> worst;
  Told told;

  // As a part has it.
  std::string asJson() const;
  // Nothing of a text that `asJson` has not made.
  static std::optional<SearchReport> fromJson(const std::string& text);

  void count(const SearchReport& other);
};

SearchReport reportOf(const SearchSpace& space, const SearchResult& result);

// Of all parts of a search, in the order of their simulations. At least one.
SearchReport joined(const std::vector<SearchReport>& parts);
