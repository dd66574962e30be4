#include "simulate/PlantFile.h"

#include <algorithm>
#include <cmath>
#include <map>

#include <fmt/format.h>

#include "simulate/Network.h"
#include "text/Nearest.h"
#include "text/Numbers.h"
#include "text/Phrases.h"
#include "text/Temperature.h"
#include "toml/TomlSection.h"

// What a plant is, in a file:
//   ambient = 25.0
//   [node.cpu]
//   joules_per_kelvin = 5.0
//   [[resistance]]
//   between = ["cpu", "ambient"]
//   kelvin_per_watt = 10.0
//   [source.cpu]
//   node = "cpu"
//   device = "clock"
//   watts = [3.0, 2.0, 1.2, 0.6]
//   work = true
//   [sensor.cpu]
//   node = "cpu"
//   noise = 0.1
// Nodes are read first wherever they stand, because all others name them.

namespace {

constexpr char kAmbientNode[] = "ambient";

// What numbers can be. Beyond it they come of a slip, such as one of the unit, and calculating with
// them may end in no number at all.
constexpr TomlSection::Bounds kTemperature = {kColdest, kHottest, "degrees Celsius"};
constexpr TomlSection::Bounds kCapacity = {1e-6, 1e9, "J/K"};
constexpr TomlSection::Bounds kResistance = {1e-9, 1e9, "K/W"};
constexpr TomlSection::Bounds kPower = {0, kMostWatts, "W"};
constexpr TomlSection::Bounds kLag = {1e-6, 1e6, "seconds", true};
// Finer than a millidegree no reading is.
constexpr TomlSection::Bounds kStep = {0.001, 1000, "degrees", true};
constexpr TomlSection::Bounds kShare = {0, 1};

std::vector<std::string> keysOf(const std::map<std::string, size_t>& numbers) {
  std::vector<std::string> keys;
  keys.reserve(numbers.size());
  for (const auto& [key, number] : numbers)
    keys.push_back(key);
  return keys;
}

template <typename Track> std::vector<std::string> namesOf(const std::vector<Track>& tracks) {
  std::vector<std::string> names;
  names.reserve(tracks.size());
  for (const Track& track : tracks)
    names.push_back(track.name);
  return names;
}

bool isReal(const SensorTrack& sensor) {
  return sensor.kind == SensorTrack::Kind::kReal;
}

std::vector<std::string> realSensors(const TraceDescription& board) {
  std::vector<std::string> names;
  for (const SensorTrack& sensor : board.sensors)
    if (isReal(sensor)) names.push_back(sensor.name);
  return names;
}

// The columns of a workload that are not sources' loads.
bool isColumn(const std::string& name) {
  const auto begins = [&name](const char* word) { return name.rfind(word, 0) == 0; };
  return name == "time" || name == kAmbientNode || name == "scenario" || name == "configuration" ||
         begins("fault ") || begins("watts ") || begins("ramp ");
}

class PlantReader {
public:
  PlantReader(TomlSection root_, const TraceDescription& board_)
      : root(std::move(root_)), board(board_) {}

  PlantDescription read() {
    plant.ambient = root.number(kAmbientNode, kTemperature).value_or(plant.ambient);
    readNodes();
    readResistances();
    for (auto& [name, section] : root.named("source"))
      readSource(name, section);
    readProbes();
    refuseMisleadingNames();
    // What a fit may change is nothing to a run.
    root.section("fit");
    root.refuseOtherKeys();
    return std::move(plant);
  }

private:
  void readNodes() {
    for (auto& [name, section] : root.named("node")) {
      PlantDescription::Node node;
      node.name = name;
      node.capacity = section.number("joules_per_kelvin", kCapacity).value_or(1);
      section.missing("joules_per_kelvin", "how much heat warms the node by one degree");
      node.initial = section.number("celsius", kTemperature).value_or(plant.ambient);
      section.refuseOtherKeys();
      if (name == kAmbientNode) section.problem(section.at(), "a node cannot be called 'ambient'");
      nodeNumber[name] = plant.nodes.size();
      nodePlaces.push_back(section.at());
      plant.nodes.push_back(std::move(node));
    }
    if (plant.nodes.empty()) root.problem(root.at(), "no [node.NAME]: nothing here stores heat");
  }

