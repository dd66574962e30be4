#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "study/Baseline.h"
#include "study/Parting.h"
#include "study/Study.h"
#include "study/Tolerances.h"

// What an edit changes in what is run regularly.
//
// Shape: `runs` are those of both studies, in the order of the later one; one without a parting is
//        the same to its end.
struct StudyDifference {
  // A run, by its name in the later study.
  struct Run {
    std::string name;
    std::optional<Parting> parting;
  };

  std::vector<Run> runs;
  ResultChanges figures;

  bool none() const;
};

// The study of one side, under the name that the user has for it.
struct NamedStudy {
  std::string name;
  const Study& study;
};

// Runs both on so many threads. Two runs belong together if they have the same configuration,
// workload and seed.
//
// Errors: as of `runStudy`; standard error tells what the user should know of a run, below the name
//         of its side.
StudyDifference differenceOf(const NamedStudy& before, const NamedStudy& now,
                             const Tolerances& tolerances, size_t threads);
