#include "coverage/CoverageOutput.h"

#include <algorithm>
#include <set>

#include <fmt/core.h>
#include <nlohmann/json.hpp>

#include "coverage/BoardPeriods.h"
#include "text/Characters.h"
#include "text/Columns.h"
#include "text/Json.h"
#include "text/Phrases.h"

// As a table for the terminal, a sensor with its devices below it by scenarios:
//   sensor      Default  game
//   cpu         >=60     >=65
//     clock     3        2
//   battery     >=40     -

namespace {

using Json = nlohmann::ordered_json;
using Row = std::vector<std::string>;
using Rows = std::vector<Row>;

// Raised whenever a field changes its meaning or goes.
constexpr int kFormatVersion = 1;
constexpr char kNothing[] = "-";
// A board with more scenarios than fit beside each other gets one table below the other.
constexpr size_t kColumnsAtOnce = 8;

std::string celsius(int64_t millidegrees) {
  return degrees(static_cast<int32_t>(std::clamp<int64_t>(millidegrees, INT32_MIN, INT32_MAX)));
}

// Some neighbouring columns of a coverage.
struct Part {
  const Coverage& coverage;
  size_t begin;
  size_t end;

  template <typename Text>
  Row row(const std::string& name, const Section* sensor, Text text) const {
    Row row = {name};
    for (size_t i = begin; i < end; ++i)
      row.push_back(text(coverage.cell(sensor, i)));
    return row;
  }
};

bool saysAnything(const Row& row) {
  return std::any_of(row.begin() + 1, row.end(),
                     [](const std::string& text) { return text != kNothing; });
}

using Direction = std::optional<Action> CoverageCell::*;

// Those of all columns of the part, so that a device has its row in each of them.
std::set<std::string> devicesOf(const Part& part, const Section* sensor, Direction direction) {
  std::set<std::string> devices;
  for (size_t i = part.begin; i < part.end; ++i)
    if (const auto& action = part.coverage.cell(sensor, i).*direction)
      for (const auto& [device, level] : action->upTo)
        devices.insert(device);
  return devices;
}

// The onset of one direction, and below it its devices with their strongest levels.
void addDirection(Rows& rows, const Part& part, const Section* sensor, Direction direction,
                  const std::string& name, const char* sign) {
  rows.push_back(part.row(name, sensor, [&](const CoverageCell& cell) {
    const auto& action = cell.*direction;
    return action ? sign + celsius(action->at) : kNothing;
  }));
  for (const std::string& device : devicesOf(part, sensor, direction))
    rows.push_back(part.row("  " + visible(device), sensor, [&](const CoverageCell& cell) {
      const auto& action = cell.*direction;
      const bool acts = action && action->upTo.count(device) > 0;
      return acts ? std::to_string(action->upTo.at(device)) : kNothing;
    }));
}

void addSensor(Rows& rows, const Part& part, const Section* sensor) {
  const std::string name = visible(sensor->name);
  addDirection(rows, part, sensor, &CoverageCell::heat, name, ">=");
  const Row reported = part.row("  (reported)", sensor, [](const CoverageCell& cell) {
    if (!cell.report) return std::string(kNothing);
    return (cell.report->item->lowactive ? "<=" : ">=") + celsius(cell.report->at);
  });
  // Of most sensors nothing is reported, and nothing done about the cold.
  if (saysAnything(reported)) rows.push_back(reported);
  Rows cold;
  addDirection(cold, part, sensor, &CoverageCell::cold, name + ", cold", "<=");
  if (saysAnything(cold.front())) rows.insert(rows.end(), cold.begin(), cold.end());
}

Row headingOf(const Part& part) {
  Row heading = {"sensor"};
  for (size_t i = part.begin; i < part.end; ++i)
    heading.push_back(visible(part.coverage.columns[i].scenario));
  return heading;
}

Rows rowsOf(const Part& part) {
  Rows rows = {headingOf(part)};
  for (const Section* sensor : part.coverage.sensors)
    addSensor(rows, part, sensor);
  return rows;
}

std::vector<Part> partsOf(const Coverage& coverage) {
  const size_t all = coverage.columns.size();
  std::vector<Part> parts;
  for (size_t begin = 0; begin < all; begin += kColumnsAtOnce)
    parts.push_back({coverage, begin, std::min(all, begin + kColumnsAtOnce)});
  return parts;
}

// Of each column its configuration's file, but for those that have the one of the column before.
Row filesOf(const Part& part) {
  Row files = {""};
  const Configuration* last = nullptr;
  for (size_t i = part.begin; i < part.end; ++i) {
    const Configuration* configuration = part.coverage.columns[i].configuration;
    files.push_back(configuration == last ? "" : visible(configuration->file));
    last = configuration;
  }
  return files;
}

Json toJson(const Onset& onset) {
  return {{"celsius", static_cast<double>(onset.at) / 1000},
          {"item", onset.item->name},
          {"line", onset.word.at.line}};
}

Json toJson(const Action& action) {
  Json json = toJson(static_cast<const Onset&>(action));
  json["devices"] = action.upTo;
  return json;
}

// A report has no direction of its own in the cell.
Json reportToJson(const Onset& report) {
  Json json = toJson(report);
  json["direction"] = report.item->lowactive ? "cold" : "heat";
  return json;
}

template <typename Entry> Json orNull(const std::optional<Entry>& entry) {
  return entry ? toJson(*entry) : Json(nullptr);
}

Json toJson(const Section* sensor, const CoverageCell& cell) {
  return {{"sensor", sensor->name},
          {"heat", orNull(cell.heat)},
          {"cold", orNull(cell.cold)},
          {"report", cell.report ? reportToJson(*cell.report) : Json(nullptr)}};
}

constexpr char kPageHead[] =
    "<!doctype html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
    "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
    "<title>Coverage</title>\n<style>\n"
    ":root { color-scheme: light dark; }\n"
    "body { font: 15px/1.4 system-ui, sans-serif; margin: 1.5rem; }\n"
    "table { border-collapse: collapse; margin-bottom: 1.5rem; }\n"
    "th, td { padding: .15rem .7rem; text-align: right; font-variant-numeric: tabular-nums; }\n"
    "th[scope=row], caption { text-align: left; }\n"
    "tr.sensor > * { border-top: 1px solid; font-weight: 600; }\n"
    "td.none { background: #8883; }\n"
    "</style>\n</head>\n<body>\n<main>\n<h1>Which sensor is cooled where</h1>\n"
    "<p>From which temperature on (°C) each scenario acts, and below each sensor the devices with "
    "the strongest level that is asked for. A report cools nothing.</p>\n";

std::string escaped(const std::string& text) {
  std::string result;
  for (const char c : text)
    result += c == '&' ? "&amp;" : c == '<' ? "&lt;" : c == '>' ? "&gt;" : std::string(1, c);
  return result;
}

// Without a sheet or a script of its own: it is opened from a mail, or as an artefact of a CI.
void printPageRow(std::ostream& out, const Row& row) {
  const bool isDevice = row.front().rfind("  ", 0) == 0;
  out << (isDevice ? "<tr>" : "<tr class=\"sensor\">") << "<th scope=\"row\">"
      << escaped(row.front()) << "</th>";
  for (size_t i = 1; i < row.size(); ++i)
    out << (row[i] == kNothing ? "<td class=\"none\">" : "<td>") << escaped(row[i]) << "</td>";
  out << "</tr>\n";
}

void printPagePart(std::ostream& out, const Part& part) {
  Rows rows = rowsOf(part);
  out << "<table>\n<thead>\n<tr><td></td>";
  for (const std::string& file : filesOf(part))
    if (!file.empty()) {
      const auto own = [&](const CoverageColumn& column) {
        return visible(column.configuration->file) == file;
      };
      const auto begin = part.coverage.columns.begin();
      out << fmt::format("<th scope=\"colgroup\" colspan=\"{}\">{}</th>",
                         std::count_if(begin + static_cast<std::ptrdiff_t>(part.begin),
                                       begin + static_cast<std::ptrdiff_t>(part.end), own),
                         escaped(file));
    }
  out << "</tr>\n<tr>";
  for (const std::string& name : rows.front())
    out << "<th scope=\"col\">" << escaped(name) << "</th>";
  out << "</tr>\n</thead>\n<tbody>\n";
  for (size_t i = 1; i < rows.size(); ++i)
    printPageRow(out, rows[i]);
  out << "</tbody>\n</table>\n";
}

} // namespace

