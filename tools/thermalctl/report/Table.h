#pragma once

#include <ostream>
#include <string>
#include <vector>

// Rows of a group, a label and a cell for each column, aligned when they are printed.
class Table {
public:
  explicit Table(std::vector<std::string> columns_) : columns(std::move(columns_)) {}

  // Without cells the label may run on to the end of the line.
  void addRow(const std::string& group, const std::string& label, std::vector<std::string> cells);

  // The group's name stands in its first row alone.
  void print(std::ostream& out) const;

private:
  struct Row {
    std::string group;
    std::string label;
    std::vector<std::string> cells;
  };

  std::vector<std::string> columns;
  std::vector<Row> rows;
};

// Hours, minutes and seconds of a time in milliseconds, such as "1:02:03".
std::string clockTime(int64_t milliseconds);

// With that many digits behind the point.
std::string rounded(double number, int digits);
