#include "trace/Trace.h"

#include <algorithm>

void TraceDescription::countIn(const SensorUnits& units) {
  for (SensorTrack& sensor : sensors)
    if (const auto own = units.find(sensor.name); !sensor.isNode() && own != units.end())
      sensor.unit = own->second;
}

void TraceDescription::hold(const Budget& budget) {
  if (std::find(budgets.begin(), budgets.end(), budget) == budgets.end()) budgets.push_back(budget);
}

void TraceDescription::hold(SensorTrack& sensor, Budget limit) {
  limit.name = sensor.name;
  limit.ofNode = sensor.isNode();
  hold(limit);
  if (limit.of != Budget::Of::kPeak) return;
  const auto bound = static_cast<int32_t>(limit.bound);
  sensor.limit = std::min(bound, sensor.limit.value_or(bound));
}
