#include "fit/Sketch.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <vector>

#include <fmt/format.h>

#include "text/Characters.h"
#include "text/Numbers.h"

namespace {

// What a part of a phone has, by what its name says that it is.
struct Usual {
  const char* word;
  double joulesPerKelvin;
  double kelvinPerWatt; // to the case
};

constexpr Usual kUsual[] = {{"batt", 45, 1.5}, {"pack", 45, 1.5}, {"skin", 30, 2}, {"board", 20, 2},
                            {"pcb", 20, 2},    {"modem", 5, 5},   {"", 3, 8}};

const Usual& usualOf(const std::string& name) {
  const std::string lower = lowerCase(name);
  // The last entry has an empty word, which is in any name.
  return *std::find_if(std::begin(kUsual), std::end(kUsual), [&](const Usual& usual) {
    return lower.find(usual.word) != std::string::npos;
  });
}

constexpr char kCase[] = "case";
constexpr char kAmbient[] = "ambient";

// What a sensor is in. No node can be called "ambient".
std::string nodeOf(const SensorTrack& sensor) {
  return sensor.name == kAmbient ? "outside" : sensor.name;
}

// Most watts of a device's kind, and whether a lower level delays its work.
struct CooledKind {
  const char* word;
  double watts;
  bool work;
};

constexpr CooledKind kKinds[] = {{"cpufreq", 3, true},
                                 {"gpufreq", 3, true},
                                 {"charger", 1, false},
                                 {"backlight", 1, false},
                                 {"camera", 1, false}};

std::vector<double> numbersOf(const DeviceTrack& device) {
  std::vector<double> numbers;
  for (const std::string& entry : device.levels) {
    const auto number = parseNumber(entry);
    if (!number || *number < 0 || (!numbers.empty() && *number > numbers.front())) return {};
    numbers.push_back(*number);
  }
  return numbers.empty() || numbers.front() <= 0 ? std::vector<double>() : numbers;
}

// Of a processor's power that of its clock and its voltage, of everything else its share.
std::string wattsOf(const DeviceTrack& device, const CooledKind& kind) {
  const std::vector<double> numbers = numbersOf(device);
  std::string list;
  for (size_t i = 0; i < device.levels.size(); ++i) {
    // Power goes by the clock and the square of the voltage, and the voltage about by the clock:
    // by the third power of the clock. Without numbers the levels are taken to be evenly apart.
    const double share =
        numbers.empty() ? 1 - static_cast<double>(i) / static_cast<double>(device.levels.size())
                        : numbers[i] / numbers.front();
    list += fmt::format("{}{:.3g}", i > 0 ? ", " : "",
                        kind.work ? kind.watts * share * share * share : kind.watts * share);
  }
  return "[" + list + "]";
}

// A sensor whose name is part of the device's, or the other way round.
std::string nodeOf(const TraceDescription& board, const DeviceTrack& device) {
  for (const SensorTrack& sensor : board.sensors)
    if (sensor.kind == SensorTrack::Kind::kReal &&
        (device.name.find(sensor.name) != std::string::npos ||
         sensor.name.find(device.name) != std::string::npos))
      return nodeOf(sensor);
  if (device.kind == "charger")
    for (const SensorTrack& sensor : board.sensors)
      if (sensor.kind == SensorTrack::Kind::kReal && usualOf(sensor.name).joulesPerKelvin == 45)
        return nodeOf(sensor);
  return kCase;
}

std::string keyOf(const std::string& name) {
  return "\"" + name + "\"";
}

std::string sourceOf(const TraceDescription& board, const DeviceTrack& device) {
  const auto* const kind =
      std::find_if(std::begin(kKinds), std::end(kKinds),
                   [&](const CooledKind& each) { return device.kind == each.word; });
  if (kind == std::end(kKinds) || device.levels.empty()) return "";
  const bool work = kind->work && !numbersOf(device).empty();
  return fmt::format("[source.{}]\nnode = {}\ndevice = {}\nwatts = {}\n{}\n", keyOf(device.name),
                     keyOf(nodeOf(board, device)), keyOf(device.name), wattsOf(device, *kind),
                     work ? "work = true\n" : "");
}

std::string resistanceOf(const std::string& from, const std::string& to, double kelvinPerWatt) {
  return fmt::format("[[resistance]]\nbetween = [{}, {}]\nkelvin_per_watt = {:g}\n\n", keyOf(from),
                     keyOf(to), kelvinPerWatt);
}

} // namespace

std::string sketchOf(const TraceDescription& board, const std::string& name) {
  std::string nodes;
  std::string resistances;
  std::string sensors;
  for (const SensorTrack& sensor : board.sensors) {
    if (sensor.kind != SensorTrack::Kind::kReal) continue;
    const Usual& usual = usualOf(sensor.name);
    if (sensor.name != kCase) {
      nodes += fmt::format("[node.{}]\njoules_per_kelvin = {:g}\n\n", keyOf(nodeOf(sensor)),
                           usual.joulesPerKelvin);
      resistances += resistanceOf(nodeOf(sensor), kCase, usual.kelvinPerWatt);
    }
    sensors += fmt::format("[sensor.{}]\nnode = {}\n\n", keyOf(sensor.name), keyOf(nodeOf(sensor)));
  }
  nodes += fmt::format("[node.{}]\njoules_per_kelvin = 70\n\n", kCase);
  resistances += resistanceOf(kCase, kAmbient, 5);
  std::string sources;
  for (const DeviceTrack& device : board.devices)
    sources += sourceOf(board, device);
  return "# A first sketch of " + name +
         ": the structure is usual, every number a guess. Mend the structure, measure, and let\n"
         "# thermalctl fit find the numbers.\n\nambient = 25.0\n\n" +
         nodes + resistances + sources + sensors +
         "[fit]\nfree = [\"node.*.joules_per_kelvin\", \"resistance.*\"]\n";
}
