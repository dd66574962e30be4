#pragma once

#include <optional>
#include <ostream>
#include <vector>

#include "diff/Changes.h"
#include "diff/StudyDifference.h"

// What an edit changes, by meaning and by what is cooled; where that was asked, also what it
// changes in the runs of the board's study.
struct Difference {
  std::vector<MeaningChange> changes;
  std::vector<MeaningChange> coverage;
  std::optional<StudyDifference> runs{};

  bool meansNothing() const { return changes.empty() && coverage.empty(); }
  bool none() const { return meansNothing() && (!runs || runs->none()); }
};

void printDifference(std::ostream& out, const Difference& difference);
// For the comment of a review.
void printDifferenceAsMarkdown(std::ostream& out, const Difference& difference);
void printDifferenceAsJson(std::ostream& out, const Difference& difference);