  void readResistances() {
    bool whole = true;
    for (TomlSection& section : root.list("resistance")) {
      const auto resistance = readResistance(section);
      if (resistance) plant.resistances.push_back(*resistance);
      whole &= resistance.has_value();
    }
    root.missing("resistance", "a node and \"ambient\", or two nodes: no node can cool");
    if (whole && root.has("resistance")) refuseUncooled();
  }

  std::optional<PlantDescription::Resistance> readResistance(TomlSection& section) const {
    const std::vector<std::string> ends = section.texts("between");
    const std::optional<double> value = section.number("kelvin_per_watt", kResistance);
    section.missing("between", "the two nodes, or a node and \"ambient\"");
    section.missing("kelvin_per_watt", "how many degrees drive one watt through it");
    section.refuseOtherKeys();
    if (ends.empty()) return std::nullopt;
    if (ends.size() != 2 || ends[0] == ends[1]) {
      section.problem(section.at("between"), "'between' must name two different ends");
      return std::nullopt;
    }
    std::vector<size_t> nodes;
    for (size_t i = 0; i < ends.size(); ++i) {
      if (ends[i] == kAmbientNode) continue;
      if (const auto node = nodeNamed(section, section.at("between", i), ends[i]))
        nodes.push_back(*node);
    }
    const bool toAmbient = ends[0] == kAmbientNode || ends[1] == kAmbientNode;
    if (nodes.size() != (toAmbient ? 1U : 2U)) return std::nullopt;
    const auto to = toAmbient ? std::nullopt : std::optional(nodes[1]);
    return PlantDescription::Resistance{nodes[0], to, value.value_or(1)};
  }

  // Behind a resistance that could not be read this would only follow from it.
  void refuseUncooled() const {
    Network network(plant.nodes.size());
    for (const PlantDescription::Resistance& resistance : plant.resistances) {
      if (resistance.to)
        network.connect(resistance.from, *resistance.to, resistance.value);
      else
        network.connectToAmbient(resistance.from, resistance.value);
    }
    for (const size_t node : network.nodesThatCannotCool()) {
      // Its name has been told.
      if (plant.nodes[node].name == kAmbientNode) continue;
      root.problem(nodePlaces[node], "node '" + plant.nodes[node].name +
                                         "' cannot cool: no [[resistance]] leads from it to the "
                                         "ambient, not even by way of other nodes");
    }
  }

  void readSource(const std::string& name, TomlSection& section) {
    if (isColumn(name))
      section.problem(section.at(), "a source cannot be called '" + name +
                                        "': in a workload it is another column");
    PlantDescription::Source source;
    source.name = name;
    source.heats = readHeats(section);
    source.idle = section.number("idle_watts", kPower).value_or(0);
    source.load = section.share("load");
    source.work = section.flag("work").value_or(false);

    const bool hasDevice = section.has("device");
    source.device = deviceOf(section);
    const auto watts = byLevel(section, "watts", kPower, source.device, hasDevice);
    const auto speed = byLevel(section, "speed", kShare, source.device, hasDevice);
    std::optional<TomlSection> law = section.section("law");
    if (watts && law) section.problem(section.at("law"), "either 'watts' or 'law', not both");
    if (watts)
      source.watts = *watts;
    else if (law)
      source.watts = wattsByLaw(*law, source.device, hasDevice);
    else if (!section.has("watts") && !section.has("law"))
      section.problem(section.at(), "source '" + name +
                                        "' has no power law: give it 'watts', one for each level "
                                        "of its device, or a 'law'");
    if (speed) source.speed = *speed;
    if (source.work && !section.has("speed")) source.speed = speedOf(section, source, hasDevice);
    if (!source.work && section.has("speed"))
      section.problem(section.atKey("speed"), "'speed' means nothing without 'work = true'");
    source.cores = readCores(section);
    section.refuseOtherKeys();
    plant.sources.push_back(std::move(source));
  }

  std::vector<std::pair<size_t, double>> readHeats(TomlSection& section) {
    std::vector<std::pair<size_t, double>> heats;
    if (const auto node = nodeOf(section)) heats.emplace_back(*node, 1.0);
    std::optional<TomlSection> several = section.section("nodes");
    // Both, or neither.
    if (section.has("node") == section.has("nodes"))
      section.problem(section.at(), "a source heats either one 'node' or several 'nodes', and one "
                                    "of the two must be there");
    if (!several) return heats;
    double sum = 0;
    const auto shares = several->allNumbers(kShare);
    for (const auto& [name, share] : shares) {
      if (const auto node = nodeNamed(*several, several->atKey(name), name))
        heats.emplace_back(*node, share);
      sum += share;
    }
    // Shares such as 0.1 and 0.7 are no exact binary numbers.
    if (shares.size() == several->size() && std::abs(sum - 1) > 1e-9)
      section.problem(section.at("nodes"), "the shares of 'nodes' must add up to 1");
    return heats;
  }

