#include "simulate/Observer.h"

#include <cmath>

#include "device/Device.h"
#include "sensor/Algo.h"

Observer::Observer(const RunInput& input_, const VirtualDaemon& daemon_, Plant& plant_,
                   TraceSink& sink_)
    : input(input_), firstNode(input.firstNode()), daemon(daemon_), plant(plant_), sink(sink_),
      shownAt(input_.plant.nodes.size(), -1), shownPowers(input_.plant.sources.size(), -1) {
  // In the description's order, which goes through a registry of the same names: an index fits
  // both.
  for (const auto& [name, device] : daemon.devices) {
    if (device) devices.emplace_back(device, 0);
  }
}

void Observer::begin(const std::string& scenario) {
  sink.begin(input.description);
  inForce(0, daemon.confFileName, scenario);
  // The daemon takes level 0 to be in force at its start, whatever a node holds.
  for (size_t i = 0; i < devices.size(); ++i) {
    const std::vector<std::string>& levels = input.description.devices[i].levels;
    if (!levels.empty()) sink.level(0, i, 0, levels.front());
  }
}

void Observer::end(int64_t now) {
  // The work done up to the very end counts.
  plant.advanceTo(now);
  sink.end(now, plant.performance());
}

void Observer::inForce(int64_t now, const std::string& configuration, const std::string& scenario) {
  if (configuration != shownConfiguration) {
    sink.configuration(now, configuration);
    const std::vector<AlgorithmTrack>& tracks = input.description.algorithms;
    size_t track = 0;
    while (track < tracks.size() && tracks[track].configuration != configuration)
      ++track;
    for (const Algo* item : daemon.items())
      trackedItems.push_back({item, track++});
  }
  if (scenario != shownScenario) sink.scenario(now, scenario);
  shownConfiguration = configuration;
  shownScenario = scenario;
}

void Observer::retireItems() {
  retired = trackedItems.size();
  // What comes may bear the same name.
  shownConfiguration.clear();
}

void Observer::forgetRetired(int64_t now) {
  // They are freed by now.
  const auto end = trackedItems.begin() + static_cast<std::ptrdiff_t>(retired);
  for (auto each = trackedItems.begin(); each != end; ++each) {
    if (each->level != TraceSink::kAsleep) sink.algorithm(now, each->track, TraceSink::kAsleep);
  }
  trackedItems.erase(trackedItems.begin(), end);
  retired = 0;
}

void Observer::temperatures(int64_t now, const SensorWorker& worker) {
  for (const auto& [sensor, track] : worker.sensors) {
    // A virtual sensor stands behind its trip sensor, so whoever is on by now was on in its turn.
    if (sensor->active)
      sink.temperature(now, track,
                       input.description.sensors[track].millidegreesOf(sensor->temperature));
  }
  for (const size_t probe : worker.probes)
    showNode(now, input.plant.probes[probe].node);
}

void Observer::nodes(int64_t now) {
  for (size_t node = 0; node < shownAt.size(); ++node)
    showNode(now, node);
  rampsAreDue = plant.ramps();
}

void Observer::showNode(int64_t now, size_t node) {
  if (shownAt[node] == now) return;
  shownAt[node] = now;
  sink.temperature(now, firstNode + node, millidegreesOf(plant.temperature(node)));
}

void Observer::powers(int64_t now) {
  if (plant.powerChanges() == shownChanges && !rampsAreDue) return;
  shownChanges = plant.powerChanges();
  rampsAreDue = false;
  for (size_t source = 0; source < shownPowers.size(); ++source) {
    const auto microwatts = static_cast<int64_t>(std::llround(plant.watts(source) * 1e6));
    if (microwatts == shownPowers[source]) continue;
    shownPowers[source] = microwatts;
    sink.power(now, source, microwatts);
  }
}

void Observer::standstill(int64_t now) {
  sink.standstill(now);
}

void Observer::items(int64_t now) {
  for (TrackedItem& each : trackedItems) {
    const int32_t level =
        each.item->active ? static_cast<int32_t>(each.item->status.load()) : TraceSink::kAsleep;
    if (level == each.level) continue;
    each.level = level;
    sink.algorithm(now, each.track, level);
  }
}

void Observer::itemsAndDevices(int64_t now) {
  items(now);
  for (size_t i = 0; i < devices.size(); ++i) {
    auto& [device, shown] = devices[i];
    if (device->currentLevel == shown) continue;
    shown = device->currentLevel;
    // Up to now the sources had the level before.
    plant.advanceTo(now);
    plant.setLevel(i, shown);
    sink.level(now, i, shown, input.description.devices[i].levels[static_cast<size_t>(shown)]);
  }
}
