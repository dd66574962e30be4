#include "log/Recording.h"

#include <algorithm>

namespace {

bool isNode(const SensorTrack& sensor) {
  return sensor.kind == SensorTrack::Kind::kPlantNode;
}

} // namespace

void Recording::setLimits(TraceDescription& run) const {
  const bool hasPlant = std::any_of(run.sensors.begin(), run.sensors.end(), isNode);
  for (const Limit& limit : limits) {
    bool isThere = limit.ofNode && !hasPlant;
    for (SensorTrack& sensor : run.sensors) {
      if (limit.name != sensor.name || (limit.ofNode && !isNode(sensor))) continue;
      sensor.limit = limit.millidegrees;
      isThere |= limit.ofNode || !isNode(sensor);
    }
    // One that never had a sample.
    const auto kind = limit.ofNode ? SensorTrack::Kind::kPlantNode : SensorTrack::Kind::kReal;
    if (!isThere) run.sensors.push_back({limit.name, kind, std::nullopt, limit.millidegrees});
  }
}

void Recording::addNames(const TraceDescription& run, std::set<std::string>& names) {
  for (const SensorTrack& sensor : run.sensors)
    names.insert(isNode(sensor) ? "node:" + sensor.name : sensor.name);
}