  // P = a + b f^3, with f the number of the level's entry in units of `unit`: the power of a
  // processor grows with its clock and the square of its voltage, which grows with the clock as
  // well.
  std::vector<double> wattsByLaw(TomlSection& law, std::optional<size_t> device, bool hasDevice) {
    const double a = law.number("a", kPower).value_or(0);
    const double b = law.number("b", {0, 1e12}).value_or(0);
    const double unit = law.number("unit", {1e-12, 1e12}).value_or(1);
    law.missing("b", "P = a + b f^3");
    law.missing("unit", "of the level's entry, 1e6 for kHz as GHz");
    law.refuseOtherKeys();
    if (!hasDevice) law.problem(law.at(), "a law needs a 'device', over whose levels it goes");
    if (!device) return {};
    std::vector<double> watts;
    for (const std::string& entry : board.devices[*device].levels) {
      const std::optional<double> number = parseNumber(entry);
      if (!number) {
        law.problem(law.at(), "a law needs numbers, and device '" + board.devices[*device].name +
                                  "' has the level '" + entry + "': give the source 'watts'");
        return {};
      }
      watts.push_back(a + b * std::pow(*number / unit, 3));
    }
    const auto most = std::max_element(watts.begin(), watts.end());
    if (most != watts.end() && *most > kMostWatts)
      law.problem(law.at("unit"),
                  fmt::format("the law gives {:g} W at level {}: no source has more "
                              "than {:g} W, and 'unit' may be a slip",
                              *most, most - watts.begin(), kMostWatts));
    return watts;
  }

  // Without a word about it, the speed follows the numbers of the level table.
  std::vector<double> speedOf(const TomlSection& section, const PlantDescription::Source& source,
                              bool hasDevice) {
    if (!source.device) return hasDevice ? std::vector<double>() : std::vector<double>{1.0};
    std::vector<double> speed;
    // An entry that is no number gets one that no speed has, and spoils the table.
    for (const std::string& entry : board.devices[*source.device].levels)
      speed.push_back(parseNumber(entry).value_or(-1));
    const bool good =
        !speed.empty() && speed[0] > 0 &&
        std::all_of(speed.begin(), speed.end(), [&](double s) { return s >= 0 && s <= speed[0]; });
    if (!good) {
      section.problem(section.at("work"),
                      "the level table of '" + board.devices[*source.device].name +
                          "' does not tell the speed: give the source 'speed', one for each level");
      return {};
    }
    const double full = speed[0];
    for (double& each : speed)
      each /= full;
    return speed;
  }

  std::optional<PlantDescription::ByLevel> readCores(TomlSection& section) {
    std::optional<TomlSection> cores = section.section("cores");
    if (!cores) return std::nullopt;
    const std::optional<size_t> device = deviceOf(*cores);
    const auto shares = byLevel(*cores, "share", kShare, device, true);
    cores->missing("device", "whose level switches a part of the source off");
    cores->missing("share", "of the source that is on, one for each level");
    cores->refuseOtherKeys();
    if (!device || !shares) return std::nullopt;
    return PlantDescription::ByLevel{*device, *shares};
  }

  void readProbes() {
    std::vector<bool> fed(board.sensors.size());
    for (auto& [name, section] : root.named("sensor")) {
      PlantDescription::Probe probe;
      section.missing("node", "whose temperature it reads");
      probe.node = nodeOf(section).value_or(0);
      probe.offset = section.number("offset", {-1000, 1000, "degrees"}).value_or(0);
      probe.lag = section.number("lag", kLag).value_or(0);
      probe.noise = section.number("noise", {0, 1000, "degrees"}).value_or(0);
      probe.step = section.number("step", kStep).value_or(0);
      section.refuseOtherKeys();
      const auto sensor = sensorNamed(name);
      if (!sensor) {
        tellUnknown(name, section, fed);
        continue;
      }
      fed[*sensor] = true;
      probe.sensor = *sensor;
      plant.probes.push_back(probe);
    }
    std::vector<std::string> unfed;
    for (size_t i = 0; i < fed.size(); ++i) {
      if (!fed[i] && isReal(board.sensors[i])) unfed.push_back(board.sensors[i].name);
    }
    if (unfed.empty()) return;
    const bool one = unfed.size() == 1;
    root.problem({}, fmt::format("the board's sensor{} {} {} no node to read: give {} a section "
                                 "[sensor.NAME] with its 'node'",
                                 one ? "" : "s", listed(unfed), one ? "has" : "have",
                                 one ? "it" : "each"));
  }

