#include "margin/Population.h"

#include <algorithm>
#include <array>
#include <utility>

#include "margin/Philox.h"

namespace {

// The place of a number is its counter: unit, block and stream; the seed is the key. So unit
// 70,000 is the same whether or not those before it were drawn, and on whichever machine.
std::array<uint32_t, 4> wordsOf(uint64_t seed, uint64_t unit, Stream stream, size_t block) {
  return philox({static_cast<uint32_t>(unit), static_cast<uint32_t>(unit >> 32),
                 static_cast<uint32_t>(block), static_cast<uint32_t>(stream)},
                {static_cast<uint32_t>(seed), static_cast<uint32_t>(seed >> 32)});
}

uint64_t joined(uint32_t high, uint32_t low) {
  return uint64_t{high} << 32 | low;
}

// Never 0 or 1.
double evenly(uint64_t bits) {
  // The upper 53 bits, in the middle between two of the numbers that they could mean.
  return (static_cast<double>(bits >> 11) + 0.5) * 0x1p-53;
}

} // namespace

std::vector<double> standardNumbers(uint64_t seed, uint64_t unit, Stream stream, size_t count) {
  std::vector<double> numbers(count);
  for (size_t i = 0; i < count; i += 2) {
    const std::array<uint32_t, 4> words = wordsOf(seed, unit, stream, i / 2);
    numbers[i] = normalQuantile(evenly(joined(words[0], words[1])));
    if (i + 1 < count) numbers[i + 1] = normalQuantile(evenly(joined(words[2], words[3])));
  }
  return numbers;
}

std::vector<uint32_t> randomWords(uint64_t seed, uint64_t unit, Stream stream, size_t count) {
  std::vector<uint32_t> all;
  for (size_t block = 0; all.size() < count; ++block) {
    const std::array<uint32_t, 4> words = wordsOf(seed, unit, stream, block);
    all.insert(all.end(), words.begin(), words.end());
  }
  all.resize(count);
  return all;
}

uint64_t noiseSeed(uint64_t seed, uint64_t unit) {
  const std::array<uint32_t, 4> words = wordsOf(seed, unit, Stream::kNoise, 0);
  return joined(words[0], words[1]);
}

std::vector<double> correlated(const std::vector<double>& standard, const SquareMatrix& factor) {
  if (factor.empty()) return standard;
  const size_t size = standard.size();
  std::vector<double> numbers(size);
  for (size_t i = 0; i < size; ++i) {
    // Below the diagonal alone: the factor L is that of Cholesky, and what it makes of z has its
    // correlations.
    for (size_t j = 0; j <= i; ++j)
      numbers[i] += factor[i * size + j] * standard[j];
    numbers[i] = std::clamp(numbers[i], -kFarthest, kFarthest);
  }
  return numbers;
}

RunInput Population::unit(const RunInput& nominal, const std::vector<double>& standard) const {
  const std::vector<double> numbers = correlated(standard, factor);
  // In the order of the variables and not of the file: some act on the same numbers, as a law and
  // one of its levels do, and a unit is not to depend on how its tolerances are written down.
  std::vector<std::pair<size_t, size_t>> order; // variables and the spreads that decide them
  for (size_t i = 0; i < spreads.size(); ++i)
    for (const size_t variable : spreads[i].variables)
      order.emplace_back(variable, i);
  std::sort(order.begin(), order.end());
  RunInput unit = nominal;
  for (const auto& [variable, spread] : order)
    variables[variable].set(unit,
                            {spreads[spread].as, spreads[spread].distribution.at(numbers[spread])});
  return unit;
}

std::vector<std::vector<size_t>> Population::independentParts() const {
  const size_t size = spreads.size();
  std::vector<size_t> part(size); // by the first spread in it
  for (size_t i = 0; i < size; ++i) {
    part[i] = i;
    for (size_t j = 0; j < i && !factor.empty(); ++j) {
      if (factor[i * size + j] != 0)
        std::replace(part.begin(), part.begin() + static_cast<std::ptrdiff_t>(i) + 1,
                     std::max(part[i], part[j]), std::min(part[i], part[j]));
    }
  }
  std::vector<std::vector<size_t>> parts;
  for (size_t first = 0; first < size; ++first) {
    std::vector<size_t> members;
    for (size_t i = first; i < size; ++i)
      if (part[i] == first) members.push_back(i);
    if (!members.empty()) parts.push_back(std::move(members));
  }
  return parts;
}
