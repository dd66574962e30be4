#include "fit/MeasurementFile.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <functional>
#include <limits>
#include <map>
#include <optional>
#include <set>
#include <string_view>

#include <fmt/format.h>

#include "base/TextReader.h"
#include "text/Nearest.h"
#include "text/Numbers.h"
#include "text/Phrases.h"
#include "text/Temperature.h"

// What comes in looks like this, with "#" in front of lines that are passed over:
//   time,skin,battery,cpu:W,gpu:%,ambient
//   0,31.2,29.8,0.61,12,24.9
//   1,31.3,,0.58,11,
// The line of the columns says what each column may be; the rows fill the columns; then each
// column is looked at as a whole, because only all its values tell a unit that cannot be meant, a
// load from a temperature of the same name, and zeros that are failures. Readings and changes are
// written last, row by row.

namespace {

// In seconds since 1970 the year 5138.
constexpr double kLatest = 1e11;

constexpr double kNothing = std::numeric_limits<double>::quiet_NaN();

// A cell of the line in hand.
struct Cell {
  std::string_view text;
  size_t column = 0; // bytes from 0
};

std::vector<Cell> cellsOf(std::string_view line) {
  std::vector<Cell> cells;
  for (size_t at = 0; at <= line.size();) {
    const size_t end = std::min(line.find(',', at), line.size());
    std::string_view text = line.substr(at, end - at);
    const size_t indent = std::min(text.find_first_not_of(kWhiteSpace), text.size());
    text.remove_prefix(indent);
    text.remove_suffix(text.size() - (text.find_last_not_of(kWhiteSpace) + 1));
    cells.push_back({text, at + indent});
    at = end + 1;
  }
  return cells;
}

struct Column {
  enum class Kind { kNone, kTime, kOutput, kLoad, kWatts, kAmbient, kOutputOrLoad };
  Kind kind = Kind::kNone;
  std::string title;
  Span at;
  uint32_t index = 0;  // of an output or a source
  uint32_t source = 0; // where it may be either
  double scale = 1;
  std::vector<double> values{}; // by row; kNothing for none
};

const std::map<std::string, std::pair<Column::Kind, double>> kUnits = {
    {"W", {Column::Kind::kWatts, 1}},   {"mW", {Column::Kind::kWatts, 1e-3}},
    {"C", {Column::Kind::kOutput, 1}},  {"mC", {Column::Kind::kOutput, 1e-3}},
    {"load", {Column::Kind::kLoad, 1}}, {"%", {Column::Kind::kLoad, 0.01}}};

const std::map<std::string, double> kTimes = {{"time", 1}, {"time_s", 1}, {"time_ms", 1e-3}};

class Reader {
public:
  Reader(LineSource& lines_, const std::string& file_, const PlantDescription& plant_,
         const TraceDescription& board_, Problems& problems_, std::vector<std::string>& remarks_)
      : lines(lines_), file(file_), plant(plant_), board(board_), problems(problems_),
        remarks(remarks_) {}

  RecordedFile read() {
    RecordedFile recorded;
    recorded.name = file;
    if (readHeader() && readRows() && checkUnits()) write(recorded);
    show();
    return recorded;
  }

private:
  void problem(int line, size_t column, size_t length, const std::string& what,
               const std::string& hint = "") {
    problems.add(
        {file, {{line, static_cast<int>(column) + 1}, std::max<size_t>(length, 1)}, what, hint});
    wanted.insert(line);
    good = false;
  }

  // The lines that problems are of, in their places: the rest of the file is of no interest.
  void show() {
    std::string text;
    std::string_view line;
    lines.rewind();
    for (int at = 1; !wanted.empty() && at <= *wanted.rbegin() && lines.next(line); ++at) {
      if (wanted.count(at) > 0) text += line;
      text += '\n';
    }
    problems.read(file, text);
  }

