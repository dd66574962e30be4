#include "simulate/PlantFile.h"

#include <algorithm>
#include <cmath>
#include <map>

#include <fmt/format.h>

#include "simulate/Network.h"
#include "simulate/Numbers.h"
#include "toml/TomlSection.h"

namespace {

constexpr char kAmbient[] = "ambient";

class PlantReader {
public:
  PlantReader(TomlSection root_, const TraceDescription& board_)
      : root(std::move(root_)), board(board_) {}

  PlantDescription read() {
    plant.ambient = root.number(kAmbient).value_or(plant.ambient);
    readNodes();
    readResistances();
    for (auto& [name, section] : root.named("source"))
      readSource(name, section);
    readProbes();
    root.refuseOtherKeys();
    return std::move(plant);
  }

private:
  void readNodes() {
    for (auto& [name, section] : root.named("node")) {
      PlantDescription::Node node;
      node.name = name;
      node.capacity = section.aboveZero("joules_per_kelvin").value_or(1);
      section.missing("joules_per_kelvin", "how much heat warms the node by one degree");
      node.initial = section.number("celsius").value_or(plant.ambient);
      section.refuseOtherKeys();
      if (name == kAmbient) section.problem(section.line(), "a node cannot be called 'ambient'");
      nodeNumber[name] = plant.nodes.size();
      nodeLines.push_back(section.line());
      plant.nodes.push_back(std::move(node));
    }
    if (plant.nodes.empty()) root.problem(1, "no [node.NAME]: nothing here stores heat");
  }

  void readResistances() {
    // Only to be asked which nodes cannot cool.
    Network network(plant.nodes.size());
    for (TomlSection& section : root.list("resistance")) {
      const std::vector<std::string> ends = section.texts("between");
      const std::optional<double> value = section.aboveZero("kelvin_per_watt");
      section.missing("between", "the two nodes, or a node and \"ambient\"");
      section.missing("kelvin_per_watt", "how many degrees drive one watt through it");
      section.refuseOtherKeys();
      if (ends.empty()) continue;
      if (ends.size() != 2 || ends[0] == ends[1]) {
        section.problem(section.line("between"), "'between' must name two different ends");
        continue;
      }
      PlantDescription::Resistance resistance;
      std::vector<size_t> nodes;
      for (const std::string& end : ends) {
        if (end == kAmbient) continue;
        if (const auto node = nodeNamed(section, "between", end)) nodes.push_back(*node);
      }
      const bool toAmbient = ends[0] == kAmbient || ends[1] == kAmbient;
      if (nodes.size() != (toAmbient ? 1U : 2U)) continue;
      resistance.from = nodes[0];
      resistance.value = value.value_or(1);
      if (toAmbient) {
        network.connectToAmbient(nodes[0], resistance.value);
      } else {
        resistance.to = nodes[1];
        network.connect(nodes[0], nodes[1], resistance.value);
      }
      plant.resistances.push_back(resistance);
    }
    for (const size_t node : network.nodesThatCannotCool())
      root.problem(nodeLines[node], "node '" + plant.nodes[node].name +
                                        "' cannot cool: no [[resistance]] leads from it to the "
                                        "ambient, not even by way of other nodes");
  }

  void readSource(const std::string& name, TomlSection& section) {
    PlantDescription::Source source;
    source.name = name;
    source.heats = readHeats(section);
    source.idle = section.atLeastZero("idle_watts").value_or(0);
    source.load = section.share("load");
    source.work = section.flag("work").value_or(false);

    const bool hasDevice = section.has("device");
    source.device = deviceOf(section);
    const auto watts = byLevel(section, "watts", source.device, hasDevice);
    const auto speed = byLevel(section, "speed", source.device, hasDevice);
    std::optional<TomlSection> law = section.section("law");
    if (watts && law) section.problem(section.line("law"), "either 'watts' or 'law', not both");
    if (watts)
      source.watts = *watts;
    else if (law)
      source.watts = wattsByLaw(*law, source.device, hasDevice);
    else if (!section.has("watts") && !section.has("law"))
      section.problem(section.line(), "source '" + name +
                                          "' has no power law: give it 'watts', one for each level "
                                          "of its device, or a 'law'");
    if (speed) source.speed = *speed;
    if (source.work && !section.has("speed")) source.speed = speedOf(section, source, hasDevice);
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
      section.problem(section.line(),
                      "a source heats either one 'node' or several 'nodes', and one "
                      "of the two must be there");
    if (!several) return heats;
    double sum = 0;
    for (const auto& [name, share] : several->allNumbers()) {
      if (share < 0) section.problem(several->line(name), "a share must not be negative");
      if (const auto node = nodeNamed(*several, name, name)) heats.emplace_back(*node, share);
      sum += share;
    }
    // Shares such as 0.1 and 0.7 are no exact binary numbers.
    if (std::abs(sum - 1) > 1e-9)
      section.problem(section.line("nodes"), "the shares of 'nodes' must add up to 1");
    return heats;
  }

