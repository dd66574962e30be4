#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "margin/Special.h"
#include "toml/Problems.h"

// What a fit found, as far as it is known: each number with its interval of 95 %, and how they go
// together.
//
// Shape:  `correlations` row by row, of the numbers in their order; positive definite.
// Source: a fit.json.
struct FittedNumbers {
  // By its name in the plant, and the interval's ends.
  struct Number {
    std::string name;
    double low = 0;
    double high = 0;
  };
  std::vector<Number> numbers;
  SquareMatrix correlations;
};

// Those that the recordings have determined at all; of the ambient, which is that of the
// recordings, none. What is wrong with the file is told at `place`, which names it.
FittedNumbers readFittedNumbers(const std::string& path, const Problem& place, Problems& problems);
