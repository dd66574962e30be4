#include "log/Cast.h"

#include <utility>

Cast::Cast(std::string name, const BoardFolder* board) {
  if (board) cast = board->description();
  cast.name = std::move(name);
  for (size_t i = 0; i < cast.sensors.size(); ++i)
    sensors[cast.sensors[i].name] = i;
  for (size_t i = 0; i < cast.devices.size(); ++i)
    devices[cast.devices[i].name] = i;
}

void Cast::addConfiguration(const BoardFolder::ConfigurationTracks& configuration,
                            const std::string& nameInRecord) {
  if (!configurations.insert(nameInRecord).second) return;
  for (size_t i = 0; i < configuration.algorithms.size(); ++i) {
    AlgorithmTrack track = configuration.algorithms[i];
    track.configuration = nameInRecord;
    algorithms[track.name].push_back(cast.algorithms.size());
    cast.algorithms.push_back(std::move(track));
    items.push_back(configuration.items[i]);
  }
}

size_t Cast::sensor(std::string_view name, SensorTrack::Kind kind) {
  auto& known = kind == SensorTrack::Kind::kPlantNode ? nodes : sensors;
  const auto found = known.find(name);
  if (found != known.end()) return found->second;
  SensorTrack track;
  track.name = name;
  track.kind = kind;
  cast.sensors.push_back(track);
  return known[track.name] = cast.sensors.size() - 1;
}

size_t Cast::device(std::string_view name) {
  const auto found = devices.find(name);
  if (found != devices.end()) return found->second;
  DeviceTrack track;
  track.name = name;
  cast.devices.push_back(track);
  return devices[track.name] = cast.devices.size() - 1;
}

// Of heat: no board tells them, the record alone.
size_t Cast::source(std::string_view name) {
  const auto found = sources.find(name);
  if (found != sources.end()) return found->second;
  cast.sources.emplace_back(name);
  return sources[cast.sources.back()] = cast.sources.size() - 1;
}

// A log names neither configuration nor file. Of several namesakes in one scenario the one of the
// configuration in force is meant, failing that the first; only where the scenario differs too is
// it someone new.
size_t Cast::algorithm(std::string_view name, std::string_view scenario,
                       const std::string& preferredConfiguration) {
  auto namesakes = algorithms.find(name);
  if (namesakes == algorithms.end()) namesakes = algorithms.emplace(name, 0).first;
  std::optional<size_t> found;
  for (const size_t index : namesakes->second) {
    const AlgorithmTrack& track = cast.algorithms[index];
    if (track.scenario != scenario) continue;
    if (track.configuration == preferredConfiguration) return index;
    if (!found) found = index;
  }
  if (found) return *found;
  AlgorithmTrack track;
  track.name = name;
  track.scenario = scenario;
  track.configuration = preferredConfiguration;
  namesakes->second.push_back(cast.algorithms.size());
  cast.algorithms.push_back(std::move(track));
  items.push_back(nullptr);
  return cast.algorithms.size() - 1;
}