  bool readHeader() {
    std::string_view line;
    do {
      if (!lines.next(line)) {
        problems.add(
            {file, {{1, 1}, 1}, number == 0 ? "the file is empty" : "there are no columns"});
        return false;
      }
      ++number;
    } while (line.empty() || line.front() == '#');
    header = number;
    std::set<std::string> known;
    for (const Cell& cell : cellsOf(line)) {
      const std::string title(cell.text);
      if (!known.insert(title).second)
        problem(number, cell.column, cell.text.size(), "the column '" + title + "' is there twice");
      columns.push_back(columnOf(title, cell));
    }
    const auto isTime = [](const Column& column) { return column.kind == Column::Kind::kTime; };
    const auto count = std::count_if(columns.begin(), columns.end(), isTime);
    if (count == 0)
      problem(number, 0, line.size(), "there is no column 'time'",
              "name the column of the seconds 'time', or that of milliseconds 'time_ms'");
    if (count > 1)
      problem(number, 0, line.size(), "more than one column is the time",
              "leave one of them, or name the others otherwise");
    const auto means = [](const Column& column) {
      return column.kind != Column::Kind::kTime && column.kind != Column::Kind::kNone;
    };
    if (good && std::none_of(columns.begin(), columns.end(), means))
      problem(number, 0, line.size(), "no column is a sensor, a node, a source or the ambient",
              "there are " + listedBriefly(names()));
    return good;
  }

  std::vector<std::string> names() const {
    std::vector<std::string> all = {"ambient"};
    for (const auto& probe : plant.probes)
      all.push_back(board.sensors[probe.sensor].name);
    for (const auto& node : plant.nodes)
      all.push_back(node.name);
    for (const auto& source : plant.sources)
      all.push_back(source.name);
    return all;
  }

  Column columnOf(const std::string& title, const Cell& cell) {
    Column column{Column::Kind::kNone,
                  title,
                  {{number, static_cast<int>(cell.column) + 1}, std::max<size_t>(title.size(), 1)}};
    const auto time = kTimes.find(title);
    if (time != kTimes.end()) {
      column.kind = Column::Kind::kTime;
      column.scale = time->second;
      return column;
    }
    // Only a known unit is cut off: "node:NAME" has a colon, too.
    std::string name = title;
    std::string unit;
    const size_t colon = title.rfind(':');
    if (colon != std::string::npos && kUnits.count(title.substr(colon + 1)) > 0) {
      unit = title.substr(colon + 1);
      name = title.substr(0, colon);
    }
    resolve(column, name, unit);
    if (column.kind == Column::Kind::kNone && !title.empty()) {
      const std::string hint = didYouMean(name, names());
      remarks.push_back(file + ": the column " + quoted(title) +
                        " is passed over: no sensor, node or source" +
                        (hint.empty() ? "" : "; " + hint));
    }
    return column;
  }

  void resolve(Column& column, const std::string& name, const std::string& unit) const {
    using Kind = Column::Kind;
    const Kind named = unit.empty() ? Kind::kNone : kUnits.at(unit).first;
    if (!unit.empty()) column.scale = kUnits.at(unit).second;
    const auto output = outputNamed(name);
    const auto source = sourceNamed(name);
    if (name == "ambient") {
      if (named == Kind::kNone || named == Kind::kOutput) column.kind = Kind::kAmbient;
    } else if (named == Kind::kWatts || named == Kind::kLoad) {
      if (source) column.kind = named;
      column.index = source.value_or(0);
    } else if (output && (named == Kind::kOutput || !source)) {
      column.kind = Kind::kOutput;
      column.index = *output;
    } else if (source && named == Kind::kNone) {
      column.kind = output ? Kind::kOutputOrLoad : Kind::kLoad;
      column.index = output ? *output : *source;
      column.source = *source;
    }
  }

