#pragma once

#include <cstdint>
#include <optional>
#include <string>

// What a run must keep: a limit of a temperature, or what is required of a source's work or of a
// device.
//
// Shape:  `name` is that of a sensor, or with `ofNode` of a node of the plant and of nothing else;
//         of kWork that of a source of heat, of kChanges that of a device.
// Units:  `bound` in millidegrees Celsius; of kWork as a share of 1, of kChanges a minute.
//         `allowed` in milliseconds.
// Source: `--limit`, `--require`, and the same texts in a study's file.
struct Budget {
  enum class Of {
    kPeak,       // no sample above the bound
    kTimeAbove,  // not above it for more than `allowed` in all
    kPercentile, // for `percentile` per cent of the time not above it
    kWork,       // at least this share of the work that was asked for done
    kChanges     // at most this many changes of a device's level
  };

  Of of = Of::kPeak;
  std::string name{};
  bool ofNode = false;
  double bound = 0;
  int64_t allowed = 0;
  double percentile = 0;

  bool ofTemperature() const { return of != Of::kWork && of != Of::kChanges; }
  bool operator==(const Budget& other) const;
};

// What a text says of a budget: the budget, or what is wrong.
//
// Shape: `wrong` and `hint` are lines of text, the latter may be empty.
struct BudgetText {
  std::optional<Budget> budget;
  std::string wrong{};
  std::string hint{};
};

// "NAME=TEMPERATURE", the temperature with its unit; "NAME=TEMPERATURE:TIME" for the time above it
// in all; "p95:NAME=TEMPERATURE" for a percentile over time. With "node:" in front of the name it
// is of a node of the plant.
BudgetText readLimit(const std::string& text);
// "work:SOURCE=SHARE%" or "changes:DEVICE<=NUMBER/min".
BudgetText readRequirement(const std::string& text);

// What the budget is of, such as "skin", "node:case", "work:gpu" or "changes:cpu_big".
std::string subjectOf(const Budget& budget);
// The budget as it can be written: two texts of one meaning give the same.
std::string textOf(const Budget& budget);

// Whether a run has kept a budget.
//
// Shape:  `measured` is what the bound is held against, the highest temperature where `allowed` is;
//         without it nothing was measured. `above` and `firstAbove` are of temperatures alone, and
//         the latter is missing where nothing was above.
// Units:  `measured` in the unit of the bound; `above` and `firstAbove` in milliseconds.
struct Verdict {
  // Unjudged is what was never seen to be broken by a run that shows too little.
  enum class Is { kKept, kPassed, kUnjudged };

  Budget budget;
  Is is = Is::kUnjudged;
  std::optional<double> measured{};
  std::optional<int64_t> above{};
  std::optional<int64_t> firstAbove{};

  // How far the measured value lies beyond the bound; below 0 where it is within.
  std::optional<double> beyond() const;
};
