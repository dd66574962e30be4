#include "simulate/WorkloadFile.h"

#include <algorithm>
#include <filesystem>
#include <functional>
#include <sstream>

#include "base/TextReader.h"
#include "simulate/Numbers.h"
#include "toml/TomlSection.h"

namespace {

constexpr char kFaultColumn[] = "fault ";

std::string trimmed(std::string text) {
  trim(text);
  return text;
}

// Behind a comma at the end there is a cell, an empty one.
std::vector<std::string> cellsOf(const std::string& line) {
  std::vector<std::string> cells;
  std::istringstream rest(line + ',');
  for (std::string cell; std::getline(rest, cell, ',');)
    cells.push_back(trimmed(cell));
  return cells;
}

// Makes changes of what either format says, with the plant's names resolved.
class Maker {
public:
  Maker(std::string file_, const PlantDescription& plant_, const TraceDescription& board_,
        Problems& problems_)
      : file(std::move(file_)), plant(plant_), board(board_), problems(problems_) {}

  void ambient(int64_t time, unsigned line, double celsius) {
    add({time, Change::Kind::kAmbient, 0, celsius, "", line});
  }

  void load(int64_t time, unsigned line, size_t source, double share) {
    if (share < 0 || share > 1)
      problem(line, "the load of '" + plant.sources[source].name + "' must lie from 0 to 1");
    // Added even if it is wrong: it is there, and shall not be told to be missing, too.
    add({time, Change::Kind::kLoad, source, share, "", line});
  }

  void control(int64_t time, unsigned line, Change::Kind kind, const std::string& word) {
    if (word.empty() || word.find_first_of(" \t\r\n\v\f") != std::string::npos)
      problem(line, "a control file holds one word, and '" + word + "' is none");
    add({time, kind, 0, 0, word, line});
  }

  void faultOf(int64_t time, unsigned line, size_t probe, const std::string& word) {
    std::string known;
    for (const char* each : fault::kWords) {
      if (word == each) return add({time, Change::Kind::kFault, probe, 0, word, line});
      known += (known.empty() ? "'" : ", '") + std::string(each) + "'";
    }
    const std::optional<double> celsius = parseNumber(word);
    if (!celsius)
      problem(line,
              "a fault is " + known + " or a reading in degrees, and '" + word + "' is neither");
    add({time, Change::Kind::kFault, probe, celsius.value_or(0), fault::kValue, line});
  }

  std::optional<size_t> sourceNamed(unsigned line, const std::string& name) {
    for (size_t i = 0; i < plant.sources.size(); ++i) {
      if (plant.sources[i].name == name) return i;
    }
    problem(line, "the plant has no source '" + name + "'");
    return std::nullopt;
  }

  std::optional<size_t> probeNamed(unsigned line, const std::string& name) {
    for (size_t i = 0; i < plant.probes.size(); ++i) {
      if (board.sensors[plant.probes[i].sensor].name == name) return i;
    }
    problem(line, "the board has no real sensor '" + name + "'");
    return std::nullopt;
  }

  void problem(unsigned line, const std::string& what) { problems.add(file, line, what); }

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
  void add(Change change) { workload.changes.push_back(std::move(change)); }

  void checkLoads() {
    for (size_t i = 0; i < plant.sources.size(); ++i) {
      const bool given =
          std::any_of(workload.changes.begin(), workload.changes.end(), [i](const Change& change) {
            return change.kind == Change::Kind::kLoad && change.index == i && change.time == 0;
          });
      if (!given && !plant.sources[i].load)
        problem(0, "no load for source '" + plant.sources[i].name +
                       "' at time 0, and the plant gives it none of its own");
    }
  }

  void checkRepeat() {
    if (!workload.repeat) return;
    for (const Change& change : workload.changes) {
      if (change.time >= *workload.repeat)
        problem(change.line, "is never reached: the workload starts again before");
    }
  }

  std::string file;
  const PlantDescription& plant;
  const TraceDescription& board;
  Problems& problems;
};

// A header that names the columns, then a row for every time at which something changes. An empty
// cell changes nothing.
class CsvReader {
public:
  CsvReader(const std::string& text_, Maker& maker_) : text(text_), maker(maker_) {}

  void read() {
    for (std::string line; std::getline(text, line);) {
      trim(line);
      ++lineNumber;
      if (line.empty() || line[0] == '#') continue;
      if (columns.empty())
        readHeader(cellsOf(line));
      else
        readRow(cellsOf(line));
    }
    if (columns.empty()) maker.problem(1, "the first line must name the columns, 'time' first");
  }

private:
  using Column = std::function<void(int64_t time, const std::string& cell)>;

