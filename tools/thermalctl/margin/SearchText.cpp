#include "margin/SearchText.h"

#include <cmath>

#include <fmt/format.h>

#include "text/Phrases.h"

namespace {

// "44.61 C, 1.61 C beyond it"
std::string withDistance(const MarginStudy::Run& run, size_t budget, int32_t measured,
                         int64_t duration, bool isBroken) {
  if (measured == kUnseen) return "never seen";
  const Measure& measure = run.figures.measures[run.figures.budgets[budget].measured];
  const double distance = beyond(run.budgets[budget], measure, measured, duration);
  return fmt::format("{} {}, {} {} {} it", rounded(measure.inUnits(measured, duration), 2),
                     measure.unit(), rounded(std::abs(distance), 2), measure.unit(),
                     isBroken ? "beyond" : "within");
}

std::string verdictLine(const MarginStudy& study, const SearchReport& report, size_t budget) {
  const MarginStudy::Run& run = study.runs.front();
  const SearchResult::Worst& worst = report.worst[budget];
  const std::string figure = withDistance(run, budget, worst.outcome.measured[budget],
                                          study.duration, worst.outcome.broken[budget]);
  const std::string name = textOf(run.budgets[budget]);
  if (worst.broken)
    return fmt::format("{}: broken, at worst {} (simulation {}, the first was {})", name, figure,
                       worst.found, *worst.broken);
  return fmt::format("{}: not broken in {}, the nearest {} (simulation {})", name,
                     counted(report.simulations, "simulation"), figure, worst.found);
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

void printTold(const SearchReport::Told& told, std::ostream& out) {
  out << fmt::format("  the workload, for {} s:\n\n", static_cast<double>(told.duration) / 1000)
      << indented(told.workload) << "\n  the unit: "
      << (told.unit.empty() ? "the nominal one\n" : "\n\n" + indented(told.unit));
}

} // namespace

void printSearch(const MarginStudy& study, const SearchReport& report, const std::string& replay,
                 std::ostream& out) {
  out << fmt::format("{}: {} of up to {}\n\n", study.title,
                     counted(report.simulations, "simulation"), clockOf(study.duration))
      << "within\n"
      << report.within << "\n";
  for (size_t i = 0; i < report.worst.size(); ++i)
    out << verdictLine(study, report, i) << "\n";
  if (report.stoodStill > 0)
    out << "in " << counted(report.stoodStill, "simulation") << " the daemon stood still\n";
  const SearchReport::Told& told = report.told;
  if (told.broken)
    out << fmt::format(
        "\nas little as still breaks {} ({} more): {}\n",
        textOf(study.runs.front().budgets[*told.broken]), counted(told.simulations, "simulation"),
        withDistance(study.runs.front(), *told.broken, told.measured, told.duration, true));
  else
    out << "\nthe nearest that was found:\n";
  printTold(told, out);
  if (!replay.empty()) out << "\nrun again by: " << replay << "\n";
}

std::vector<JunitSuite> searchSuites(const MarginStudy& study, const SearchReport& report) {
  const MarginStudy::Run& run = study.runs.front();
  JunitSuite suite{run.name, {}};
  for (size_t i = 0; i < report.worst.size(); ++i) {
    JunitCase one{textOf(run.budgets[i])};
    if (report.worst[i].broken) {
      one.element = "failure";
      one.message = verdictLine(study, report, i);
    } else if (report.unjudged > 0) {
      one.element = "error";
      one.message = "in " + counted(report.unjudged, "simulation") + " there was no verdict";
    }
    suite.cases.push_back(one);
  }
  return {suite};
}
