#include "report/Table.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace {

// As characters, not bytes: names may be in any language.
size_t widthOf(const std::string& text) {
  return static_cast<size_t>(std::count_if(text.begin(), text.end(), [](char byte) {
    return (static_cast<unsigned>(byte) & 0xC0) != 0x80;
  }));
}

std::string padding(const std::string& text, size_t width) {
  return std::string(width - std::min(width, widthOf(text)), ' ');
}

} // namespace

void Table::addRow(const std::string& group, const std::string& label,
                   std::vector<std::string> cells) {
  rows.push_back({group, label, std::move(cells)});
}

void Table::print(std::ostream& out) const {
  size_t groupWidth = 0;
  size_t labelWidth = 0;
  std::vector<size_t> widths;
  for (const std::string& column : columns)
    widths.push_back(widthOf(column));
  for (const Row& row : rows) {
    groupWidth = std::max(groupWidth, widthOf(row.group));
    if (!row.cells.empty()) labelWidth = std::max(labelWidth, widthOf(row.label));
    for (size_t i = 0; i < row.cells.size(); ++i)
      widths[i] = std::max(widths[i], widthOf(row.cells[i]));
  }
  const auto printCells = [&](const std::vector<std::string>& cells) {
    for (size_t i = 0; i < cells.size(); ++i)
      out << "  " << padding(cells[i], widths[i]) << cells[i];
    out << "\n";
  };
  out << std::string(groupWidth + 2 + labelWidth, ' ');
  printCells(columns);
  std::string shown;
  for (const Row& row : rows) {
    const std::string group = row.group == shown ? "" : row.group;
    shown = row.group;
    out << group << padding(group, groupWidth) << "  " << row.label;
    if (!row.cells.empty()) out << padding(row.label, labelWidth);
    printCells(row.cells);
  }
}

std::string clockTime(int64_t milliseconds) {
  const int64_t seconds = (milliseconds + 500) / 1000;
  std::array<char, 40> text;
  std::snprintf(text.data(), text.size(), "%lld:%02lld:%02lld",
                static_cast<long long>(seconds / 3600), static_cast<long long>(seconds / 60 % 60),
                static_cast<long long>(seconds % 60));
  return text.data();
}

std::string rounded(double number, int digits) {
  std::array<char, 400> text;
  std::snprintf(text.data(), text.size(), "%.*f", digits, number);
  return text.data();
}
