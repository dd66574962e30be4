#pragma once

#include <cmath>
#include <cstddef>
#include <vector>

// How well a reading goes with a temperature, and how that changes with it.
//
// Shape: `misfit` is 0 or above, and 0 where it could not go better; `slope` is its derivative by
//        the temperature, and `weight` the second one, which is never below 0.
struct Agreement {
  double misfit = 0;
  double slope = 0;
  double weight = 0;
};

// The readings of one sensor: a temperature with normal noise, rounded to steps. Now and then one
// has nothing to do with the heat, so that no reading counts for more than a few standard
// deviations.
//
// Shape: rounding is no noise: a reading says that temperature and noise lay within its step, and
//        with little noise nothing about where. Taken as noise it would promise too much.
// Units: degrees.
struct Likelihood {
  double noise = 1; // standard deviation, above 0
  double step = 0;  // 0 for none

  Agreement of(double reading, double temperature) const;
  // The logarithm of the density at which nothing could go better: what misfits of other noises
  // have to be held against.
  double best() const;
};

// A likelihood for very many readings, by a table: what a reading tells goes by nothing but its
// distance from the temperature.
//
// Exact: misfits within 1e-5, and the slope is exactly that of the misfit here. Beyond the table a
//        reading has nothing to do with the heat.
class LikelihoodTable {
public:
  explicit LikelihoodTable(const Likelihood& likelihood);

  bool isOf(const Likelihood& other) const {
    return other.noise == likelihood.noise && other.step == likelihood.step;
  }
  double best() const { return highest; }
  Agreement of(double reading, double temperature) const {
    const double apart = temperature - reading;
    const double place = std::abs(apart) * perDegree;
    if (!(place < static_cast<double>(pieces.size()))) return beyond;
    const auto index = static_cast<size_t>(place);
    const Piece& piece = pieces[index];
    const double t = place - static_cast<double>(index);
    const double slope = (piece.b + t * (2 * piece.c + t * 3 * piece.d)) * perDegree;
    return {piece.a + t * (piece.b + t * (piece.c + t * piece.d)), apart < 0 ? -slope : slope,
            piece.weight + t * piece.rise};
  }

private:
  // A cubic for the misfit and a line for the weight, from 0 to 1.
  struct Piece {
    double a, b, c, d;
    double weight, rise;
  };

  Likelihood likelihood;
  double highest;
  double perDegree; // pieces
  std::vector<Piece> pieces;
  Agreement beyond;
};