  // P = a + b f^3, with f the number of the level's entry in units of `unit`: the power of a
  // processor grows with its clock and the square of its voltage, which grows with the clock as
  // well.
  std::vector<double> wattsByLaw(TomlSection& law, std::optional<size_t> device, bool hasDevice) {
    const double a = law.atLeastZero("a").value_or(0);
    const double b = law.atLeastZero("b").value_or(0);
    const double unit = law.aboveZero("unit").value_or(1);
    law.missing("b", "P = a + b f^3");
    law.refuseOtherKeys();
    if (!hasDevice) law.problem(law.line(), "a law needs a 'device', over whose levels it goes");
    if (!device) return {};
    std::vector<double> watts;
    for (const std::string& entry : board.devices[*device].levels) {
      const std::optional<double> number = parseNumber(entry);
      if (!number) {
        law.problem(law.line(), "a law needs numbers, and device '" + board.devices[*device].name +
                                    "' has the level '" + entry + "': give the source 'watts'");
        return {};
      }
      watts.push_back(a + b * std::pow(*number / unit, 3));
    }
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
    const bool good = !speed.empty() && speed[0] > 0 &&
                      std::all_of(speed.begin(), speed.end(), [](double s) { return s >= 0; });
    if (!good) {
      section.problem(section.line("work"),
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
    const auto shares = byLevel(*cores, "share", device, true);
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
      probe.offset = section.number("offset").value_or(0);
      probe.lag = section.atLeastZero("lag").value_or(0);
      probe.noise = section.atLeastZero("noise").value_or(0);
      probe.step = section.atLeastZero("step").value_or(0);
      section.refuseOtherKeys();
      const auto sensor = sensorNamed(name);
      if (!sensor) {
        section.problem(section.line(), "the board has no real sensor '" + name + "'");
        continue;
      }
      fed[*sensor] = true;
      probe.sensor = *sensor;
      plant.probes.push_back(probe);
    }
    for (size_t i = 0; i < fed.size(); ++i) {
      if (!fed[i] && board.sensors[i].kind == SensorTrack::Kind::kReal)
        root.problem(0, "no [sensor." + board.sensors[i].name + "]: the board's sensor '" +
                            board.sensors[i].name + "' has no node to read");
    }
  }

  std::optional<size_t> nodeNamed(const TomlSection& section, const std::string& key,
                                  const std::string& name) const {
    const auto known = nodeNumber.find(name);
    if (known != nodeNumber.end()) return known->second;
    section.problem(section.line(key), "no node is called '" + name + "'");
    return std::nullopt;
  }

  std::optional<size_t> nodeOf(TomlSection& section) const {
    const auto name = section.text("node");
    return name ? nodeNamed(section, "node", *name) : std::nullopt;
  }

  std::optional<size_t> deviceOf(TomlSection& section) const {
    const auto name = section.text("device");
    if (!name) return std::nullopt;
    const unsigned line = section.line("device");
    for (size_t i = 0; i < board.devices.size(); ++i) {
      if (board.devices[i].name != *name) continue;
      if (!board.devices[i].levels.empty()) return i;
      section.problem(line, "device '" + *name + "' has no level table");
      return std::nullopt;
    }
    section.problem(line, "the board has no device '" + *name + "'");
    return std::nullopt;
  }

  std::optional<size_t> sensorNamed(const std::string& name) const {
    for (size_t i = 0; i < board.sensors.size(); ++i) {
      if (board.sensors[i].name == name && board.sensors[i].kind == SensorTrack::Kind::kReal)
        return i;
    }
    return std::nullopt;
  }

  // One number for each level, none negative.
  std::optional<std::vector<double>> byLevel(TomlSection& section, const std::string& key,
                                             std::optional<size_t> device, bool hasDevice) const {
    auto values = section.numbers(key);
    if (!values) return values;
    if (std::any_of(values->begin(), values->end(), [](double value) { return value < 0; }))
      section.problem(section.line(key), "'" + key + "' must not be negative");
    const size_t wanted = device ? board.devices[*device].levels.size() : 1;
    if ((hasDevice && !device) || values->size() == wanted) return values;
    section.problem(section.line(key),
                    device ? fmt::format("'{}' has {} numbers, and device '{}' has {} levels", key,
                                         values->size(), board.devices[*device].name, wanted)
                           : "'" + key + "' must be a single number where there is no 'device'");
    return values;
  }

  TomlSection root;
  const TraceDescription& board;
  PlantDescription plant;
  std::map<std::string, size_t> nodeNumber;
  std::vector<unsigned> nodeLines;
};

} // namespace

PlantDescription readPlant(const std::string& text, const std::string& file,
                           const TraceDescription& board, Problems& problems) {
  const std::shared_ptr<const toml::table> table = parseToml(text, file, problems);
  if (!table) return {};
  return PlantReader(TomlSection(*table, file, problems), board).read();
}
