#include "text/Columns.h"

#include <algorithm>

#include "text/Characters.h"

namespace {

using Row = std::vector<std::string>;

std::vector<size_t> widthsOf(const std::vector<Row>& rows) {
  std::vector<size_t> widths(rows.front().size());
  for (const Row& row : rows) {
    // A last cell that may run on does not widen its column.
    const size_t aligned = row.size() < widths.size() ? row.size() - 1 : row.size();
    for (size_t i = 0; i < aligned; ++i)
      widths[i] = std::max(widths[i], charactersIn(row[i]));
  }
  return widths;
}

std::string lineOf(const Row& row, const std::vector<size_t>& widths, size_t leftColumns) {
  std::string line;
  bool first = true;
  for (size_t i = 0; i < row.size(); ++i) {
    if (widths[i] == 0 && row[i].empty()) continue;
    if (!first) line += "  ";
    first = false;
    const std::string padding(widths[i] - std::min(widths[i], charactersIn(row[i])), ' ');
    if (i >= leftColumns) line += padding;
    line += row[i];
    if (i < leftColumns && i + 1 < row.size()) line += padding;
  }
  line.erase(line.find_last_not_of(' ') + 1); // cells without a text
  return line;
}

} // namespace

std::vector<std::string> inColumns(const std::vector<Row>& rows, size_t leftColumns) {
  std::vector<std::string> lines;
  if (rows.empty()) return lines;
  const std::vector<size_t> widths = widthsOf(rows);
  for (const Row& row : rows)
    lines.push_back(lineOf(row, widths, leftColumns));
  return lines;
}
