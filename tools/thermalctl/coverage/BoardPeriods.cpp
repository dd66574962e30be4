#include "coverage/BoardPeriods.h"

#include <algorithm>
#include <map>

#include <fmt/core.h>

#include "text/Phrases.h"

namespace {

double wakeUpsOf(uint32_t period) {
  return 1000.0 / std::max<uint32_t>(1, period);
}

// Threads and wake-ups of the items of one scenario.
struct Load {
  std::set<std::pair<uint32_t, ItemKind>> threads;
  double wakeUps = 0;
};

} // namespace

// Sensors of one period share a thread, and so do items of one period and kind within a scenario.
// One scenario is in force at a time, so that of all scenarios the busiest counts.
BoardPeriods periodsOf(const Coverage& coverage) {
  BoardPeriods periods;
  for (const Section* sensor : coverage.sensors)
    if (periods.ofSensors.insert(static_cast<uint32_t>(sensor->sampling.value)).second)
      periods.wakeUps += wakeUpsOf(static_cast<uint32_t>(sensor->sampling.value));
  std::map<std::pair<const Configuration*, std::string>, Load> loads;
  std::set<const Configuration*> configurations;
  for (const CoverageColumn& column : coverage.columns)
    configurations.insert(column.configuration);
  double wakeUps = 0;
  for (const Configuration* configuration : configurations)
    for (const Item* item : configuration->meant) {
      periods.ofItems.insert(item->period());
      Load& load = loads[{configuration, item->scenario}];
      if (load.threads.insert({item->period(), item->kind}).second)
        load.wakeUps += wakeUpsOf(item->period());
      periods.itemThreads = std::max(periods.itemThreads, load.threads.size());
      wakeUps = std::max(wakeUps, load.wakeUps);
    }
  periods.wakeUps += wakeUps;
  return periods;
}

std::set<uint32_t> distinct(const BoardPeriods& periods) {
  std::set<uint32_t> all = periods.ofSensors;
  all.insert(periods.ofItems.begin(), periods.ofItems.end());
  return all;
}

std::string describe(const BoardPeriods& periods) {
  std::vector<std::string> texts;
  for (const uint32_t period : periods.ofSensors)
    texts.push_back(std::to_string(period));
  return fmt::format("{} for sensors (every {} ms), up to {} for the items of a scenario, at most "
                     "{:.3g} wake-ups a second",
                     counted(periods.ofSensors.size(), "thread"), enumerated(texts),
                     periods.itemThreads, periods.wakeUps);
}
