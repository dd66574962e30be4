#pragma once

#include <cstdint>

// Noise that is the same on every machine and with every standard library (SplitMix64, with the
// constants of its authors).
//
// Shape: one stream, which each call moves on. Equal seeds give equal streams.
class Random {
public:
  explicit Random(uint64_t seed) : state(seed) {}

  uint64_t next() {
    state += 0x9e3779b97f4a7c15;
    uint64_t mixed = state;
    mixed = (mixed ^ (mixed >> 30)) * 0xbf58476d1ce4e5b9;
    mixed = (mixed ^ (mixed >> 27)) * 0x94d049bb133111eb;
    return mixed ^ (mixed >> 31);
  }

  // Close to a normal distribution of mean 0 and deviation 1, and never beyond 6: the sum of twelve
  // even ones.
  double normal() {
    // As many bits as a double holds, each a number from 0 to 1 in the last of its places: a power
    // of two changes no digit, so that it is enough to take it off the sum.
    constexpr double kPlaces = 0x1p53;
    const auto draw = [this] { return static_cast<double>(static_cast<int64_t>(next() >> 11)); };
    double sum = -6 * kPlaces;
    // Four at a time: to count them takes a tenth of what they do.
    for (int i = 0; i < 12; i += 4) {
      sum += draw();
      sum += draw();
      sum += draw();
      sum += draw();
    }
    return sum / kPlaces;
  }

private:
  uint64_t state;
};
