#include "log/Recording.h"

#include <algorithm>

void Recording::setBudgets(TraceDescription& run) const {
  const bool hasPlant = std::any_of(run.sensors.begin(), run.sensors.end(),
                                    [](const SensorTrack& sensor) { return sensor.isNode(); });
  for (const Budget& budget : budgets) {
    if (!budget.ofTemperature()) {
      run.hold(budget);
      continue;
    }
    bool isThere = budget.ofNode && !hasPlant;
    for (SensorTrack& sensor : run.sensors) {
      if (budget.name != sensor.name || (budget.ofNode && !sensor.isNode())) continue;
      run.hold(sensor, budget);
      isThere |= budget.ofNode || !sensor.isNode();
    }
    if (isThere) continue;
    // One that never had a sample.
    const auto kind = budget.ofNode ? SensorTrack::Kind::kPlantNode : SensorTrack::Kind::kReal;
    run.sensors.push_back({budget.name, kind, std::nullopt, std::nullopt});
    run.hold(run.sensors.back(), budget);
  }
}

void Recording::addSubjects(const TraceDescription& run, std::set<std::string>& subjects) {
  for (const SensorTrack& sensor : run.sensors)
    subjects.insert(sensor.isNode() ? "node:" + sensor.name : sensor.name);
  for (const DeviceTrack& device : run.devices)
    subjects.insert("changes:" + device.name);
}
