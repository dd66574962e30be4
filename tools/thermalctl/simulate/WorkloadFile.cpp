#include "simulate/WorkloadFile.h"

#include <algorithm>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <sstream>
#include <utility>

#include <fmt/format.h>

#include "base/TextReader.h"
#include "text/Nearest.h"
#include "text/Numbers.h"
#include "text/Phrases.h"
#include "text/Temperature.h"
#include "text/Word.h"
#include "toml/TomlSection.h"

// What happens on a device, as a table or as TOML with a [[at]] for each row:
//   time,ambient,cpu,watts display,scenario,fault skin
//   0,25,0.2,0.5,,
//   60s,,1,,game,
//   90s,,,,,stuck
// What either says goes through one Maker, which looks the names up, puts all changes in the order
// of their times, draws the ramps and then checks what only all of them tell.

namespace {

constexpr char kTime[] = "time";
constexpr char kAmbient[] = "ambient";
constexpr char kScenario[] = "scenario";
constexpr char kConfiguration[] = "configuration";
constexpr char kFaultColumn[] = "fault ";
constexpr char kWattsColumn[] = "watts ";
constexpr char kRampColumn[] = "ramp ";

// What a kernel's driver shows for a sensor that gives nothing lies just below the coldest.
constexpr double kColdestReading = -274;

Span spanOf(const Word& word) {
  return {word.at, std::max<size_t>(word.text.size(), 1)};
}

// Behind a comma at the end there is a cell, an empty one.
std::vector<Word> cellsOf(const std::string& line, int number) {
  std::vector<Word> cells;
  for (size_t at = 0; at <= line.size();) {
    const size_t end = std::min(line.find(',', at), line.size());
    std::string cell = line.substr(at, end - at);
    const size_t indent = std::min(cell.find_first_not_of(kWhiteSpace), cell.size());
    trim(cell);
    cells.push_back({cell, {number, static_cast<int>(at + indent) + 1}});
    at = end + 1;
  }
  return cells;
}

// Whether `text` begins with those words, which are taken off it.
bool takeOff(const std::string& words, std::string& text) {
  if (text.rfind(words, 0) != 0) return false;
  text.erase(0, words.size());
  trim(text);
  return true;
}

// What a number in a workload is of.
//
// Shape: `kind` is kAmbient, kLoad or kWatts; the latter two have the `index` of a source.
using Quantity = std::pair<Change::Kind, size_t>;

std::string inDegrees(double least) {
  return fmt::format("degrees Celsius from {} to {}", least, kHottest);
}

// Makes changes of what either format says, with the plant's names resolved.
class Maker {
public:
  Maker(std::string file_, const PlantDescription& plant_, const TraceDescription& board_,
        Problems& problems_)
      : file(std::move(file_)), plant(plant_), board(board_), problems(problems_) {
    for (const PlantDescription::Source& source : plant.sources)
      sources.push_back(source.name);
    for (const PlantDescription::Probe& probe : plant.probes)
      sensors.push_back(board.sensors[probe.sensor].name);
  }

  // Added even if it is wrong: it is there, and shall not be told to be missing, too.
  void number(int64_t time, const Span& at, const Quantity& quantity, double value) {
    const bool isLoad = quantity.first == Change::Kind::kLoad;
    if (quantity.first == Change::Kind::kAmbient) {
      if (!isWithin(value, kColdest)) problem(at, "the ambient must be " + inDegrees(kColdest));
    } else if (value < 0 || value > (isLoad ? 1 : kMostWatts)) {
      problem(at,
              fmt::format("{} must lie from 0 to {}", nameOf(quantity), isLoad ? 1 : kMostWatts));
    }
    add({time, quantity.first, quantity.second, value, 0, "", at});
  }

  // From each of its numbers to the next it goes along a straight line.
  void ramp(const Span& at, const Quantity& quantity) {
    if (!ramps.emplace(quantity, Ramp{at}).second)
      problem(at, nameOf(quantity) + " is named twice as a ramp");
  }