  // A sensor before the node that it may share its name with: that one is "node:NAME".
  std::optional<uint32_t> outputNamed(const std::string& name) const {
    static const std::string kNode = "node:";
    const bool isNode = name.rfind(kNode, 0) == 0;
    for (size_t i = 0; i < plant.probes.size() && !isNode; ++i)
      if (board.sensors[plant.probes[i].sensor].name == name) return static_cast<uint32_t>(i);
    for (size_t i = 0; i < plant.nodes.size(); ++i)
      if (plant.nodes[i].name == (isNode ? name.substr(kNode.size()) : name))
        return static_cast<uint32_t>(plant.probes.size() + i);
    return std::nullopt;
  }

  std::optional<uint32_t> sourceNamed(const std::string& name) const {
    for (size_t i = 0; i < plant.sources.size(); ++i)
      if (plant.sources[i].name == name) return static_cast<uint32_t>(i);
    return std::nullopt;
  }

  bool readRows() {
    std::string_view line;
    while (lines.next(line)) {
      ++number;
      if (line.empty() || line.front() == '#') continue;
      readRow(line);
      // One that is wrong in each line would tell it a million times.
      if (!good) return false;
    }
    if (times.size() < 2)
      problem(header, 0, 1, times.empty() ? "no row follows" : "one row alone follows");
    return good;
  }

  void readRow(std::string_view line) {
    const std::vector<Cell> cells = cellsOf(line);
    const auto wrong = [&](const Cell& cell, const std::string& what,
                           const std::string& hint = "") {
      problem(number, cell.column, cell.text.size(), what, hint);
    };
    if (cells.size() > columns.size())
      return wrong(cells[columns.size()], "more cells than columns");
    std::optional<double> time;
    for (size_t i = 0; i < columns.size(); ++i) {
      Column& column = columns[i];
      // A line that ends early has nothing in the columns behind: an empty cell, and no mistake.
      const Cell cell = i < cells.size() ? cells[i] : Cell{};
      if (column.kind == Column::Kind::kTime) {
        if (i < cells.size()) time = timeOf(cell.text, column.scale);
        if (!time)
          return wrong(cell, quoted(std::string(cell.text)) + " is no time",
                       "write the seconds, such as 12.5");
        if (std::abs(*time) > kLatest)
          return wrong(cell, quoted(std::string(cell.text)) + " is no time that there has been",
                       "'time' is in seconds, 'time_ms' in milliseconds");
      } else if (column.kind != Column::Kind::kNone) {
        const auto value = parseNumber(std::string(cell.text));
        if (!value && !cell.text.empty())
          return wrong(cell, quoted(std::string(cell.text)) + " is no number",
                       "leave the cell empty where nothing was measured");
        column.values.push_back(value ? *value * column.scale : kNothing);
      }
    }
    // There is a time by here: the header has exactly one such column, and a row without it has
    // returned.
    if (!times.empty() && *time < times.back())
      return wrong(cells.front(), "the times must not go back");
    times.push_back(*time);
    lineNumbers.push_back(number);
  }

  // In seconds. A duration has its unit itself, whatever its column counts in.
  static std::optional<double> timeOf(std::string_view text, double scale) {
    if (const auto number = parseNumber(std::string(text))) return *number * scale;
    const auto duration = parseDuration(std::string(text));
    return duration ? std::optional(static_cast<double>(*duration) / 1000) : std::nullopt;
  }

  bool checkUnits() {
    medianStep = stepOfTime();
    const auto time = std::find_if(columns.begin(), columns.end(), [](const Column& column) {
      return column.kind == Column::Kind::kTime;
    });
    // A device is sampled each second or faster: regular rows that seem 20 s apart and more were
    // meant in milliseconds.
    if (times.size() >= 20 && isRegular && medianStep >= 20 && time->scale == 1)
      tellUnit(*time,
               fmt::format("the rows are {:g} s apart: milliseconds are 'time_ms'", medianStep));
    for (Column& column : columns)
      checkUnit(column);
    return good;
  }

  void tellUnit(const Column& column, const std::string& hint) {
    problem(header, static_cast<size_t>(column.at.at.column) - 1, column.title.size(),
            "the column " + quoted(column.title) + " has another unit than its name says", hint);
  }

