#pragma once

#include <ostream>
#include <vector>

#include "diff/Changes.h"

// What an edit changes, by meaning and by what is cooled.
struct Difference {
  std::vector<MeaningChange> changes;
  std::vector<MeaningChange> coverage;

  bool none() const { return changes.empty() && coverage.empty(); }
};

void printDifference(std::ostream& out, const Difference& difference);
// For the comment of a review.
void printDifferenceAsMarkdown(std::ostream& out, const Difference& difference);
void printDifferenceAsJson(std::ostream& out, const Difference& difference);