  // As a column is called: "ambient", a source for its load, or "watts " and a source.
  std::optional<Quantity> quantityNamed(const Span& at, const std::string& name) {
    if (name == kAmbient) return Quantity(Change::Kind::kAmbient, 0);
    std::string source = name;
    const bool isWatts = takeOff(kWattsColumn, source);
    const auto known = sourceNamed(at, source);
    if (!known) return std::nullopt;
    return Quantity(isWatts ? Change::Kind::kWatts : Change::Kind::kLoad, *known);
  }

  void control(int64_t time, const Span& at, Change::Kind kind, const std::string& word) {
    if (word.empty() || word.find_first_of(kWhiteSpace) != std::string::npos)
      return problem(at, "a control file holds one word, and '" + word + "' is none");
    add({time, kind, 0, 0, 0, word, at});
  }

  void faultOf(int64_t time, const Span& at, size_t probe, const std::string& word) {
    const std::vector<std::string> known(fault::kWords.begin(), fault::kWords.end());
    if (std::find(known.begin(), known.end(), word) != known.end())
      return add({time, Change::Kind::kFault, probe, 0, 0, word, at});
    const std::optional<double> celsius = parseNumber(word);
    if (!celsius)
      return problem(
          at, "'" + word + "' is no fault",
          didYouMean(word, known, "a fault is " + listed(known) + ", or a reading in degrees"));
    if (!isWithin(*celsius, kColdestReading))
      problem(at, "a reading must be " + inDegrees(kColdestReading));
    add({time, Change::Kind::kFault, probe, *celsius, 0, fault::kValue, at});
  }

  std::optional<size_t> sourceNamed(const Span& at, const std::string& name) {
    if (const auto known = indexOf(sources, name)) return known;
    // Of a name with a slip the load is there and not missing.
    if (const auto meant = indexOf(sources, nearest(name, sources))) misspelt.insert(*meant);
    problem(at, "the plant has no source '" + name + "'", didYouMean(name, sources));
    return std::nullopt;
  }

  std::optional<size_t> probeNamed(const Span& at, const std::string& name) {
    if (const auto known = indexOf(sensors, name)) return known;
    problem(at, "the board has no real sensor '" + name + "'", didYouMean(name, sensors));
    return std::nullopt;
  }

  const std::vector<std::string>& sourceNames() const { return sources; }
  const std::vector<std::string>& sensorNames() const { return sensors; }

  void problem(const Span& at, const std::string& what, const std::string& hint = "") {
    problems.add({file, at, what, hint});
  }

  Workload finish() {
    // At one time the file's order decides: the later of two changes of one thing is to hold.
    std::stable_sort(workload.changes.begin(), workload.changes.end(),
                     [](const Change& a, const Change& b) { return a.time < b.time; });
    drawRamps();
    checkSources();
    checkRepeat();
    return std::move(workload);
  }

  Workload workload;

private:
  static bool isWithin(double celsius, double least) {
    return celsius >= least && celsius <= kHottest;
  }

  static std::optional<size_t> indexOf(const std::vector<std::string>& names,
                                       const std::string& name) {
    const auto found = std::find(names.begin(), names.end(), name);
    if (found == names.end()) return std::nullopt;
    return static_cast<size_t>(found - names.begin());
  }

  void add(Change change) { workload.changes.push_back(std::move(change)); }

  std::string nameOf(const Quantity& quantity) const {
    if (quantity.first == Change::Kind::kAmbient) return "the ambient";
    return (quantity.first == Change::Kind::kLoad ? "the load of '" : "the watts of '") +
           sources[quantity.second] + "'";
  }