void printCoverage(std::ostream& out, const Coverage& coverage) {
  for (const Part& part : partsOf(coverage)) {
    const Rows rows = rowsOf(part);
    for (size_t i = part.begin; i < part.end;) {
      const Configuration* configuration = coverage.columns[i].configuration;
      size_t end = i;
      while (end < part.end && coverage.columns[end].configuration == configuration)
        ++end;
      out << fmt::format("{}: scenarios {} to {}\n", visible(configuration->file),
                         i - part.begin + 1, end - part.begin);
      i = end;
    }
    for (const std::string& line : inColumns(rows, 1))
      out << line << '\n';
  }
  out << describe(periodsOf(coverage)) << '\n';
}

void printCoverageAsJson(std::ostream& out, const Coverage& coverage) {
  Json scenarios = Json::array();
  for (size_t i = 0; i < coverage.columns.size(); ++i) {
    Json sensors = Json::array();
    for (const Section* sensor : coverage.sensors)
      sensors.push_back(toJson(sensor, coverage.cell(sensor, i)));
    scenarios.push_back({{"file", coverage.columns[i].configuration->file},
                         {"scenario", coverage.columns[i].scenario},
                         {"sensors", sensors}});
  }
  const BoardPeriods periods = periodsOf(coverage);
  const Json result = {{"version", kFormatVersion},
                       {"scenarios", scenarios},
                       {"periods",
                        {{"sensors", periods.ofSensors},
                         {"items", periods.ofItems},
                         {"item_threads", periods.itemThreads},
                         {"wake_ups_per_second", periods.wakeUps}}}};
  out << jsonText(result, 2) << '\n';
}

void printCoverageAsPage(std::ostream& out, const Coverage& coverage) {
  out << kPageHead;
  for (const Part& part : partsOf(coverage))
    printPagePart(out, part);
  out << "<p>" << escaped(describe(periodsOf(coverage))) << ".</p>\n</main>\n</body>\n</html>\n";
}
