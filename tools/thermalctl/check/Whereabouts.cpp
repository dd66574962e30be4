#include "check/Whereabouts.h"

#include <algorithm>

#include "base/Names.h"

namespace {

// The last of those that begin in the line or further up; null above the first. `lineOf` gives the
// line in which one begins; they stand in the order of the file.
template <typename Blocks, typename LineOf>
auto lastUpTo(int line, const Blocks& blocks, LineOf lineOf) -> decltype(&*blocks.begin()) {
  const auto behind =
      std::upper_bound(blocks.begin(), blocks.end(), line,
                       [&](int wanted, const auto& block) { return wanted < lineOf(block); });
  return behind == blocks.begin() ? nullptr : &*std::prev(behind);
}

Whereabouts inEnvironment(int line, const Environment& environment) {
  const Section* section =
      lastUpTo(line, environment.sections, [](const Section& each) { return each.header.at.line; });
  return {section ? section->name : "", ""};
}

Whereabouts inConfiguration(int line, const Configuration& configuration) {
  const Item* const* item =
      lastUpTo(line, configuration.meant, [](const Item* each) { return each->header.at.line; });
  const ScenarioLine* scenario =
      lastUpTo(line, configuration.scenarioLines,
               [](const ScenarioLine& each) { return each.keyword.at.line; });
  // The line of a scenario stands above its items.
  if (item && (!scenario || scenario->keyword.at.line < (*item)->header.at.line))
    return {(*item)->name, (*item)->scenario};
  return {"", scenario ? scenario->name.text : kDefaultScenario};
}

} // namespace

Whereabouts whereaboutsOf(const Finding& finding, const Environment& environment,
                          const std::vector<Configuration>& configurations) {
  if (finding.file == environment.file) return inEnvironment(finding.at.line, environment);
  for (const Configuration& configuration : configurations)
    if (finding.file == configuration.file) return inConfiguration(finding.at.line, configuration);
  return {};
}