  void drawRamps() {
    for (Change& change : workload.changes) {
      const auto found = ramps.find({change.kind, change.index});
      if (found == ramps.end()) continue;
      Ramp& ramp = found->second;
      if (!ramp.before) ramp.begins = change.time;
      if (ramp.before && ramp.before->time < change.time)
        ramp.before->slope = (change.value - ramp.before->value) * 1000 /
                             static_cast<double>(change.time - ramp.before->time);
      ramp.before = &change;
    }
    for (const auto& [quantity, ramp] : ramps) {
      if (ramp.begins != 0)
        problem(ramp.at, nameOf(quantity) + " ramps and has no value at time 0",
                "give it the value from which it leads to the next one");
    }
  }

  // The first number that drives a source: its load, or watts in the place of it.
  struct Drive {
    const Change* load = nullptr;
    const Change* watts = nullptr;
  };

  std::vector<Drive> drives() const {
    std::vector<Drive> all(sources.size());
    for (const Change& change : workload.changes) {
      if (change.kind == Change::Kind::kLoad && !all[change.index].load)
        all[change.index].load = &change;
      if (change.kind == Change::Kind::kWatts && !all[change.index].watts)
        all[change.index].watts = &change;
    }
    return all;
  }

  void checkSources() {
    std::vector<std::string> withoutLoad;
    std::vector<std::string> withoutWatts;
    const std::vector<Drive> all = drives();
    for (size_t i = 0; i < sources.size(); ++i) {
      const auto& [load, watts] = all[i];
      if (load && watts)
        problem(watts->at, "'" + sources[i] + "' has a load, too",
                "measured watts take the place of a load: leave one of the two out");
      const auto kind = watts ? Change::Kind::kWatts : Change::Kind::kLoad;
      const Change* const first = watts ? watts : load;
      // Of a ramp more has been told.
      if ((first && first->time == 0) || misspelt.count(i) > 0 || ramps.count({kind, i}) > 0)
        continue;
      if (watts)
        withoutWatts.push_back(sources[i]);
      else if (!plant.sources[i].load)
        withoutLoad.push_back(sources[i]);
    }
    tellWithout("load", withoutLoad, "and the plant gives none");
    tellWithout("watts", withoutWatts, "and later they drive it");
  }

  void tellWithout(const char* what, const std::vector<std::string>& names, const char* why) {
    if (names.empty()) return;
    problem({}, fmt::format("no {} at time 0 for the source{} {}, {}", what,
                            names.size() > 1 ? "s" : "", listed(names), why));
  }

  // What a ramp leads to may lie at the very end.
  void checkRepeat() {
    if (!workload.repeat) return;
    const auto endsRamp = [this](const Change& change) {
      return change.time == *workload.repeat && ramps.count({change.kind, change.index}) > 0;
    };
    std::vector<Change>& changes = workload.changes;
    changes.erase(std::remove_if(changes.begin(), changes.end(), endsRamp), changes.end());
    for (const Change& change : changes) {
      if (change.time >= *workload.repeat)
        problem(change.at, "is never reached: the workload starts again before");
    }
  }

  // Drawn from one number to the next.
  struct Ramp {
    Span at;
    Change* before = nullptr;
    int64_t begins = -1;
  };

  std::string file;
  const PlantDescription& plant;
  const TraceDescription& board;
  Problems& problems;
  std::vector<std::string> sources; // names
  std::vector<std::string> sensors; // names, by probe
  std::set<size_t> misspelt;        // sources
  std::map<Quantity, Ramp> ramps;
};

// A header that names the columns, then a row for every time at which something changes. An empty
// cell changes nothing.
class CsvReader {
public:
  CsvReader(const std::string& text_, Maker& maker_) : text(text_), maker(maker_) {}

  void read() {
    int number = 0;
    for (std::string line; std::getline(text, line);) {
      const std::vector<Word> cells = cellsOf(line, ++number);
      trim(line);
      if (line.empty() || line[0] == '#') continue;
      if (columns.empty())
        readHeader(cells);
      else
        readRow(cells);
    }
    if (columns.empty()) maker.problem({}, "the first line must name the columns, 'time' first");
  }

private:
  using Column = std::function<void(int64_t time, const Word& cell)>;

