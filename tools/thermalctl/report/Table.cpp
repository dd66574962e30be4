#include "report/Table.h"

#include "text/Columns.h"

Table::Table(const std::vector<std::string>& columns) : rows{{"", ""}} {
  rows.front().insert(rows.front().end(), columns.begin(), columns.end());
}

void Table::addRow(const std::string& group, const std::string& label,
                   const std::vector<std::string>& cells) {
  rows.push_back({group == lastGroup ? "" : group, label});
  rows.back().insert(rows.back().end(), cells.begin(), cells.end());
  lastGroup = group;
}

void Table::print(std::ostream& out) const {
  for (const std::string& line : inColumns(rows, 2))
    out << line << '\n';
}
