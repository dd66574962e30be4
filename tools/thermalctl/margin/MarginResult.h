#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "margin/Chances.h"
#include "margin/ColumnSummary.h"
#include "margin/MarginStudy.h"
#include "margin/Sampling.h"
#include "margin/Sobol.h"
#include "margin/UnitRows.h"

// What the units of a population have come to under one question.
//
// Shape:  it depends on the study and the rows alone, in the order of the units: whoever ran them, in
//         how many parts, it is the same. Indices are those of the study's runs, their measures,
//         budgets and drivers.
struct MarginResult {
  // A unit and what its figure came to.
  struct Worst {
    uint64_t unit = 0;
    int32_t value = 0;
    std::vector<double> numbers; // of its drivers, correlated standard ones
  };
  // How many units had not kept a budget when so many were known.
  struct Look {
    uint64_t units = 0;
    uint64_t notKept = 0;
  };
  // Of the units a budget was kept by, and was not.
  //
  // Shape: `common` has the mean of the standard numbers of the units that broke it, by driver;
  //        nothing if none did. `answeredAt` is the unit behind which the question was answered.
  struct Budgeted {
    uint64_t kept = 0, broken = 0, unjudged = 0;
    Interval keeping{};
    std::vector<Look> convergence;
    std::vector<double> common;
    std::vector<Worst> worst; // ten at most, the worst first
    std::optional<uint64_t> answeredAt;
    bool isAtMost = false;

    uint64_t units() const { return kept + broken + unjudged; }
  };
  // How one figure is spread, and what drives it.
  //
  // Shape: correlations by driver, indices by independent part of these; either is empty where the
  //        figure does not vary, and the latter where no samples were taken.
  struct Figure {
    size_t measure = 0;
    uint64_t units = 0;
    double mean = 0;
    int32_t least = 0, most = 0;
    std::vector<int32_t> percentiles;
    std::vector<uint64_t> histogram;
    std::vector<Known> correlations;
    std::vector<SobolIndex> sobol;
  };
  // Of one of the study's runs.
  struct Run {
    std::vector<Budgeted> budgets;
    std::vector<Figure> figures;
    std::vector<Worst> hottest; // without a budget, by the first figure
    uint64_t stoodStill = 0;
  };

  // What is to be said of a budget: that it is kept by as many as asked for, or by all; that it is
  // not; or that it cannot be said.
  enum class Answer { kKept, kBroken, kOpen };
  Answer answerTo(const Budgeted& budget) const;
  // Of all budgets, the worst; where there are none, whether each daemon ran to the end.
  Answer answer() const;

  Range units;
  uint64_t samples = 0; // for Sobol indices
  std::optional<Question> question;
  std::vector<Run> runs;
};

// Of rows of units, the first of which is `first`, and of rows of samples.
MarginResult resultOf(const MarginStudy& study, uint64_t first, const UnitRows& units,
                      const UnitRows& samples, const std::optional<Question>& question);

// Whether a question is answered, as unit after unit becomes known: the same that `resultOf` says
// of all of them.
class Answering {
public:
  // Without a question it never is.
  Answering(const MarginStudy& study_, const std::optional<Question>& question_)
      : study(study_), question(question_) {}

  // With one row more.
  bool isAnsweredBy(const std::vector<int32_t>& row);

private:
  const MarginStudy& study;
  const std::optional<Question> question;
  uint64_t units = 0;
  std::vector<uint64_t> notKept; // of each budget of each run
  std::vector<bool> isAnswered;
};

// What several drivers that go together are called.
std::string partName(const MarginStudy& study, const std::vector<size_t>& part);
