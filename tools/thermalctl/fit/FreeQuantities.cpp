#include "fit/FreeQuantities.h"

#include <algorithm>
#include <cstddef>

#include <fmt/format.h>
#include <fnmatch.h>

#include "text/Nearest.h"
#include "text/Phrases.h"
#include "toml/TomlSection.h"

// What a plant file says of a fit, and what the numbers are called in it:
//   [fit]
//   free = ["node.*.joules_per_kelvin", "resistance.big-case", "source.gpu.watts", "ambient"]
//   [[fit.bounds]]
//   of = "source.gpu.watts"
//   least = 1
//   most = 4
// First all numbers that could be free are gathered, then the patterns choose among them.

namespace {

// How far a number may be from its guess, as a factor, and an offset or an ambient in degrees.
constexpr double kFactor = 10;
constexpr double kDegrees = 5;

constexpr char kFree[] = "free";

using Resistance = PlantDescription::Resistance;

std::vector<std::string> endsOf(const PlantDescription& plant, const Resistance& resistance) {
  return {plant.nodes[resistance.from].name,
          resistance.to ? plant.nodes[*resistance.to].name : "ambient"};
}

bool areSideBySide(const Resistance& one, const Resistance& other) {
  return (one.from == other.from && one.to == other.to) ||
         (one.to && other.to && one.from == *other.to && *one.to == other.from);
}

// All that could be fitted, with the places of its numbers.
class Candidates {
public:
  Candidates(TomlSection& root_, const Source& text_, const PlantDescription& plant_,
             const TraceDescription& board_)
      : root(root_), text(text_), plant(plant_), board(board_) {
    addNodes();
    addResistances();
    addSources();
    addSensors();
    const auto ambient = root.number("ambient");
    add({Quantity::Kind::kAmbient, 0, "ambient", plant.ambient, plant.ambient - kDegrees,
         plant.ambient + kDegrees,
         ambient ? std::vector<Quantity::Place>{{root.at("ambient"), *ambient}}
                 : std::vector<Quantity::Place>()});
  }

  std::vector<Quantity> all;

private:
  void add(Quantity quantity) { all.push_back(std::move(quantity)); }

  // One that is above 0, of a single number.
  void addNumber(Quantity::Kind kind, size_t index, const std::string& name, TomlSection& section,
                 const std::string& key) {
    const auto value = section.number(key);
    if (!value || *value <= 0) return;
    add({kind,
         index,
         name,
         *value,
         *value / kFactor,
         *value * kFactor,
         {{section.at(key), *value}}});
  }

  void addNodes() {
    size_t index = 0;
    for (auto& [name, section] : root.named("node"))
      addNumber(Quantity::Kind::kCapacity, index++, "node." + name + ".joules_per_kelvin", section,
                "joules_per_kelvin");
  }

  void addResistances() {
    size_t index = 0;
    for (TomlSection& section : root.list("resistance")) {
      addNumber(Quantity::Kind::kResistance, index, resistanceNames(plant, index).front(), section,
                "kelvin_per_watt");
      ++index;
    }
  }

  void addSources() {
    size_t index = 0;
    for (auto& [name, section] : root.named("source")) {
      // One quantity for the whole table or law: the power at its hottest level, along which all
      // others are scaled.
      const std::vector<double>& watts = plant.sources[index].watts;
      const double most = watts.empty() ? 0 : *std::max_element(watts.begin(), watts.end());
      Quantity quantity{
          Quantity::Kind::kWatts, index, "source." + name + ".watts", most, most / kFactor,
          most * kFactor,         {}};
      if (const auto numbers = section.numbers("watts")) {
        for (size_t i = 0; i < numbers->size(); ++i)
          quantity.places.push_back({section.at("watts", i), (*numbers)[i]});
      } else if (auto law = section.section("law")) {
        for (const char* key : {"a", "b"})
          if (const auto number = law->number(key))
            quantity.places.push_back({law->at(key), *number});
      }
      if (most > 0) add(std::move(quantity));
      addNumber(Quantity::Kind::kIdle, index++, "source." + name + ".idle_watts", section,
                "idle_watts");
    }
  }

  void addSensors() {
    for (auto& [name, section] : root.named("sensor")) {
      const std::string sensor = name;
      const auto probe =
          std::find_if(plant.probes.begin(), plant.probes.end(),
                       [&](const auto& each) { return board.sensors[each.sensor].name == sensor; });
      if (probe == plant.probes.end()) continue;
      const auto index = static_cast<size_t>(probe - plant.probes.begin());
      addNumber(Quantity::Kind::kLag, index, "sensor." + name + ".lag", section, "lag");
      const auto offset = section.number("offset");
      // Without a number it goes behind the section's head, and an inline table has none.
      if (!offset && !isHead(section.at().at.line)) continue;
      // Below, a length of 0 says that a line has to be put in behind this one.
      const Span place = offset ? section.at("offset") : section.at();
      add({Quantity::Kind::kOffset,
           index,
           "sensor." + name + ".offset",
           probe->offset,
           probe->offset - kDegrees,
           probe->offset + kDegrees,
           {{offset ? place : Span{{place.at.line, 0}, 0}, probe->offset}}});
    }
  }

