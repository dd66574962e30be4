#include "report/Judgement.h"

#include <cmath>

#include <fmt/format.h>

#include "text/Phrases.h"

namespace {

using Json = nlohmann::ordered_json;
using Of = Budget::Of;

constexpr double kPerUnit = 1000;

std::string exactDegrees(double millidegrees) {
  return degrees(static_cast<int32_t>(millidegrees));
}

void measureTemperature(const TimeAtValue& record, Verdict& verdict) {
  const Budget& budget = verdict.budget;
  verdict.measured =
      budget.of == Of::kPercentile ? record.percentile(budget.percentile) : record.highest();
  verdict.above = record.total() - record.atMost(static_cast<int32_t>(budget.bound));
}

void measure(const Evidence& evidence, Verdict& verdict) {
  if (verdict.budget.of == Of::kWork) {
    // Of a source that nobody asks anything of, nothing is left undone.
    if (const Performance* const work = evidence.performance)
      verdict.measured = work->demanded == 0 ? 1 : work->delivered / work->demanded;
  } else if (verdict.budget.of == Of::kChanges) {
    verdict.measured = evidence.changesAMinute;
  } else if (evidence.temperatures && !evidence.temperatures->empty()) {
    measureTemperature(*evidence.temperatures, verdict);
    verdict.firstAbove = evidence.firstAbove;
  }
}

bool isPassed(const Verdict& verdict) {
  if (verdict.budget.of == Of::kTimeAbove)
    return verdict.above.value_or(0) > verdict.budget.allowed;
  return verdict.beyond().value_or(0) > 0;
}

// For who reads numbers.
Json inUnitOf(const Budget& budget, const std::optional<double>& value) {
  if (!value) return nullptr;
  if (budget.ofTemperature()) return figure(*value / kPerUnit);
  return figure(budget.of == Of::kWork ? 100 * *value : *value);
}

Json inSeconds(const std::optional<int64_t>& milliseconds) {
  return milliseconds ? Json(static_cast<double>(*milliseconds) / kPerUnit) : Json(nullptr);
}

} // namespace

Verdict judge(const Budget& budget, const Evidence& evidence) {
  Verdict verdict{budget};
  measure(evidence, verdict);
  // A daemon that stood still may have passed a limit before, and that counts; but nothing is kept
  // by it.
  if (isPassed(verdict))
    verdict.is = Verdict::Is::kPassed;
  else if (verdict.measured && !evidence.stoodStill)
    verdict.is = Verdict::Is::kKept;
  return verdict;
}

std::string labelOf(const Budget& budget) {
  switch (budget.of) {
  case Of::kPeak:
    return "limit " + exactDegrees(budget.bound);
  case Of::kTimeAbove:
    return "limit " + exactDegrees(budget.bound) + " for " + clockOf(budget.allowed) + " in all";
  case Of::kPercentile:
    return fmt::format("limit p{:g} {}", budget.percentile, exactDegrees(budget.bound));
  case Of::kWork:
    return fmt::format("required work at least {:g} %", 100 * budget.bound);
  case Of::kChanges:
    return fmt::format("required changes a minute at most {:g}", budget.bound);
  }
  return "";
}

std::string wordOf(const Verdict& verdict) {
  if (verdict.is == Verdict::Is::kKept) return "kept";
  if (verdict.is == Verdict::Is::kUnjudged) return "unjudged";
  return verdict.budget.ofTemperature() ? "passed" : "missed";
}

std::string cellOf(const Verdict& verdict) {
  if (verdict.is == Verdict::Is::kUnjudged)
    return verdict.measured || !verdict.budget.ofTemperature() ? "not judged" : "no sample";
  std::string word = wordOf(verdict);
  switch (verdict.budget.of) {
  case Of::kPeak:
    return verdict.is == Verdict::Is::kKept ? word : word + " for " + clockOf(*verdict.above);
  case Of::kTimeAbove:
    return word + ": " + clockOf(*verdict.above);
  case Of::kPercentile:
    return word + ": " + exactDegrees(*verdict.measured);
  case Of::kWork:
    return word + ": " + rounded(100 * *verdict.measured, 2) + " %";
  case Of::kChanges:
    return word + ": " + rounded(*verdict.measured, 2);
  }
  return word;
}

double figure(double value) {
  constexpr double kFinest = 1e6;
  return std::round(value * kFinest) / kFinest;
}

nlohmann::ordered_json asJson(const Verdict& verdict) {
  const Budget& budget = verdict.budget;
  Json json = {{"verdict", wordOf(verdict)},
               {"bound", inUnitOf(budget, budget.bound)},
               {"measured", inUnitOf(budget, verdict.measured)},
               {"beyond", inUnitOf(budget, verdict.beyond())}};
  if (budget.of == Of::kTimeAbove) json["allowed_s"] = inSeconds(budget.allowed);
  if (!budget.ofTemperature()) return json;
  json["above_s"] = inSeconds(verdict.above);
  json["first_above_s"] = inSeconds(verdict.firstAbove);
  return json;
}
