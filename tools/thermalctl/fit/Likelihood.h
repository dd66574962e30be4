#pragma once

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
