#include "status/StatusTable.h"

#include <algorithm>
#include <array>

#include "text/Source.h"

namespace {

constexpr char kBold[] = "1";
constexpr char kRed[] = "31";
constexpr char kYellow[] = "33";

using Cells = std::array<std::string, 5>;

bool beginsCharacter(char byte) {
  return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80U;
}

size_t charactersIn(const std::string& text) {
  return static_cast<size_t>(std::count_if(text.begin(), text.end(), beginsCharacter));
}

std::string firstCharacters(const std::string& text, size_t count) {
  size_t at = 0;
  for (; at < text.size(); ++at) {
    if (beginsCharacter(text[at]) && count-- == 0) break;
  }
  return text.substr(0, at);
}

std::string cell(const std::string& text) {
  return text.empty() ? "-" : visible(text);
}

Cells cellsOf(const StatusRow& row) {
  return {visible(row.name), visible(row.kind), cell(row.value), cell(row.level),
          visible(row.note)};
}

const char* lookOf(StatusRow::Mood mood) {
  switch (mood) {
  case StatusRow::Fault:
    return kRed;
  case StatusRow::Cooling:
    return kYellow;
  case StatusRow::Calm:
    break;
  }
  return "";
}

TableLine wordLine(const StatusRow& row) {
  std::string text = row.name;
  text.resize(10, ' ');
  text += cell(row.value);
  if (!row.note.empty()) text += "  " + visible(row.note);
  return {text, lookOf(row.mood)};
}

// Cells in columns as wide as their widest, two spaces between them and none at the end.
void addColumns(std::vector<TableLine>& lines, const std::vector<Cells>& rows,
                const std::vector<const char*>& looks) {
  std::array<size_t, std::tuple_size<Cells>::value> widths{};
  for (const Cells& cells : rows)
    for (size_t i = 0; i < cells.size(); ++i)
      widths[i] = std::max(widths[i], charactersIn(cells[i]));
  for (size_t row = 0; row < rows.size(); ++row) {
    std::string text;
    for (size_t i = 0; i < widths.size(); ++i) {
      if (widths[i] == 0) continue;
      text += rows[row][i] + std::string(widths[i] - charactersIn(rows[row][i]) + 2, ' ');
    }
    text.erase(text.find_last_not_of(' ') + 1);
    lines.push_back({text, looks[row]});
  }
}

void addRows(std::vector<TableLine>& lines, const Cells& heading,
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
  addColumns(lines, cells, looks);
}

} // namespace

std::vector<TableLine> tableOf(const BoardStatus& status) {
  std::vector<TableLine> lines = {wordLine(status.scenario), wordLine(status.request)};
  addRows(lines, {"sensor", "kind", "temperature", "", ""}, status.sensors);
  addRows(lines, {"device", "kind", "value", "level", ""}, status.devices);
  return lines;
}

std::string shown(const TableLine& line, Colour colour, size_t width) {
  const std::string text = firstCharacters(line.text, width);
  if (colour == Colour::Off || *line.look == '\0' || text.empty()) return text;
  return std::string("\x1B[") + line.look + "m" + text + "\x1B[0m";
}
