#include "diff/Changes.h"

#include <algorithm>
#include <set>

#include <fmt/core.h>

#include "text/Affixes.h"

namespace {

// "from 42.0 to 43.0 C": a unit that both have is told once.
std::string fromTo(const std::string& before, const std::string& after) {
  for (const char* unit : {" C", " ms"})
    if (endsWith(before, unit) && endsWith(after, unit))
      return fmt::format("from {} to {}",
                         before.substr(0, before.size() - std::string(unit).size()), after);
  return fmt::format("from {} to {}", before, after);
}

std::string described(const Facts& facts) {
  const auto fact = [&facts](const char* name) {
    const auto found = facts.find(name);
    return found == facts.end() ? std::string() : found->second;
  };
  std::string text = fact("kind");
  if (!fact("sensor").empty()) text += " on " + fact("sensor");
  const std::string start = fact("set point").empty() ? fact("level 1") : fact("set point");
  if (!fact("sensor").empty() && !start.empty()) text += " from " + start;
  return text.empty() ? "" : " (" + text + ")";
}

class Comparer {
public:
  std::vector<MeaningChange> compare(const Meaning& before, const Meaning& after) {
    for (const auto& [place, facts] : before)
      if (after.count(place) == 0) tell(place, "goes" + described(facts));
    for (const auto& [place, facts] : after) {
      const auto old = before.find(place);
      if (old == before.end())
        tell(place, "appears" + described(facts));
      else
        compare(place, old->second, facts);
    }
    std::stable_sort(
        changes.begin(), changes.end(), [](const MeaningChange& a, const MeaningChange& b) {
          return std::tie(a.file, a.scenario, a.about) < std::tie(b.file, b.scenario, b.about);
        });
    return std::move(changes);
  }

private:
  void tell(const BlockPlace& place, const std::string& text) {
    const bool isScenario = place.name.empty() && !place.scenario.empty();
    changes.push_back(
        {place.file, place.scenario, place.name, (isScenario ? "the scenario " : "") + text});
  }

  void compare(const BlockPlace& place, const Facts& before, const Facts& after) {
    for (const auto& [about, value] : before) {
      const auto now = after.find(about);
      if (now == after.end())
        tell(place, fmt::format("{} goes ({})", about, value));
      else if (now->second != value)
        tell(place, fmt::format("{} {}", about, fromTo(value, now->second)));
    }
    for (const auto& [about, value] : after)
      if (before.count(about) == 0) tell(place, fmt::format("{} appears ({})", about, value));
  }

  std::vector<MeaningChange> changes;
};

// By file, scenario and sensor what acts there.
using Cells = std::map<BlockPlace, CoverageCell>;

Cells cellsOf(const Coverage& coverage, const FileNames& names) {
  Cells cells;
  for (size_t i = 0; i < coverage.columns.size(); ++i)
    for (const Section* sensor : coverage.sensors)
      if (coverage.isWatched(sensor, i))
        cells[{names.at(coverage.columns[i].configuration), coverage.columns[i].scenario,
               sensor->name}] = coverage.cell(sensor, i);
  return cells;
}

std::string levelsOf(const Action& action) {
  std::string text;
  for (const auto& [device, level] : action.upTo)
    text += fmt::format("{}{} {}", text.empty() ? "" : ", ", device, level);
  return text;
}

// "cooled from 42.0 to 43.0 C, up to clock 3 instead of clock 2"
std::string changeOf(const std::optional<Action>& before, const std::optional<Action>& after,
                     const char* verb) {
  if (!before && !after) return "";
  if (!before)
    return fmt::format("{} from {} on ({})", verb, celsiusText(after->at), levelsOf(*after));
  if (!after) return fmt::format("no longer {}", verb);
  std::string text;
  if (before->at != after->at)
    text = fmt::format("{} {}", verb, fromTo(celsiusText(before->at), celsiusText(after->at)));
  if (before->upTo != after->upTo)
    text += fmt::format("{}up to {} instead of {}", text.empty() ? verb + std::string(" ") : ", ",
                        levelsOf(*after), levelsOf(*before));
  return text;
}

std::string changeOf(const std::optional<Onset>& before, const std::optional<Onset>& after) {
  if (!before && !after) return "";
  if (!before) return "reported from " + celsiusText(after->at) + " on";
  if (!after) return "no longer reported";
  return before->at == after->at
             ? ""
             : "reported " + fromTo(celsiusText(before->at), celsiusText(after->at));
}

} // namespace

std::vector<MeaningChange> changesOf(const Meaning& before, const Meaning& after) {
  return Comparer().compare(before, after);
}

std::vector<MeaningChange> coverageChanges(const Coverage& before, const FileNames& namesBefore,
                                           const Coverage& after, const FileNames& namesAfter) {
  const Cells old = cellsOf(before, namesBefore);
  const Cells now = cellsOf(after, namesAfter);
  std::set<BlockPlace> places;
  for (const Cells* cells : {&old, &now})
    for (const auto& [place, cell] : *cells)
      places.insert(place);
  const auto cellAt = [](const Cells& cells, const BlockPlace& place) {
    const auto found = cells.find(place);
    return found == cells.end() ? CoverageCell() : found->second;
  };
  std::vector<MeaningChange> changes;
  for (const BlockPlace& place : places) {
    const CoverageCell a = cellAt(old, place);
    const CoverageCell b = cellAt(now, place);
    for (const std::string& text :
         {changeOf(a.heat, b.heat, "cooled"), changeOf(a.cold, b.cold, "held in the cold"),
          changeOf(a.report, b.report)})
      if (!text.empty()) changes.push_back({place.file, place.scenario, place.name, text});
  }
  return changes;
}
