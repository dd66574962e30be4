#include "trace/Budget.h"

#include <cmath>
#include <tuple>
#include <vector>

#include <fmt/format.h>

#include "text/Nearest.h"
#include "text/Numbers.h"
#include "text/Phrases.h"
#include "text/Temperature.h"

// What a run may be held to:
//   skin=43C               never above
//   node:case=45C          the same of a node of the plant
//   skin=43C:60s           above for so long in all, at most
//   p95:skin=42C           for 95 % of the time no more than that
//   work:gpu=75%           so much of the work that was asked for, at least
//   changes:cpu_big<=6/min so many changes of the level a minute, at most

namespace {

constexpr char kNode[] = "node:";
constexpr char kWork[] = "work";
constexpr char kChanges[] = "changes";
constexpr char kAMinute[] = "/min";
constexpr int64_t kSecond = 1000;

BudgetText wrong(const std::string& what, const std::string& hint = "") {
  return {std::nullopt, what, hint};
}

// Takes `start` from the beginning of `text`, if it stands there.
bool takeStart(std::string& text, const std::string& start) {
  if (text.rfind(start, 0) != 0) return false;
  text.erase(0, start.size());
  return true;
}

bool takeEnd(std::string& text, const std::string& end) {
  if (text.size() < end.size() || text.compare(text.size() - end.size(), end.size(), end) != 0)
    return false;
  text.erase(text.size() - end.size());
  return true;
}

// The number of a "p95:" in front, which is taken off. A sensor may well be called "p".
std::optional<double> takePercentile(std::string& text) {
  const size_t colon = text.find(':');
  if (text.empty() || text.front() != 'p' || colon == std::string::npos) return std::nullopt;
  const std::optional<double> number = parseNumber(text.substr(1, colon - 1));
  if (number) text.erase(0, colon + 1);
  return number;
}

BudgetText readWork(const std::string& rest) {
  // An "at least" says the same.
  const size_t equals = rest.rfind('=');
  std::string name = equals == std::string::npos ? "" : rest.substr(0, equals);
  takeEnd(name, ">");
  std::string share = equals == std::string::npos ? "" : rest.substr(equals + 1);
  const bool hasUnit = takeEnd(share, "%");
  const std::optional<double> percent = parseNumber(share);
  if (name.empty() || name.back() == '<' || !hasUnit || !percent || *percent < 0 || *percent > 100)
    return wrong("does not say how much work a source must do at least",
                 "write a source and its share from 0 to 100 %, such as work:gpu=75%");
  return {Budget{Budget::Of::kWork, name, false, *percent / 100}};
}

BudgetText readChanges(const std::string& rest) {
  const size_t sign = rest.rfind("<=");
  const std::string name = sign == std::string::npos ? "" : rest.substr(0, sign);
  std::string number = sign == std::string::npos ? "" : rest.substr(sign + 2);
  const bool hasUnit = takeEnd(number, kAMinute);
  const std::optional<double> most = parseNumber(number);
  if (name.empty() || !hasUnit || !most || *most < 0)
    return wrong("does not say how often a device may change its level at most",
                 "write a device and a number a minute, such as changes:cpu_big<=6/min");
  return {Budget{Budget::Of::kChanges, name, false, *most}};
}

// As many digits as come back the way they were written.
std::string shortest(double number) {
  return fmt::format("{:.12g}", number);
}

std::string inUnit(int64_t milliseconds) {
  return milliseconds % kSecond == 0 ? fmt::format("{}s", milliseconds / kSecond)
                                     : fmt::format("{}ms", milliseconds);
}

} // namespace

bool Budget::operator==(const Budget& other) const {
  const auto all = [](const Budget& budget) {
    return std::tie(budget.of, budget.name, budget.ofNode, budget.bound, budget.allowed,
                    budget.percentile);
  };
  return all(*this) == all(other);
}

BudgetText readLimit(const std::string& text) {
  std::string rest = text;
  Budget budget;
  const std::optional<double> percentile = takePercentile(rest);
  if (percentile && !(*percentile > 0 && *percentile < 100))
    return wrong("'p" + shortest(*percentile) + "' is no percentile",
                 "write one above 0 and below 100, such as p95:skin=42C");
  if (percentile) budget.of = Budget::Of::kPercentile;
  budget.percentile = percentile.value_or(0);
  budget.ofNode = takeStart(rest, kNode);
  // A sensor's name may hold an "=", a temperature does not.
  const size_t equals = rest.rfind('=');
  if (equals == std::string::npos || equals == 0)
    return wrong("is no limit", "write a sensor, or node: and a node of the plant, and its "
                                "temperature, such as skin=43C or node:case=45C");
  budget.name = rest.substr(0, equals);
  std::string number = rest.substr(equals + 1);
  const size_t colon = number.find(':');
  if (colon != std::string::npos) {
    const std::string time = number.substr(colon + 1);
    const std::optional<int64_t> allowed = parseDuration(time);
    if (!allowed)
      return wrong(quoted(time) + " is no time", "write how long it may be above in all, such as "
                                                 "skin=43C:60s");
    if (percentile)
      return wrong("has a percentile and a time",
                   "write two limits, such as p95:skin=42C and skin=43C:60s");
    budget.of = Budget::Of::kTimeAbove;
    budget.allowed = *allowed;
    number.erase(colon);
  }
  const TemperatureText temperature = readTemperature(number);
  if (!temperature.millidegrees)
    return wrong(::quoted(number) + " " + temperature.wrong, temperature.hint);
  budget.bound = *temperature.millidegrees;
  return {budget};
}

BudgetText readRequirement(const std::string& text) {
  const size_t colon = text.find(':');
  const std::string kind = text.substr(0, colon);
  const std::string rest = colon == std::string::npos ? "" : text.substr(colon + 1);
  if (kind == kWork) return readWork(rest);
  if (kind == kChanges) return readChanges(rest);
  const std::string known = "write work:gpu=75% or changes:cpu_big<=6/min";
  return wrong(quoted(kind) + " is nothing that can be required",
               didYouMean(kind, {kWork, kChanges}, known));
}

std::string subjectOf(const Budget& budget) {
  switch (budget.of) {
  case Budget::Of::kWork:
    return std::string(kWork) + ":" + budget.name;
  case Budget::Of::kChanges:
    return std::string(kChanges) + ":" + budget.name;
  default:
    return (budget.ofNode ? kNode : "") + budget.name;
  }
}

std::string textOf(const Budget& budget) {
  const std::string subject = subjectOf(budget);
  if (budget.of == Budget::Of::kWork) return subject + "=" + shortest(100 * budget.bound) + "%";
  if (budget.of == Budget::Of::kChanges) return subject + "<=" + shortest(budget.bound) + kAMinute;
  std::string limit = subject + "=" + degrees(static_cast<int32_t>(budget.bound)) + "C";
  if (budget.of == Budget::Of::kTimeAbove) return limit + ":" + inUnit(budget.allowed);
  if (budget.of == Budget::Of::kPercentile) return "p" + shortest(budget.percentile) + ":" + limit;
  return limit;
}

std::optional<double> Verdict::beyond() const {
  if (!measured) return std::nullopt;
  return budget.of == Budget::Of::kWork ? budget.bound - *measured : *measured - budget.bound;
}
