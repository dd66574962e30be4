#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include <nlohmann/json.hpp>

#include "report/TimeAtValue.h"
#include "trace/Budget.h"
#include "trace/Trace.h"

// What of a run a budget is held against.
//
// Shape: which of them counts the budget says; what is missing, or empty, was never seen.
//        `firstAbove` is when the temperature was first above the bound.
// Units: `firstAbove` in milliseconds.
struct Evidence {
  const TimeAtValue* temperatures = nullptr;
  std::optional<int64_t> firstAbove{};
  const Performance* performance = nullptr;
  std::optional<double> changesAMinute{};
  bool stoodStill = false;
};

// Of a run in which the daemon stood still nothing is kept; what was passed is passed all the same.
Verdict judge(const Budget& budget, const Evidence& evidence);

// The label and the cell of the table's row.
std::string labelOf(const Budget& budget);
std::string cellOf(const Verdict& verdict);
// "kept", "passed", "missed" of a requirement, or "unjudged".
std::string wordOf(const Verdict& verdict);

// Without the digits that only the way of calculating makes.
double figure(double value);

// In degrees Celsius, seconds, per cent and changes a minute; null for what was not measured.
nlohmann::ordered_json asJson(const Verdict& verdict);