  void checkUnit(Column& column) {
    using Kind = Column::Kind;
    double least = std::numeric_limits<double>::max();
    double most = std::numeric_limits<double>::lowest();
    size_t mostAt = 0;
    size_t leastAt = 0;
    for (size_t i = 0; i < column.values.size(); ++i) {
      if (std::isnan(column.values[i])) continue;
      if (column.values[i] > most) mostAt = i;
      if (column.values[i] < least) leastAt = i;
      most = std::max(most, column.values[i]);
      least = std::min(least, column.values[i]);
    }
    if (least > most) return;
    // No device is between 0 and 1 degree all the time, and no share ever is outside.
    if (column.kind == Kind::kOutputOrLoad) {
      column.kind = least >= 0 && most <= 1 ? Kind::kLoad : Kind::kOutput;
      if (column.kind == Kind::kLoad) column.index = column.source;
    }
    if (column.kind == Kind::kLoad && (least < 0 || most > 1))
      tellValue(column, least < 0 ? leastAt : mostAt, "a load goes from 0 to 1",
                most <= 100 ? "percents are '" + bare(column) + ":%'" : "");
    if (column.kind == Kind::kOutput || column.kind == Kind::kAmbient)
      checkDegrees(column, least, most, mostAt, leastAt);
    if (column.kind == Kind::kWatts) checkWatts(column, least, most, mostAt, leastAt);
  }

  void checkDegrees(const Column& column, double least, double most, size_t mostAt,
                    size_t leastAt) {
    if (most > kHottest)
      tellValue(column, mostAt, "no part of a device is that hot, in degrees Celsius",
                "millidegrees are '" + bare(column) + ":mC'");
    else if (least < kColdest)
      tellValue(column, leastAt, "nothing is that cold, in degrees Celsius");
    else if (column.scale < 1 && most < 1 && least > -1 && (most != 0 || least != 0))
      tellUnit(column, "all of it is within a degree of 0: degrees are " + quoted(bare(column)));
  }

  void checkWatts(const Column& column, double least, double most, size_t mostAt, size_t leastAt) {
    const PlantDescription::Source& source = plant.sources[column.index];
    double expected = source.idle;
    // The plant's own guess: it may well be wrong by ten, but not by the thousand that is between
    // the units.
    for (const double watts : source.watts)
      expected = std::max(expected, watts + source.idle);
    if (least < 0)
      tellValue(column, leastAt, "a source of heat gives off no less than 0 W");
    else if (expected > 0 && column.scale == 1 && most > 100 * expected)
      tellValue(column, mostAt, fmt::format("the plant's guess is {:g} W", expected),
                "milliwatts are '" + bare(column) + ":mW'");
    else if (expected > 0 && column.scale < 1 && most > 0 && most < expected / 300)
      tellUnit(column, "watts are '" + bare(column) + ":W'");
  }

  static std::string bare(const Column& column) {
    const size_t colon = column.title.rfind(':');
    const bool hasUnit =
        colon != std::string::npos && kUnits.count(column.title.substr(colon + 1)) > 0;
    return hasUnit ? column.title.substr(0, colon) : column.title;
  }

  void tellValue(const Column& column, size_t row, const std::string& what,
                 const std::string& hint = "") {
    problem(lineNumbers[row], 0, 1,
            fmt::format("{} is {:g}: {}", quoted(column.title), column.values[row] / column.scale,
                        what),
            hint);
  }

  // The median, which gaps do not move. Regular is what is sampled: nine of ten steps at most
  // three times as long. A table that is written at changes alone is not, and has no gaps.
  double stepOfTime() {
    std::vector<double> steps;
    for (size_t i = 1; i < times.size(); ++i)
      if (times[i] > times[i - 1]) steps.push_back(times[i] - times[i - 1]);
    if (steps.empty()) return 1;
    std::sort(steps.begin(), steps.end());
    const double median = steps[steps.size() / 2];
    isRegular = steps.size() >= 10 && steps[steps.size() * 9 / 10] <= 3 * median;
    return median;
  }

