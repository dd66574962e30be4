#include "simulate/WorkloadFile.h"

#include <algorithm>
#include <filesystem>
#include <functional>
#include <set>
#include <sstream>

#include <fmt/format.h>

#include "base/TextReader.h"
#include "text/Nearest.h"
#include "text/Numbers.h"
#include "text/Phrases.h"
#include "text/Temperature.h"
#include "text/Word.h"
#include "toml/TomlSection.h"

namespace {

constexpr char kTime[] = "time";
constexpr char kAmbient[] = "ambient";
constexpr char kScenario[] = "scenario";
constexpr char kConfiguration[] = "configuration";
constexpr char kFaultColumn[] = "fault ";

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

  void ambient(int64_t time, const Span& at, double celsius) {
    if (!isWithin(celsius, kColdest)) problem(at, "the ambient must be " + inDegrees(kColdest));
    add({time, Change::Kind::kAmbient, 0, celsius, "", at});
  }

  void load(int64_t time, const Span& at, size_t source, double share) {
    if (share < 0 || share > 1)
      problem(at, "the load of '" + sources[source] + "' must lie from 0 to 1");
    // Added even if it is wrong: it is there, and shall not be told to be missing, too.
    add({time, Change::Kind::kLoad, source, share, "", at});
  }

  void control(int64_t time, const Span& at, Change::Kind kind, const std::string& word) {
    if (word.empty() || word.find_first_of(kWhiteSpace) != std::string::npos)
      return problem(at, "a control file holds one word, and '" + word + "' is none");
    add({time, kind, 0, 0, word, at});
  }

  void faultOf(int64_t time, const Span& at, size_t probe, const std::string& word) {
    const std::vector<std::string> known(fault::kWords.begin(), fault::kWords.end());
    if (std::find(known.begin(), known.end(), word) != known.end())
      return add({time, Change::Kind::kFault, probe, 0, word, at});
    const std::optional<double> celsius = parseNumber(word);
    if (!celsius)
      return problem(
          at, "'" + word + "' is no fault",
          didYouMean(word, known, "a fault is " + listed(known) + ", or a reading in degrees"));
    if (!isWithin(*celsius, kColdestReading))
      problem(at, "a reading must be " + inDegrees(kColdestReading));
    add({time, Change::Kind::kFault, probe, *celsius, fault::kValue, at});
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
    checkLoads();
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

  bool startsWithLoad(size_t source) const {
    const auto gives = [source](const Change& change) {
      return change.kind == Change::Kind::kLoad && change.index == source && change.time == 0;
    };
    return plant.sources[source].load || misspelt.count(source) > 0 ||
           std::any_of(workload.changes.begin(), workload.changes.end(), gives);
  }

  void checkLoads() {
    std::vector<std::string> without;
    for (size_t i = 0; i < sources.size(); ++i) {
      if (!startsWithLoad(i)) without.push_back(sources[i]);
    }
    if (without.empty()) return;
    problem({}, "no load at time 0 for the source" + std::string(without.size() > 1 ? "s " : " ") +
                    listed(without) + ", and the plant gives none");
  }

  void checkRepeat() {
    if (!workload.repeat) return;
    for (const Change& change : workload.changes) {
      if (change.time >= *workload.repeat)
        problem(change.at, "is never reached: the workload starts again before");
    }
  }

  std::string file;
  const PlantDescription& plant;
  const TraceDescription& board;
  Problems& problems;
  std::vector<std::string> sources; // names
  std::vector<std::string> sensors; // names, by probe
  std::set<size_t> misspelt;        // sources
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
      if (!known.insert(name.text).second)
        maker.problem(spanOf(name), "the column '" + name.text + "' is there twice");
      columns.push_back(columnOf(name));
    }
  }

  Column columnOf(const Word& name) {
    using Kind = Change::Kind;
    const std::string& title = name.text;
    if (title == kScenario) return controlColumn(Kind::kScenario);
    if (title == kConfiguration) return controlColumn(Kind::kConfiguration);
    if (title == kAmbient) {
      return [this](int64_t time, const Word& cell) {
        if (const auto value = number(cell)) maker.ambient(time, spanOf(cell), *value);
      };
    }
    // Of a column that nobody knows the cells are passed over, so that the others are still
    // checked.
    Column passedOver = [](int64_t, const Word&) {};
    if (title == kTime) return passedOver;
    if (title.rfind(kFaultColumn, 0) == 0) return faultColumn(name).value_or(passedOver);
    return loadColumn(name).value_or(passedOver);
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

  std::optional<Column> loadColumn(const Word& name) {
    std::vector<std::string> others = {kTime, kAmbient, kScenario, kConfiguration};
    for (const std::string& sensor : maker.sensorNames())
      others.push_back(kFaultColumn + sensor);
    const bool isOther = nearest(name.text, maker.sourceNames()).empty();
    const std::string hint = isOther ? didYouMean(name.text, others) : "";
    if (!hint.empty()) {
      maker.problem(spanOf(name), "no column is called '" + name.text + "'", hint);
      return std::nullopt;
    }
    const auto source = maker.sourceNamed(spanOf(name), name.text);
    if (!source) return std::nullopt;
    return [this, source](int64_t time, const Word& cell) {
      if (const auto value = number(cell)) maker.load(time, spanOf(cell), *source, *value);
    };
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
      maker.ambient(time, entry.at(kAmbient), *celsius);
    if (auto loads = entry.section("load")) {
      for (const auto& [name, share] : loads->allNumbers({0, 1})) {
        if (const auto source = maker.sourceNamed(loads->atKey(name), name))
          maker.load(time, loads->at(name), *source, share);
      }
    }
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
