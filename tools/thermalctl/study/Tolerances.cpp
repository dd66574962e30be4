#include "study/Tolerances.h"

#include <cmath>
#include <vector>

#include "text/Nearest.h"
#include "text/Numbers.h"
#include "text/Phrases.h"

bool Tolerance::allows(double before, double now) const {
  // What the same calculation leaves on another processor.
  constexpr double kRounding = 1e-9;
  const double most = relative ? amount * std::abs(before) : amount;
  return std::abs(now - before) <= most + kRounding;
}

Tolerances usualTolerances() {
  constexpr Tolerance kDegrees = {0.05};
  constexpr Tolerance kSeconds = {1};
  constexpr Tolerance kPercent = {0.01, true};
  return {{"peak", kDegrees},
          {"mean", kDegrees},
          {"p50", kDegrees},
          {"p95", kDegrees},
          {"p99", kDegrees},
          {"mean_level", {0.05}},
          {"changes_per_minute", {0.05}},
          {"work_percent", {0.5}},
          {"joules", kPercent},
          {"above_s", kSeconds},
          {"first_above_s", kSeconds},
          {"wakeups_per_hour", kPercent}};
}

ToleranceProblem setTolerance(const std::string& name, const std::string& amount,
                              Tolerances& tolerances) {
  const auto known = tolerances.find(name);
  if (known == tolerances.end()) {
    std::vector<std::string> names;
    for (const auto& [each, tolerance] : tolerances)
      names.push_back(each);
    return {"there is no figure " + ::quoted(name),
            didYouMean(name, names, "there are " + listed(names))};
  }
  const bool relative = !amount.empty() && amount.back() == '%';
  const std::optional<double> number =
      parseNumber(relative ? amount.substr(0, amount.size() - 1) : amount);
  if (!number || *number < 0)
    return {::quoted(amount) + " is no tolerance",
            "write a number in the figure's unit, such as 0.5, or a share such as 1%"};
  known->second = {relative ? *number / 100 : *number, relative};
  return {};
}
