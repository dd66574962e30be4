#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "simulate/PlantFile.h"
#include "text/Word.h"
#include "toml/Problems.h"

// One number of a plant that the recordings shall determine.
//
// Shape:  `index` is that of a node, a resistance, a source or a probe. A quantity that is above 0
//         by its nature is fitted by its logarithm. `places` are all the numbers of the file that
//         go by it: the powers of all levels have one scale.
// Units:  those of the plant file; of a source's watts the most of its levels.
// Source: `free` in the plant's [fit].
struct Quantity {
  enum class Kind { kCapacity, kResistance, kWatts, kIdle, kOffset, kLag, kAmbient };
  // Where a number of it stands, and what it says.
  struct Place {
    Span span;
    double value = 0;
  };

  Kind kind = Kind::kCapacity;
  size_t index = 0;
  std::string name; // such as "node.big.joules_per_kelvin"
  double guess = 0;
  double least = 0;
  double most = 0;
  std::vector<Place> places{};

  bool byLogarithm() const { return kind != Kind::kOffset && kind != Kind::kAmbient; }
  const char* unit() const;
};

// The plant with other values of its quantities.
PlantDescription withValues(PlantDescription plant, const std::vector<Quantity>& quantities,
                            const std::vector<double>& values);
