#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "simulate/Network.h"

// Two nodes of which the second is cooled, with time constants that are far apart.
//
// Units: J/K, and K/W between the two and to the ambient.
struct StiffNetwork {
  double capacity1, capacity2, between, toAmbient;
};

// The closed form long after the fast node has followed: only the slow mode is left. Its numbers
// are found without a difference of near ones.
struct SlowMode {
  using Real = long double;

  explicit SlowMode(const StiffNetwork& of) {
    const Real g = 1 / Real(of.between);
    const Real ambientG = 1 / Real(of.toAmbient);
    const Real sum = g / of.capacity1 + (g + ambientG) / of.capacity2;
    const Real product = g * ambientG / (Real(of.capacity1) * of.capacity2);
    rate = product / ((sum + std::sqrt(sum * sum - 4 * product)) / 2);
    lead = g / of.capacity1 / (g / of.capacity1 - rate);
    weight1 = of.capacity1 * lead;
    weight2 = of.capacity2;
  }

  // The second node's temperature above what it settles at, the first one's is `lead` times it.
  Real left(Real above1, Real above2, Real seconds) const {
    return (weight1 * above1 + weight2 * above2) / (weight1 * lead + weight2) *
           std::exp(-rate * seconds);
  }

  Real rate, lead, weight1, weight2;
};

// How far a Network of it is from the closed form at most, from a second to eleven hours on, as a
// share of the temperature.
inline double worstErrorOf(const StiffNetwork& stiff) {
  constexpr double kAmbient = 20;
  constexpr double kWatts = 2;
  Network network(2);
  network.setCapacity(0, stiff.capacity1);
  network.setCapacity(1, stiff.capacity2);
  network.connect(0, 1, stiff.between);
  network.connectToAmbient(1, stiff.toAmbient);
  network.start({90, 70}, kAmbient);
  network.setPower(0, kWatts);
  const SlowMode slow(stiff);
  const long double settled2 = kAmbient + static_cast<long double>(kWatts) * stiff.toAmbient;
  const long double settled1 = settled2 + static_cast<long double>(kWatts) * stiff.between;
  long double worst = 0;
  int64_t time = 0;
  for (const int64_t step : {1'000, 333'333, 3'600'000, 36'000'000}) {
    network.advance(step);
    time += step;
    const long double left =
        slow.left(90 - settled1, 70 - settled2, static_cast<long double>(time) / 1000);
    const auto off = [](double is, long double wanted) {
      return std::isfinite(is) ? std::abs(is - wanted) / wanted : HUGE_VALL;
    };
    worst = std::max({worst, off(network.temperature(0), settled1 + slow.lead * left),
                      off(network.temperature(1), settled2 + left)});
  }
  return static_cast<double>(worst);
}
