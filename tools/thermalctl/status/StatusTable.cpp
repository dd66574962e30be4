#include "status/StatusTable.h"

#include "text/Characters.h"
#include "text/Columns.h"

namespace {

constexpr char kBold[] = "1";
constexpr char kRed[] = "31";
constexpr char kYellow[] = "33";

using Cells = std::vector<std::string>;

std::string cell(const std::string& text) {
  return text.empty() ? "-" : visible(text);
}

Cells cellsOf(const StatusRow& row) {
  return {visible(row.name), visible(row.kind), cell(row.value), cell(row.level),
          visible(row.note)};
}

const char* lookOf(StatusRow::Mood mood) {
  switch (mood) {
  case StatusRow::kFault:
    return kRed;
  case StatusRow::kCooling:
    return kYellow;
  case StatusRow::kCalm:
    break;
  }
  return "";
}

TerminalLine wordLine(const StatusRow& row) {
  std::string text = row.name;
  // As wide as "scenario" and two spaces.
  text.resize(10, ' ');
  text += cell(row.value);
  if (!row.note.empty()) text += "  " + visible(row.note);
  return {text, lookOf(row.mood)};
}

void addRows(std::vector<TerminalLine>& lines, const Cells& heading,
             const std::vector<StatusRow>& rows) {
  if (rows.empty()) return;
  std::vector<Cells> cells = {heading};
  std::vector<const char*> looks = {kBold};
  for (const StatusRow& row : rows) {
    cells.push_back(cellsOf(row));
    // Sensors have no levels.
    if (heading[3].empty()) cells.back()[3].clear();
    looks.push_back(lookOf(row.mood));
  }
  lines.push_back({});
  const size_t first = lines.size();
  for (std::string& line : inColumns(cells, heading.size())) {
    // A row without a note would end in the white space between its columns.
    line.erase(line.find_last_not_of(' ') + 1);
    lines.push_back({line, looks[lines.size() - first]});
  }
}

} // namespace

std::vector<TerminalLine> tableOf(const BoardStatus& status) {
  std::vector<TerminalLine> lines = {wordLine(status.scenario), wordLine(status.request)};
  addRows(lines, {"sensor", "kind", "temperature", "", ""}, status.sensors);
  addRows(lines, {"device", "kind", "value", "level", ""}, status.devices);
  return lines;
}
