#include "log/Recording.h"

namespace {

bool isNode(const SensorTrack& sensor) {
  return sensor.kind == SensorTrack::Kind::kPlantNode;
}

} // namespace

void Recording::setLimits(TraceDescription& run) const {
  for (SensorTrack& sensor : run.sensors) {
    for (const Limit& limit : limits) {
      if (limit.name == sensor.name && (!limit.ofNode || isNode(sensor)))
        sensor.limit = limit.millidegrees;
    }
  }
}

void Recording::addNames(const TraceDescription& run, std::set<std::string>& names) {
  for (const SensorTrack& sensor : run.sensors)
    names.insert(isNode(sensor) ? "node:" + sensor.name : sensor.name);
}
