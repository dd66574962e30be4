#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "margin/Distribution.h"
#include "margin/Special.h"
#include "margin/Variables.h"
#include "simulate/Inputs.h"

// What the numbers of a unit are drawn for: each stream is independent of the others.
enum class Stream : uint32_t { kUnit, kOther, kNoise, kResampling, kSearch };

// So many standard normal numbers of a unit: they depend on the seed, the unit and the stream, and
// on nothing that was drawn before.
std::vector<double> standardNumbers(uint64_t seed, uint64_t unit, Stream stream, size_t count);
// The same as words of 32 bits, each as likely as any other.
std::vector<uint32_t> randomWords(uint64_t seed, uint64_t unit, Stream stream, size_t count);
// The seed of the unit's sensors' noise.
uint64_t noiseSeed(uint64_t seed, uint64_t unit);

// Of independent standard numbers those that are correlated; `factor` as in Population.
std::vector<double> correlated(const std::vector<double>& standard, const SquareMatrix& factor);

// All the units that may leave a factory, and what is done with them.
//
// Shape:  a unit is made of a standard number for each spread, one that is independent of all
//         others. `factor` leads from these to numbers that are correlated as asked for; it is
//         empty where none are.
// Source: `readTolerances`.
struct Population {
  // What one number of a unit decides.
  //
  // Shape: `variables` are indices, in ascending order. `reason` may be empty.
  struct Spread {
    std::string name;
    std::string reason;
    Drawn::As as = Drawn::As::kValue;
    Distribution distribution;
    std::vector<size_t> variables;
  };

  std::vector<Variable> variables;
  std::vector<Spread> spreads;
  SquareMatrix factor;

  // The run of the unit that is made of independent standard numbers.
  RunInput unit(const RunInput& nominal, const std::vector<double>& standard) const;
  // The spreads in parts between which there is no correlation, by their indices.
  std::vector<std::vector<size_t>> independentParts() const;
};