  void readHeader(const std::vector<Word>& names) {
    if (names[0].text != kTime) maker.problem(spanOf(names[0]), "the first column must be 'time'");
    std::set<std::string> known;
    for (const Word& name : names) {
      std::string title = name.text;
      takeOff(kRampColumn, title);
      if (!known.insert(title).second)
        maker.problem(spanOf(name), "the column '" + title + "' is there twice");
      columns.push_back(columnOf(name));
    }
  }

  Column columnOf(const Word& name) {
    using Kind = Change::Kind;
    std::string title = name.text;
    const bool ramps = takeOff(kRampColumn, title);
    // Of a column that nobody knows the cells are passed over, so that the others are still
    // checked.
    Column passedOver = [](int64_t, const Word&) {};
    const bool isFault = title.rfind(kFaultColumn, 0) == 0;
    const bool jumps = isFault || title == kScenario || title == kConfiguration || title == kTime;
    if (ramps && jumps) {
      maker.problem(spanOf(name), "'" + title + "' cannot ramp",
                    "only the ambient, loads and watts go along lines");
      return passedOver;
    }
    if (title == kScenario) return controlColumn(Kind::kScenario);
    if (title == kConfiguration) return controlColumn(Kind::kConfiguration);
    if (title == kTime) return passedOver;
    if (isFault) return faultColumn(name).value_or(passedOver);
    return numberColumn(name, title, ramps).value_or(passedOver);
  }

  Column controlColumn(Change::Kind kind) {
    return [this, kind](int64_t time, const Word& cell) {
      maker.control(time, spanOf(cell), kind, cell.text);
    };
  }

  std::optional<Column> faultColumn(const Word& name) {
    std::string sensor = name.text.substr(sizeof kFaultColumn - 1);
    trim(sensor);
    const auto probe = maker.probeNamed(spanOf(name), sensor);
    if (!probe) return std::nullopt;
    return [this, probe](int64_t time, const Word& cell) {
      maker.faultOf(time, spanOf(cell), *probe, cell.text);
    };
  }

  std::optional<Column> numberColumn(const Word& name, const std::string& title, bool ramps) {
    const bool isOther = nearest(title, maker.sourceNames()).empty();
    const std::string hint = isOther ? didYouMean(title, otherColumns()) : "";
    if (!hint.empty()) {
      maker.problem(spanOf(name), "no column is called '" + title + "'", hint);
      return std::nullopt;
    }
    const auto quantity = maker.quantityNamed(spanOf(name), title);
    if (!quantity) return std::nullopt;
    if (ramps) maker.ramp(spanOf(name), *quantity);
    return [this, quantity](int64_t time, const Word& cell) {
      if (const auto value = number(cell)) maker.number(time, spanOf(cell), *quantity, *value);
    };
  }

  // Than loads.
  std::vector<std::string> otherColumns() const {
    std::vector<std::string> others = {kTime, kAmbient, kScenario, kConfiguration};
    for (const std::string& sensor : maker.sensorNames())
      others.push_back(kFaultColumn + sensor);
    for (const std::string& source : maker.sourceNames()) {
      others.push_back(kWattsColumn + source);
      others.push_back(kRampColumn + source);
    }
    return others;
  }

  void readRow(const std::vector<Word>& cells) {
    const std::optional<int64_t> time = parseDuration(cells[0].text);
    if (!time) {
      maker.problem(spanOf(cells[0]), "'" + cells[0].text + "' is no time, such as 90 or 1m30s");
      return;
    }
    if (*time < before) maker.problem(spanOf(cells[0]), "the times must not go back");
    before = *time;
    if (cells.size() < columns.size()) maker.workload.shortRows.push_back(cells[0].at.line);
    if (cells.size() > columns.size())
      maker.problem(spanOf(cells[columns.size()]), "more cells than columns");
    for (size_t i = 1; i < std::min(cells.size(), columns.size()); ++i) {
      if (!cells[i].text.empty()) columns[i](*time, cells[i]);
    }
  }

