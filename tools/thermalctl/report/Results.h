#pragma once

#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "report/RunFigures.h"
#include "trace/Budget.h"

// A run in figures: what is left of it when all of its samples are gone.
//
// Shape:  `identity` tells it from the others, `figures` has groups by name in the order of the
//         board: temperatures, devices, sources, budgets. A value that is not known is null.
// Units:  degrees Celsius, seconds, per cent, joules; changes a minute.
// Memory: some kilobytes, however long the run was.
// Errors: moving it may throw, as far as the library of its JSON says.
struct RunResult { // NOLINT(bugprone-exception-escape)
  using Json = nlohmann::ordered_json;

  std::string name;
  Json identity;
  Json figures;
  std::vector<Verdict> verdicts;
  std::vector<std::string> unjudged; // a sentence each, see RunFigures

  bool passedABudget() const;
  // "passed", "unjudged", or "kept".
  std::string verdict() const;
  // Identity and figures in one.
  Json row() const;
};

RunResult resultOf(const RunFigures& run);

// Of the file that `writeResults` writes: it grows with every change that an older reader would
// misunderstand.
constexpr int kResultsVersion = 1;
constexpr char kResultsFormat[] = "thermalctl results";

// The rows as JSON, and as CSV with a column for each figure that any of them has, called by its
// groups: "temperatures.skin.peak".
void writeResults(const std::vector<RunResult>& results, std::ostream& out);
void writeResultsCsv(const std::vector<RunResult>& results, std::ostream& out);

// Every figure of a row with its groups, in order.
using FlatRow = std::vector<std::pair<std::string, RunResult::Json>>;
FlatRow flattened(const RunResult::Json& row);

// A line for each run with what came of its budgets, but for those that all have kept, which stand
// below; without any, with its sensors' peaks.
void printResults(const std::vector<RunResult>& results, std::ostream& out);
