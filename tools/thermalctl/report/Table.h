#pragma once

#include <ostream>
#include <string>
#include <vector>

// Rows of a group, a label and a cell for each column, aligned when they are printed.
//
// Shape: the rows of one group come one after the other; in between another group its name is shown
//        again.
// Units: widths are counted in characters of UTF-8.
class Table {
public:
  explicit Table(const std::vector<std::string>& columns);

  // The group's name stands in its first row alone. Without cells the label may run on to the end
  // of the line.
  void addRow(const std::string& group, const std::string& label,
              const std::vector<std::string>& cells);

  void print(std::ostream& out) const;

private:
  std::vector<std::vector<std::string>> rows; // the first names the columns
  std::string lastGroup;
};
