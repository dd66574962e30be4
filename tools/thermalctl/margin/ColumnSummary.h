#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "margin/UnitRows.h"

// Which percentiles are told of a figure.
constexpr std::array<int, 7> kPercentiles = {1, 5, 25, 50, 75, 95, 99};

// How one figure is spread over the units, exactly: each percentile is the least value that so many
// of them do not pass.
//
// Shape:  of units in which it was seen; `percentiles` and `ranks` are empty where there are none.
//         `ranks` are those of values, from 0 to 1, by `placeOf`: of equal ones the middle, and so
//         of those that lie within the range's 65,536th part.
// Memory: some hundred kilobytes, however many units there are.
struct ColumnSummary {
  ColumnSummary(const UnitRows& rows, size_t column);

  size_t placeOf(int32_t value) const {
    return static_cast<size_t>((int64_t{value} - least) / width);
  }
  // How many units lie in each of some even parts of the range.
  std::vector<uint64_t> histogram(size_t parts) const;

  uint64_t units = 0;
  double mean = 0;
  int32_t least = 0;
  int32_t most = 0;
  std::vector<int32_t> percentiles; // as kPercentiles
  std::vector<float> ranks;

private:
  void measure(const UnitRows& rows, size_t column);
  void findPercentiles(const UnitRows& rows, size_t column);
  void rank();

  int64_t width = 1;            // of a place
  std::vector<uint64_t> counts; // by place
};