  bool isHead(int number) const {
    const auto& line = text.line(number).text;
    return line.find('[') == line.find_first_not_of(" \t");
  }

  TomlSection& root;
  const Source& text;
  const PlantDescription& plant;
  const TraceDescription& board;
};

bool isMeant(const std::string& pattern, const Quantity& quantity, const PlantDescription& plant) {
  const auto fits = [&pattern](const std::string& name) {
    return ::fnmatch(pattern.c_str(), name.c_str(), 0) == 0;
  };
  if (quantity.kind != Quantity::Kind::kResistance) return fits(quantity.name);
  // Nobody can know in which order the plant gives the ends of a resistance.
  const std::vector<std::string> names = resistanceNames(plant, quantity.index);
  return std::any_of(names.begin(), names.end(), fits);
}

class FitSection {
public:
  FitSection(const PlantDescription& plant_, std::vector<Quantity> all_, TomlSection section_)
      : plant(plant_), all(std::move(all_)), section(std::move(section_)), chosen(all.size()) {}

  std::vector<Quantity> read() {
    const std::vector<std::string> patterns = section.texts(kFree);
    for (size_t i = 0; i < patterns.size(); ++i)
      eachMeant(section, section.at(kFree, i), patterns[i],
                [this](size_t which) { chosen[which] = true; });
    for (TomlSection& bounds : section.list("bounds"))
      readBounds(bounds);
    section.refuseOtherKeys();
    std::vector<Quantity> free;
    for (size_t i = 0; i < all.size(); ++i)
      if (chosen[i]) free.push_back(all[i]);
    if (free.empty() && patterns.empty())
      section.problem(
          section.at(), "nothing is free",
          "give 'free' a list such as [\"node.*.joules_per_kelvin\", \"resistance.*\"]");
    return free;
  }

private:
  template <typename Take>
  void eachMeant(const TomlSection& where, const Span& place, const std::string& pattern,
                 const Take& take) const {
    bool any = false;
    std::vector<std::string> names;
    for (size_t i = 0; i < all.size(); ++i) {
      names.push_back(all[i].name);
      if (!isMeant(pattern, all[i], plant)) continue;
      any = true;
      take(i);
    }
    if (!any)
      where.problem(place, quoted(pattern) + " is none of the plant's numbers",
                    didYouMean(pattern, names, "there are " + listedBriefly(names)));
  }

  void readBounds(TomlSection& bounds) {
    const auto of = bounds.text("of");
    const auto least = bounds.number("least");
    const auto most = bounds.number("most");
    bounds.missing("of", "the numbers that are meant, such as \"source.gpu.watts\"");
    bounds.missing("least", "what they cannot be below");
    bounds.missing("most", "what they cannot be above");
    bounds.refuseOtherKeys();
    if (!of || !least || !most) return;
    if (*least >= *most) return bounds.problem(bounds.at("most"), "'most' must be above 'least'");
    eachMeant(bounds, bounds.at("of"), *of, [&](size_t which) {
      Quantity& quantity = all[which];
      quantity.least = *least;
      quantity.most = *most;
      if (quantity.guess < *least || quantity.guess > *most)
        bounds.problem(bounds.at("of"),
                       fmt::format("the guess of {}, {:g}, is not within its bounds", quantity.name,
                                   quantity.guess));
      else if (quantity.byLogarithm() && *least <= 0)
        bounds.problem(bounds.at("least"), quantity.name + " cannot be 0 or less");
    });
  }

  const PlantDescription& plant;
  std::vector<Quantity> all;
  TomlSection section;
  std::vector<bool> chosen;
};

} // namespace

std::vector<std::string> resistanceNames(const PlantDescription& plant, size_t index) {
  const Resistance& own = plant.resistances[index];
  const auto begin = plant.resistances.begin();
  const auto twins = std::count_if(begin, begin + static_cast<std::ptrdiff_t>(index),
                                   [&](const auto& each) { return areSideBySide(each, own); });
  const std::string number = twins > 0 ? "#" + std::to_string(twins + 1) : "";
  const std::vector<std::string> ends = endsOf(plant, own);
  return {"resistance." + ends[0] + "-" + ends[1] + number,
          "resistance." + ends[1] + "-" + ends[0] + number};
}

std::vector<Quantity> readFreeQuantities(const std::string& text, const std::string& file,
                                         const PlantDescription& plant,
                                         const TraceDescription& board, Problems& problems) {
  const std::shared_ptr<const toml::table> table = parseToml(text, file, problems);
  if (!table) return {};
  TomlSection root(*table, file, problems);
  std::vector<Quantity> all = Candidates(root, problems.source(file), plant, board).all;
  const auto section = root.section("fit");
  if (section) return FitSection(plant, std::move(all), *section).read();
  const auto isOther = [](const Quantity& quantity) {
    return quantity.kind != Quantity::Kind::kCapacity &&
           quantity.kind != Quantity::Kind::kResistance;
  };
  all.erase(std::remove_if(all.begin(), all.end(), isOther), all.end());
  return all;
}