  void write(RecordedFile& recorded) {
    recorded.first = times.front();
    // What is written only where something changes holds on.
    recorded.last = isRegular ? times.back() : std::numeric_limits<double>::max() / 4;
    for (Column& column : columns)
      if (column.kind == Column::Kind::kOutput) leaveOutZeros(column);
    for (size_t row = 0; row < times.size(); ++row) {
      const auto first = static_cast<uint32_t>(recorded.readings.size());
      for (const Column& column : columns) {
        if (column.kind == Column::Kind::kNone || column.kind == Column::Kind::kTime ||
            std::isnan(column.values[row]))
          continue;
        if (column.kind == Column::Kind::kOutput)
          recorded.readings.push_back({column.index, column.values[row]});
        else
          addChange(recorded, column, row);
      }
      const auto end = static_cast<uint32_t>(recorded.readings.size());
      if (end > first) recorded.rows.push_back({times[row], first, end, lineNumbers[row]});
      const double since = row > 0 ? times[row] - times[row - 1] : 0;
      if (isRegular && since > std::max(10 * medianStep, 5.0))
        recorded.gaps.emplace_back(times[row - 1], times[row]);
    }
  }

  void addChange(RecordedFile& recorded, const Column& column, size_t row) {
    using Kind = RecordedChange::Kind;
    const Kind kind = column.kind == Column::Kind::kLoad    ? Kind::kLoad
                      : column.kind == Column::Kind::kWatts ? Kind::kWatts
                                                            : Kind::kAmbient;
    // What a line only repeats is no change; but the last line tells how long it holds.
    double& before = last.try_emplace({kind, column.index}, kNothing).first->second;
    if (before == column.values[row] && row + 1 < times.size()) return;
    before = column.values[row];
    recorded.changes.push_back({times[row], kind, column.index, before});
  }

  // The daemon reads 0 where its node gives nothing, and others write it, too. What comes before
  // tells whether the device is in the frost, or at the begin what comes behind.
  void leaveOutZeros(Column& column) {
    // Degrees: nearer to 0 than this, a 0 may be the temperature.
    constexpr double kFar = 5;
    double before = kNothing;
    for (size_t row = 0; row < times.size(); ++row) {
      if (std::isnan(column.values[row])) continue;
      if (column.values[row] != 0) {
        before = column.values[row];
        continue;
      }
      const size_t from = row;
      while (row < times.size() && (column.values[row] == 0 || std::isnan(column.values[row])))
        ++row;
      const double beside = std::isnan(before) && row < times.size() ? column.values[row] : before;
      if (std::abs(beside) > kFar) leaveOut(column, from, row);
      --row;
    }
  }

  void leaveOut(Column& column, size_t from, size_t end) {
    std::fill(column.values.begin() + static_cast<std::ptrdiff_t>(from),
              column.values.begin() + static_cast<std::ptrdiff_t>(end), kNothing);
    remarks.push_back(fmt::format("{}:{}: {} is 0 from {} to {}, as after a read that failed: "
                                  "left out",
                                  file, lineNumbers[from], ::quoted(column.title),
                                  clockTime(std::lround(times[from] - times.front())),
                                  clockTime(std::lround(times[end - 1] - times.front()))));
  }

  LineSource& lines;
  const std::string& file;
  const PlantDescription& plant;
  const TraceDescription& board;
  Problems& problems;
  std::vector<std::string>& remarks;
  bool good = true;
  int number = 0;
  int header = 0;
  std::set<int> wanted; // lines
  std::vector<Column> columns;
  std::vector<double> times;
  std::vector<int> lineNumbers;
  double medianStep = 1;
  bool isRegular = false;
  std::map<std::pair<RecordedChange::Kind, uint32_t>, double> last;
};

} // namespace

RecordedFile readMeasurements(LineSource& lines, const std::string& file,
                              const PlantDescription& plant, const TraceDescription& board,
                              Problems& problems, std::vector<std::string>& remarks) {
  return Reader(lines, file, plant, board, problems, remarks).read();
}