  std::optional<double> number(const Word& cell) {
    const std::optional<double> value = parseNumber(cell.text);
    if (!value) maker.problem(spanOf(cell), "'" + cell.text + "' is no number");
    return value;
  }

  std::istringstream text;
  Maker& maker;
  std::vector<Column> columns;
  int64_t before = 0;
};

class TomlReader {
public:
  TomlReader(TomlSection root_, Maker& maker_) : root(std::move(root_)), maker(maker_) {}

  void read() {
    maker.workload.repeat = timeOf(root, "repeat");
    if (maker.workload.repeat && *maker.workload.repeat == 0)
      root.problem(root.at("repeat"), "'repeat' must be a time above 0");
    const std::vector<std::string> ramps = root.texts("ramp");
    for (size_t i = 0; i < ramps.size(); ++i) {
      const Span at = root.at("ramp", i);
      if (const auto quantity = maker.quantityNamed(at, ramps[i])) maker.ramp(at, *quantity);
    }
    const std::vector<TomlSection> entries = root.list("at");
    if (entries.empty() && !root.has("at"))
      root.problem(root.at(), "no [[at]]: nothing happens in this workload");
    for (TomlSection entry : entries)
      readEntry(entry);
    root.refuseOtherKeys();
  }

private:
  void readEntry(TomlSection& entry) {
    entry.missing("time", "when this begins");
    const int64_t time = timeOf(entry, "time").value_or(0);
    if (const auto celsius = entry.number(kAmbient))
      maker.number(time, entry.at(kAmbient), {Change::Kind::kAmbient, 0}, *celsius);
    readNumbers(time, entry, "load", Change::Kind::kLoad, {0, 1});
    readNumbers(time, entry, "watts", Change::Kind::kWatts, {0, kMostWatts, "W"});
    if (const auto word = entry.text(kScenario))
      maker.control(time, entry.at(kScenario), Change::Kind::kScenario, *word);
    if (const auto word = entry.text(kConfiguration))
      maker.control(time, entry.at(kConfiguration), Change::Kind::kConfiguration, *word);
    if (auto faults = entry.section("fault")) {
      for (const auto& [name, word] : faults->allWords()) {
        if (const auto probe = maker.probeNamed(faults->atKey(name), name))
          maker.faultOf(time, faults->at(name), *probe, word);
      }
    }
    entry.refuseOtherKeys();
  }

  void readNumbers(int64_t time, TomlSection& entry, const char* key, Change::Kind kind,
                   const TomlSection::Bounds& bounds) {
    auto numbers = entry.section(key);
    if (!numbers) return;
    for (const auto& [name, value] : numbers->allNumbers(bounds)) {
      if (const auto source = maker.sourceNamed(numbers->atKey(name), name))
        maker.number(time, numbers->at(name), {kind, *source}, value);
    }
  }

  // A number of seconds, or a text such as "1m30s".
  std::optional<int64_t> timeOf(TomlSection& section, const std::string& key) {
    if (!section.has(key)) return std::nullopt;
    const std::optional<std::string> word = section.word(key);
    const std::optional<int64_t> time = word ? parseDuration(*word) : std::nullopt;
    if (word && !time)
      section.problem(section.at(key), "'" + key + "' must be a time, such as 90 or \"1m30s\"");
    return time;
  }

  TomlSection root;
  Maker& maker;
};

} // namespace

Workload readWorkload(const std::string& text, const std::string& file,
                      const PlantDescription& plant, const TraceDescription& board,
                      Problems& problems) {
  Maker maker(file, plant, board, problems);
  if (std::filesystem::path(file).extension() == ".toml") {
    const std::shared_ptr<const toml::table> table = parseToml(text, file, problems);
    if (!table) return {};
    TomlReader(TomlSection(*table, file, problems), maker).read();
  } else {
    problems.read(file, text);
    CsvReader(text, maker).read();
  }
  return maker.finish();
}
