#include "margin/SearchText.h"

#include <algorithm>
#include <cmath>

#include <fmt/format.h>

#include "text/Phrases.h"

namespace {

// "44.61 C, 1.61 C beyond it"
std::string withDistance(const SearchSpace& space, size_t budget, const Attempt& attempt,
                         const AttemptOutcome& outcome) {
  const int32_t measured = outcome.measured[budget];
  std::string figure = space.figureText(budget, measured, attempt.duration);
  if (measured == kUnseen) return figure;
  const double beyond = space.beyond(budget, measured, attempt.duration);
  return figure + fmt::format(", {} {} {} it", rounded(std::abs(beyond), 2), space.unitOf(budget),
                              outcome.broken[budget] ? "beyond" : "within");
}

std::string verdictLine(const SearchSpace& space, const SearchResult& result, size_t budget) {
  const SearchResult::Worst& worst = result.worst[budget];
  const std::string figure = withDistance(space, budget, worst.attempt, worst.outcome);
  const std::string name = textOf(space.budgets()[budget]);
  if (worst.broken)
    return fmt::format("{}: broken, at worst {} (simulation {}, the first was {})", name, figure,
                       worst.found, *worst.broken);
  return fmt::format("{}: not broken in {}, the nearest {} (simulation {})", name,
                     counted(result.simulations, "simulation"), figure, worst.found);
}

std::string indented(const std::string& text) {
  std::string lines;
  bool begins = true;
  for (const char each : text) {
    if (begins && each != '\n') lines += "    ";
    lines += each;
    begins = each == '\n';
  }
  return lines;
}

void printAttempt(const SearchSpace& space, const Attempt& attempt, std::ostream& out) {
  const std::string unit = space.tolerancesOf(attempt);
  out << fmt::format("  the workload, for {}:\n\n",
                     fmt::format("{} s", static_cast<double>(attempt.duration) / 1000))
      << indented(space.workloadOf(attempt))
      << "\n  the unit: " << (unit.empty() ? "the nominal one\n" : "\n\n" + indented(unit));
}

} // namespace

const Attempt& toldAttempt(const SearchResult& result) {
  if (result.smallest) return result.smallest->attempt;
  const auto isBroken = [](const SearchResult::Worst& worst) { return worst.broken.has_value(); };
  const auto broken = std::find_if(result.worst.begin(), result.worst.end(), isBroken);
  return broken == result.worst.end() ? result.worst.front().attempt : broken->attempt;
}

void printSearch(const std::string& title, const SearchSpace& space, const SearchResult& result,
                 const std::string& replay, std::ostream& out) {
  out << fmt::format("{}: {} of up to {}\n\n", title, counted(result.simulations, "simulation"),
                     clockOf(space.duration()))
      << "within\n"
      << space.described() << "\n";
  for (size_t i = 0; i < result.worst.size(); ++i)
    out << verdictLine(space, result, i) << "\n";
  if (result.stoodStill > 0)
    out << "in " << counted(result.stoodStill, "simulation") << " the daemon stood still\n";
  if (result.smallest) {
    const SearchResult::Smallest& smallest = *result.smallest;
    out << fmt::format("\nas little as still breaks {} ({} more): {}\n",
                       textOf(space.budgets()[smallest.budget]),
                       counted(smallest.simulations, "simulation"),
                       withDistance(space, smallest.budget, smallest.attempt, smallest.outcome));
  } else {
    out << "\nthe nearest that was found:\n";
  }
  printAttempt(space, toldAttempt(result), out);
  if (!replay.empty()) out << "\nrun again by: " << replay << "\n";
}

std::vector<JunitSuite> searchSuites(const std::string& run, const SearchSpace& space,
                                     const SearchResult& result) {
  JunitSuite suite{run, {}};
  for (size_t i = 0; i < result.worst.size(); ++i) {
    JunitCase one{textOf(space.budgets()[i])};
    if (result.worst[i].broken) {
      one.element = "failure";
      one.message = verdictLine(space, result, i);
    } else if (result.unjudged > 0) {
      one.element = "error";
      one.message = "in " + counted(result.unjudged, "simulation") + " there was no verdict";
    }
    suite.cases.push_back(one);
  }
  return {suite};
}
