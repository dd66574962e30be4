#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "margin/Chances.h"

// A number as far as it is known: the interval holds it in 95 % of all cases.
struct Known {
  double value = 0;
  Interval interval{};
};

// What share of a figure's variance is a driver's own, and what share is gone where it is known.
struct SobolIndex {
  Known first;
  Known total;
};

// The Sobol indices of one figure, from samples that come one after the other.
//
// Shape:  a sample has the figure of a unit, of another one, and of the unit with one driver each
//         of the other. Intervals are those of samples drawn again, by weights that come with each
//         sample: 0 for a sample that is left out, 2 for one that counts twice.
// Source: Saltelli et al.: Variance based sensitivity analysis of model output (2010), for the first
//         order; Jansen: Analysis of variance designs for model output (1999), for the total.
class SobolSums {
public:
  static constexpr size_t kReplicates = 200;

  // `centre` is about the figure's mean: it takes away noise, and changes nothing else.
  SobolSums(size_t drivers, double centre);

  void add(const std::vector<double>& sample, const std::vector<uint8_t>& weights);
  uint64_t samples() const { return count; }
  // Of each driver; nothing where the figure does not vary.
  std::vector<SobolIndex> indices() const;

private:
  // The sums of one replicate; that of all samples once is the first.
  struct Sums {
    double weight = 0, sum = 0, squares = 0;
    std::vector<double> first, total; // by driver

    double variance() const;
  };

  double centre;
  uint64_t count = 0;
  std::vector<Sums> replicates;
};

// How often each replicate draws a sample: as often as chance has it.
std::vector<uint8_t> weightsOf(uint64_t seed, uint64_t sample);