  // The sensor that was most likely meant is not missed as well.
  void tellUnknown(const std::string& name, const TomlSection& section, std::vector<bool>& fed) {
    const std::vector<std::string> known = realSensors(board);
    section.problem(section.at(), "the board has no real sensor '" + name + "'",
                    didYouMean(name, known));
    if (const auto meant = sensorNamed(nearest(name, known))) fed[*meant] = true;
  }

  // Both stand side by side in table and page, and a limit goes by the name of either.
  void refuseMisleadingNames() {
    for (size_t i = 0; i < plant.nodes.size(); ++i) {
      const std::string& name = plant.nodes[i].name;
      for (size_t sensor = 0; sensor < board.sensors.size(); ++sensor) {
        if (board.sensors[sensor].name != name || reads(sensor, i)) continue;
        root.problem(
            nodePlaces[i],
            fmt::format("node '{0}' bears the name of the board's sensor '{0}', which does "
                        "not read it",
                        name),
            "give the node another name" + (isReal(board.sensors[sensor])
                                                ? ", or let [sensor." + name + "] read it"
                                                : std::string()));
      }
    }
  }

  // Of a sensor without a section more has been told.
  bool reads(size_t sensor, size_t node) const {
    const auto probe = std::find_if(plant.probes.begin(), plant.probes.end(),
                                    [sensor](const auto& each) { return each.sensor == sensor; });
    return probe == plant.probes.end() ? isReal(board.sensors[sensor]) : probe->node == node;
  }

  std::optional<size_t> nodeNamed(const TomlSection& section, const Span& at,
                                  const std::string& name) const {
    const auto known = nodeNumber.find(name);
    if (known != nodeNumber.end()) return known->second;
    section.problem(at, "no node is called '" + name + "'", didYouMean(name, keysOf(nodeNumber)));
    return std::nullopt;
  }

  std::optional<size_t> nodeOf(TomlSection& section) const {
    const auto name = section.text("node");
    return name ? nodeNamed(section, section.at("node"), *name) : std::nullopt;
  }

  std::optional<size_t> deviceOf(TomlSection& section) const {
    const auto name = section.text("device");
    if (!name) return std::nullopt;
    const Span at = section.at("device");
    for (size_t i = 0; i < board.devices.size(); ++i) {
      if (board.devices[i].name != *name) continue;
      if (!board.devices[i].levels.empty()) return i;
      section.problem(at, "device '" + *name + "' has no level table");
      return std::nullopt;
    }
    section.problem(at, "the board has no device '" + *name + "'",
                    didYouMean(*name, namesOf(board.devices)));
    return std::nullopt;
  }

  std::optional<size_t> sensorNamed(const std::string& name) const {
    for (size_t i = 0; i < board.sensors.size(); ++i) {
      if (board.sensors[i].name == name && isReal(board.sensors[i])) return i;
    }
    return std::nullopt;
  }

  // One number for each level.
  std::optional<std::vector<double>> byLevel(TomlSection& section, const std::string& key,
                                             const TomlSection::Bounds& bounds,
                                             std::optional<size_t> device, bool hasDevice) const {
    auto values = section.numbers(key, bounds);
    if (!values) return values;
    const size_t wanted = device ? board.devices[*device].levels.size() : 1;
    if ((hasDevice && !device) || values->size() == wanted) return values;
    section.problem(section.at(key),
                    device ? fmt::format("'{}' has {} numbers, and device '{}' has {} levels", key,
                                         values->size(), board.devices[*device].name, wanted)
                           : "'" + key + "' must be a single number where there is no 'device'");
    return values;
  }

  TomlSection root;
  const TraceDescription& board;
  PlantDescription plant;
  std::map<std::string, size_t> nodeNumber;
  std::vector<Span> nodePlaces;
};

} // namespace

PlantDescription readPlant(const std::string& text, const std::string& file,
                           const TraceDescription& board, Problems& problems) {
  const std::shared_ptr<const toml::table> table = parseToml(text, file, problems);
  if (!table) return {};
  return PlantReader(TomlSection(*table, file, problems), board).read();
}