  void readHeader(const std::vector<std::string>& names) {
    if (names[0] != "time") maker.problem(lineNumber, "the first column must be 'time'");
    for (const std::string& name : names)
      columns.push_back(columnOf(name));
  }

  Column columnOf(const std::string& name) {
    using Kind = Change::Kind;
    if (name == "time") return [](int64_t, const std::string&) {};
    if (name == "scenario" || name == "configuration") {
      const Kind kind = name == "scenario" ? Kind::kScenario : Kind::kConfiguration;
      return [this, kind](int64_t time, const std::string& cell) {
        maker.control(time, lineNumber, kind, cell);
      };
    }
    if (name == "ambient") {
      return [this](int64_t time, const std::string& cell) {
        if (const auto value = number(cell)) maker.ambient(time, lineNumber, *value);
      };
    }
    if (name.rfind(kFaultColumn, 0) == 0) {
      const std::string sensor = trimmed(name.substr(sizeof kFaultColumn - 1));
      if (const auto probe = maker.probeNamed(lineNumber, sensor))
        return [this, probe](int64_t time, const std::string& cell) {
          maker.faultOf(time, lineNumber, *probe, cell);
        };
    } else if (const auto source = maker.sourceNamed(lineNumber, name)) {
      return [this, source](int64_t time, const std::string& cell) {
        if (const auto value = number(cell)) maker.load(time, lineNumber, *source, *value);
      };
    }
    // Of a column that nobody knows the cells are passed over, so that the others are still
    // checked.
    return [](int64_t, const std::string&) {};
  }

  void readRow(const std::vector<std::string>& cells) {
    const std::optional<int64_t> time = parseDuration(cells[0]);
    if (!time) {
      maker.problem(lineNumber, "'" + cells[0] + "' is no time, such as 90 or 1m30s");
      return;
    }
    if (*time < before) maker.problem(lineNumber, "the times must not go back");
    before = *time;
    if (cells.size() > columns.size()) maker.problem(lineNumber, "more cells than columns");
    for (size_t i = 1; i < std::min(cells.size(), columns.size()); ++i) {
      if (!cells[i].empty()) columns[i](*time, cells[i]);
    }
  }

  std::optional<double> number(const std::string& cell) {
    const std::optional<double> value = parseNumber(cell);
    if (!value) maker.problem(lineNumber, "'" + cell + "' is no number");
    return value;
  }

  std::istringstream text;
  Maker& maker;
  std::vector<Column> columns;
  unsigned lineNumber = 0;
  int64_t before = 0;
};

class TomlReader {
public:
  TomlReader(TomlSection root_, Maker& maker_) : root(std::move(root_)), maker(maker_) {}

  void read() {
    maker.workload.repeat = timeOf(root, "repeat");
    if (maker.workload.repeat && *maker.workload.repeat == 0)
      root.problem(root.line("repeat"), "'repeat' must be a time above 0");
    const std::vector<TomlSection> entries = root.list("at");
    if (entries.empty() && !root.has("at"))
      root.problem(1, "no [[at]]: nothing happens in this workload");
    for (TomlSection entry : entries)
      readEntry(entry);
    root.refuseOtherKeys();
  }

private:
  void readEntry(TomlSection& entry) {
    entry.missing("time", "when this begins");
    const int64_t time = timeOf(entry, "time").value_or(0);
    if (const auto celsius = entry.number("ambient"))
      maker.ambient(time, entry.line("ambient"), *celsius);
    if (auto loads = entry.section("load")) {
      for (const auto& [name, share] : loads->allNumbers()) {
        if (const auto source = maker.sourceNamed(loads->line(name), name))
          maker.load(time, loads->line(name), *source, share);
      }
    }
    if (const auto word = entry.text("scenario"))
      maker.control(time, entry.line("scenario"), Change::Kind::kScenario, *word);
    if (const auto word = entry.text("configuration"))
      maker.control(time, entry.line("configuration"), Change::Kind::kConfiguration, *word);
    if (auto faults = entry.section("fault")) {
      for (const auto& [name, word] : faults->allWords()) {
        if (const auto probe = maker.probeNamed(faults->line(name), name))
          maker.faultOf(time, faults->line(name), *probe, word);
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
      section.problem(section.line(key), "'" + key + "' must be a time, such as 90 or \"1m30s\"");
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
    CsvReader(text, maker).read();
  }
  return maker.finish();
}
